/*
 * Settings on trial: what confirms and what reverts them, whatever happens meanwhile.
 */
#include "trial.h"

#include <gtest/gtest.h>

#include "unit/zndb/trial_fixture.h"

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

constexpr int32_t kNotFound = E_APPS_ERR_ZNDB_NO_FOUND;

class TrialTest : public TrialFixture {
  protected:
    /* From now on the flash takes nothing. */
    static void fill_flash() { fill_disk_of("/m_data"); }

    void expect_back_and_saved() {
        expect_back();
        cut_power_all();
        expect_back();
        expect_ended(ApplyEnd::kNone);
    }
};

}  // namespace

/* ---- to confirm ---- */

TEST_F(TrialTest, ConfirmedSettingsStayAndAreSaved) {
    set_saved_a();
    apply_two();
    EXPECT_EQ(2u, answer_.changes);
    EXPECT_EQ(0, confirm());
    expect_ended(ApplyEnd::kConfirmed);
    cut_power_all();
    EXPECT_EQ("2", plain("a"));
    EXPECT_EQ("2", perm("m"));
    expect_ended(ApplyEnd::kNone);
}

TEST_F(TrialTest, AConfirmedChangeOfTheFactoryOverlayIsSavedToo) {
    EXPECT_EQ(0, apply(item_bytes(0, 2, "f", "2")));
    EXPECT_EQ(0, confirm());
    cut_power_all();
    EXPECT_EQ("2", def("f"));
}

TEST_F(TrialTest, ASecondConfirmIsRefused) {
    apply_two();
    EXPECT_EQ(0, confirm());
    log_.clear();
    EXPECT_EQ(kNotFound, confirm());
    EXPECT_EQ(static_cast<uint32_t>(ApplyEnd::kConfirmed), answer_.last_end);
    EXPECT_EQ((std::vector<std::string>{"apply control refused: there is nothing to confirm"}),
              warnings(log_));
}

TEST_F(TrialTest, AConfirmWithoutAnApplyIsRefused) {
    EXPECT_EQ(kNotFound, confirm());
    EXPECT_EQ(static_cast<uint32_t>(ApplyEnd::kNone), answer_.last_end);
}

TEST_F(TrialTest, AConfirmThatComesTooLateIsRefused) {
    set_saved_a();
    apply_two(1);
    wait_until_due();
    EXPECT_EQ(kNotFound, confirm());
    trial_->act_if_due();
    expect_back();
    EXPECT_EQ(kNotFound, confirm());
    EXPECT_EQ(static_cast<uint32_t>(ApplyEnd::kTimedOut), answer_.last_end);
}

TEST_F(TrialTest, AConfirmThatCanNotSaveIsRefusedAndMayBeRepeated) {
    set_saved_a();
    apply_two();
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, confirm());
    EXPECT_EQ(static_cast<uint32_t>(ApplyState::kWaiting), answer_.state);
    end_faults();
    EXPECT_EQ(0, confirm());
}

TEST_F(TrialTest, AConfirmOfPermAloneDoesNotNeedThePlainFile) {
    EXPECT_EQ(0, apply(item_bytes(0, 1, "m", "2")));
    fail_open(kPermFile + ".tmp", ENOSPC);
    EXPECT_EQ(E_APPS_ERR_NOSPACE, confirm());
    end_faults();
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    fail_open(kPlainFile + ".tmp", ENOSPC);
    EXPECT_EQ(0, confirm());
}

TEST_F(TrialTest, AConfirmThatMayNotSurviveAPowerCutSaysSo) {
    apply_two();
    EXPECT_EQ(0, database_->save());
    fail_folder_sync();
    EXPECT_EQ(E_APPS_ERR_ZNDB_OTHER, confirm());
    end_faults();
    expect_ended(ApplyEnd::kConfirmed);
}

TEST_F(TrialTest, AWayBackThatCanNotBeRemovedIsNotConfirmed) {
    apply_two();
    doubles::libc::unlink.stand_in([](const char *) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ(E_APPS_ERR_ZNDB_READ_ONLY, confirm());
    EXPECT_EQ(static_cast<uint32_t>(ApplyState::kWaiting), answer_.state);
}

/* ---- to revert ---- */

TEST_F(TrialTest, UnconfirmedSettingsGoBackInTime) {
    set_saved_a();
    apply_two(1);
    trial_->act_if_due();
    wait_until_due();
    trial_->act_if_due();
    expect_ended(ApplyEnd::kTimedOut);
    expect_back_and_saved();
}

TEST_F(TrialTest, ARevertOnRequestIsAtOnce) {
    set_saved_a();
    apply_two();
    EXPECT_EQ(0, revert());
    expect_ended(ApplyEnd::kReverted);
    expect_back_and_saved();
    EXPECT_EQ(kNotFound, revert());
}

TEST_F(TrialTest, AKillOfTheServiceReverts) {
    set_saved_a();
    apply_two();
    restart_all();
    expect_ended(ApplyEnd::kRevertedAtStart);
    expect_back_and_saved();
}

TEST_F(TrialTest, APowerCutReverts) {
    set_saved_a();
    apply_two();
    cut_power_all();
    expect_ended(ApplyEnd::kRevertedAtStart);
    expect_back_and_saved();
}

TEST_F(TrialTest, APowerCutAfterSomebodySavedReverts) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->save());
    cut_power_all();
    expect_ended(ApplyEnd::kRevertedAtStart);
    expect_back_and_saved();
}

TEST_F(TrialTest, AnOrderlyRebootReverts) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->save_before_power_off());
    cut_power_all();
    expect_back();
}

TEST_F(TrialTest, WhatOthersSetMeanwhileToTheSameKeysGoesBackToo) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->set(P, "a", "3"));
    ASSERT_EQ(0, database_->set(P, "other", "3"));
    EXPECT_EQ(0, revert());
    expect_back();
    EXPECT_EQ("3", plain("other"));
}

TEST_F(TrialTest, ADebugModeUntilTheRebootDoesNotBecomePermanentByARevert) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->set(P, "device_debug_mode", "true"));
    EXPECT_EQ(0, revert());
    EXPECT_EQ("true", plain("device_debug_mode"));
    cut_power_all();
    EXPECT_EQ(kMissing, plain("device_debug_mode"));
}

TEST_F(TrialTest, ARevertThatCanNotBeSavedIsTriedAgain) {
    times_.retry = milliseconds(0);
    begin_trial();
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->save());
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, revert());
    expect_state(ApplyState::kReverting);
    expect_back();
    EXPECT_EQ(kNotFound, confirm());
    ASSERT_EQ(0, database_->set(P, "a", "set since")); /* it is not put back twice */
    end_faults();
    trial_->act_if_due();
    expect_ended(ApplyEnd::kReverted);
    EXPECT_EQ("set since", plain("a"));
}

TEST_F(TrialTest, ARevertThatCouldNotBeSavedIsNotMadeAgainByAStart) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->save());
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, revert());
    ASSERT_EQ(0, database_->set(P, "a", "set since"));
    end_faults();
    restart_all();
    expect_ended(ApplyEnd::kRevertedAtStart);
    EXPECT_EQ("set since", plain("a"));
    EXPECT_EQ(kMissing, perm("m"));
}

TEST_F(TrialTest, ARevertThatCouldNotBeSavedIsMadeAgainAfterAPowerCut) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->save());
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, revert());
    end_faults();
    cut_power_all();
    expect_back();
    expect_ended(ApplyEnd::kRevertedAtStart);
}

TEST_F(TrialTest, TheEndOfAnEarlierRevertDoesNotCountForTheNextTrial) {
    set_saved_a();
    apply_two();
    EXPECT_EQ(0, revert());
    apply_two();
    restart_all();
    expect_back();
    expect_ended(ApplyEnd::kRevertedAtStart);
}

TEST_F(TrialTest, NothingIsAppliedWhileTheMarkOfAnEarlierRevertStays) {
    set_saved_a();
    std::filesystem::create_directories("/tmp/m_tmp/zndb/put_back/in_the_way");
    EXPECT_EQ(E_APPS_ERR_ZNDB_OTHER, apply(item_bytes(0, 0, "a", "2")));
    EXPECT_EQ("1", plain("a"));
    std::filesystem::remove_all("/tmp/m_tmp/zndb/put_back");
}

TEST_F(TrialTest, ARevertWhoseMarkCanNotBeMadeIsARevertNevertheless) {
    set_saved_a();
    apply_two();
    fail_open("/tmp/m_tmp/zndb/put_back", ENOSPC);
    EXPECT_EQ(0, revert());
    end_faults();
    expect_back();
    EXPECT_EQ(1u, log_.count("can't make /tmp/m_tmp/zndb/put_back"));
}

TEST_F(TrialTest, ARevertThatTheJournalCanNotTakeIsTriedAgain) {
    times_.retry = milliseconds(0);
    begin_trial();
    set_saved_a();
    apply_two();
    fill_disk_of("/tmp/m_tmp");
    EXPECT_EQ(E_APPS_ERR_NOSPACE, revert());
    EXPECT_EQ("2", plain("a"));
    end_faults();
    EXPECT_EQ(0, revert());
    expect_back_and_saved();
}

TEST_F(TrialTest, AStoreThatItDoesNotConcernHoldsUpNoRevert) {
    ASSERT_EQ(0, database_->set(M, "other", "1"));
    EXPECT_EQ(0, apply(item_bytes(0, 0, "a", "2")));
    fail_open(kPermFile + ".tmp", EIO);
    EXPECT_EQ(0, revert());
}

TEST_F(TrialTest, AMalformedWayBackIsSetAside) {
    trial_.reset();
    put_file(kWayBackFile, "garbage");
    begin_trial();
    expect_state(ApplyState::kNone);
    EXPECT_EQ(1u, files_beginning(kWayBackFile + ".damaged-").size());
}

/* ---- only one at a time ---- */

TEST_F(TrialTest, ASecondApplyIsRefusedMeanwhile) {
    set_saved_a();
    apply_two();
    log_.clear();
    EXPECT_EQ(E_APPS_ERR_BUSY, apply(item_bytes(0, 0, "b", "2")));
    EXPECT_EQ(E_APPS_ERR_BUSY, keep(60));
    EXPECT_EQ(2u, warnings(log_).size());
    EXPECT_EQ(kMissing, plain("b"));
    EXPECT_EQ(0, revert());
    expect_back();
}

TEST_F(TrialTest, ABatchForGoodIsNotHeldUp) {
    apply_two();
    EXPECT_EQ(0, apply(item_bytes(0, 0, "b", "2"), 0));
    EXPECT_EQ(0, revert());
    EXPECT_EQ("2", plain("b"));
}

TEST_F(TrialTest, WithoutAThreadThatWouldRevertNothingIsApplied) {
    trial_->declare_unwatched();
    EXPECT_EQ(E_APPS_ERR_ZNDB_OTHER, apply(item_bytes(0, 0, "b", "2")));
    EXPECT_EQ(kMissing, plain("b"));
    EXPECT_EQ(0, apply(item_bytes(0, 0, "b", "2"), 0));
}

/* ---- what is refused ---- */

TEST_F(TrialTest, WhatChangesNothingNeedsNoConfirmation) {
    set_saved_a();
    EXPECT_EQ(0, apply(item_bytes(0, 0, "a", "1") + item_bytes(1, 1, "missing", "")));
    EXPECT_EQ(0, answer_.batch.verdict);
    expect_ended(ApplyEnd::kNone);
}

TEST_F(TrialTest, ABadKeyChangesNothing) {
    EXPECT_EQ(2004, apply(item_bytes(0, 0, "a", "2") + item_bytes(0, 0, "b=", "2")));
    EXPECT_EQ(1u, answer_.batch.item);
    EXPECT_EQ(1, answer_.batch.verdict);
    EXPECT_EQ(kMissing, plain("a"));
    expect_ended(ApplyEnd::kNone);
}

TEST_F(TrialTest, AnExpectationThatDoesNotHoldChangesNothing) {
    set_saved_a();
    EXPECT_EQ(2002, apply(item_bytes(0, 0, "b", "2") + item_bytes(2, 0, "a", "other")));
    EXPECT_EQ(E_ZNDB_RET_CONFLICT, answer_.batch.verdict);
    EXPECT_EQ(1u, answer_.batch.item);
    expect_ended(ApplyEnd::kNone);
}

TEST_F(TrialTest, OnAFullOrReadOnlyDiskNothingIsApplied) {
    set_saved_a();
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, apply(item_bytes(0, 0, "a", "2")));
    end_faults();
    fail_open(kWayBackFile + ".tmp", EROFS);
    EXPECT_EQ(E_APPS_ERR_ZNDB_READ_ONLY, apply(item_bytes(0, 0, "a", "2")));
    end_faults();
    EXPECT_EQ("1", plain("a"));
    expect_ended(ApplyEnd::kNone);
}

TEST_F(TrialTest, OnAFullJournalNothingIsAppliedAndTheWayBackIsGone) {
    set_saved_a();
    fill_disk_of("/tmp/m_tmp");
    EXPECT_EQ(E_APPS_ERR_NOSPACE, apply(item_bytes(0, 0, "a", "2") + item_bytes(0, 0, "b", "2")));
    end_faults();
    EXPECT_EQ("1", plain("a"));
    expect_ended(ApplyEnd::kNone);
}

TEST_F(TrialTest, AWayBackThatCanNotBeWithdrawnIsRemovedLater) {
    times_.retry = milliseconds(0);
    begin_trial();
    set_saved_a();
    fill_disk_of("/tmp/m_tmp");
    doubles::libc::unlink.stand_in([](const char *path) {
        if (path == kWayBackFile) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::unlink.real(path);
    });
    EXPECT_EQ(E_APPS_ERR_NOSPACE, apply(item_bytes(0, 0, "a", "2")));
    end_faults();
    expect_state(ApplyState::kReverting);
    trial_->act_if_due();
    expect_ended(ApplyEnd::kReverted);
    EXPECT_EQ("1", plain("a"));
}

TEST_F(TrialTest, AnUnreadableWayBackIsLeftAlone) {
    apply_two();
    trial_.reset();
    restart();
    fail_open(kWayBackFile, EIO);
    begin_trial();
    end_faults();
    expect_state(ApplyState::kNone);
    EXPECT_TRUE(exists(kWayBackFile));
}

/* ---- a reset meanwhile ---- */

TEST_F(TrialTest, AResetMeanwhileIsNotUndoneByTheRevert) {
    set_saved_a();
    apply_two();
    EXPECT_EQ(0, trial_->before_reset());
    ASSERT_EQ(0, database_->reset());
    EXPECT_EQ(0, revert());
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ(kMissing, perm("m"));
}

TEST_F(TrialTest, ASavedResetMeanwhileIsNotUndoneByAStart) {
    set_saved_a();
    apply_two();
    EXPECT_EQ(0, trial_->before_reset());
    EXPECT_EQ(0, trial_->before_reset());
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->save());
    cut_power_all();
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ(kMissing, perm("m"));
}

TEST_F(TrialTest, AResetThatAPowerCutUndoesLeavesNothingUnconfirmed) {
    set_saved_a();
    apply_two();
    ASSERT_EQ(0, database_->save());
    EXPECT_EQ(0, trial_->before_reset());
    ASSERT_EQ(0, database_->reset());
    cut_power_all();
    expect_back();
}

TEST_F(TrialTest, AResetThatCanNotBeNotedIsRefused) {
    set_saved_a();
    apply_two();
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, trial_->before_reset());
    end_faults();
    EXPECT_EQ(0, revert());
    expect_back();
}

/* ---- a restore ---- */

TEST_F(TrialTest, AWholeConfigurationGoesBackWithItsFiles) {
    put_file("/m_data/usr/www/auth.txt", "old");
    set_saved_a();
    ASSERT_EQ(0, database_->set(P, "b", "1"));
    EXPECT_EQ(0, keep(1));
    EXPECT_EQ(static_cast<uint32_t>(ApplyState::kRestoring), answer_.state);
    EXPECT_EQ(0, trial_->before_reset());
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    put_file("/m_data/usr/www/auth.txt", "new");
    put_file("/m_data/usr/dbm/database.db", "new");
    EXPECT_EQ(kNotFound, confirm());
    EXPECT_EQ(0, restored());
    EXPECT_EQ(static_cast<uint32_t>(ApplyState::kWaiting), answer_.state);
    wait_until_due();
    trial_->act_if_due();
    expect_ended(ApplyEnd::kTimedOut);
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("1", plain("b"));
    EXPECT_EQ("old", content_of("/m_data/usr/www/auth.txt"));
    EXPECT_FALSE(exists("/m_data/usr/dbm/database.db"));
}

TEST_F(TrialTest, AKilledRestoreGoesBackAtTheStart) {
    put_file("/m_data/usr/www/auth.txt", "old");
    set_saved_a();
    EXPECT_EQ(0, keep(60));
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->save());
    put_file("/m_data/usr/www/auth.txt", "half");
    cut_power_all();
    expect_ended(ApplyEnd::kRevertedAtStart);
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("old", content_of("/m_data/usr/www/auth.txt"));
}

TEST_F(TrialTest, ARestoreThatDoesNotEndGoesBack) {
    times_.restore = milliseconds(0);
    begin_trial();
    set_saved_a();
    EXPECT_EQ(0, keep(60));
    ASSERT_EQ(0, database_->reset());
    trial_->act_if_due();
    expect_ended(ApplyEnd::kTimedOut);
    EXPECT_EQ("1", plain("a"));
}

TEST_F(TrialTest, AConfirmedRestoreStays) {
    set_saved_a();
    EXPECT_EQ(0, keep(60));
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    EXPECT_EQ(0, restored());
    EXPECT_EQ(0, confirm());
    cut_power_all();
    EXPECT_EQ("2", plain("a"));
}

TEST_F(TrialTest, WithoutATimeLimitItStaysUntilSomebodyReverts) {
    set_saved_a();
    EXPECT_EQ(0, keep(0));
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    ASSERT_EQ(0, database_->save());
    EXPECT_EQ(0, restored());
    cut_power_all();
    trial_->act_if_due();
    expect_state(ApplyState::kKept);
    EXPECT_EQ("2", plain("a"));
    EXPECT_EQ(0, revert());
    EXPECT_EQ("1", plain("a"));
    expect_ended(ApplyEnd::kReverted);
}

TEST_F(TrialTest, WhatIsKeptWithoutATimeLimitGivesWayToTheNext) {
    put_file("/m_data/usr/www/auth.txt", "old");
    set_saved_a();
    EXPECT_EQ(0, keep(0));
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    EXPECT_EQ(0, keep(0));
    ASSERT_EQ(0, database_->set(P, "a", "3"));
    EXPECT_EQ(0, apply(item_bytes(0, 0, "b", "2")));
    EXPECT_FALSE(exists(kWayBackFile + ".0"));
    EXPECT_EQ(0, revert());
    EXPECT_EQ("3", plain("a"));
}

TEST_F(TrialTest, WhatIsKeptIsGivenUpByAConfirm) {
    EXPECT_EQ(0, keep(0));
    EXPECT_EQ(0, confirm());
    expect_ended(ApplyEnd::kConfirmed);
    EXPECT_EQ(kNotFound, restored());
}

TEST_F(TrialTest, WhatCanNotBeGivenUpHoldsUpTheNext) {
    EXPECT_EQ(0, keep(0));
    doubles::libc::unlink.stand_in([](const char *) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ(E_APPS_ERR_ZNDB_READ_ONLY, keep(60));
    EXPECT_EQ(E_APPS_ERR_ZNDB_READ_ONLY, apply(item_bytes(0, 0, "b", "2")));
    end_faults();
    expect_state(ApplyState::kKept);
}

TEST_F(TrialTest, AConfigurationThatCanNotBeCopiedIsNotKept) {
    put_file("/m_data/usr/www/auth.txt", "old");
    fill_flash();
    EXPECT_EQ(E_APPS_ERR_NOSPACE, keep(60));
    end_faults();
    fail_open(kWayBackFile + ".tmp", ENOSPC);
    EXPECT_EQ(E_APPS_ERR_NOSPACE, keep(60));
    end_faults();
    expect_ended(ApplyEnd::kNone);
    trial_.reset();
    fail_open(kPlainJournal, EACCES);
    restart();
    begin_trial();
    EXPECT_NE(0, keep(60));
}

/* ---- the last save ---- */

TEST_F(TrialTest, UndoAnswersHowManyChangesItDropped) {
    set_saved_a();
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    ASSERT_EQ(0, database_->set(M, "m", "2"));
    EXPECT_EQ(0, ask(apply_bytes(9)));
    EXPECT_EQ(2u, answer_.changes);
    expect_back();
}

/* ---- the watching thread ---- */

TEST_F(TrialTest, AWaitEndsWhenTheTimeHasCome) {
    set_saved_a();
    trial_->wait(milliseconds(1)); /* nothing is due */
    apply_two(1);
    while (plain("a") == "2") {
        trial_->wait(hours(1));
        trial_->act_if_due();
    }
    expect_ended(ApplyEnd::kTimedOut);
}
