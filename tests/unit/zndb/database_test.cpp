/*
 * What the stores hold and answer.
 */
#include "database.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseTest : public DatabaseFixture {};

/* ---- The stores ------------------------------------------------------------------------------------ */

TEST_F(DatabaseTest, ASetValueIsRead) {
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", ""));
    EXPECT_EQ("", plain("k"));
}

TEST_F(DatabaseTest, PlainAndPermAreApart) {
    EXPECT_EQ(0, database_->set(P, "k", "plain"));
    EXPECT_EQ(0, database_->set(M, "k", "perm"));
    EXPECT_EQ("plain", plain("k"));
    EXPECT_EQ("perm", perm("k"));
    EXPECT_EQ(0, database_->erase(P, "k"));
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ("perm", perm("k"));
}

TEST_F(DatabaseTest, APlainGetFallsBackToTheOverlayThenToTheDefault) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    EXPECT_EQ("default", plain("k"));
    EXPECT_EQ(0, database_->set(F, "k", "factory"));
    EXPECT_EQ("factory", plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", "plain"));
    EXPECT_EQ("plain", plain("k"));
}

TEST_F(DatabaseTest, APermGetDoesNotFallBack) {
    put_file(kDefaultsFile, "k=default\n");
    put_file(kFactoryFile, "k=factory\n");
    restart();
    EXPECT_EQ(kMissing, perm("k"));
}

TEST_F(DatabaseTest, GetDefReadsTheOverlayThenTheDefaultAndNeverThePlainStore) {
    put_file(kDefaultsFile, "a=default\nb=default\n");
    put_file(kFactoryFile, "a=factory\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "a", "plain"));
    EXPECT_EQ(0, database_->set(P, "c", "plain"));
    EXPECT_EQ("factory", def("a"));
    EXPECT_EQ("default", def("b"));
    EXPECT_EQ(kMissing, def("c"));
}

TEST_F(DatabaseTest, DeletingLetsTheDefaultShowAgain) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "plain"));
    EXPECT_EQ(0, database_->erase(P, "k"));
    EXPECT_EQ("default", plain("k"));
}

TEST_F(DatabaseTest, DeletingAKeyThatOnlyTheDefaultsHaveGives2001) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    EXPECT_EQ(2001, database_->erase(P, "k"));
    EXPECT_EQ(2001, database_->erase(M, "k"));
    EXPECT_EQ("default", plain("k"));
}

TEST_F(DatabaseTest, ResetEmptiesThePlainStoreOnly) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    database_->set(P, "k", "plain");
    database_->set(P, "other", "plain");
    database_->set(M, "k", "perm");
    database_->set(F, "f", "factory");
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ("default", plain("k"));
    EXPECT_EQ(kMissing, plain("other"));
    EXPECT_EQ("perm", perm("k"));
    EXPECT_EQ("factory", def("f"));
}

/* ---- Logs and threads ------------------------------------------------------------------------------ */

TEST_F(DatabaseTest, SuccessIsLoggedAtTheVerboseLevelAndWithoutTheValue) {
    database_->set(P, "wifi_key", "open sesame");
    EXPECT_EQ("open sesame", plain("wifi_key"));
    EXPECT_EQ(0, database_->erase(P, "wifi_key"));
    EXPECT_EQ(kMissing, plain("wifi_key"));
    for (const LogLine &line : log_.system_lines()) {
        EXPECT_EQ(OS_LOG_VERBOSE, line.level) << line.text;
    }
    EXPECT_EQ(4u, log_.count("'wifi_key'")) << log_.text();
    EXPECT_FALSE(log_.contains("sesame"));
}

TEST_F(DatabaseTest, ThreadsDoNotDisturbEachOther) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            const std::string key = "key" + std::to_string(t);
            for (int i = 0; i < 50; ++i) {
                EXPECT_EQ(0, database_->set(P, key, std::to_string(i)));
                EXPECT_EQ(std::to_string(i), plain(key));
                EXPECT_EQ(0, i % 10 == 0 ? database_->save() : 0);
                EXPECT_EQ(0, i % 10 == 5 ? database_->save_ram() : 0);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    restart();
    for (int t = 0; t < 4; ++t) {
        EXPECT_EQ("49", plain("key" + std::to_string(t)));
    }
}

}  // namespace
