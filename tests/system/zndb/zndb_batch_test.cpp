/*
 * Batches, compare and set, and lists as modules use them, with the database killed at any moment.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/killer.h"
#include "system/zndb/zndb_process.h"
#include "zndb_ext.h"

namespace {

using std::chrono::microseconds;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRounds = 30; /* each start of a sanitized program takes long */
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr int kRounds = 30;
#else
constexpr int kRounds = 150;
#endif
#else
constexpr int kRounds = 150;
#endif

constexpr int kKeys = 20; /* of each store */
constexpr zndb_store kStores[] = {ZNDB_STORE_PLAIN, ZNDB_STORE_PERM, ZNDB_STORE_FACTORY};

struct Freed {
    void operator()(zndb_batch *batch) const { zndb_batch_free(batch); }
};

using Batch = std::unique_ptr<zndb_batch, Freed>;

Batch make_batch() {
    return Batch(zndb_batch_new());
}

/* Keys that no other store has, so that a get has no fallback. */
std::string key_of(zndb_store store, int number) {
    return std::string(1, "pmf"[store]) + std::to_string(number);
}

std::string stored_in(zndb_store store, const std::string &key) {
    return store == ZNDB_STORE_PLAIN ? plain(key) : store == ZNDB_STORE_PERM ? perm(key) : def(key);
}

/* Long enough that a journal's write takes several pages. */
std::string value_of(int round) {
    return std::to_string(round) + std::string(500, '.');
}

Batch batch_of(int round) {
    Batch batch = make_batch();
    for (const zndb_store store : kStores) {
        for (int i = 0; i < kKeys; ++i) {
            EXPECT_EQ(0,
                      zndb_batch_set(batch.get(), store, key_of(store, i).c_str(), value_of(round).c_str()));
        }
    }
    return batch;
}

int take_key(const char *key, const char *value, void *context) {
    *static_cast<std::string *>(context) += std::string(key) + "=" + value + " ";
    return 0;
}

std::string listed(zndb_store store, const char *prefix = "") {
    std::string text;
    const int ret = zndb_list(store, prefix, take_key, &text);
    return ret == 0 ? text : "ret " + std::to_string(ret);
}

class ZndbBatchSystem : public ZndbTest {
  protected:
    /* The value that all keys of these stores have; fails if they differ. */
    static std::string common_value(const std::vector<zndb_store> &stores) {
        const std::string first = stored_in(stores[0], key_of(stores[0], 0));
        for (const zndb_store store : stores) {
            for (int i = 0; i < kKeys; ++i) {
                EXPECT_EQ(first, stored_in(store, key_of(store, i))) << key_of(store, i);
            }
        }
        return first;
    }

    microseconds random_delay(int64_t longest) {
        return microseconds(std::uniform_int_distribution<int64_t>(0, longest)(random_));
    }

    std::mt19937 random_{20240229};
};

/* ---- batches ---- */

TEST_F(ZndbBatchSystem, ChangesSeveralStoresAsOne) {
    start();
    EXPECT_EQ(0, zndb_set("gone", "1"));
    const Batch batch = make_batch();
    EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PLAIN, "a", "1"));
    EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PERM, "b", "2"));
    EXPECT_EQ(0, zndb_batch_delete(batch.get(), ZNDB_STORE_PLAIN, "gone"));
    EXPECT_EQ(0, zndb_batch_delete(batch.get(), ZNDB_STORE_PLAIN, "missing"));
    EXPECT_EQ(0, zndb_batch_apply(batch.get()));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("2", perm("b"));
    EXPECT_EQ("ret 3", plain("gone"));
}

TEST_F(ZndbBatchSystem, ChangesNothingIfAnExpectationDoesNotHold) {
    start();
    EXPECT_EQ(0, zndb_set("a", "1"));
    const Batch batch = make_batch();
    EXPECT_EQ(0, zndb_batch_expect(batch.get(), ZNDB_STORE_PLAIN, "a", "2"));
    EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PERM, "b", "2"));
    EXPECT_EQ(E_ZNDB_RET_CONFLICT, zndb_batch_apply(batch.get()));
    EXPECT_EQ("ret 3", perm("b"));
    EXPECT_EQ(0, zndb_set("a", "2"));
    EXPECT_EQ(0, zndb_batch_apply(batch.get()));
    EXPECT_EQ("2", perm("b"));
}

TEST_F(ZndbBatchSystem, ASetThatIsRefusedGives1ForTheWholeBatch) {
    start();
    const Batch batch = make_batch();
    EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PLAIN, "a", "1"));
    EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PLAIN, "b=c", "1"));
    EXPECT_EQ(1, zndb_batch_apply(batch.get()));
    EXPECT_EQ("ret 3", plain("a"));
}

TEST_F(ZndbBatchSystem, WithoutADatabaseGives2) {
    const Batch batch = make_batch();
    EXPECT_EQ(0, zndb_batch_apply(batch.get()));
    EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PLAIN, "a", "1"));
    EXPECT_EQ(2, zndb_batch_apply(batch.get()));
    EXPECT_EQ(2, zndb_compare_and_set(ZNDB_STORE_PLAIN, "a", nullptr, "1"));
    EXPECT_EQ("ret 2", listed(ZNDB_STORE_PLAIN));
}

TEST_F(ZndbBatchSystem, TakesThe64LongestItems) {
    start();
    const std::string value(1023, 'v');
    const Batch batch = make_batch();
    for (int i = 10; i < 74; ++i) {
        const std::string key = std::string(29, 'k') + std::to_string(i);
        EXPECT_EQ(0, zndb_batch_set(batch.get(), ZNDB_STORE_PLAIN, key.c_str(), value.c_str()));
    }
    EXPECT_EQ(0, zndb_batch_apply(batch.get()));
    restart();
    EXPECT_EQ(value, plain(std::string(29, 'k') + "10"));
    EXPECT_EQ(value, plain(std::string(29, 'k') + "73"));
}

TEST_F(ZndbBatchSystem, KilledAtAnyMomentTheBatchIsInAllStoresOrInNone) {
    start();
    ASSERT_EQ(0, zndb_batch_apply(batch_of(0).get()));
    int known = 0; /* the last batch that is there */
    int kept_old = 0;
    int64_t longest = 1000;
    for (int round = 1; round <= kRounds; ++round) {
        const Batch batch = batch_of(round);
        int ret = 0;
        {
            const Killer killer(zndb_->pid(), random_delay(longest));
            ret = zndb_batch_apply(batch.get());
        }
        EXPECT_EQ(128 + SIGKILL, zndb_->exit_status());
        start();
        const std::string found = common_value({std::begin(kStores), std::end(kStores)});
        ASSERT_TRUE(found == value_of(round) || (ret != 0 && found == value_of(known)))
            << "round " << round << " returned " << ret << ", found " << found.substr(0, 8);
        const bool is_old = found != value_of(round);
        kept_old += is_old ? 1 : 0;
        known = is_old ? known : round;
        longest = is_old ? longest * 11 / 10 : longest * 9 / 10 + 10;
    }
    EXPECT_GT(kept_old, 0);
    EXPECT_LT(kept_old, kRounds);
}

TEST_F(ZndbBatchSystem, AfterAPowerCutAtAnyMomentOfASaveEachFileHasTheWholeBatchOrNothing) {
    start();
    ASSERT_EQ(0, zndb_batch_apply(batch_of(0).get()));
    ASSERT_EQ(0, zndb_save());
    for (int round = 1; round <= kRounds / 3; ++round) {
        ASSERT_EQ(0, zndb_batch_apply(batch_of(round).get()));
        {
            const Killer killer(zndb_->pid(), random_delay(3000));
            (void)zndb_save();
        }
        EXPECT_EQ(128 + SIGKILL, zndb_->exit_status());
        start();
        cut_power();
        (void)common_value({ZNDB_STORE_PLAIN});
        (void)common_value({ZNDB_STORE_PERM});
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

/* ---- compare and set ---- */

TEST_F(ZndbBatchSystem, CompareAndSetLosesNoUpdateOfSeveralModules) {
    start();
    EXPECT_EQ(0, zndb_compare_and_set(ZNDB_STORE_PLAIN, "counter", nullptr, "0"));
    EXPECT_EQ(E_ZNDB_RET_CONFLICT, zndb_compare_and_set(ZNDB_STORE_PLAIN, "counter", nullptr, "0"));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int done = 0; done < 25;) {
                const std::string before = plain("counter");
                const std::string after = std::to_string(std::stoi(before) + 1);
                const int ret =
                    zndb_compare_and_set(ZNDB_STORE_PLAIN, "counter", before.c_str(), after.c_str());
                EXPECT_TRUE(ret == 0 || ret == E_ZNDB_RET_CONFLICT);
                done += ret == 0 ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ("100", plain("counter"));
}

/* ---- lists ---- */

TEST_F(ZndbBatchSystem, AListHasTheStoresKeysInTheOrderOfTheirBytes) {
    ASSERT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "image=1\n"));
    start();
    EXPECT_EQ("", listed(ZNDB_STORE_PLAIN));
    for (const char *key : {"lan_ip", "wan", "lan", "LAN", "lan_mask"}) {
        EXPECT_EQ(0, zndb_set(key, "v"));
    }
    EXPECT_EQ(0, zndb_set_perm_data("imei", "1"));
    EXPECT_EQ("LAN=v lan=v lan_ip=v lan_mask=v wan=v ", listed(ZNDB_STORE_PLAIN));
    EXPECT_EQ("lan=v lan_ip=v lan_mask=v ", listed(ZNDB_STORE_PLAIN, "lan"));
    EXPECT_EQ("imei=1 ", listed(ZNDB_STORE_PERM));
    EXPECT_EQ("", listed(ZNDB_STORE_FACTORY));
}

TEST_F(ZndbBatchSystem, AListOfManyPagesHasEveryKeyOnce) {
    std::string expected;
    std::string file;
    for (int i = 1000; i < 3000; ++i) {
        const std::string value(static_cast<size_t>(i) % 200, 'v');
        file += "k" + std::to_string(i) + "=" + value + "\n";
        expected += "k" + std::to_string(i) + "=" + value + " ";
    }
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", file));
    start();
    EXPECT_EQ(expected, listed(ZNDB_STORE_PLAIN));
}

TEST_F(ZndbBatchSystem, AHandlerOfAListMayCallTheDatabaseAndEndTheList) {
    start();
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set("b", "2"));
    const zndb_list_handler handler = [](const char *key, const char *, void *) {
        EXPECT_EQ(0, zndb_del(key));
        return 1;
    };
    EXPECT_EQ(0, zndb_list(ZNDB_STORE_PLAIN, "", handler, nullptr));
    EXPECT_EQ("b=2 ", listed(ZNDB_STORE_PLAIN));
}

}  // namespace
