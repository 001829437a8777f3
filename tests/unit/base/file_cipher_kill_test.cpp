/*
 * Encrypting and decrypting files in a process that is killed: the file is the old one or the new one.
 */
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

#include "doubles/libc_doubles.h"
#include "unit/base/file_cipher_fixture.h"

namespace {

/* Moments after the rename: at least those around the sync of the folder. */
constexpr unsigned kChangedAtLeast = 6;

/* And in front of it: around reading, writing and the temporary file. */
constexpr unsigned kStayedAtLeast = 30;

/* The moments that are left until the process is killed. */
unsigned g_moments = 0;

void pass_moment() {
    if (--g_moments == 0) {
        (void)raise(SIGKILL);
    }
}

/* Just before and just after a call are moments to be killed at. */
template <typename Result, typename... Args>
void kill_around(doubles::Double<Result(Args...)> *function) {
    function->stand_in([function](Args... args) {
        pass_moment();
        const Result result = function->real(args...);
        pass_moment();
        return result;
    });
}

void kill_at(unsigned moment) {
    g_moments = moment;
    kill_around(&doubles::libc::open);
    kill_around(&doubles::libc::read);
    kill_around(&doubles::libc::write);
    kill_around(&doubles::libc::close);
    kill_around(&doubles::libc::fchmod);
    kill_around(&doubles::libc::fsync);
    kill_around(&doubles::libc::renameat);
    kill_around(&doubles::libc::unlinkat);
    kill_around(&doubles::libc::openat);
    kill_around(&doubles::libc::flock);
    kill_around(&doubles::libc::fstat);
    kill_around(&doubles::libc::fchown);
    kill_around(&doubles::libc::realpath);
}

/* Starts a process that does the work. */
template <typename Work>
pid_t start(Work work) {
    const pid_t pid = fork();
    if (pid == 0) {
        work();
        _exit(0);
    }
    return pid;
}

/* Returns true when the process was killed, false when it came to its end. */
bool was_killed(pid_t pid) {
    int status = 0;
    EXPECT_EQ(pid, waitpid(pid, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFSIGNALED(status);
}

class FileCipherKilled : public FileCipherTest {
  protected:
    /* Beside the file there is at most what one killed process left. */
    void expect_one_leftover_at_most() const {
        auto others = names();
        others.erase(std::remove(others.begin(), others.end(), "file"), others.end());
        EXPECT_EQ(names().size() - 1, others.size());
        EXPECT_LE(others.size(), 1u);
        for (const std::string &name : others) {
            EXPECT_EQ(0u, name.find("cipher.unfinished."));
        }
    }

    /* What a process that was killed earlier left, and nothing else, so that every change takes the same
     * steps. */
    void put_leftover() const {
        for (const std::string &name : names()) {
            std::filesystem::remove(folder_.path(name));
        }
        folder_.file("cipher.unfinished.aB3dE6", "left");
    }

    /* Kills the change of the file at every moment. is_new: whether the file has its new form. */
    void kill_everywhere(int32_t (*change)(const char *), const std::string &old,
                         const std::function<bool()> &is_new) {
        unsigned stayed = 0;
        unsigned changed = 0;
        unsigned moment = 1;
        bool killed = true;
        for (; killed; ++moment) {
            put_leftover();
            put(old);
            killed = was_killed(start([&] {
                kill_at(moment);
                (void)change(path().c_str());
            }));
            expect_one_leftover_at_most();
            const bool same = content() == old;
            EXPECT_TRUE(same || is_new()) << "at moment " << moment;
            stayed += same ? 1 : 0;
            changed += same ? 0 : 1;
        }
        EXPECT_GE(stayed, kStayedAtLeast);
        EXPECT_GE(changed, kChangedAtLeast);
        EXPECT_TRUE(stands_alone());
    }
};

TEST_F(FileCipherKilled, AtEveryMomentOfEnciphering) {
    const std::string plain = some_content(kChunkSize + 100);
    kill_everywhere(zn_encrypt_file_ex, plain, [&] {
        const std::string file = content();
        const bool whole = deciphered(file) == plain;
        put(file);
        return whole;
    });
}

TEST_F(FileCipherKilled, AtEveryMomentOfDeciphering) {
    const std::string plain = some_content(kChunkSize + 100);
    kill_everywhere(zn_decrypt_file_ex, enciphered(plain), [&] { return content() == plain; });
}

TEST_F(FileCipherKilled, AtRandomMomentsOfManyChanges) {
    constexpr int kRounds = 25;
    constexpr unsigned kLongest = 4000; /* microseconds */
    std::mt19937 random(4715);
    const std::string plain = some_content(5 * kChunkSize);
    for (int round = 0; round < kRounds; ++round) {
        put(plain);
        const pid_t pid = start([this] {
            while (encipher() == 1 && decipher() == 1) {
            }
        });
        usleep(static_cast<useconds_t>(random() % kLongest));
        ASSERT_EQ(0, kill(pid, SIGKILL));
        ASSERT_TRUE(was_killed(pid));
        expect_one_leftover_at_most();
        EXPECT_TRUE(content() == plain || deciphered(content()) == plain) << "round " << round;
    }
}

}  // namespace
