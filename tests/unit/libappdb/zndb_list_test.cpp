/*
 * Lists against a transport that the test plays: the pages that are asked for, and what is passed on.
 */
#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "doubles/base_doubles.h"
#include "unit/formats/item_bytes.h"
#include "unit/libappdb/fake_transport.h"
#include "zndb_ext.h"

namespace {

/* What the handler was given; it ends the list after so many keys. */
struct Seen {
    std::string text = {};
    int left = 1000;
};

int take(const char *key, const char *value, void *context) {
    auto *seen = static_cast<Seen *>(context);
    seen->text += std::string(key) + "=" + value + " ";
    return --seen->left > 0 ? 0 : 1;
}

std::string page(uint32_t count, uint32_t flags, const std::string &items) {
    return word(count) + word(flags) + items;
}

class ZndbList : public ClientTest {
  protected:
    /* Answers with these pages in turn. */
    void answer(std::deque<std::string> pages) {
        pages_ = std::move(pages);
        g_transport.on_request = [this](Transport &transport) {
            ASSERT_FALSE(pages_.empty()) << "a page too many was requested";
            asked_.push_back({transport.body.begin(), transport.body.end()});
            transport.bytes = pages_.front();
            pages_.pop_front();
        };
    }

    int list(const char *prefix = "", zndb_store store = ZNDB_STORE_PLAIN) {
        return zndb_list(store, prefix, take, &seen_);
    }

    void expect_malformed() {
        EXPECT_EQ(1, list());
        expect_logged("zndb_list", "the answer of the database is malformed");
    }

    Seen seen_;
    std::deque<std::string> pages_;
    std::vector<std::string> asked_;
};

std::string request(uint32_t store, const std::string &prefix, const std::string &after) {
    std::string bytes = word(store) + word(0) + std::string(64, '\0');
    bytes.replace(8, prefix.size(), prefix);
    bytes.replace(40, after.size(), after);
    return bytes;
}

}  // namespace

TEST_F(ZndbList, PassesKeysAndValuesOfOnePage) {
    answer({page(2, 0, item_bytes(0, 0, "a", "1") + item_bytes(0, 0, "b", ""))});
    EXPECT_EQ(0, list());
    EXPECT_EQ("a=1 b= ", seen_.text);
    EXPECT_EQ((std::vector<std::string>{request(0, "", "")}), asked_);
    EXPECT_EQ(2101, g_transport.msgid);
    EXPECT_EQ(16384u, g_transport.answer_size);
    expect_nothing_logged();
}

TEST_F(ZndbList, AsksForTheNextPageAfterTheLastKey) {
    answer({page(2, 1, item_bytes(0, 1, "pa", "1") + item_bytes(0, 1, "pb", "2")),
            page(1, 1, item_bytes(0, 1, "pc", "3")), page(0, 0, "")});
    EXPECT_EQ(0, list("p", ZNDB_STORE_PERM));
    EXPECT_EQ("pa=1 pb=2 pc=3 ", seen_.text);
    EXPECT_EQ((std::vector<std::string>{request(1, "p", ""), request(1, "p", "pb"), request(1, "p", "pc")}),
              asked_);
}

TEST_F(ZndbList, WithoutKeysSucceedsWithoutACall) {
    answer({page(0, 0, "")});
    EXPECT_EQ(0, list());
    EXPECT_EQ("", seen_.text);
}

TEST_F(ZndbList, PassesTheLongestTexts) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    answer({page(1, 0, item_bytes(0, 2, key, value))});
    EXPECT_EQ(0, list(key.c_str(), ZNDB_STORE_FACTORY));
    EXPECT_EQ(key + "=" + value + " ", seen_.text);
}

TEST_F(ZndbList, EndsWithSuccessWhenTheHandlerEndsIt) {
    seen_.left = 1;
    answer({page(2, 1, item_bytes(0, 0, "a", "1") + item_bytes(0, 0, "b", "2"))});
    EXPECT_EQ(0, list());
    EXPECT_EQ("a=1 ", seen_.text);
    EXPECT_EQ(1, g_transport.requests);
}

TEST_F(ZndbList, ChecksItsArgumentsWithoutARequest) {
    EXPECT_EQ(1, zndb_list(ZNDB_STORE_PLAIN, nullptr, take, &seen_));
    expect_logged("zndb_list", "Parameter error!");
    EXPECT_EQ(1, zndb_list(ZNDB_STORE_PLAIN, "", nullptr, &seen_));
    EXPECT_EQ(1, list("", static_cast<zndb_store>(3)));
    EXPECT_EQ(4, list(std::string(32, 'p').c_str()));
    EXPECT_EQ(0, g_transport.requests);
}

TEST_F(ZndbList, WithoutMemoryGives1) {
    doubles::base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
    EXPECT_EQ(1, list());
    doubles::base::os_mem_malloc.restore();
    expect_logged("zndb_list", "no memory for a page of the list");
    EXPECT_EQ(0, g_transport.requests);
}

TEST_F(ZndbList, WithoutAnAnswerGives2) {
    g_transport.returns = 19;
    EXPECT_EQ(2, list());
    expect_logged("zndb_list", "IPC error:19!");
}

TEST_F(ZndbList, ARefusalGives1) {
    g_transport.result = 8;
    EXPECT_EQ(1, list());
    expect_logged("zndb_list", "IPC module error:8!");
}

TEST_F(ZndbList, APageWithFewerItemsThanAnnouncedIsMalformed) {
    answer({page(20000, 0, item_bytes(0, 0, "a", "1"))});
    expect_malformed();
}

TEST_F(ZndbList, APageWithADeletedKeyIsMalformed) {
    answer({page(1, 0, item_bytes(1, 0, "a", ""))});
    expect_malformed();
}

TEST_F(ZndbList, KeysThatDoNotAscendAreMalformed) {
    answer({page(2, 0, item_bytes(0, 0, "b", "1") + item_bytes(0, 0, "b", "2"))});
    expect_malformed();
    EXPECT_EQ("b=1 ", seen_.text);
}

TEST_F(ZndbList, AnEmptyPageThatGoesOnIsMalformed) {
    answer({page(1, 1, item_bytes(0, 0, "a", "1")), page(0, 1, "")});
    expect_malformed();
}
