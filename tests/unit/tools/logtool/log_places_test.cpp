#include "logtool/log_places.h"

#include <gtest/gtest.h>

#include "support/tool_folder.h"

namespace {

/* Only the given programs. Which log files the host has is of no matter to sources that the user has chosen.
 */
class LogPlaces : public testing::Test {
  protected:
    LogPlaces() { tools_.hide_others(); }

    bool names(const std::string &part) const {
        return empty_places(options_).find(part) != std::string::npos;
    }

    const ToolFolder tools_;
    LogOptions options_;
};

TEST_F(LogPlaces, AChosenSourceIsTaken) {
    options_.ring = true;
    EXPECT_EQ(LogSource::kRing, chosen_source(options_));
    EXPECT_EQ("the ring buffer is empty", empty_places(options_));
    options_.ring = false;
    options_.journal = true;
    tools_.put_script("logread", "");
    EXPECT_EQ(LogSource::kJournal, chosen_source(options_));
    EXPECT_EQ("the journal", log_place(options_));
    options_.journal = false;
    options_.file = "-";
    EXPECT_EQ(LogSource::kFile, chosen_source(options_));
    EXPECT_EQ("standard input", log_place(options_));
    EXPECT_EQ("", missing_files(options_));
}

TEST_F(LogPlaces, AnEmptySelectionIsNamed) {
    options_.journal = true;
    EXPECT_FALSE(names(" of these")) << empty_places(options_);
    options_.modules = {"wlan"};
    EXPECT_TRUE(names("the journal has no lines of these modules")) << empty_places(options_);
    options_.programs = {"sshd"};
    EXPECT_TRUE(names("the journal has no lines of these programs")) << empty_places(options_);
    options_.until = "10:00";
    EXPECT_TRUE(names("the journal has no lines of this time")) << empty_places(options_);
}

TEST_F(LogPlaces, AnEmptyJournalBesideARingBufferIsExplained) {
    options_.journal = true;
    EXPECT_FALSE(names("--logread"));
    tools_.put_script("logread", "");
    EXPECT_TRUE(names("; --logread reads the ring buffer")) << empty_places(options_);
}

}  // namespace
