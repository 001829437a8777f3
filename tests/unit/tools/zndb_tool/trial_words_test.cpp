#include "zndb_tool/trial_words.h"

#include <gtest/gtest.h>

namespace {

ApplyOutcome outcome_of(apps_err_e_type result, ApplyState state = ApplyState::kNone,
                        ApplyEnd end = ApplyEnd::kNone) {
    ApplyOutcome outcome = {};
    outcome.request.result = result;
    outcome.answer.batch.item = kNoItem;
    outcome.answer.state = static_cast<uint32_t>(state);
    outcome.answer.last_end = static_cast<uint32_t>(end);
    outcome.answer.seconds = 7;
    return outcome;
}

const std::vector<ZndbItem> kItems = {{ItemKind::kSet, StoreId::kPlain, "a", "1"}};

std::string too_late(ApplyEnd end) {
    return confirm_hint(outcome_of(E_APPS_ERR_ZNDB_NO_FOUND, ApplyState::kNone, end));
}

}  // namespace

TEST(TrialWords, ANoticeSaysHowLongAndHow) {
    EXPECT_EQ("1 setting applied; reverted in 60 s unless confirmed: zndb_tool confirm", trial_notice(1, 60));
    EXPECT_EQ("2 settings applied; reverted in 1 s unless confirmed: zndb_tool confirm", trial_notice(2, 1));
    EXPECT_EQ("configuration restored; reverted in 9 s unless confirmed: zndb_tool confirm",
              restore_notice(9));
}

TEST(TrialWords, ARefusedApplySaysWhatIsInTheWay) {
    EXPECT_EQ("; another apply or restore awaits confirmation: zndb_tool confirm or zndb_tool revert first",
              apply_hint(outcome_of(E_APPS_ERR_BUSY, ApplyState::kWaiting), kItems));
    EXPECT_EQ("; the last apply or restore is still being reverted, see the log; try again later",
              apply_hint(outcome_of(E_APPS_ERR_BUSY, ApplyState::kReverting), kItems));
    EXPECT_EQ("; another program is sending changes; try again",
              apply_hint(outcome_of(E_APPS_ERR_BUSY), kItems));
    EXPECT_EQ("; the database is older than this tool",
              apply_hint(outcome_of(E_APPS_ERR_UNSUPPORTED), kItems));
    EXPECT_EQ("", apply_hint(outcome_of(E_APPS_ERR_NOSPACE), kItems));
}

TEST(TrialWords, ASettingThatHasChangedMeanwhileIsNamed) {
    ApplyOutcome outcome = outcome_of(E_APPS_ERR_ZNDB_AVL);
    EXPECT_EQ("; a setting has changed meanwhile; nothing was applied", apply_hint(outcome, kItems));
    outcome.answer.batch.item = 0;
    EXPECT_EQ("; 'a' has changed meanwhile; nothing was applied", apply_hint(outcome, kItems));
}

TEST(TrialWords, ARefusedConfirmationSaysHowTheLastTrialEnded) {
    EXPECT_EQ("; nothing awaits confirmation", too_late(ApplyEnd::kNone));
    EXPECT_EQ("; nothing awaits confirmation", too_late(ApplyEnd::kReplaced));
    EXPECT_EQ("; the last apply or restore was confirmed before", too_late(ApplyEnd::kConfirmed));
    EXPECT_EQ("; too late: nobody confirmed in time, and everything was reverted",
              too_late(ApplyEnd::kTimedOut));
    EXPECT_EQ("; the last apply or restore was reverted on request", too_late(ApplyEnd::kReverted));
    EXPECT_EQ("; the database was restarted before the confirmation, and has reverted everything",
              too_late(ApplyEnd::kRevertedAtStart));
    EXPECT_EQ("; the last apply or restore is still being reverted, see the log; try again later",
              confirm_hint(outcome_of(E_APPS_ERR_ZNDB_NO_FOUND, ApplyState::kReverting)));
    EXPECT_EQ("; the restore has not ended yet",
              confirm_hint(outcome_of(E_APPS_ERR_ZNDB_NO_FOUND, ApplyState::kRestoring)));
    EXPECT_EQ("; the database is older than this tool", confirm_hint(outcome_of(E_APPS_ERR_UNSUPPORTED)));
}

TEST(TrialWords, AConfirmationThatCanNotSaveSaysThatTheTimeGoesOn) {
    EXPECT_EQ("; it is not saved, and is reverted in 7 s",
              confirm_hint(outcome_of(E_APPS_ERR_NOSPACE, ApplyState::kWaiting)));
    EXPECT_EQ("", confirm_hint(outcome_of(E_APPS_ERR_NOSPACE, ApplyState::kKept)));
}

TEST(TrialWords, ARestoreThatCanNotBeginSaysWhatIsInTheWay) {
    EXPECT_EQ("; another apply or restore awaits confirmation: zndb_tool confirm or zndb_tool revert first",
              keep_hint(outcome_of(E_APPS_ERR_BUSY, ApplyState::kRestoring)));
    EXPECT_EQ("; the database is older than this tool", keep_hint(outcome_of(E_APPS_ERR_UNSUPPORTED)));
    EXPECT_EQ("", keep_hint(outcome_of(E_APPS_ERR_NOSPACE)));
}
