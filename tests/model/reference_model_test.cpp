/*
 * The reference model by itself: which outcomes it allows, and which it doesn't.
 */
#include "model/reference_model.h"

#include <gtest/gtest.h>

namespace model {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kMissing = 3;
constexpr int kConflict = 6;

Operation of_kind(Kind kind) {
    Operation operation = {};
    operation.kind = kind;
    return operation;
}

Operation of_key(Kind kind, const std::string &key) {
    Operation operation = of_kind(kind);
    operation.key = key;
    return operation;
}

Operation set(const std::string &key, const std::string &value, Store store = Store::kPlain) {
    Operation operation = of_key(Kind::kSet, key);
    operation.store = store;
    operation.value = value;
    return operation;
}

Outcome disturbed(int result) {
    return {result, {}, true};
}

class ReferenceModelTest : public testing::Test {
  protected:
    bool allows(const Operation &operation, const Outcome &outcome) {
        return !model_.take(operation, outcome).has_value();
    }
    void make(const Operation &operation) { ASSERT_TRUE(allows(operation, {kDone})); }
    void save() { make(of_kind(Kind::kSave)); }

    bool reads(const std::string &key, const std::string &value) {
        return allows(of_key(Kind::kGet, key), {kDone, {value}});
    }
    bool misses(const std::string &key) { return allows(of_key(Kind::kGet, key), {kMissing}); }

    bool holds(const Values &plain, const Values &perm = {}) {
        State state(Values{});
        state.of(Store::kPlain).now = plain;
        state.of(Store::kPerm).now = perm;
        return !model_.take_lists(lists_of(state)).has_value();
    }

    ReferenceModel model_{Values{{"d", "default"}}};
};

TEST_F(ReferenceModelTest, AGetReturnsTheLastValueAndNoOther) {
    make(set("k", "1"));
    make(set("k", "2"));
    EXPECT_FALSE(reads("k", "1"));
    EXPECT_FALSE(misses("k"));
    EXPECT_TRUE(reads("k", "2"));
}

TEST_F(ReferenceModelTest, AMissingKeyHasItsDefaultAndAfterThatOfTheOverlay) {
    EXPECT_TRUE(reads("d", "default"));
    make(set("d", "overlaid", Store::kFactory));
    EXPECT_TRUE(reads("d", "overlaid"));
    EXPECT_TRUE(allows(of_key(Kind::kGetDefault, "d"), {kDone, {"overlaid"}}));
}

TEST_F(ReferenceModelTest, AnAnsweredSetIsNeverLostByAKill) {
    make(set("k", "1"));
    make(of_kind(Kind::kKill));
    EXPECT_FALSE(holds({}));
    EXPECT_TRUE(holds({{"k", "1"}}));
}

TEST_F(ReferenceModelTest, ASetWithoutAnAnswerIsThereOrNotButNeverBoth) {
    EXPECT_TRUE(allows(set("k", "1"), disturbed(kNoAnswer)));
    EXPECT_TRUE(misses("k"));
    EXPECT_FALSE(reads("k", "1"));
}

TEST_F(ReferenceModelTest, ARefusedSetIsAllowedOnlyWhereAStepHasFailed) {
    EXPECT_FALSE(allows(set("k", "1"), {kFailed}));
    EXPECT_TRUE(allows(set("k", "1"), disturbed(kFailed)));
    EXPECT_TRUE(holds({}));
}

TEST_F(ReferenceModelTest, APowerCutLeavesWhatWasSaved) {
    make(set("k", "saved"));
    make(set("p", "saved", Store::kPerm));
    save();
    make(set("k", "unsaved"));
    model_.cut_power();
    EXPECT_FALSE(holds({{"k", "unsaved"}}, {{"p", "saved"}}));
    EXPECT_TRUE(holds({{"k", "saved"}}, {{"p", "saved"}}));
}

TEST_F(ReferenceModelTest, ASaveThatWasCutShortLeavesEachFileOldOrNew) {
    make(set("k", "1"));
    make(set("p", "1", Store::kPerm));
    EXPECT_TRUE(allows(of_kind(Kind::kSave), disturbed(kNoAnswer)));
    model_.cut_power();
    EXPECT_FALSE(holds({{"k", "2"}}));
    EXPECT_TRUE(holds({{"k", "1"}}, {}));
}

TEST_F(ReferenceModelTest, ASaveThatSucceedsThoughAStepFailedHasSavedThePlainStore) {
    make(set("k", "1"));
    EXPECT_TRUE(allows(of_kind(Kind::kSave), disturbed(kDone)));
    model_.cut_power();
    EXPECT_FALSE(holds({}));
    EXPECT_TRUE(holds({{"k", "1"}}));
}

TEST_F(ReferenceModelTest, ABatchIsWholeOrNotThere) {
    Operation batch = of_kind(Kind::kBatch);
    batch.items = {{ItemKind::kSet, Store::kPlain, "a", "1"}, {ItemKind::kSet, Store::kPerm, "b", "2"}};
    EXPECT_TRUE(allows(batch, disturbed(kNoAnswer)));
    EXPECT_FALSE(holds({{"a", "1"}}));
    EXPECT_FALSE(holds({}, {{"b", "2"}}));
    EXPECT_TRUE(holds({{"a", "1"}}, {{"b", "2"}}));
}

TEST_F(ReferenceModelTest, ABatchWhoseExpectationDoesNotHoldChangesNothing) {
    Operation batch = of_kind(Kind::kBatch);
    batch.items = {{ItemKind::kSet, Store::kPlain, "a", "1"},
                   {ItemKind::kExpect, Store::kPlain, "d", "default"}};
    EXPECT_FALSE(allows(batch, {kDone}));
    EXPECT_TRUE(allows(batch, {kConflict}));
    EXPECT_TRUE(holds({}));
}

TEST_F(ReferenceModelTest, ACompareAndSetNeedsTheStoresOwnValue) {
    Operation change = of_key(Kind::kCompareAndSet, "d");
    change.value = "default";
    change.successor = "new";
    EXPECT_FALSE(allows(change, {kDone}));
    change.value = std::nullopt;
    EXPECT_TRUE(allows(change, {kDone}));
    EXPECT_TRUE(reads("d", "new"));
}

TEST_F(ReferenceModelTest, AResetEmptiesThePlainStoreAndItsFileOnlyWithASave) {
    make(set("k", "1"));
    make(set("p", "1", Store::kPerm));
    save();
    make(of_kind(Kind::kReset));
    EXPECT_TRUE(holds({}, {{"p", "1"}}));
    model_.cut_power();
    EXPECT_TRUE(holds({{"k", "1"}}, {{"p", "1"}}));
}

TEST_F(ReferenceModelTest, TheDebugModeThatLastsUntilTheRebootIsNotSavedByIt) {
    make(set("k", "1"));
    make(set("device_debug_mode", "true"));
    make(of_kind(Kind::kPowerOffNotice));
    model_.cut_power();
    EXPECT_TRUE(holds({{"k", "1"}}));
}

TEST_F(ReferenceModelTest, AnOrderlyRebootSavesAndAResetOfTheDeviceDoesNot) {
    Operation end = of_kind(Kind::kEnd);
    end.number = 2;
    make(set("k", "1"));
    make(end);
    model_.cut_power();
    EXPECT_TRUE(holds({{"k", "1"}}));
    end.number = 3;
    make(set("k", "2"));
    make(end);
    model_.cut_power();
    EXPECT_TRUE(holds({{"k", "1"}}));
}

TEST_F(ReferenceModelTest, ADamagedJournalGivesOnlyValuesThatTheKeyHasHad) {
    make(set("k", "saved"));
    make(set("other", "saved"));
    save();
    make(set("k", "1"));
    make(set("k", "2"));
    const Operation damage = of_kind(Kind::kDamageJournal);
    EXPECT_FALSE(allows(damage, {kDone, {"k", "3", "other", "saved"}}));
    EXPECT_FALSE(allows(damage, {kDone, {"k", "1"}}));
    EXPECT_TRUE(allows(damage, {kDone, {"k", "1", "other", "saved"}}));
    EXPECT_TRUE(holds({{"k", "1"}, {"other", "saved"}}));
}

TEST_F(ReferenceModelTest, AStormsSaveHasTheSetsBeforeItAndPerhapsThoseOfOthers) {
    Operation storm = of_kind(Kind::kStorm);
    storm.number = 2;
    storm.items = {{ItemKind::kSet, Store::kPlain, "a", "1", 0},
                   {ItemKind::kSave, Store::kPlain, "", "", 0},
                   {ItemKind::kSet, Store::kPlain, "a", "2", 0},
                   {ItemKind::kSet, Store::kPlain, "b", "1", 1}};
    EXPECT_TRUE(allows(storm, {kDone, {"0", "0", "0", "", "0", ""}}));
    ReferenceModel other = model_;
    model_.cut_power();
    EXPECT_FALSE(holds({{"a", "2"}}));
    EXPECT_TRUE(holds({{"a", "1"}}));
    other.cut_power();
    State both(Values{});
    both.of(Store::kPlain).now = {{"a", "1"}, {"b", "1"}};
    EXPECT_FALSE(other.take_lists(lists_of(both)).has_value());
}

TEST_F(ReferenceModelTest, AViewThatShowsAnOlderValueIsABrokenPromise) {
    make(set("k", "1"));
    make(set("k", "2"));
    EXPECT_FALSE(allows(of_key(Kind::kViewGet, "k"), {kDone, {"1"}}));
}

}  // namespace
}  // namespace model
