#include "view_access.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "doubles/log_capture.h"

namespace {

class ViewAccessTest : public testing::Test {
  protected:
    ViewAccessTest() { set(nullptr, nullptr); }

    /* Null: the variable is missing. */
    static void set(const char *mode, const char *group) {
        mode != nullptr ? ::setenv("QUOR_ZNDB_VIEW_MODE", mode, 1) : ::unsetenv("QUOR_ZNDB_VIEW_MODE");
        group != nullptr ? ::setenv("QUOR_ZNDB_VIEW_GROUP", group, 1) : ::unsetenv("QUOR_ZNDB_VIEW_GROUP");
    }

    LogCapture log_;
};

TEST_F(ViewAccessTest, IsReadableForTheServicesGroupByDefault) {
    for (const char *text : {static_cast<const char *>(nullptr), ""}) {
        set(text, text);
        const ViewAccess access = view_access();
        EXPECT_EQ(0640u, access.mode);
        EXPECT_EQ(static_cast<gid_t>(-1), access.group);
    }
    EXPECT_EQ("", log_.text());
}

TEST_F(ViewAccessTest, OnlyTheRightsToReadCount) {
    for (const auto &[text, mode] : {std::pair<const char *, mode_t>{"0644", 0644},
                                     {"777", 0644},
                                     {"600", 0600},
                                     {"0", 0600},
                                     {"4755", 0644}}) {
        set(text, nullptr);
        EXPECT_EQ(mode, view_access().mode) << text;
    }
}

TEST_F(ViewAccessTest, TheGroupIsANameOrANumber) {
    set(nullptr, "root");
    EXPECT_EQ(0u, view_access().group);
    set(nullptr, "1234");
    EXPECT_EQ(1234u, view_access().group);
}

TEST_F(ViewAccessTest, WhatItCantUseIsLoggedAndIgnored) {
    for (const char *mode : {"rw", "0648", "10000", "-1", " 644"}) {
        log_.clear();
        set(mode, nullptr);
        EXPECT_EQ(0640u, view_access().mode) << mode;
        EXPECT_TRUE(log_.contains(std::string("QUOR_ZNDB_VIEW_MODE=") + mode + " is ignored")) << log_.text();
    }
    for (const char *group : {"no such group", "-1", "99999999999"}) {
        log_.clear();
        set(nullptr, group);
        EXPECT_EQ(static_cast<gid_t>(-1), view_access().group) << group;
        EXPECT_TRUE(log_.contains(std::string("QUOR_ZNDB_VIEW_GROUP=") + group + " is ignored"))
            << log_.text();
    }
}

}  // namespace
