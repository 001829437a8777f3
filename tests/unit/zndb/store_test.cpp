#include "store.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Changes = Store::Changes;

TEST(Store, FindsWhatWasSet) {
    Store store;
    EXPECT_EQ(nullptr, store.find("k"));
    store.set("k", "v");
    ASSERT_NE(nullptr, store.find("k"));
    EXPECT_EQ("v", *store.find("k"));
    store.set("k", "");
    EXPECT_EQ("", *store.find("k"));
}

TEST(Store, LoadingIsNotAChange) {
    Store store;
    store.load("k", "v");
    EXPECT_EQ("v", *store.find("k"));
    EXPECT_FALSE(store.changed());
}

TEST(Store, SettingAndDeletingAreChanges) {
    Store store;
    store.load("b", "v");
    store.set("a", "v");
    store.erase("b");
    EXPECT_EQ(nullptr, store.find("b"));
    EXPECT_EQ((Changes{{"a", {InFile::kNo}}, {"b", {InFile::kPerhaps}}}), store.changes());
    EXPECT_TRUE(store.changed());
    EXPECT_EQ(Basis::kFile, store.basis());
}

TEST(Store, DeletingAMissingKeyIsAChangeForItsFile) {
    Store store;
    store.erase("k");
    EXPECT_EQ(nullptr, store.find("k"));
    EXPECT_TRUE(store.changed());
    EXPECT_EQ((Changes{{"k", {InFile::kPerhaps}}}), store.changes());
}

TEST(Store, ClearingForgetsEarlierChanges) {
    Store store;
    store.load("a", "v");
    store.set("b", "v");
    store.clear();
    EXPECT_TRUE(store.values().empty());
    EXPECT_EQ(Basis::kNothing, store.basis());
    EXPECT_TRUE(store.changes().empty());
    EXPECT_TRUE(store.changed());
    store.set("c", "v");
    EXPECT_EQ((Changes{{"c", {InFile::kNo}}}), store.changes());
}

TEST(Store, SavingEndsAllChanges) {
    Store store;
    store.clear();
    store.set("k", "v");
    store.begin_save();
    store.mark_saved();
    EXPECT_FALSE(store.changed());
    EXPECT_EQ("v", *store.find("k"));
}

TEST(Store, ARevertedKeyIsNoChange) {
    Store store;
    store.load("file", "1");
    for (const char *key : {"file", "new", "kept"}) {
        store.set(key, "2");
    }
    const std::string saved = "1";
    store.revert("file", &saved);
    store.revert("new", nullptr);
    EXPECT_EQ((Store::Values{{"file", "1"}, {"kept", "2"}}), store.values());
    EXPECT_EQ((Changes{{"kept", {InFile::kNo}}}), store.changes());
}

TEST(Store, AFullStoreHasRoomForItsOwnKeysOnly) {
    Store store;
    for (size_t i = 0; i < kStoreKeysMax; ++i) {
        ASSERT_TRUE(store.has_room_for(std::to_string(i)));
        store.load(std::to_string(i), "");
    }
    EXPECT_FALSE(store.has_room_for("one more"));
    EXPECT_TRUE(store.has_room_for("0"));
    EXPECT_EQ(Savable::kYes, store.savable());
    store.load("one more", "");
    EXPECT_EQ(Savable::kOverfull, store.savable());
    store.erase("0");
    EXPECT_EQ(Savable::kYes, store.savable());
    store.erase("1");
    EXPECT_TRUE(store.has_room_for("another"));
}

/* ---- What a deletion leaves ------------------------------------------------------------------------ */

TEST(Store, AKeyThatNoFileHoldsIsForgottenByItsDeletion) {
    Store store;
    store.set("k", "1");
    store.set("k", "2");
    store.erase("k");
    EXPECT_FALSE(store.changed());
}

TEST(Store, AKeyOfTheFileIsNotForgottenHoweverOftenItComesAndGoes) {
    Store store;
    store.load("set first", "1");
    store.load("deleted first", "1");
    store.set("set first", "2");
    store.erase("deleted first");
    store.set("deleted first", "2");
    for (const char *key : {"set first", "deleted first"}) {
        store.erase(key);
    }
    EXPECT_EQ((Changes{{"deleted first", {InFile::kPerhaps}}, {"set first", {InFile::kPerhaps}}}),
              store.changes());
}

TEST(Store, AnUnreadFileMayHoldEveryKey) {
    Store store;
    EXPECT_EQ(Basis::kFile, store.basis());
    store.mark_partly_read();
    EXPECT_EQ(Basis::kPartOfFile, store.basis());
    EXPECT_EQ(Savable::kNotWhole, store.savable());
    store.set("k", "v");
    store.erase("k");
    EXPECT_EQ((Changes{{"k", {InFile::kPerhaps}}}), store.changes());
}

TEST(Store, AClearedStoreForgetsEveryDeletedKeyAndItsUnreadFile) {
    Store store;
    store.mark_partly_read();
    store.load("old", "v");
    store.clear();
    EXPECT_EQ(Basis::kNothing, store.basis());
    store.set("new", "v");
    store.assume_in_file("new");
    store.erase("new");
    store.erase("old");
    EXPECT_TRUE(store.changes().empty());
    EXPECT_TRUE(store.changed());
}

TEST(Store, ASuspectedKeyIsNotForgotten) {
    Store store;
    for (const char *key : {"a", "b"}) {
        store.set(key, "v");
    }
    store.assume_in_file("a");
    store.assume_in_file("unchanged");
    for (const char *key : {"a", "b"}) {
        store.erase(key);
    }
    EXPECT_EQ((Changes{{"a", {InFile::kPerhaps}}}), store.changes());
}

TEST(Store, OfAllSuspectedKeysNoneIsForgottenUntilTheyAreSaved) {
    Store store;
    store.set("a", "v");
    store.set("b", "v");
    store.begin_save();
    store.mark_unsaved();
    store.set("later", "v");
    for (const char *key : {"a", "b", "later"}) {
        store.erase(key);
    }
    EXPECT_EQ((Changes{{"a", {InFile::kPerhaps}}, {"b", {InFile::kPerhaps}}}), store.changes());
    store.begin_save();
    store.mark_saved();
    store.set("a", "v");
    store.erase("a");
    EXPECT_FALSE(store.changed());
}

/* ---- Changes during a save -------------------------------------------------------------------------- */

TEST(StoreDuringASave, OfAKeyStayUnsaved) {
    Store store;
    store.load("file", "1");
    for (const char *key : {"set", "deleted", "saved"}) {
        store.set(key, "1");
    }
    store.begin_save();
    store.set("set", "2");
    store.erase("deleted");
    store.erase("file");
    store.set("new", "2");
    store.mark_saved();
    EXPECT_EQ((Changes{{"deleted", {InFile::kPerhaps}},
                       {"file", {InFile::kPerhaps}},
                       {"new", {InFile::kNo}},
                       {"set", {InFile::kPerhaps}}}),
              store.changes());
    EXPECT_EQ(Basis::kFile, store.basis());
}

TEST(StoreDuringASave, OfASaveThatFailsStayLikeAllOthers) {
    Store store;
    store.set("before", "1");
    store.begin_save();
    store.set("meanwhile", "1");
    store.erase("before");
    store.mark_unsaved();
    EXPECT_EQ((Changes{{"before", {InFile::kPerhaps}}, {"meanwhile", {InFile::kNo}}}), store.changes());
}

TEST(StoreDuringASave, AKeyThatComesAndGoesLeavesNothing) {
    Store store;
    store.begin_save();
    store.set("k", "1");
    store.erase("k");
    store.mark_saved();
    EXPECT_FALSE(store.changed());
}

/* The file gets the key, whatever the one before it had. */
TEST(StoreDuringASave, ADeleteCountsAfterAResetToo) {
    Store store;
    store.clear();
    store.set("k", "1");
    store.begin_save();
    store.erase("k");
    store.mark_saved();
    EXPECT_EQ((Changes{{"k", {InFile::kPerhaps}}}), store.changes());
}

TEST(StoreDuringASave, AResetLeavesNothingOfTheSave) {
    Store store;
    store.set("k", "1");
    store.begin_save();
    store.clear();
    store.set("k", "2");
    store.mark_saved();
    EXPECT_EQ(Basis::kNothing, store.basis());
    EXPECT_EQ((Changes{{"k", {InFile::kNo}}}), store.changes());
}

TEST(Store, ChangedKeysAreLimited) {
    Store store;
    for (size_t i = 0; i < kChangedKeysMax; ++i) {
        ASSERT_TRUE(store.has_room_for_change_of(std::to_string(i)));
        store.erase(std::to_string(i));
    }
    EXPECT_FALSE(store.has_room_for_change_of("one more"));
    EXPECT_TRUE(store.has_room_for_change_of("0"));
    store.clear();
    EXPECT_TRUE(store.has_room_for_change_of("one more"));
}

/* ---- whose changes they are ---- */

TEST(Store, CountsTheChangesThatAreChargedToASender) {
    Store store;
    store.load("saved", "v");
    for (const char *key : {"a", "b"}) {
        store.set(key, "v");
        store.charge(key, 3);
    }
    store.erase("saved");
    store.charge("saved", 4);
    EXPECT_EQ(2u, store.changes_of(3));
    EXPECT_EQ(1u, store.changes_of(4));
    EXPECT_EQ(0u, store.changes_of(5));
    EXPECT_EQ((Changes{{"a", {InFile::kNo, 3}}, {"b", {InFile::kNo, 3}}, {"saved", {InFile::kPerhaps, 4}}}),
              store.changes());
}

TEST(Store, AChangeStaysWithWhomItWasChargedToFirst) {
    Store store;
    store.set("k", "v");
    store.charge("k", 3);
    store.charge("k", 4);
    store.charge("unchanged", 4);
    store.charge("k", kNobody);
    EXPECT_EQ(1u, store.changes_of(3));
    EXPECT_EQ(0u, store.changes_of(4));
}

TEST(Store, AChangeThatIsForgottenIsChargedToNobody) {
    Store store;
    for (const char *key : {"erased", "reverted", "kept"}) {
        store.set(key, "v");
        store.charge(key, 3);
    }
    store.erase("erased");
    store.revert("reverted", nullptr);
    store.revert("unchanged", nullptr);
    EXPECT_EQ(1u, store.changes_of(3));
    store.begin_save();
    store.mark_saved();
    EXPECT_EQ(0u, store.changes_of(3));
    store.set("k", "v");
    store.charge("k", 3);
    store.clear();
    EXPECT_EQ(0u, store.changes_of(3));
}

}  // namespace
