/*
 * The database is killed again and again while several clients write: no acknowledged change is lost, and no
 * refused change is made. The same on file systems that are full most of the time.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "frwk_common.h"
#include "security/storm/storm_count.h"
#include "support/child_process.h"
#include "support/killer.h"
#include "support/wait_until.h"
#include "system/zndb/zndb_process.h"

namespace {

using std::chrono::microseconds;

constexpr int kWriters = 4;
constexpr int kKeysOfWriter = 5;
constexpr int kChangesPerSave = 100; /* on average */
constexpr microseconds kLongestLife{15000};
constexpr int kNoAnswer = 2;
constexpr int kChangesThatFill = 10000; /* of each client; many times as many as the disks hold */

/* A number as a value, mostly a long one; 0 is a missing key. */
std::string value_of(int number) {
    return std::to_string(number) + "." + std::string(static_cast<size_t>(number * 37 % 600), 'v');
}

std::string outcome_of(int number) {
    return number == 0 ? "ret 3" : value_of(number);
}

/* A key as its only writer knows it. */
struct Known {
    int acknowledged = 0; /* number of the last change that was answered with success */
    int unanswered = 0;   /* number of a later change that was not answered; may have been made */
    bool open = false;    /* whether there is such a change */
};

/* One client: changes its own keys until the database does not answer, or was killed between two changes. */
class Writer {
  public:
    explicit Writer(int id) : id_(id), random_(static_cast<unsigned>(id) + 1) {}

    void run(const std::atomic<bool> &killed) {
        while (change_one() && !killed) {
            if (random_() % kChangesPerSave == 0) {
                (void)zndb_save();
            }
        }
    }

    /* Changes one key. Returns false when there was no answer. */
    bool change_one() { return change(keys_[random_() % kKeysOfWriter]); }

    /* Compares the stored values with the allowed ones, and continues with the stored ones. */
    testing::AssertionResult check() {
        for (size_t i = 0; i < keys_.size(); ++i) {
            Known &key = keys_[i];
            const std::string found = plain(name(i));
            const bool is_old = found == outcome_of(key.acknowledged);
            if (!is_old && !(key.open && found == outcome_of(key.unanswered))) {
                return testing::AssertionFailure() << name(i) << " is " << found.substr(0, 12) << ", not "
                                                   << outcome_of(key.acknowledged).substr(0, 12);
            }
            key.acknowledged = is_old ? key.acknowledged : key.unanswered;
            key.open = false;
        }
        return testing::AssertionSuccess();
    }

    long acknowledged() const { return acknowledged_; }
    long refused() const { return refused_; }

  private:
    std::string name(size_t index) const { return "w" + std::to_string(id_) + ".k" + std::to_string(index); }

    /* Returns false when there was no answer. */
    bool change(Known &key) {
        const auto index = static_cast<size_t>(&key - keys_.data());
        const bool deletes = key.acknowledged != 0 && random_() % 8 == 0;
        const int number = deletes ? 0 : ++last_number_;
        const int ret =
            deletes ? zndb_del(name(index).c_str()) : zndb_set(name(index).c_str(), value_of(number).c_str());
        if (ret == kNoAnswer) {
            key.unanswered = number;
            key.open = true;
            return false;
        }
        if (ret == 0) {
            key.acknowledged = number;
            ++acknowledged_;
        } else {
            ++refused_;
        }
        return true;
    }

    const int id_;
    std::mt19937 random_;
    std::array<Known, kKeysOfWriter> keys_{};
    int last_number_ = 0;
    long acknowledged_ = 0;
    long refused_ = 0;
};

class KillStorm : public ZndbTest {
  protected:
    /* Starts a shell that runs the command and then the database, again each time that it ends. */
    void start_loop(const std::string &command) {
        std::vector<std::string> words = {"unshare", "--mount"};
        if (geteuid() != 0) {
            words.emplace_back("--map-root-user");
        }
        words.insert(words.end(), {"sh", "-c", command + " && while :; do " ZNDB_PROGRAM "; done"});
        loop_ = std::make_unique<ChildProcess>(words);
        wait_until_served();
    }

    void wait_until_served() {
        ASSERT_TRUE(wait_until([this] {
            const int pid = std::atoi(file_text("/tmp/m_tmp/lock/zndb").c_str());
            if (pid == pid_ || frwk_get_module_status(E_APPS_MODULE_ZNDB) != 1) {
                return false;
            }
            pid_ = pid;
            return true;
        }));
    }

    /* One life of the database: clients write, and save now and then, until it is killed. */
    void live_and_die() {
        std::atomic<bool> killed{false};
        std::vector<std::thread> threads;
        {
            const Killer killer(pid_, microseconds(random_() % static_cast<unsigned>(kLongestLife.count())));
            for (Writer &writer : writers_) {
                threads.emplace_back([&writer, &killed] { writer.run(killed); });
            }
        }
        killed = true;
        for (std::thread &thread : threads) {
            thread.join();
        }
    }

    void storm(int kills) {
        for (int round = 0; round < kills; ++round) {
            live_and_die();
            ASSERT_NO_FATAL_FAILURE(wait_until_served()) << "kill " << round;
            for (Writer &writer : writers_) {
                ASSERT_TRUE(writer.check()) << "kill " << round;
            }
        }
        const long acknowledged = total(&Writer::acknowledged);
        std::cout << kills << " kills, " << acknowledged << " acknowledged changes, "
                  << total(&Writer::refused) << " refused\n";
        EXPECT_GT(acknowledged, kills);
    }

    long total(long (Writer::*count)() const) const {
        long sum = 0;
        for (const Writer &writer : writers_) {
            sum += (writer.*count)();
        }
        return sum;
    }

    /* One more life, without a kill: on a slow machine the others may be too short to fill the disks. */
    void expect_a_refusal() {
        for (int i = 0; i < kChangesThatFill && total(&Writer::refused) == 0; ++i) {
            for (Writer &writer : writers_) {
                ASSERT_TRUE(writer.change_one());
            }
        }
        EXPECT_GT(total(&Writer::refused), 0);
    }

    std::mt19937 random_{20261122};
    std::unique_ptr<ChildProcess> loop_;
    int pid_ = 0;
    std::array<Writer, kWriters> writers_{Writer(0), Writer(1), Writer(2), Writer(3)};
};

TEST_F(KillStorm, NoAcknowledgedChangeIsLost) {
    start_loop("true");
    storm(storm_count(30, 2500));
}

/* The settings need about 7 KiB, the new file of a save as much again, and the journal more with each
 * change. */
TEST_F(KillStorm, NoAcknowledgedChangeIsLostWhereThereIsNoRoom) {
    start_loop(
        "mkdir -p /m_data/usr/db /tmp/m_tmp/zndb && "
        "mount -t tmpfs -o size=24k tmpfs /m_data/usr/db && "
        "mount -t tmpfs -o size=16k tmpfs /tmp/m_tmp/zndb");
    storm(storm_count(20, 1000));
    expect_a_refusal();
}

}  // namespace
