/*
 * Watching the settings of the running database.
 */
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "apps_message.h"
#include "support/change_record.h"
#include "system/zndb/zndb_process.h"
#include "zndb_ext.h"

namespace {

class ZndbWatch : public ZndbTest {};

TEST_F(ZndbWatch, TellsSetsAndDeletesOfBothStores) {
    start();
    EXPECT_EQ(0, zndb_set("k", "before"));
    RecordingWatcher watcher("");
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_TRUE(watcher.has("plain k=1"));
    EXPECT_EQ(0, zndb_set_perm_data("k", ""));
    EXPECT_TRUE(watcher.has("perm k="));
    EXPECT_EQ(0, zndb_del("k"));
    EXPECT_TRUE(watcher.has("plain k deleted"));
    EXPECT_EQ(0, zndb_del_perm("k"));
    EXPECT_TRUE(watcher.has("perm k deleted"));
    EXPECT_EQ("plain k=1,perm k=,plain k deleted,perm k deleted,", watcher.text());
}

TEST_F(ZndbWatch, TellsOnlyKeysWithThePrefix) {
    start();
    RecordingWatcher watcher("wifi_");
    EXPECT_EQ(0, zndb_set("wifi", "1"));
    EXPECT_EQ(0, zndb_set("lan_wifi_", "1"));
    EXPECT_EQ(0, zndb_set("wifi_ssid", "net"));
    EXPECT_TRUE(watcher.has("plain wifi_ssid=net"));
    EXPECT_EQ(1u, watcher.lines().size()) << watcher.text();
}

TEST_F(ZndbWatch, DoesNotTellTheFactoryOverlayNorASetOfTheSameValue) {
    start();
    EXPECT_EQ(0, zndb_set("same", "1"));
    RecordingWatcher watcher("");
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("f", "1")));
    EXPECT_EQ(0, zndb_set("same", "1"));
    EXPECT_EQ(0, zndb_set("last", "1"));
    EXPECT_TRUE(watcher.has("plain last=1"));
    EXPECT_EQ("plain last=1,", watcher.text());
}

TEST_F(ZndbWatch, OfAStormTheLastValueOfEachKeyIsTold) {
    start();
    RecordingWatcher watcher("key");
    for (int i = 0; i < 3000; ++i) {
        EXPECT_EQ(0, zndb_set(("key" + std::to_string(i % 50)).c_str(), std::to_string(i).c_str()));
    }
    for (int i = 0; i < 50; ++i) {
        EXPECT_TRUE(watcher.has("plain key" + std::to_string(i) + "=" + std::to_string(2950 + i))) << i;
    }
    EXPECT_EQ(0u, watcher.count("resync"));
}

TEST_F(ZndbWatch, AResetIsToldOnceToEveryWatcherAndNoOlderValueAfterIt) {
    start();
    RecordingWatcher all("");
    RecordingWatcher other("other");
    for (int round = 0; round < 20; ++round) {
        const std::string old = "before" + std::to_string(round);
        for (int i = 0; i < 30; ++i) {
            EXPECT_EQ(0, zndb_set(("k" + std::to_string(i)).c_str(), old.c_str()));
        }
        EXPECT_EQ(0, zndb_reset());
        EXPECT_EQ(0, zndb_set("k", std::to_string(round).c_str()));
        ASSERT_TRUE(all.has("plain k=" + std::to_string(round)));
        const std::string text = all.text();
        const size_t reset = text.rfind("reset,");
        ASSERT_NE(std::string::npos, reset);
        EXPECT_EQ(std::string::npos, text.find(old, reset));
    }
    EXPECT_EQ(20u, all.count("reset"));
    EXPECT_TRUE(wait_until([&other] { return other.count("reset") > 0; }));
    EXPECT_EQ(0u, other.count("resync") + all.count("resync"));
    EXPECT_EQ(other.lines().size(), other.count("reset"));
}

TEST_F(ZndbWatch, SurvivesARestartOfTheService) {
    start();
    RecordingWatcher watcher("k");
    for (int i = 0; i < 3; ++i) {
        restart();
        EXPECT_TRUE(wait_until([&] { return watcher.count("resync") == static_cast<size_t>(i) + 1; }));
        EXPECT_EQ(0, zndb_set("k", std::to_string(i).c_str()));
        EXPECT_TRUE(watcher.has("plain k=" + std::to_string(i)));
    }
    EXPECT_EQ("resync,plain k=0,resync,plain k=1,resync,plain k=2,", watcher.text());
}

TEST_F(ZndbWatch, SurvivesARestartWhereTheViewIsLost) {
    start();
    RecordingWatcher watcher("k");
    cut_power();
    EXPECT_TRUE(watcher.has("resync"));
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_TRUE(watcher.has("plain k=1"));
}

TEST_F(ZndbWatch, BeginsWithoutAService) {
    RecordingWatcher watcher("");
    EXPECT_EQ("", watcher.text());
    start();
    EXPECT_TRUE(watcher.has("resync"));
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_TRUE(watcher.has("plain k=1"));
    EXPECT_EQ("resync,plain k=1,", watcher.text());
}

TEST_F(ZndbWatch, RefusesWrongArguments) {
    int somewhere = 0;
    auto *const none = reinterpret_cast<zndb_watcher *>(&somewhere);
    zndb_watcher *watcher = none;
    EXPECT_EQ(1, zndb_watch(nullptr, ChangeRecord::add, nullptr, &watcher));
    EXPECT_EQ(1, zndb_watch("", nullptr, nullptr, &watcher));
    EXPECT_EQ(1, zndb_watch("", ChangeRecord::add, nullptr, nullptr));
    EXPECT_EQ(4, zndb_watch(std::string(32, 'k').c_str(), ChangeRecord::add, nullptr, &watcher));
    EXPECT_EQ(none, watcher);
    EXPECT_EQ(1, zndb_unwatch(nullptr));
    RecordingWatcher longest(std::string(31, 'k').c_str());
}

TEST_F(ZndbWatch, AfterUnwatchNoCallBegins) {
    start();
    for (int round = 0; round < 50; ++round) {
        auto watcher = std::make_unique<RecordingWatcher>("");
        EXPECT_EQ(0, zndb_set("k", std::to_string(round).c_str()));
        watcher->end();
        const size_t told = watcher->lines().size();
        EXPECT_EQ(0, zndb_set("k", "after"));
        EXPECT_EQ(told, watcher->lines().size());
    }
}

/* A handler that stays in its call until it is let go. */
struct Hung {
    static void handle(const zndb_change *, void *context) {
        auto *hung = static_cast<Hung *>(context);
        hung->calls += 1;
        while (!hung->let_go) {
            std::this_thread::yield();
        }
        hung->ended = true;
    }

    std::atomic<int> calls{0};
    std::atomic<bool> let_go{false};
    std::atomic<bool> ended{false};
};

TEST_F(ZndbWatch, UnwatchWaitsForACallInProgress) {
    start();
    Hung hung;
    zndb_watcher *watcher = nullptr;
    ASSERT_EQ(0, zndb_watch("", Hung::handle, &hung, &watcher));
    EXPECT_EQ(0, zndb_set("k", "1"));
    ASSERT_TRUE(wait_until([&hung] { return hung.calls == 1; }));
    std::atomic<bool> has_ended{false};
    std::thread unwatching([&] {
        EXPECT_EQ(0, zndb_unwatch(watcher));
        EXPECT_TRUE(hung.ended);
        has_ended = true;
    });
    EXPECT_FALSE(has_ended);
    hung.let_go = true;
    unwatching.join();
    EXPECT_EQ(1, hung.calls);
}

TEST_F(ZndbWatch, AHandlerThatHangsHoldsUpNobodyElse) {
    start();
    Hung hung;
    zndb_watcher *hanging = nullptr;
    ASSERT_EQ(0, zndb_watch("", Hung::handle, &hung, &hanging));
    RecordingWatcher other("");
    EXPECT_EQ(0, zndb_set("k", "1"));
    ASSERT_TRUE(wait_until([&hung] { return hung.calls == 1; }));
    EXPECT_TRUE(other.has("plain k=1"));
    EXPECT_EQ(0, zndb_set("k", "2"));
    EXPECT_TRUE(other.has("plain k=2"));
    other.end();
    hung.let_go = true;
    EXPECT_EQ(0, zndb_unwatch(hanging));
}

struct InCall {
    static void handle(const zndb_change *change, void *context) {
        auto *self = static_cast<InCall *>(context);
        char value[8] = "";
        (void)zndb_get(change->key, value, sizeof(value));
        self->read = value;
        self->set = zndb_set("other", value);
        self->unwatched = zndb_unwatch(self->watcher);
        self->calls += 1;
    }

    zndb_watcher *watcher = nullptr;
    std::string read;
    int set = -1;
    int unwatched = -1;
    std::atomic<int> calls{0};
};

TEST_F(ZndbWatch, AHandlerMayCallTheDatabaseAndCancelItself) {
    start();
    InCall in_call;
    ASSERT_EQ(0, zndb_watch("", InCall::handle, &in_call, &in_call.watcher));
    EXPECT_EQ(0, zndb_set("k", "1"));
    ASSERT_TRUE(wait_until([&in_call] { return in_call.calls == 1; }));
    EXPECT_EQ("1", in_call.read);
    EXPECT_EQ(0, in_call.set);
    EXPECT_EQ(0, in_call.unwatched);
    RecordingWatcher after("");
    EXPECT_EQ(0, zndb_set("k", "2"));
    EXPECT_TRUE(after.has("plain k=2"));
    EXPECT_EQ(1, in_call.calls);
}

TEST_F(ZndbWatch, AThousandWatchersAreToldAndEnded) {
    start();
    std::vector<std::unique_ptr<RecordingWatcher>> watchers;
    for (int i = 0; i < 1000; ++i) {
        watchers.push_back(std::make_unique<RecordingWatcher>(i % 2 == 0 ? "even" : "odd"));
    }
    EXPECT_EQ(0, zndb_set("even", "1"));
    EXPECT_EQ(0, zndb_set("odd", "1"));
    for (int i = 0; i < 1000; ++i) {
        const std::string line = i % 2 == 0 ? "plain even=1" : "plain odd=1";
        ASSERT_TRUE(watchers[static_cast<size_t>(i)]->has(line)) << i;
        EXPECT_EQ(1u, watchers[static_cast<size_t>(i)]->lines().size());
    }
}

TEST_F(ZndbWatch, AForkedChildIsToldNothingAndMayUnwatch) {
    start();
    ChangeRecord record;
    zndb_watcher *watcher = nullptr;
    ASSERT_EQ(0, zndb_watch("", ChangeRecord::add, &record, &watcher));
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(zndb_unwatch(watcher));
    }
    int status = -1;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_TRUE(record.has("plain k=1"));
    EXPECT_EQ(0, zndb_unwatch(watcher));
}

}  // namespace
