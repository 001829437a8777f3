/*
 * Batches against a transport that the test plays: their arguments, their bytes, and the results.
 */
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "doubles/base_doubles.h"
#include "os_log.h"
#include "unit/formats/item_bytes.h"
#include "unit/libappdb/fake_transport.h"
#include "zndb_ext.h"

namespace {

constexpr zndb_store kUnknown = static_cast<zndb_store>(3);
const std::string k31(31, 'k');
const std::string k32(32, 'k');
const std::string v1023(1023, 'v');
const std::string v1024(1024, 'v');

struct Freed {
    void operator()(zndb_batch *batch) const { zndb_batch_free(batch); }
};

Bytes bytes_of(const std::string &text) {
    return {text.begin(), text.end()};
}

/* The answer of the database: what the call returns, and the item that decided it. */
std::string verdict(uint32_t number) {
    return word(number) + word(0);
}

class ZndbBatch : public ClientTest {
  protected:
    ZndbBatch() : batch_(zndb_batch_new()) { g_transport.bytes = verdict(0); }

    int set(const char *key, const char *value, zndb_store store = ZNDB_STORE_PLAIN) {
        return zndb_batch_set(batch_.get(), store, key, value);
    }
    int erase(const char *key, zndb_store store = ZNDB_STORE_PLAIN) {
        return zndb_batch_delete(batch_.get(), store, key);
    }
    int expect(const char *key, const char *value, zndb_store store = ZNDB_STORE_PLAIN) {
        return zndb_batch_expect(batch_.get(), store, key, value);
    }
    int apply() { return zndb_batch_apply(batch_.get()); }

    /* Makes all memory that is asked for now unavailable. */
    static void refuse_memory() {
        doubles::base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
    }

    ~ZndbBatch() override { doubles::base::os_mem_malloc.restore(); }

    std::unique_ptr<zndb_batch, Freed> batch_;
};

}  // namespace

TEST_F(ZndbBatch, IsOneRequestWithAllItemsInOrder) {
    EXPECT_EQ(0, expect("a", "old"));
    EXPECT_EQ(0, expect("b", nullptr, ZNDB_STORE_PERM));
    EXPECT_EQ(0, set("a", "new"));
    EXPECT_EQ(0, erase("c", ZNDB_STORE_FACTORY));
    EXPECT_EQ(0, g_transport.requests);
    EXPECT_EQ(0, apply());
    expect_request(2100, bytes_of(item_bytes(2, 0, "a", "old") + item_bytes(3, 1, "b", "") +
                                  item_bytes(0, 0, "a", "new") + item_bytes(1, 2, "c", "")));
    EXPECT_EQ(8u, g_transport.answer_size);
    expect_nothing_logged();
}

TEST_F(ZndbBatch, TakesTheLongestTextsAndEmptyValues) {
    EXPECT_EQ(0, set(k31.c_str(), v1023.c_str()));
    EXPECT_EQ(0, set("e", ""));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(item_bytes(0, 0, k31, v1023) + item_bytes(0, 0, "e", "")), g_transport.body);
}

TEST_F(ZndbBatch, CopiesItsTexts) {
    std::string key = "key";
    std::string value = "value";
    EXPECT_EQ(0, set(key.c_str(), value.c_str()));
    key = "xxx";
    value = "yyyyy";
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(item_bytes(0, 0, "key", "value")), g_transport.body);
}

TEST_F(ZndbBatch, WithoutItemsSucceedsWithoutARequest) {
    EXPECT_EQ(0, apply());
    EXPECT_EQ(0, g_transport.requests);
}

TEST_F(ZndbBatch, IsEmptyAfterSuccess) {
    EXPECT_EQ(0, set("a", "1"));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(0, apply());
    EXPECT_EQ(1, g_transport.requests);
    EXPECT_EQ(0, set("b", "2"));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(item_bytes(0, 0, "b", "2")), g_transport.body);
}

TEST_F(ZndbBatch, IsUnchangedAfterAFailure) {
    EXPECT_EQ(0, set("a", "1"));
    g_transport.returns = 19;
    EXPECT_EQ(2, apply());
    g_transport.returns = 0;
    EXPECT_EQ(0, set("b", "2"));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(item_bytes(0, 0, "a", "1") + item_bytes(0, 0, "b", "2")), g_transport.body);
}

TEST_F(ZndbBatch, Takes64ItemsAndRefusesOneMoreWith5) {
    std::string expected;
    for (int i = 0; i < 64; ++i) {
        const std::string key = "k" + std::to_string(i);
        ASSERT_EQ(0, set(key.c_str(), v1023.c_str()));
        expected += item_bytes(0, 0, key, v1023);
    }
    EXPECT_EQ(5, set("more", "1"));
    expect_logged("zndb_batch_set", "the batch is full: it has 64 items");
    EXPECT_EQ(5, erase("more"));
    EXPECT_EQ(5, expect("more", nullptr));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(expected), g_transport.body);
    EXPECT_EQ(0, set("more", "1"));
}

/* ---- arguments ---- */

TEST_F(ZndbBatch, ANullArgumentGives1) {
    EXPECT_EQ(1, zndb_batch_set(nullptr, ZNDB_STORE_PLAIN, "k", "v"));
    expect_logged("zndb_batch_set", "Parameter error!");
    EXPECT_EQ(1, set(nullptr, "v"));
    EXPECT_EQ(1, set("k", nullptr));
    EXPECT_EQ(1, zndb_batch_delete(nullptr, ZNDB_STORE_PLAIN, "k"));
    EXPECT_EQ(1, erase(nullptr));
    EXPECT_EQ(1, zndb_batch_expect(nullptr, ZNDB_STORE_PLAIN, "k", "v"));
    EXPECT_EQ(1, zndb_batch_expect(nullptr, ZNDB_STORE_PLAIN, "k", nullptr));
    EXPECT_EQ(1, expect(nullptr, "v"));
    EXPECT_EQ(1, zndb_batch_apply(nullptr));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(0, g_transport.requests);
}

TEST_F(ZndbBatch, AnUnknownStoreGives1) {
    EXPECT_EQ(1, set("k", "v", kUnknown));
    expect_logged("zndb_batch_set", "store 3 is unknown");
    EXPECT_EQ(1, erase("k", kUnknown));
    EXPECT_EQ(1, expect("k", "v", kUnknown));
    EXPECT_EQ(1, expect("k", nullptr, kUnknown));
    EXPECT_EQ(1, set(k32.c_str(), v1024.c_str(), kUnknown));
}

TEST_F(ZndbBatch, AKeyOf32CharactersGives4) {
    EXPECT_EQ(4, set(k32.c_str(), "v"));
    expect_logged("zndb_batch_set", "KEY len >= 32 error!");
    EXPECT_EQ(4, erase(k32.c_str()));
    EXPECT_EQ(4, expect(k32.c_str(), nullptr));
    EXPECT_EQ(4, expect(k32.c_str(), v1024.c_str()));
}

TEST_F(ZndbBatch, AValueOf1024CharactersGives5) {
    EXPECT_EQ(5, set("k", v1024.c_str()));
    expect_logged("zndb_batch_set", "VALUE len >= 1024 error!");
    EXPECT_EQ(5, expect("k", v1024.c_str()));
}

TEST_F(ZndbBatch, ARefusedItemIsNotInTheBatch) {
    EXPECT_EQ(0, set("a", "1"));
    EXPECT_EQ(4, set(k32.c_str(), "v"));
    EXPECT_EQ(5, set("k", v1024.c_str()));
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(item_bytes(0, 0, "a", "1")), g_transport.body);
}

TEST_F(ZndbBatch, FreeTakesNull) {
    zndb_batch_free(nullptr);
    expect_nothing_logged();
}

/* ---- memory ---- */

TEST_F(ZndbBatch, WithoutMemoryThereIsNone) {
    refuse_memory();
    EXPECT_EQ(nullptr, zndb_batch_new());
    expect_logged("zndb_batch_new", "no memory for a batch");
}

TEST_F(ZndbBatch, WithoutMemoryForAnItemItIsUnchanged) {
    EXPECT_EQ(0, set("a", "1"));
    refuse_memory();
    EXPECT_EQ(1, set("b", v1023.c_str()));
    expect_logged("zndb_batch_set", "no memory for a batch of 1042 bytes");
    doubles::base::os_mem_malloc.restore();
    EXPECT_EQ(0, apply());
    EXPECT_EQ(bytes_of(item_bytes(0, 0, "a", "1")), g_transport.body);
}

/* ---- answers ---- */

TEST_F(ZndbBatch, WithoutAnAnswerGives2) {
    EXPECT_EQ(0, set("a", "1"));
    g_transport.returns = 1;
    EXPECT_EQ(2, apply());
    expect_logged("zndb_batch_apply", "IPC error:1!");
}

TEST_F(ZndbBatch, AnExpectationThatDoesNotHoldGives6AndIsNoWarning) {
    EXPECT_EQ(0, set("a", "1"));
    g_transport.result = 2002;
    g_transport.bytes = verdict(6);
    EXPECT_EQ(6, apply());
    ASSERT_EQ(1u, log_.system_lines().size()) << log_.text();
    EXPECT_EQ(OS_LOG_DEBUG, log_.system_lines()[0].level);
}

TEST_F(ZndbBatch, ARefusalOfRightsGives7) {
    EXPECT_EQ(0, set("a", "1"));
    g_transport.result = 2006;
    g_transport.bytes = verdict(7);
    EXPECT_EQ(7, apply());
    expect_logged("zndb_batch_apply", "IPC module error:2006!");
}

TEST_F(ZndbBatch, AnyOtherRefusalGives1) {
    EXPECT_EQ(0, set("a", "1"));
    g_transport.result = 2004;
    g_transport.bytes = verdict(1);
    EXPECT_EQ(1, apply());
    expect_logged("zndb_batch_apply", "IPC module error:2004!");
}

TEST_F(ZndbBatch, AnOldDatabaseGives1) {
    EXPECT_EQ(0, set("a", "1"));
    g_transport.result = 8;
    g_transport.bytes = verdict(0);
    EXPECT_EQ(1, apply());
}

/* ---- compare and set ---- */

TEST_F(ZndbBatch, CompareAndSetIsABatchOfAnExpectationAndASet) {
    EXPECT_EQ(0, zndb_compare_and_set(ZNDB_STORE_PERM, "k", "old", "new"));
    expect_request(2100, bytes_of(item_bytes(2, 1, "k", "old") + item_bytes(0, 1, "k", "new")));
}

TEST_F(ZndbBatch, CompareAndSetWithoutAnExpectedValueWantsTheKeyMissing) {
    EXPECT_EQ(0, zndb_compare_and_set(ZNDB_STORE_PLAIN, "k", nullptr, "new"));
    expect_request(2100, bytes_of(item_bytes(3, 0, "k", "") + item_bytes(0, 0, "k", "new")));
}

TEST_F(ZndbBatch, CompareAndSetGivesTheResultsOfABatch) {
    g_transport.result = 2002;
    g_transport.bytes = verdict(6);
    EXPECT_EQ(6, zndb_compare_and_set(ZNDB_STORE_PLAIN, "k", "old", "new"));
    g_transport.returns = 1;
    EXPECT_EQ(2, zndb_compare_and_set(ZNDB_STORE_PLAIN, "k", "old", "new"));
}

TEST_F(ZndbBatch, CompareAndSetChecksItsArgumentsFirst) {
    EXPECT_EQ(1, zndb_compare_and_set(ZNDB_STORE_PLAIN, nullptr, "old", "new"));
    expect_logged("zndb_compare_and_set", "Parameter error!");
    EXPECT_EQ(1, zndb_compare_and_set(ZNDB_STORE_PLAIN, "k", "old", nullptr));
    EXPECT_EQ(1, zndb_compare_and_set(kUnknown, "k", "old", "new"));
    EXPECT_EQ(4, zndb_compare_and_set(ZNDB_STORE_PLAIN, k32.c_str(), nullptr, "new"));
    EXPECT_EQ(5, zndb_compare_and_set(ZNDB_STORE_PLAIN, "k", v1024.c_str(), "new"));
    EXPECT_EQ(5, zndb_compare_and_set(ZNDB_STORE_PLAIN, "k", "old", v1024.c_str()));
    EXPECT_EQ(0, g_transport.requests);
}
