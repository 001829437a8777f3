/*
 * The settings after the database is killed at any moment, and after a power cut.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>

#include "support/checked_file.h"
#include "support/killer.h"
#include "system/zndb/zndb_process.h"

namespace {

using std::chrono::microseconds;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRounds = 100; /* each start of a sanitized program takes long */
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr int kRounds = 100;
#else
constexpr int kRounds = 300;
#endif
#else
constexpr int kRounds = 300;
#endif

constexpr int kKeys = 10;
constexpr int kPads = 300;
const std::string kPlainFile = "/m_data/usr/db/user_data.txt";

/* Half of the keys sort before the pads, half after them. */
std::string key_of(int number) {
    return (number < kKeys / 2 ? "a" : "z") + std::to_string(number);
}

/* Differs from round to round in its first and its last character, and in its length. */
std::string value_of(int round, int number) {
    const std::string mark = std::to_string(round) + "." + std::to_string(number);
    return mark + std::string(static_cast<size_t>(700 + (round * 37 + number) % 200), '-') + mark;
}

/* What never changes makes the file so large that writing it takes most of a save's time. */
std::string pads() {
    std::string content;
    for (int i = 0; i < kPads; ++i) {
        content += "pad" + std::to_string(10000 + i) + "=" + std::string(1000, 'p') + "\n";
    }
    return content;
}

std::string file_of(int round, const std::string &padding) {
    std::string content;
    for (int i = 0; i < kKeys; ++i) {
        content += (i == kKeys / 2 ? padding : "") + key_of(i) + "=" + value_of(round, i) + "\n";
    }
    return content;
}

class ZndbCrash : public ZndbTest {
  protected:
    static void set_all(int round) {
        for (int i = 0; i < kKeys; ++i) {
            ASSERT_EQ(0, zndb_set(key_of(i).c_str(), value_of(round, i).c_str()));
        }
    }

    microseconds random_delay(microseconds longest) {
        return microseconds(std::uniform_int_distribution<int64_t>(0, longest.count())(random_));
    }

    std::mt19937 random_{20240229};
};

TEST_F(ZndbCrash, ASetValueSurvivesSigkillWithoutASave) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "pv"));
    EXPECT_EQ(0, zndb_set("gone", "v"));
    EXPECT_EQ(0, zndb_del("gone"));
    restart();
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("pv", perm("p"));
    EXPECT_EQ("ret 3", plain("gone"));
}

TEST_F(ZndbCrash, AResetSurvivesSigkillWithoutASave) {
    ASSERT_TRUE(write_text(kPlainFile, "old=1\n"));
    start();
    EXPECT_EQ("1", plain("old"));
    EXPECT_EQ(0, zndb_reset());
    restart();
    EXPECT_EQ("ret 3", plain("old"));
}

TEST_F(ZndbCrash, SaveRamSurvivesSigkill) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_EQ(0, zndb_set("k", "2"));
    EXPECT_EQ(0, zndb_save_ram());
    EXPECT_EQ("P+k=2\n", file_text("/tmp/m_tmp/zndb/journal.plain"));
    restart();
    EXPECT_EQ("2", plain("k"));
}

TEST_F(ZndbCrash, ASavedValueSurvivesAPowerCut) {
    start();
    EXPECT_EQ(0, zndb_set("k", "saved"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "saved"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(0, zndb_set("k", "unsaved"));
    cut_power();
    EXPECT_EQ("saved", plain("k"));
    EXPECT_EQ("saved", perm("p"));
}

TEST_F(ZndbCrash, KilledAtAnyMomentOfASaveTheFileIsTheOldOneOrTheNewOne) {
    const std::string padding = pads();
    ASSERT_TRUE(write_text(kPlainFile, padding));
    start();
    /* Closes in on the moment at which the new file takes the old one's place. */
    microseconds longest(1000);
    int kept_old = 0;
    std::string old_file = checked_lines(padding); /* the service has not saved it */
    for (int round = 0; round < kRounds; ++round) {
        const std::string new_file = file_of(round, padding);
        set_all(round);
        {
            const Killer killer(zndb_->pid(), random_delay(longest));
            (void)zndb_save();
        }
        EXPECT_EQ(128 + SIGKILL, zndb_->exit_status());

        const std::string found = checked_lines(file_text(kPlainFile));
        ASSERT_TRUE(found == old_file || found == new_file) << "round " << round << ": " << found.size();
        const bool is_old = found == old_file;
        kept_old += is_old ? 1 : 0;
        old_file = found;
        longest = is_old ? longest * 11 / 10 : longest * 9 / 10 + microseconds(10);
        start();
        ASSERT_EQ(value_of(round, 0), plain(key_of(0)));
        ASSERT_EQ(value_of(round, kKeys - 1), plain(key_of(kKeys - 1)));
    }
    /* Where the killer waits for a busy processor, most saves end before it comes. */
    EXPECT_GT(kept_old, 0);
    EXPECT_LT(kept_old, kRounds);
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(file_of(kRounds - 1, padding), checked_lines(file_text(kPlainFile)));
    EXPECT_FALSE(std::filesystem::exists(kPlainFile + ".tmp"));
}

TEST_F(ZndbCrash, KilledAtAnyMomentNoAnsweredSetIsLost) {
    start();
    int answered = 0;
    for (int round = 0; round < kRounds / 3; ++round) {
        {
            const Killer killer(zndb_->pid(), random_delay(microseconds(2000)));
            while (zndb_set("counter", std::to_string(answered + 1).c_str()) == 0) {
                ++answered;
            }
        }
        EXPECT_EQ(128 + SIGKILL, zndb_->exit_status());
        start();
        const std::string found = answered == 0 && plain("counter") == "ret 3" ? "0" : plain("counter");
        ASSERT_TRUE(found == std::to_string(answered) || found == std::to_string(answered + 1))
            << found << " after " << answered;
        answered = std::stoi(found);
    }
}

}  // namespace
