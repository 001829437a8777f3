/*
 * Uptime and memory, with a fake database and test doubles for the kernel calls.
 */
#include <sys/sysinfo.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"

namespace {

constexpr char kOffset[] = "device_uptime_offset";

class Uptime : public ConfigTest {
  protected:
    void SetUp() override {
        ConfigTest::SetUp();
        g_s_uptime_offset = -1;
        run_for(1000);
    }
    void TearDown() override {
        g_s_uptime_offset = -1;
        ConfigTest::TearDown();
    }

    static void run_for(uint32_t seconds) {
        doubles::base::os_uptime_sec.stand_in([seconds] { return seconds; });
    }

    uint32_t uptime_with(const std::string &offset) {
        g_s_uptime_offset = -1;
        store(kOffset, offset);
        return frwk_uptime();
    }
};

class Sysinfo : public Uptime {
  protected:
    /* From now on the kernel counts in units of so many bytes. */
    static void kernel_says(unsigned long total, unsigned long free, unsigned unit) {
        doubles::libc::sysinfo.stand_in([total, free, unit](struct sysinfo *info) {
            *info = {};
            info->uptime = 99;
            info->totalram = total;
            info->freeram = free;
            info->sharedram = 3;
            info->bufferram = 4;
            info->totalswap = 5;
            info->freeswap = 6;
            info->procs = 65535;
            info->mem_unit = unit;
            return 0;
        });
    }
};

}  // namespace

/* ---- Uptime ---------------------------------------------------------------------------------------- */

TEST_F(Uptime, IsTheRawOneLessTheOffset) {
    EXPECT_EQ(900u, uptime_with("100"));
    EXPECT_EQ(999u, uptime_with("1"));
    EXPECT_EQ(1u, uptime_with("999"));
}

TEST_F(Uptime, AnOffsetAboveTheRawUptimeIsIgnored) {
    run_for(50);
    EXPECT_EQ(50u, uptime_with("100"));
}

TEST_F(Uptime, AnOffsetThatIsNotBelowTheRawUptimeIsIgnored) {
    EXPECT_EQ(1000u, uptime_with("1000"));
    EXPECT_EQ(1000u, uptime_with("1001"));
    EXPECT_EQ(1000u, uptime_with("2147483647"));
}

TEST_F(Uptime, AnOffsetBelow1IsIgnored) {
    for (const char *offset : {"0", "-1", "-100", "-2147483647"}) {
        EXPECT_EQ(1000u, uptime_with(offset)) << offset;
    }
}

TEST_F(Uptime, ARawUptimeAbove31BitsIsNoNegativeOne) {
    run_for(0xFFFFFFFF);
    EXPECT_EQ(0x80000000u, uptime_with("2147483647"));
}

TEST_F(Uptime, TheOffsetIsReadOnce) {
    EXPECT_EQ(900u, uptime_with("100"));
    store(kOffset, "200");
    EXPECT_EQ(900u, frwk_uptime());
    EXPECT_EQ(1u, database().requests.size());
    EXPECT_EQ(kOffset, database().requests.at(0).key);
}

TEST_F(Uptime, AnIgnoredOffsetIsReadOnceToo) {
    for (const char *offset : {"0", "-1", "1000"}) {
        database().requests.clear();
        EXPECT_EQ(1000u, uptime_with(offset));
        store(kOffset, "200");
        EXPECT_EQ(1000u, frwk_uptime());
        EXPECT_EQ(1u, database().requests.size()) << offset;
    }
}

TEST_F(Uptime, AnOffsetIgnoredForAYoungUptimeCountsLater) {
    run_for(50);
    EXPECT_EQ(50u, uptime_with("100"));
    run_for(150);
    EXPECT_EQ(50u, frwk_uptime());
}

TEST_F(Uptime, AFailedReadIsTriedAgain) {
    EXPECT_EQ(1000u, frwk_uptime());
    database().result = E_ZNDB_RET_IPC;
    EXPECT_EQ(1000u, frwk_uptime());
    EXPECT_EQ(2u, database().requests.size());

    database().result = E_ZNDB_RET_SUCCESS;
    store(kOffset, "100");
    EXPECT_EQ(900u, frwk_uptime());
    EXPECT_EQ(900u, frwk_uptime());
    EXPECT_EQ(3u, database().requests.size());
}

TEST_F(Uptime, AnOffsetThatIsNoNumberIs0) {
    EXPECT_EQ(1000u, uptime_with("soon"));
}

TEST_F(Uptime, AnOffsetOutOfItsRangeIsAFailedRead) {
    EXPECT_EQ(1000u, uptime_with("-2147483648"));
    store(kOffset, "100");
    EXPECT_EQ(900u, frwk_uptime());
}

TEST_F(Uptime, AStartOfTheModuleForgetsTheOffset) {
    EXPECT_EQ(900u, uptime_with("100"));
    store(kOffset, "200");
    reset_process_state(E_APPS_MODULE_TOOL, nullptr);
    EXPECT_EQ(800u, frwk_uptime());
}

/* ---- Memory ---------------------------------------------------------------------------------------- */

TEST_F(Sysinfo, TheRecordHoldsTheKernelsCountsInBytes) {
    kernel_says(1000, 400, 4096);
    store(kOffset, "100");
    frwk_sysinfo info = {};
    EXPECT_EQ(900u, frwk_get_sysinfo(&info));
    EXPECT_EQ(900u, info.uptime);
    EXPECT_EQ(1000u * 4096, info.total_ram);
    EXPECT_EQ(400u * 4096, info.free_ram);
    EXPECT_EQ(3u * 4096, info.shared_ram);
    EXPECT_EQ(4u * 4096, info.buffer_ram);
    EXPECT_EQ(5u * 4096, info.total_swap);
    EXPECT_EQ(6u * 4096, info.free_swap);
    EXPECT_EQ(600u * 4096, info.used_ram);
    EXPECT_EQ(4096u, info.mem_unit);
    EXPECT_EQ(65535u, info.procs);
}

TEST_F(Sysinfo, ProductsKeepTheirLow32Bits) {
    kernel_says(0x00180001, 0x00000002, 4096);
    frwk_sysinfo info = {};
    frwk_get_sysinfo(&info);
    EXPECT_EQ(0x80001000u, info.total_ram);
    EXPECT_EQ(0x00002000u, info.free_ram);
    EXPECT_EQ(0x7FFFF000u, info.used_ram);
}

TEST_F(Sysinfo, CountsOfA64BitKernelKeepTheirLow32Bits) {
    if (sizeof(unsigned long) > 4) {
        kernel_says(static_cast<unsigned long>(0x1'0000'1000ULL), 0x1000, 1);
        frwk_sysinfo info = {};
        frwk_get_sysinfo(&info);
        EXPECT_EQ(0x1000u, info.total_ram);
        EXPECT_EQ(0u, info.used_ram);
    }
    kernel_says(~0UL, 0, 1);
    frwk_sysinfo info = {};
    frwk_get_sysinfo(&info);
    EXPECT_EQ(0xFFFFFFFFu, info.total_ram);
    EXPECT_EQ(0xFFFFFFFFu, info.used_ram);
}

TEST_F(Sysinfo, WithoutAnAnswerOfTheKernelTheRecordIsLeftAlone) {
    LogCapture log;
    doubles::libc::sysinfo.fail(EFAULT);
    store(kOffset, "100");
    frwk_sysinfo info;
    frwk_sysinfo before;
    std::memset(&info, '#', sizeof(info));
    std::memset(&before, '#', sizeof(before));
    EXPECT_EQ(900u, frwk_get_sysinfo(&info));
    EXPECT_EQ(0, std::memcmp(&before, &info, sizeof(info)));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_get_sysinfo", with_errno("sysinfo error!", EFAULT)));
}

TEST_F(Sysinfo, WithoutARecordTheUptimeIsStillReturned) {
    store(kOffset, "100");
    EXPECT_EQ(900u, frwk_get_sysinfo(nullptr));
    EXPECT_EQ(0u, doubles::libc::sysinfo.calls());
}
