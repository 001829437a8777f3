#include "device/lock_table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "device/module_facts.h"
#include "support/module_process.h"
#include "support/other_user.h"

namespace {

constexpr char kTable[] =
    "1: POSIX  ADVISORY  WRITE 812 00:2a:56 0 EOF\n"
    "2: POSIX  ADVISORY  READ  813 00:2a:57 0 EOF\n"
    "3: FLOCK  ADVISORY  WRITE 814 00:2a:58 0 EOF\n"
    "4: -> POSIX  ADVISORY  WRITE 815 00:2a:59 0 EOF\n"
    "5: POSIX  ADVISORY  WRITE -1 00:2a:60 0 EOF\n"
    "6: rubbish\n";

TEST(LockTable, TellsTheHolderOfARecordLockForWriting) {
    EXPECT_EQ(812, holder_in_table(kTable, "00:2a:56"));
    EXPECT_EQ(0, holder_in_table(kTable, "00:2b:56"));
    EXPECT_EQ(0, holder_in_table("", "00:2a:56"));
}

TEST(LockTable, LeavesReadersOtherLocksAndThoseWhoWaitOut) {
    for (const char *file : {"00:2a:57", "00:2a:58", "00:2a:59"}) {
        EXPECT_EQ(0, holder_in_table(kTable, file)) << file;
    }
}

TEST(LockTable, AProcessThatIsNotToBeSeenIsNone) {
    EXPECT_EQ(0, holder_in_table(kTable, "00:2a:60"));
}

TEST(LockTable, KnowsTheHolderOfAModulesLock) {
    const ModuleProcess wlan(5);
    EXPECT_EQ(wlan.pid(), listed_lock_holder("/tmp/m_tmp/lock/wlan"));
    EXPECT_EQ(0, listed_lock_holder("/tmp/m_tmp/lock/none"));
}

using LockTableByAnotherUser = ByAnotherUser<testing::Test>;

TEST_F(LockTableByAnotherUser, AnotherUserIsToldWhichProcessAModuleIs) {
    const ModuleProcess wlan(5);
    EXPECT_EQ(0, as_other_user([&] {
                  const bool may_open = ::access("/tmp/m_tmp/lock/wlan", R_OK) == 0;
                  return !may_open && module_facts(5).process == wlan.pid() ? 0 : 1;
              }));
}

}  // namespace
