#include "until_reboot.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string kKey = "device_debug_mode";

/* The value of the key, or "none". */
std::string mode_in(const Store &store) {
    const std::string *value = store.find(kKey);
    return value != nullptr ? *value : "none";
}

class UntilRebootTest : public testing::Test {
  protected:
    /* A store whose file has this value of the key; "none" for no such key. */
    void load(const std::string &value) {
        store_.load("other", "1");
        if (value != "none") {
            store_.load(kKey, value);
        }
        until_reboot_.note_written(store_);
        until_reboot_.note_saved();
    }

    /* What a save before a reboot would write, and then what is in memory again. */
    std::string written_and_kept() {
        until_reboot_.take_out(store_);
        const std::string written = mode_in(store_);
        until_reboot_.put_back(store_);
        return written + ", " + mode_in(store_);
    }

    Store store_;
    UntilReboot until_reboot_;
};

TEST_F(UntilRebootTest, AnUnsavedSettingIsNotWritten) {
    load("none");
    store_.set(kKey, "true");
    EXPECT_EQ("none, true", written_and_kept());
}

TEST_F(UntilRebootTest, TheFileKeepsTheValueThatItHas) {
    load("false");
    store_.set(kKey, "true");
    EXPECT_EQ("false, true", written_and_kept());
}

TEST_F(UntilRebootTest, WhatWasPutBackCountsAsUnsavedAndIsTakenOutAgain) {
    load("false");
    store_.set(kKey, "true");
    (void)written_and_kept();
    EXPECT_EQ((Store::Changes{{kKey, {InFile::kPerhaps}}}), store_.changes());
    EXPECT_EQ("false, true", written_and_kept());
}

TEST_F(UntilRebootTest, TakenOutItIsNoChange) {
    load("none");
    store_.set(kKey, "true");
    until_reboot_.take_out(store_);
    EXPECT_FALSE(store_.changed());
}

TEST_F(UntilRebootTest, AnotherValueIsWritten) {
    load("true");
    store_.set(kKey, "false");
    EXPECT_EQ("false, false", written_and_kept());
    EXPECT_EQ((Store::Changes{{kKey, {InFile::kPerhaps}}}), store_.changes());
}

TEST_F(UntilRebootTest, ASavedSettingStays) {
    load("true");
    EXPECT_EQ("true, true", written_and_kept());
    EXPECT_FALSE(store_.changed());
}

TEST_F(UntilRebootTest, ASettingThatWentAndCameBackStaysSaved) {
    load("true");
    store_.set(kKey, "false");
    store_.set(kKey, "true");
    EXPECT_EQ("true, true", written_and_kept());
}

TEST_F(UntilRebootTest, AResetEndsWhatTheFileHas) {
    load("false");
    store_.clear();
    store_.set(kKey, "true");
    EXPECT_EQ("none, true", written_and_kept());
}

TEST_F(UntilRebootTest, ADeletedSettingIsDeletedInTheFile) {
    load("true");
    store_.erase(kKey);
    EXPECT_EQ("none, none", written_and_kept());
    EXPECT_TRUE(store_.changed());
}

TEST_F(UntilRebootTest, OtherKeysAreLeftAlone) {
    load("none");
    store_.set("other", "true");
    store_.set("new", "true");
    (void)written_and_kept();
    EXPECT_EQ((Store::Changes{{"new", {InFile::kNo}}, {"other", {InFile::kPerhaps}}}), store_.changes());
}

}  // namespace
