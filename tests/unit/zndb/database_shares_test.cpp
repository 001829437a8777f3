/*
 * How many unsaved changed keys each sender may have.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

constexpr size_t kLimit = 3;
constexpr int32_t kRefused = E_APPS_ERR_ZNDB_MEM;
constexpr Sender kRouter = 3;
constexpr Sender kWlan = 5;

class DatabaseShares : public DatabaseFixture {
  protected:
    void SetUp() override {
        DatabaseFixture::SetUp();
        limit_senders();
    }

    void limit_senders() {
        database_->limit(Shares(
            [this] {
                ++asked_;
                return SentBy{sender_, 100 + static_cast<int32_t>(sender_)};
            },
            kLimit));
    }

    int32_t set(const std::string &key, const std::string &value = "v", StoreId id = P) {
        return database_->set(id, key, value);
    }

    void use_up(Sender sender, StoreId id = P) {
        sender_ = sender;
        for (size_t i = 0; i < kLimit; ++i) {
            EXPECT_EQ(0, set(std::to_string(sender) + "." + std::to_string(i), "v", id));
        }
    }

    int32_t apply(std::initializer_list<ZndbItem> items) {
        ZndbBatchItems batch;
        for (const ZndbItem &item : items) {
            EXPECT_TRUE(batch.add(item));
        }
        return database_->apply_batch(batch, answer_);
    }

    static ZndbItem item(std::string_view key, StoreId id = P) { return {ItemKind::kSet, id, key, "v"}; }

    Sender sender_ = kRouter;
    int asked_ = 0;
    BatchAnswer answer_ = {};
};

TEST_F(DatabaseShares, ASenderIsRefusedWhatIsBeyondItsShare) {
    use_up(kRouter);
    log_.clear();
    EXPECT_EQ(kRefused, set("more"));
    EXPECT_EQ(kMissing, plain("more"));
    EXPECT_EQ((std::vector<std::string>{
                  "process 103 refused: it would have more than 3 unsaved changed keys of the plain store"}),
              warnings(log_));
    EXPECT_EQ(std::string::npos, journals().find("more"));
}

TEST_F(DatabaseShares, OtherSendersKeepTheirs) {
    use_up(kRouter);
    use_up(kWlan);
    EXPECT_EQ(kRefused, set("more"));
}

TEST_F(DatabaseShares, EachStoreHasItsOwn) {
    use_up(kRouter, P);
    use_up(kRouter, M);
    use_up(kRouter, F);
    EXPECT_EQ(kRefused, set("more", "v", M));
}

TEST_F(DatabaseShares, AChangedKeyIsSetAgainAtAnyTimeWithoutAskingWhoDoes) {
    use_up(kRouter);
    asked_ = 0;
    EXPECT_EQ(0, set("3.0", "again"));
    EXPECT_EQ("again", plain("3.0"));
    EXPECT_EQ(0, database_->erase(P, "3.1"));
    EXPECT_EQ(0, asked_);
}

TEST_F(DatabaseShares, ASetToThePresentValueAsksNobody) {
    put_file(kPlainFile, "k=v\n");
    restart();
    limit_senders();
    use_up(kRouter);
    asked_ = 0;
    EXPECT_EQ(0, set("k"));
    EXPECT_EQ(0, asked_);
    EXPECT_EQ(kRefused, set("k", "other"));
    EXPECT_EQ(1, asked_);
}

TEST_F(DatabaseShares, ASaveGivesThemBack) {
    use_up(kRouter, P);
    use_up(kRouter, M);
    EXPECT_EQ(0, database_->save());
    use_up(kRouter, M);
    for (const char *key : {"a", "b", "c"}) {
        EXPECT_EQ(0, set(key));
    }
    EXPECT_EQ(kRefused, set("d"));
}

TEST_F(DatabaseShares, ASaveThatFailsGivesNothingBack) {
    use_up(kRouter);
    fail_open(kPlainFile + ".tmp", EROFS);
    EXPECT_NE(0, database_->save());
    end_faults();
    EXPECT_EQ(kRefused, set("more"));
}

TEST_F(DatabaseShares, ADeletedNewKeyIsGivenBack) {
    use_up(kRouter);
    EXPECT_EQ(0, database_->erase(P, "3.0"));
    EXPECT_EQ(0, set("more"));
    EXPECT_EQ(kRefused, set("more2"));
}

TEST_F(DatabaseShares, ADeleteOfASavedKeyCounts) {
    put_file(kPlainFile, "a=v\nb=v\nc=v\nd=v\n");
    restart();
    limit_senders();
    for (const char *key : {"a", "b", "c"}) {
        EXPECT_EQ(0, database_->erase(P, key));
    }
    EXPECT_EQ(kRefused, database_->erase(P, "d"));
    EXPECT_EQ("v", plain("d"));
    EXPECT_EQ(0, set("a", "again"));
}

TEST_F(DatabaseShares, AResetGivesThemBack) {
    use_up(kRouter);
    EXPECT_EQ(0, database_->reset());
    use_up(kRouter);
    EXPECT_EQ(kRefused, set("more"));
}

/* Nothing tells whose the journal's changes are. */
TEST_F(DatabaseShares, ChangesOfBeforeAStartAreNobodys) {
    use_up(kRouter);
    restart();
    limit_senders();
    EXPECT_EQ(0, set("3.0", "again"));
    for (const char *key : {"a", "b", "c"}) {
        EXPECT_EQ(0, set(key));
    }
    EXPECT_EQ(kRefused, set("d"));
}

TEST_F(DatabaseShares, AChangeThatFailsIsNotCounted) {
    limit_disk(0);
    EXPECT_NE(0, set("k"));
    end_faults();
    use_up(kRouter);
}

TEST_F(DatabaseShares, ABatchBeyondTheShareIsRefusedAsAWhole) {
    EXPECT_EQ(0, set("a"));
    EXPECT_EQ(kRefused, apply({item("b"), item("m", M), item("c"), item("d")}));
    EXPECT_EQ(E_ZNDB_RET_REFUSED, answer_.verdict);
    EXPECT_EQ(kNoItem, answer_.item);
    EXPECT_EQ("P+a=v\n", journals());
    EXPECT_EQ(0, apply({item("b"), item("m", M), item("c")}));
    EXPECT_EQ(E_ZNDB_RET_SUCCESS, answer_.verdict);
    EXPECT_EQ(kRefused, set("d"));
    EXPECT_EQ(0, set("m2", "v", M));
    EXPECT_EQ(0, set("m3", "v", M));
    EXPECT_EQ(kRefused, set("m4", "v", M));
}

TEST_F(DatabaseShares, ABatchOfChangedKeysAsksNobody) {
    use_up(kRouter);
    sender_ = kWlan;
    asked_ = 0;
    ZndbItem changed = item("3.0");
    changed.value = "again";
    EXPECT_EQ(0, apply({changed, {ItemKind::kDelete, P, "3.1", {}}}));
    EXPECT_EQ(0, asked_);
    use_up(kWlan);
}

TEST_F(DatabaseShares, ABatchThatFailsIsNotCounted) {
    limit_disk(0);
    EXPECT_NE(0, apply({item("a"), item("b")}));
    EXPECT_EQ(E_ZNDB_RET_FAILURE, answer_.verdict);
    end_faults();
    use_up(kRouter);
}

}  // namespace
