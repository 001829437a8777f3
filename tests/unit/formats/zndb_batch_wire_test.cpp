#include "formats/zndb_batch_wire.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "unit/formats/item_bytes.h"

namespace {

bool reads(const std::string &body, ZndbBatchItems &items) {
    return read_batch_body(body.data(), static_cast<int32_t>(body.size()), items);
}

bool reads(const std::string &body) {
    ZndbBatchItems items;
    return reads(body, items);
}

std::string repeated(int count) {
    std::string body;
    for (int i = 0; i < count; ++i) {
        body += item_bytes(0, 0, "k" + std::to_string(i), "v");
    }
    return body;
}

}  // namespace

TEST(ZndbBatchWire, TheMessageIs2100) {
    EXPECT_EQ(2100, kZndbBatchMessage);
}

TEST(ZndbBatchWire, ABodyIsItsItemsInOrder) {
    const std::string body = item_bytes(2, 0, "a", "1") + item_bytes(1, 1, "b", "");
    ZndbBatchItems items;
    ASSERT_TRUE(reads(body, items));
    ASSERT_EQ(2u, items.size());
    EXPECT_EQ(ItemKind::kExpect, items[0].kind);
    EXPECT_EQ("a", items[0].key);
    EXPECT_EQ("1", items[0].value);
    EXPECT_EQ(ItemKind::kDelete, items[1].kind);
    EXPECT_EQ(StoreId::kPerm, items[1].store);
    EXPECT_EQ("b", items[1].key);
}

TEST(ZndbBatchWire, ABodyHasOneTo64Items) {
    EXPECT_FALSE(reads(""));
    EXPECT_TRUE(reads(repeated(1)));
    EXPECT_TRUE(reads(repeated(64)));
    EXPECT_FALSE(reads(repeated(65)));
}

TEST(ZndbBatchWire, ABodyWithAMalformedItemIsRefused) {
    EXPECT_FALSE(reads(repeated(2) + "x"));
    EXPECT_FALSE(reads(item_bytes(0, 0, "k", "v") + item_bytes(9, 0, "k", "v")));
    ZndbBatchItems items;
    EXPECT_FALSE(read_batch_body(nullptr, 10, items));
    EXPECT_FALSE(read_batch_body("", -1, items));
}

TEST(ZndbBatchWire, AnAnswerIsTwoWords) {
    const BatchAnswer answer = {6, 3};
    const int32_t words[] = {6, 3};
    EXPECT_EQ(0, std::memcmp(words, &answer, sizeof(words)));
}
