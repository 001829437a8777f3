/*
 * Settings on trial with the real service: confirmed, reverted in time, after kills and power cuts.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "formats/zndb_apply_wire.h"
#include "frwk_common.h"
#include "support/killer.h"
#include "system/zndb/zndb_process.h"
#include "unit/formats/apply_bytes.h"

namespace {

using std::chrono::microseconds;

constexpr char kWayBack[] = "/m_data/usr/db/way_back.txt";

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kRounds = 15; /* each start of a sanitized program takes long */
#else
constexpr int kRounds = 60;
#endif

constexpr int kKeys = 200; /* of each store; more than one batch takes */
constexpr int kPage = 25;  /* keys of a page */

class ZndbApplySystem : public ZndbTest {
  protected:
    int32_t ask(const std::string &body) {
        int32_t result = -1000;
        answer_ = {};
        (void)frwk_ipc_send_sync(E_APPS_MODULE_ZNDB, kZndbApplyMessage, body.data(),
                                 static_cast<uint32_t>(body.size()), &answer_, sizeof(answer_), 3, &result);
        return result;
    }

    /* Sets these keys of the plain and the perm store to a value. Returns the last result. */
    int32_t apply(const std::string &value, uint32_t seconds) {
        int32_t result = ask(apply_bytes(1));
        const uint32_t number = answer_.number;
        for (int i = 0; i < kKeys && result == 0; i += kPage) {
            std::string page;
            for (int key = i; key < i + kPage; ++key) {
                page += item_bytes(0, 0, key_of(key), value) + item_bytes(0, 1, key_of(key), value);
            }
            result = ask(apply_bytes(2, number, 0, page));
        }
        return result == 0 ? ask(apply_bytes(3, number, seconds)) : result;
    }

    int32_t confirm() { return ask(apply_bytes(5)); }

    ApplyState state() {
        EXPECT_EQ(0, ask(apply_bytes(0)));
        return static_cast<ApplyState>(answer_.state);
    }

    ApplyEnd last_end() {
        EXPECT_EQ(0, ask(apply_bytes(0)));
        return static_cast<ApplyEnd>(answer_.last_end);
    }

    /* The value that all keys of both stores have; fails if they differ. */
    static std::string common_value() {
        const std::string first = plain(key_of(0));
        for (int i = 0; i < kKeys; ++i) {
            EXPECT_EQ(first, plain(key_of(i))) << i;
            EXPECT_EQ(first, perm(key_of(i))) << i;
        }
        return first;
    }

    static std::string key_of(int number) { return "k" + std::to_string(number); }

    void start_with_saved(const std::string &value) {
        start();
        ASSERT_EQ(0, apply(value, 0));
        ASSERT_EQ(0, zndb_save());
        ASSERT_EQ(value, common_value());
    }

    ApplyAnswer answer_ = {};
    std::mt19937 random_{20240301};
};

TEST_F(ZndbApplySystem, ConfirmedSettingsSurviveAPowerCut) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 60));
    EXPECT_EQ(ApplyState::kWaiting, state());
    EXPECT_EQ(2u * kKeys, answer_.changes);
    EXPECT_EQ(0, confirm());
    cut_power();
    EXPECT_EQ("2", common_value());
    EXPECT_EQ(ApplyState::kNone, state());
}

TEST_F(ZndbApplySystem, UnconfirmedSettingsGoBackByThemselves) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 1));
    /* nobody asks the service for anything */
    EXPECT_TRUE(wait_until([] { return !std::filesystem::exists(kWayBack); }));
    EXPECT_EQ(ApplyEnd::kTimedOut, last_end());
    EXPECT_EQ("1", common_value());
    EXPECT_EQ(2001, confirm());
    cut_power();
    EXPECT_EQ("1", common_value());
}

TEST_F(ZndbApplySystem, AKillRevertsWithinTheTime) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 3600));
    restart();
    EXPECT_EQ("1", common_value());
    EXPECT_EQ(ApplyEnd::kRevertedAtStart, last_end());
    EXPECT_EQ(2001, confirm());
}

TEST_F(ZndbApplySystem, APowerCutRevertsAlsoWhatOthersHaveSavedMeanwhile) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 3600));
    EXPECT_EQ(0, zndb_set("other", "3"));
    EXPECT_EQ(0, zndb_save());
    cut_power();
    EXPECT_EQ("1", common_value());
    EXPECT_EQ("3", plain("other"));
    cut_power();
    EXPECT_EQ("1", common_value());
}

TEST_F(ZndbApplySystem, ARebootReverts) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 3600));
    come_up_after(E_APPS_MSG_SYS_REBOOT);
    EXPECT_EQ("1", common_value());
}

TEST_F(ZndbApplySystem, OnlyOneApplyAtATime) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 3600));
    EXPECT_EQ(E_APPS_ERR_BUSY, apply("3", 3600));
    EXPECT_EQ("2", common_value());
    EXPECT_EQ(0, confirm());
    EXPECT_EQ(0, apply("3", 3600));
}

TEST_F(ZndbApplySystem, AResetMeanwhileStays) {
    start_with_saved("1");
    EXPECT_EQ(0, apply("2", 3600));
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ(0, zndb_save());
    restart();
    EXPECT_EQ("ret 3", plain(key_of(0)));
    EXPECT_EQ("1", perm(key_of(0)));
}

/* Each round kills the service somewhere in an apply, a confirm or a revert. */
TEST_F(ZndbApplySystem, KilledAtAnyMomentEverythingIsAppliedOrNothing) {
    start_with_saved("1");
    std::string good = "1";
    int reverted = 0;
    int kept = 0;
    for (int round = 2; round < kRounds; ++round) {
        const std::string next = std::to_string(round);
        const int64_t longest = 20000;
        const microseconds delay(std::uniform_int_distribution<int64_t>(0, longest)(random_));
        int32_t confirmed = -1;
        {
            const Killer killer(zndb_->pid(), delay);
            if (apply(next, 3600) == 0 && round % 2 == 0) {
                confirmed = confirm();
            }
        }
        EXPECT_EQ(128 + SIGKILL, zndb_->exit_status());
        if (round % 3 == 0) {
            std::filesystem::remove_all("/tmp/m_tmp/zndb");
        }
        start();
        const std::string now = common_value();
        EXPECT_TRUE(now == good || (now == next && round % 2 == 0)) << now << " round " << round;
        EXPECT_FALSE(confirmed == 0 && now != next) << round;
        EXPECT_FALSE(std::filesystem::exists(kWayBack));
        kept += now == next ? 1 : 0;
        reverted += now == next ? 0 : 1;
        good = now;
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    RecordProperty("kept", kept);
    RecordProperty("reverted", reverted);
}

}  // namespace
