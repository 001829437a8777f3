/*
 * The reason of the last reboot and the flag of a reset, in the device's own files.
 */
#include <cerrno>
#include <climits>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kReason[] = "/m_data/usr_permanent/reboot_reason";
constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

class RebootReason : public ModuleTest {
  protected:
    RebootReason() {
        remove_node(kReason);
        remove_node(kResetFlag);
    }
    ~RebootReason() override {
        doubles::restore_all();
        remove_node(kReason);
        remove_node(kResetFlag);
    }

    static int32_t reason_of(const std::string &content) {
        write_file(kReason, content);
        return frwk_reboot_reason_get();
    }

    LogCapture log_;
};

class ResetFlag : public RebootReason {};

}  // namespace

/* ---- The reason ------------------------------------------------------------------------------------ */

TEST_F(RebootReason, Minus5IsSavedAsTwoCharactersAndReadBack) {
    EXPECT_EQ(0, frwk_reboot_reason_save(-5));
    EXPECT_EQ("-5", read_file(kReason));
    EXPECT_EQ(-5, frwk_reboot_reason_get());
}

TEST_F(RebootReason, EveryNumberComesBack) {
    for (const int32_t reason : {0, 1, 9, 10, 65536, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(0, frwk_reboot_reason_save(reason));
        EXPECT_EQ(std::to_string(reason), read_file(kReason));
        EXPECT_EQ(reason, frwk_reboot_reason_get());
    }
}

TEST_F(RebootReason, TheLastReasonCounts) {
    EXPECT_EQ(0, frwk_reboot_reason_save(123456));
    EXPECT_EQ(0, frwk_reboot_reason_save(7));
    EXPECT_EQ(7, frwk_reboot_reason_get());
}

TEST_F(RebootReason, SavingRunsOneCommandAndThenSyncs) {
    std::string steps;
    base::os_system.stand_in([&steps](const char *command) {
        steps += std::string(command) + ";";
        return 0;
    });
    libc::sync.stand_in([&steps] { steps += "sync;"; });
    EXPECT_EQ(0, frwk_reboot_reason_save(INT32_MIN));
    EXPECT_EQ("echo -n -2147483648 > /m_data/usr_permanent/reboot_reason;sync;", steps);
}

TEST_F(RebootReason, SavingReturnsTheShellsResult) {
    base::os_system.stand_in([](const char *) { return -1; });
    EXPECT_EQ(-1, frwk_reboot_reason_save(1));
    base::os_system.stand_in([](const char *) { return 512; });
    EXPECT_EQ(512, frwk_reboot_reason_save(1));
}

TEST_F(RebootReason, AFileThatCanNotBeWrittenIsTheShellsFailure) {
    ASSERT_EQ(0, mkdir(kReason, 0755));
    EXPECT_NE(0, frwk_reboot_reason_save(1));
    EXPECT_EQ(0, frwk_reboot_reason_get());
}

TEST_F(RebootReason, NothingIsWrittenThroughALink) {
    const std::string target = std::string(kReason) + ".target";
    ASSERT_EQ(0, symlink(target.c_str(), kReason));
    EXPECT_EQ(-1, frwk_reboot_reason_save(1));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_reboot_reason_save",
                            with_errno("open reboot reason file error!", ELOOP)));
    EXPECT_FALSE(exists(target));
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(RebootReason, WithoutAFileThereIsNoReason) {
    EXPECT_EQ(0, frwk_reboot_reason_get());
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "frwk_reboot_reason_get", "reboot reason file not exist!"));
    EXPECT_EQ(0u, libc::open.calls());
}

TEST_F(RebootReason, AFileThatCanNotBeOpenedIsLogged) {
    write_file(kReason, "12");
    libc::open.fail(EMFILE);
    EXPECT_EQ(0, frwk_reboot_reason_get());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_reboot_reason_get",
                            with_errno("fopen reboot reason file error!", EMFILE)));
}

TEST_F(RebootReason, DigitsFollowedByLettersGiveTheDigits) {
    EXPECT_EQ(12, reason_of("12abc"));
}

TEST_F(RebootReason, AnEmptyFileGives0) {
    EXPECT_EQ(0, reason_of(""));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_reboot_reason_get", "reboot reason file is empty!"));
}

TEST_F(RebootReason, LeadingBlanksAndASignAreAllowed) {
    EXPECT_EQ(12, reason_of("  12"));
    EXPECT_EQ(-12, reason_of("\t -12\n"));
    EXPECT_EQ(12, reason_of("+12"));
}

TEST_F(RebootReason, WithoutDigitsItIs0) {
    EXPECT_EQ(0, reason_of("abc"));
    EXPECT_EQ(0, reason_of("-"));
    EXPECT_EQ(0, reason_of(std::string("\0"
                                       "12",
                                       3)));
}

TEST_F(RebootReason, OnlyBase10IsRead) {
    EXPECT_EQ(0, reason_of("0x10"));
    EXPECT_EQ(10, reason_of("010"));
}

TEST_F(RebootReason, ANumberBeyond32BitsIsTheNearestThatFits) {
    EXPECT_EQ(INT32_MAX, reason_of("4294967297"));
    EXPECT_EQ(INT32_MIN, reason_of("-99999999999999999999"));
}

TEST_F(RebootReason, AFileOf32DigitsOrMoreStaysInItsBuffer) {
    EXPECT_EQ(5, reason_of(std::string(30, '0') + "5"));
    EXPECT_EQ(0, reason_of(std::string(31, '0') + "5"));
    EXPECT_EQ(INT32_MAX, reason_of(std::string(100000, '9')));
}

TEST_F(RebootReason, AReasonFileThatIsAFolderGives0) {
    ASSERT_EQ(0, mkdir(kReason, 0755));
    EXPECT_EQ(0, frwk_reboot_reason_get());
}

TEST_F(RebootReason, NoDescriptorStaysOpen) {
    write_file(kReason, "12");
    const size_t before = open_descriptors();
    frwk_reboot_reason_save(1);
    frwk_reboot_reason_get();
    EXPECT_EQ(before, open_descriptors());
}

/* ---- The flag -------------------------------------------------------------------------------------- */

TEST_F(ResetFlag, IsSetByTheResetRequestAndClearedByItsCompletion) {
    EXPECT_EQ(0, frwk_system_reset_check());
    (void)frwk_system_reset(1);
    EXPECT_NE(0, frwk_system_reset_check());
    frwk_system_reset_complete();
    EXPECT_EQ(0, frwk_system_reset_check());
    EXPECT_FALSE(exists(kResetFlag));
}

TEST_F(ResetFlag, OnlyItsExistenceCounts) {
    write_file(kResetFlag, "0");
    EXPECT_NE(0, frwk_system_reset_check());
}

TEST_F(ResetFlag, CompletingSyncsAfterTheRemoval) {
    write_file(kResetFlag, "");
    std::string steps;
    libc::unlink.stand_in([&steps](const char *path) {
        steps += std::string(path) + ";";
        return libc::unlink.real(path);
    });
    libc::sync.stand_in([&steps] { steps += "sync;"; });
    frwk_system_reset_complete();
    EXPECT_EQ("/m_data/usr_permanent/reset_flag;sync;", steps);
}

TEST_F(ResetFlag, AMissingFlagIsNoError) {
    frwk_system_reset_complete();
    EXPECT_EQ("", log_.text());
    EXPECT_EQ(1u, libc::sync.calls());
}

TEST_F(ResetFlag, AFlagThatCanNotBeRemovedIsLogged) {
    ASSERT_EQ(0, mkdir(kResetFlag, 0755));
    frwk_system_reset_complete();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("remove reset flag file error!", EISDIR)));
    EXPECT_NE(0, frwk_system_reset_check());
}
