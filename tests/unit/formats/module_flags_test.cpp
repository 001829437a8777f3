#include "formats/module_flags.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Flag {
    uint32_t bit;
    const char *name;
};

constexpr Flag kFlags[] = {
    {0x001, "DAEMON"}, {0x002, "MONITORED"}, {0x004, "RUN"},      {0x008, "BLOCK"},    {0x010, "MPSS"},
    {0x020, "ADMIN"},  {0x040, "POWEROFF"},  {0x080, "PRESTART"}, {0x100, "EXTERNAL"}, {0x200, "PSEUDO"},
};

}  // namespace

TEST(ModuleFlags, EachWordHasItsBit) {
    for (const Flag &flag : kFlags) {
        EXPECT_EQ(flag.bit, flags_in((std::string("FRWK_FLAG_") + flag.name).c_str())) << flag.name;
    }
}

TEST(ModuleFlags, EachBitHasItsName) {
    for (const Flag &flag : kFlags) {
        EXPECT_STREQ(flag.name, flag_name(flag.bit));
    }
}

TEST(ModuleFlags, OtherBitsHaveNoName) {
    for (const uint32_t bit : {0u, 0x3u, 0x400u, 0x800u, 0x4000u, 0x80000000u}) {
        EXPECT_EQ(nullptr, flag_name(bit)) << bit;
    }
}

TEST(ModuleFlags, WordsCountWhereverTheyStand) {
    EXPECT_EQ(0x21u, flags_in("FRWK_FLAG_ADMIN | FRWK_FLAG_DAEMON"));
    EXPECT_EQ(0x21u, flags_in("xFRWK_FLAG_ADMINFRWK_FLAG_DAEMONx"));
}

TEST(ModuleFlags, ATextWithoutAWordNamesNoBit) {
    for (const char *text : {"", "none", "0x1", "ADMIN", "frwk_flag_admin", "FRWK_FLAG_"}) {
        EXPECT_EQ(0u, flags_in(text)) << text;
    }
}

TEST(ModuleFlags, ServicesAreDaemonsMonitoredModulesAndAnUnwatchedOne) {
    EXPECT_EQ(0x3u, kSingleInstanceFlags);
    EXPECT_EQ(0x4003u, kServingFlags);
}

TEST(ModuleFlags, OneWordHasOneBit) {
    for (const Flag &flag : kFlags) {
        EXPECT_EQ(flag.bit, flag_bit(std::string("FRWK_FLAG_") + flag.name));
    }
    for (const char *word : {"", "FRWK_FLAG_", "FRWK_FLAG_RUNS", "frwk_flag_run", "RUN"}) {
        EXPECT_EQ(0u, flag_bit(word)) << word;
    }
}
