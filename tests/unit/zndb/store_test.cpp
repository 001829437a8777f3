#include "store.h"

#include <gtest/gtest.h>

#include <string>

namespace {

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
    EXPECT_EQ((Store::Keys{"a", "b"}), store.changed_keys());
    EXPECT_TRUE(store.changed());
    EXPECT_FALSE(store.cleared());
}

TEST(Store, DeletingAMissingKeyIsAChangeForItsFile) {
    Store store;
    store.erase("k");
    EXPECT_EQ(nullptr, store.find("k"));
    EXPECT_TRUE(store.changed());
    EXPECT_EQ((Store::Keys{"k"}), store.changed_keys());
}

TEST(Store, ClearingForgetsEarlierChanges) {
    Store store;
    store.load("a", "v");
    store.set("b", "v");
    store.clear();
    EXPECT_TRUE(store.values().empty());
    EXPECT_TRUE(store.cleared());
    EXPECT_TRUE(store.changed_keys().empty());
    EXPECT_TRUE(store.changed());
    store.set("c", "v");
    EXPECT_EQ((Store::Keys{"c"}), store.changed_keys());
}

TEST(Store, SavingEndsAllChanges) {
    Store store;
    store.clear();
    store.set("k", "v");
    store.mark_saved();
    EXPECT_FALSE(store.changed());
    EXPECT_EQ("v", *store.find("k"));
}

TEST(Store, AFullStoreHasRoomForItsOwnKeysOnly) {
    Store store;
    for (size_t i = 0; i < kStoreKeysMax; ++i) {
        ASSERT_TRUE(store.has_room_for(std::to_string(i)));
        store.load(std::to_string(i), "");
    }
    EXPECT_FALSE(store.has_room_for("one more"));
    EXPECT_TRUE(store.has_room_for("0"));
    store.erase("0");
    EXPECT_TRUE(store.has_room_for("one more"));
}

}  // namespace
