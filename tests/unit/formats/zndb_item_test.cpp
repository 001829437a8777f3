/*
 * Items byte by byte, put together here and never by the product's own records.
 */
#include "formats/zndb_item.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "unit/formats/item_bytes.h"

namespace {

std::string written(const ZndbItem &item) {
    std::string bytes(item_size(item), '#');
    write_item(bytes.data(), item);
    return bytes;
}

/* The item as text, or "malformed". */
std::string read_one(const std::string &bytes) {
    ZndbItems items(bytes.data(), bytes.size());
    ZndbItem item = {};
    if (!items.next(item)) {
        return "malformed";
    }
    return std::to_string(static_cast<int>(item.kind)) + " " + std::to_string(static_cast<int>(item.store)) +
           " " + std::string(item.key) + "=" + std::string(item.value);
}

}  // namespace

TEST(ZndbItem, IsEightBytesAndBothTexts) {
    EXPECT_EQ(std::string("\0\1\3\0", 4) + word(2) + "keyvv",
              written({ItemKind::kSet, StoreId::kPerm, "key", "vv"}));
    EXPECT_EQ(std::string("\1\0\1\0", 4) + word(0) + "k",
              written({ItemKind::kDelete, StoreId::kPlain, "k", ""}));
    EXPECT_EQ(std::string("\2\2\1\0", 4) + word(1) + "kv",
              written({ItemKind::kExpect, StoreId::kFactory, "k", "v"}));
    EXPECT_EQ(std::string("\3\0\1\0", 4) + word(0) + "k",
              written({ItemKind::kExpectMissing, StoreId::kPlain, "k", ""}));
}

TEST(ZndbItem, IsReadAsItWasWritten) {
    EXPECT_EQ("0 1 key=vv", read_one(item_bytes(0, 1, "key", "vv")));
    EXPECT_EQ("1 0 k=", read_one(item_bytes(1, 0, "k", "")));
    EXPECT_EQ("2 2 k=v", read_one(item_bytes(2, 2, "k", "v")));
    EXPECT_EQ("3 0 =", read_one(item_bytes(3, 0, "", "")));
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    EXPECT_EQ("0 0 " + key + "=" + value, read_one(item_bytes(0, 0, key, value)));
    EXPECT_EQ(kItemSizeMax, item_bytes(0, 0, key, value).size());
}

TEST(ZndbItem, OfAnotherFormIsMalformed) {
    const std::string good = item_bytes(0, 0, "key", "value");
    for (size_t size = 0; size < good.size(); ++size) {
        EXPECT_EQ("malformed", read_one(good.substr(0, size))) << size;
    }
    EXPECT_EQ("malformed", read_one(item_bytes(4, 0, "k", "")));
    EXPECT_EQ("malformed", read_one(item_bytes(0, 3, "k", "v")));
    EXPECT_EQ("malformed", read_one(item_bytes(0, 0, std::string(32, 'k'), "v")));
    EXPECT_EQ("malformed", read_one(item_bytes(0, 0, "k", std::string(1024, 'v'))));
    EXPECT_EQ("malformed", read_one(item_bytes(1, 0, "k", "v")));
    EXPECT_EQ("malformed", read_one(item_bytes(3, 0, "k", "v")));
    std::string unused = good;
    unused[3] = 1;
    EXPECT_EQ("malformed", read_one(unused));
    std::string huge = good;
    huge.replace(4, 4, word(UINT32_MAX));
    EXPECT_EQ("malformed", read_one(huge));
}

TEST(ZndbItem, SeveralStandOneAfterAnother) {
    const std::string bytes = item_bytes(0, 0, "a", "1") + item_bytes(1, 1, "b", "");
    ZndbItems items(bytes.data(), bytes.size());
    ZndbItem item = {};
    ASSERT_TRUE(items.next(item));
    EXPECT_EQ("a", item.key);
    EXPECT_FALSE(items.at_end());
    ASSERT_TRUE(items.next(item));
    EXPECT_EQ("b", item.key);
    EXPECT_TRUE(items.at_end());
    EXPECT_FALSE(items.next(item));
    EXPECT_EQ("b", item.key);
}
