#include "formats/zndb_list_wire.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit/formats/item_bytes.h"

namespace {

/* A request as it travels. */
std::string request_bytes(uint32_t store, uint32_t listed, const std::string &prefix,
                          const std::string &after) {
    std::string bytes = word(store) + word(listed) + std::string(64, '\0');
    bytes.replace(8, prefix.size(), prefix);
    bytes.replace(40, after.size(), after);
    return bytes;
}

bool reads(const std::string &bytes, ListRequest &request) {
    return read_list_body(bytes.data(), static_cast<int32_t>(bytes.size()), request);
}

bool reads(const std::string &bytes) {
    ListRequest request = {};
    return reads(bytes, request);
}

std::string page_of(size_t size, const std::vector<ZndbItem> &items) {
    std::string bytes(size, '\0');
    ListPage page(bytes.data(), bytes.size());
    for (const ZndbItem &item : items) {
        if (!page.add(item)) {
            break;
        }
    }
    return bytes;
}

/* The keys of a page, and how it ends. */
std::string read_page(const std::string &bytes) {
    ListedPage page(bytes.data(), bytes.size());
    std::string text;
    ZndbItem item = {};
    while (page.next(item)) {
        text += std::string(item.key) + (item.kind == ItemKind::kDelete ? "!" : "=") +
                std::string(item.value) + " ";
    }
    return text + (page.emptied() ? "emptied " : "") +
           (!page.at_end()   ? "malformed"
            : page.goes_on() ? "goes on"
                             : "end");
}

}  // namespace

TEST(ZndbListWire, TheMessageIs2101) {
    EXPECT_EQ(2101, kZndbListMessage);
}

TEST(ZndbListWire, ARequestIsTwoWordsAndTwoTexts) {
    const zndb_list_request body = list_body({StoreId::kPerm, Listed::kUnsaved, "pre", "prefix"});
    EXPECT_EQ(request_bytes(1, 1, "pre", "prefix"),
              std::string(reinterpret_cast<const char *>(&body), sizeof(body)));
}

TEST(ZndbListWire, ARequestIsReadAsItWasWritten) {
    const std::string bytes = request_bytes(2, 1, std::string(31, 'p'), std::string(31, 'q'));
    ListRequest request = {};
    ASSERT_TRUE(reads(bytes, request));
    EXPECT_EQ(StoreId::kFactory, request.store);
    EXPECT_EQ(Listed::kUnsaved, request.listed);
    EXPECT_EQ(std::string(31, 'p'), request.prefix);
    EXPECT_EQ(std::string(31, 'q'), request.after);
}

TEST(ZndbListWire, ARequestOfAnotherFormIsRefused) {
    const std::string good = request_bytes(0, 0, "", "");
    EXPECT_TRUE(reads(good));
    EXPECT_FALSE(reads(good.substr(1)));
    EXPECT_FALSE(reads(good + '\0'));
    EXPECT_FALSE(reads(request_bytes(3, 0, "", "")));
    EXPECT_FALSE(reads(request_bytes(0, 2, "", "")));
    EXPECT_FALSE(reads(request_bytes(0, 0, std::string(32, 'p'), "")));
    EXPECT_FALSE(reads(request_bytes(0, 0, "", std::string(32, 'p'))));
    ListRequest request = {};
    EXPECT_FALSE(read_list_body(nullptr, 72, request));
}

TEST(ZndbListWire, APageIsAHeadAndItsItems) {
    const std::string bytes = page_of(
        64, {{ItemKind::kSet, StoreId::kPerm, "a", "1"}, {ItemKind::kDelete, StoreId::kPerm, "b", ""}});
    const std::string expected = word(2) + word(0) + item_bytes(0, 1, "a", "1") + item_bytes(1, 1, "b", "");
    EXPECT_EQ(expected, bytes.substr(0, expected.size()));
    EXPECT_EQ("a=1 b! end", read_page(bytes));
}

TEST(ZndbListWire, APageThatIsFullGoesOn) {
    const ZndbItem item = {ItemKind::kSet, StoreId::kPlain, "a", "1"};
    const std::string bytes = page_of(8 + 20, {item, item, item});
    EXPECT_EQ(word(2) + word(1), bytes.substr(0, 8));
    EXPECT_EQ("a=1 a=1 goes on", read_page(bytes));
}

TEST(ZndbListWire, APageCanSayThatTheStoreWasEmptied) {
    std::string bytes(8, '#');
    ListPage(bytes.data(), bytes.size()).mark(kListEmptied);
    EXPECT_EQ(word(0) + word(2), bytes);
    EXPECT_EQ("emptied end", read_page(bytes));
}

TEST(ZndbListWire, APageOfAnotherFormIsMalformed) {
    EXPECT_EQ("malformed", read_page(""));
    EXPECT_EQ("malformed", read_page(std::string(7, '\0')));
    EXPECT_EQ("malformed", read_page(word(1) + word(0)));
    EXPECT_EQ("a=1 malformed", read_page(word(2) + word(0) + item_bytes(0, 0, "a", "1")));
    EXPECT_EQ("malformed", read_page(word(1) + word(0) + item_bytes(2, 0, "a", "1")));
}
