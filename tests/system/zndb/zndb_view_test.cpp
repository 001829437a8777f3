/*
 * Settings read out of the database's shared memory, without a request.
 */
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "apps_message.h"
#include "support/change_record.h"
#include "support/child.h"
#include "system/zndb/zndb_process.h"
#include "zndb_ext.h"

namespace {

const std::string kViewFile = "/tmp/m_tmp/zndb/view";
constexpr char kDefaultsFile[] = "/m_webui/usr/db/default_data.txt";
constexpr char kFactoryFile[] = "/m_data/factor/factor_data.txt";

std::string outcome(int ret, const char *value) {
    return ret == 0 ? value : "ret " + std::to_string(ret);
}

std::string viewed(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return outcome(zndb_view_get(key.c_str(), value, sizeof(value)), value);
}

std::string viewed_perm(const std::string &key) {
    char value[ZNDB_VALUE_LEN] = "";
    return outcome(zndb_view_get_perm(key.c_str(), value, sizeof(value)), value);
}

mode_t mode_of(const std::string &path) {
    struct stat found = {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : 0;
}

class ZndbView : public ZndbTest {
  protected:
    /* Without an answer of the service, only the view has values. */
    void stop_service() {
        ASSERT_EQ(0, ::kill(zndb_->pid(), SIGSTOP));
        stopped_ = true;
    }
    ~ZndbView() override {
        if (stopped_) {
            (void)::kill(zndb_->pid(), SIGCONT);
        }
    }

  private:
    bool stopped_ = false;
};

TEST_F(ZndbView, HoldsAChangeWhenItsSetIsAnswered) {
    start();
    for (int i = 0; i < 2000; ++i) {
        const std::string key = "key" + std::to_string(i % 300);
        const std::string value(static_cast<size_t>(i % 700), 'v');
        ASSERT_EQ(0, zndb_set(key.c_str(), (std::to_string(i) + value).c_str()));
        ASSERT_EQ(std::to_string(i) + value, viewed(key));
    }
    EXPECT_EQ(0, zndb_del("key7"));
    EXPECT_EQ("ret 3", viewed("key7"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "v"));
    EXPECT_EQ("v", viewed_perm("p"));
    EXPECT_EQ("ret 3", viewed("p"));
    EXPECT_EQ(0, zndb_del_perm("p"));
    EXPECT_EQ("ret 3", viewed_perm("p"));
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ("ret 3", viewed("key8"));
}

TEST_F(ZndbView, FallsBackAsAGetDoes) {
    ASSERT_TRUE(write_text(kDefaultsFile, "d=default\ndf=default\ndfp=default\n"));
    std::filesystem::create_directories("/m_data/factor");
    ASSERT_TRUE(write_text(kFactoryFile, "df=factory\ndfp=factory\n"));
    start();
    EXPECT_EQ(0, zndb_set("dfp", "plain"));
    EXPECT_EQ(0, zndb_set_perm_data("d", "perm"));
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("f", "set")));
    for (const std::string key : {"d", "df", "dfp", "f", "none"}) {
        EXPECT_EQ(plain(key), viewed(key)) << key;
        EXPECT_EQ(perm(key), viewed_perm(key)) << key;
    }
    EXPECT_EQ("set", viewed("f"));
}

TEST_F(ZndbView, AnswersWithoutTheService) {
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", "saved=1\n"));
    start();
    EXPECT_EQ(0, zndb_set("set", "2"));
    stop_service();
    EXPECT_EQ("1", viewed("saved"));
    EXPECT_EQ("2", viewed("set"));
    EXPECT_EQ("ret 3", viewed("missing"));
    EXPECT_EQ("ret 3", viewed_perm("set"));
    EXPECT_LT(0u, zndb_view_serial());
}

TEST_F(ZndbView, GivesTheResultsOfAGet) {
    start();
    EXPECT_EQ(0, zndb_set("k", "12345"));
    char value[6] = "";
    EXPECT_EQ(5, zndb_view_get("k", value, 5));
    EXPECT_EQ(5, zndb_view_get("k", value, 0));
    EXPECT_EQ(0, zndb_view_get("k", value, 6));
    EXPECT_STREQ("12345", value);
    EXPECT_EQ(1, zndb_view_get(nullptr, value, 6));
    EXPECT_EQ(1, zndb_view_get("k", nullptr, 6));
    EXPECT_EQ(1, zndb_view_get_perm(nullptr, value, 6));
    EXPECT_EQ(4, zndb_view_get(std::string(32, 'k').c_str(), value, 6));
    EXPECT_EQ(4, zndb_view_get_perm(std::string(32, 'k').c_str(), value, 6));
    EXPECT_EQ(zndb_get("", value, 6), zndb_view_get("", value, 6));
    EXPECT_EQ(3, zndb_view_get(std::string(31, 'k').c_str(), value, 6));
}

TEST_F(ZndbView, ItsSerialTellsWhetherAnythingHasChanged) {
    EXPECT_EQ(0u, zndb_view_serial());
    start();
    uint32_t last = zndb_view_serial();
    const auto has_grown = [&last] { return std::exchange(last, zndb_view_serial()) < last; };
    EXPECT_LT(0u, last);
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_TRUE(has_grown());
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_EQ(3, zndb_del("none"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("1", plain("k"));
    EXPECT_FALSE(has_grown());
    EXPECT_EQ(0, zndb_set_perm_data("k", "1"));
    EXPECT_TRUE(has_grown());
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("f", "1")));
    EXPECT_TRUE(has_grown());
    EXPECT_EQ(0, zndb_del("k"));
    EXPECT_TRUE(has_grown());
    EXPECT_EQ(0, zndb_reset());
    EXPECT_TRUE(has_grown());
    for (int i = 0; i < 3; ++i) {
        restart();
        EXPECT_TRUE(has_grown());
    }
}

TEST_F(ZndbView, IsThatOfTheServiceThatWasStartedAnew) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_EQ("1", viewed("k"));
    zndb_->kill();
    EXPECT_EQ("1", viewed("k"));
    start();
    EXPECT_EQ("1", viewed("k"));
    EXPECT_EQ(0, zndb_set("k", "2"));
    EXPECT_EQ("2", viewed("k"));
}

/* The memory of the old service is still mapped, and nobody could mark it. */
TEST_F(ZndbView, IsThatOfTheNewServiceWhereTheOldFileWasRemoved) {
    start();
    EXPECT_EQ(0, zndb_set("k", "lost"));
    EXPECT_EQ("lost", viewed("k"));
    cut_power();
    EXPECT_EQ("ret 3", viewed("k"));
    zndb_->kill();
    std::filesystem::remove(kViewFile);
    EXPECT_EQ("ret 2", viewed("k"));
    EXPECT_EQ(0u, zndb_view_serial());
}

TEST_F(ZndbView, IsWrittenAgainAfterItWasRemoved) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_EQ("1", viewed("k"));
    std::filesystem::remove(kViewFile);
    ASSERT_TRUE(wait_until([] {
        static int number = 0;
        EXPECT_EQ(0, zndb_set("k", std::to_string(++number).c_str()));
        EXPECT_EQ(std::to_string(number), viewed("k"));
        return std::filesystem::exists(kViewFile);
    }));
}

TEST_F(ZndbView, ItsFolderAndItsFileHaveTheseModes) {
    start();
    EXPECT_EQ(0755u, mode_of("/tmp/m_tmp/zndb"));
    EXPECT_EQ(0640u, mode_of(kViewFile));
    zndb_->kill();
    environment_ = {"QUOR_ZNDB_VIEW_MODE=0666", "QUOR_ZNDB_VIEW_GROUP=" + std::to_string(::getegid())};
    start();
    EXPECT_EQ(0644u, mode_of(kViewFile));
    EXPECT_EQ(0, zndb_set("k", "v"));
    stop_service();
    EXPECT_EQ("v", viewed("k"));
}

/* The folder is left in place, so nothing but the file itself stands for it. */
class ZndbViewFile : public ZndbView, public testing::WithParamInterface<const char *> {};

TEST_P(ZndbViewFile, ThatIsNoViewIsNotRead) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    stop_service();
    ASSERT_EQ(
        0,
        std::system(
            ("cd /tmp/m_tmp/zndb && cp view view2 && mv view2 view && " + std::string(GetParam())).c_str()));
    EXPECT_EQ(0u, zndb_view_serial());
}

INSTANTIATE_TEST_SUITE_P(Broken, ZndbViewFile,
                         testing::Values("truncate -s 0 view", "truncate -s 63 view", "truncate -s 2048 view",
                                         "head -c 4096 /dev/urandom > view", "head -c 4096 /dev/zero > view",
                                         "rm view && mkdir view", "rm view && mkfifo view",
                                         "mv view other && ln -s other view", "ln view other",
                                         "chmod 0660 view"));

/* The file is mapped, by the service and by this process. */
class ZndbViewCut : public ZndbView, public testing::WithParamInterface<std::uintmax_t> {};

TEST_P(ZndbViewCut, WhileItIsReadEndsNobody) {
    start();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(0, zndb_set(("k" + std::to_string(i)).c_str(), std::string(300, 'v').c_str()));
    }
    EXPECT_EQ(std::string(300, 'v'), viewed("k99"));
    RecordingWatcher watcher("k0");
    std::filesystem::resize_file(kViewFile, GetParam());
    EXPECT_EQ(std::string(300, 'v'), viewed("k0"));
    EXPECT_EQ(std::string(300, 'v'), viewed("k99"));
    EXPECT_EQ(0u, zndb_view_serial());
    EXPECT_EQ(0, zndb_set("k0", "2"));
    EXPECT_EQ("2", viewed("k0"));
    EXPECT_EQ("ret 3", viewed("none"));
    EXPECT_LT(0u, zndb_view_serial());
    EXPECT_TRUE(watcher.has("resync"));
    EXPECT_EQ(0, zndb_set("k0", "3"));
    EXPECT_TRUE(watcher.has("plain k0=3"));
}

INSTANTIATE_TEST_SUITE_P(At, ZndbViewCut, testing::Values(0, 63, 100, 4096, 20000));

TEST_F(ZndbView, OfADeadServiceThatWasInTheMiddleOfAChangeIsNotRead) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ("v", viewed("k"));
    zndb_->kill();
    {
        std::fstream file(kViewFile, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(16);
        file.put('\x7');
    }
    EXPECT_EQ("ret 2", viewed("k"));
    start();
    EXPECT_EQ("v", viewed("k"));
}

TEST_F(ZndbView, IsReadByManyThreadsWhileItGrows) {
    start();
    std::atomic<bool> ended{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&ended] {
            int last = 0;
            while (!ended) {
                const std::string value = viewed("number");
                const int now = value == "ret 3" ? 0 : std::stoi(value);
                EXPECT_LE(last, now);
                last = now;
            }
        });
    }
    for (int i = 1; i <= 500; ++i) {
        EXPECT_EQ(0, zndb_set("number", std::to_string(i).c_str()));
        EXPECT_EQ(0, zndb_set(("key" + std::to_string(i)).c_str(), std::string(900, 'v').c_str()));
    }
    ended = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ("500", viewed("number"));
}

TEST_F(ZndbView, IsReadByAForkedChild) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_EQ("1", viewed("k"));
    const pid_t child = ::fork();
    if (child == 0) {
        const bool good = viewed("k") == "1" && zndb_set("k", "2") == 0 && viewed("k") == "2";
        ::_exit(good ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ("2", viewed("k"));
}

TEST_F(ZndbView, TakesAtMostThreeTimesTheTexts) {
    for (const std::string value : {"1", "value_100"}) {
        std::string content;
        size_t texts = 0;
        for (int i = 0; i < 1000; ++i) {
            const std::string key = "setting_" + std::to_string(1000 + i);
            content += key + "=" + value + "\n";
            texts += key.size() + value.size();
        }
        std::filesystem::remove_all("/tmp/m_tmp/zndb");
        ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", content));
        start();
        EXPECT_EQ(value, viewed("setting_1999"));
        EXPECT_LE(std::filesystem::file_size(kViewFile), 3 * texts) << value;
        EXPECT_EQ(0, zndb_reset());
        EXPECT_LE(std::filesystem::file_size(kViewFile), 4096u);
        zndb_->kill();
    }
}

}  // namespace
