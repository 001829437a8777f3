/*
 * Another user attacks a diagnostic's output file, whose name is known in advance.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "security/folders/attacked_device.h"
#include "security/folders/fixed_uptime.h"
#include "support/other_user.h"
#include "support/tool_folder.h"
#include "support/wait_until.h"
#include "system/diag/diagnosis.h"
#include "unit/frwk_diag/diag_requests.h"

namespace {

constexpr char kTempFolder[] = "/tmp/m_tmp";

class DiagAttack : public testing::Test {
  protected:
    DiagAttack() {
        clean_device();
        tools_.put_script("ping", "echo the tool");
    }

    static std::string output() { return "/tmp/m_tmp/ping_" + FixedUptime::text() + ".txt"; }

    const FixedUptime uptime_;
    const ToolFolder tools_;
};

using DiagAttackByAnotherUser = ByAnotherUser<DiagAttack>;

}  // namespace

TEST_F(DiagAttackByAnotherUser, WhatStandsInTheOutputsPlaceIsSetAside) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kTempFolder);
        plant(what, output());
        const Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
        EXPECT_EQ(E_APPS_ERR_SUCCESS, ping.result()) << name_of(what);
        EXPECT_EQ("the tool\n", ping.text()) << name_of(what);
        EXPECT_EQ(output(), ping.path());
        EXPECT_EQ(::geteuid(), owner_of(output())) << name_of(what);
        EXPECT_EQ(kPrecious, file_text(kVictim)) << name_of(what);
    }
}

TEST_F(DiagAttack, ALinkOfTheDevicesOwnIsNotFollowed) {
    ASSERT_EQ(0, ::symlink(kVictim, output().c_str()));
    const Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
    EXPECT_EQ(E_APPS_ERR_IO, ping.result());
    EXPECT_EQ(kPrecious, file_text(kVictim));
}

TEST_F(DiagAttack, AnOutputIsItsOwnersAloneWhateverTheUmask) {
    const Umask none(0);
    const Diagnosis ping(FRWK_DIAG_TYPE_PING, ping_of("a"));
    EXPECT_EQ("the tool\n", ping.text());
    EXPECT_EQ(0600u, mode_of(output()));
}

/* The file is exchanged while the tool runs. */
TEST_F(DiagAttack, WhatTakesTheOutputsPlaceMeanwhileIsNotRead) {
    tools_.put_script("ping", "rm " + output() + "; echo not the tool > " + output());
    EXPECT_EQ(E_APPS_ERR_IO, Diagnosis(FRWK_DIAG_TYPE_PING, ping_of("a")).result());
}
