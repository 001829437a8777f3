/*
 * The save before the power goes off: what it writes, and what it leaves unsaved.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

constexpr char kDebugKey[] = "device_debug_mode";

class DatabasePowerOff : public DatabaseFixture {};

TEST_F(DatabasePowerOff, EveryStoreIsSaved) {
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    database_->set(F, "fk", "fv");
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    EXPECT_EQ("pk=pv\n", saved_lines(kPermFile));
    EXPECT_EQ("fk=fv\n", saved_lines(kFactoryFile));
    EXPECT_EQ("", journals());
}

TEST_F(DatabasePowerOff, WithoutChangesNothingIsWritten) {
    put_file(kPlainFile, "# by hand\nk=v\n");
    restart();
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("# by hand\nk=v\n", content_of(kPlainFile));
    EXPECT_FALSE(exists(kPermFile));
}

TEST_F(DatabasePowerOff, OneStoresFailureStopsNoOther) {
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    database_->set(F, "fk", "fv");
    fail_open(kPermFile + ".tmp", EROFS);
    EXPECT_EQ(2006, database_->save_before_power_off());
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    EXPECT_EQ("fk=fv\n", saved_lines(kFactoryFile));
    EXPECT_EQ("M+pk=pv\n", journals());
    EXPECT_TRUE(log_.contains("can't save " + kPermFile)) << log_.text();
}

TEST_F(DatabasePowerOff, TheFirstFailureIsTheAnswer) {
    database_->set(P, "k", "v");
    database_->set(F, "fk", "fv");
    fail_opens([](const std::string &path) {
        return path == kPlainFile + ".tmp" ? ENOSPC : path == kFactoryFile + ".tmp" ? EROFS : 0;
    });
    EXPECT_EQ(6, database_->save_before_power_off());
}

TEST_F(DatabasePowerOff, WithoutItsJournalNothingIsSaved) {
    fail_open(kPlainJournal, EACCES);
    restart();
    EXPECT_EQ(2006, database_->save_before_power_off());
}

TEST_F(DatabasePowerOff, DebugModeStaysInTheJournalAlone) {
    put_file(kPlainFile, "device_debug_mode=false\n");
    restart();
    database_->set(P, "k", "v");
    database_->set(P, kDebugKey, "true");
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("device_debug_mode=false\nk=v\n", saved_lines(kPlainFile));
    EXPECT_EQ("P+device_debug_mode=true\n", journals());
    EXPECT_EQ("true", plain(kDebugKey));
    restart();
    EXPECT_EQ("true", plain(kDebugKey));
    EXPECT_EQ(0, database_->save_before_power_off());
    cut_power();
    EXPECT_EQ("false", plain(kDebugKey));
}

TEST_F(DatabasePowerOff, DebugModeAloneIsNothingToWrite) {
    put_file(kPlainFile, "# by hand\nk=v\n");
    restart();
    database_->set(P, kDebugKey, "true");
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("# by hand\nk=v\n", content_of(kPlainFile));
    EXPECT_EQ("P+device_debug_mode=true\n", journals());
}

TEST_F(DatabasePowerOff, DebugModeThatAClientSavedIsTheFilesFromThenOn) {
    database_->set(P, kDebugKey, "true");
    EXPECT_EQ(0, database_->save());
    database_->set(P, kDebugKey, "false");
    database_->set(P, kDebugKey, "true");
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("device_debug_mode=true\nk=v\n", saved_lines(kPlainFile));
}

TEST_F(DatabasePowerOff, DebugModeOutlivesASaveThatFails) {
    database_->set(P, "k", "v");
    database_->set(P, kDebugKey, "true");
    fail_rename(EIO);
    EXPECT_EQ(2007, database_->save_before_power_off());
    end_faults();
    EXPECT_EQ("true", plain(kDebugKey));
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P+device_debug_mode=true\nP+k=v\n", journals());
}

}  // namespace
