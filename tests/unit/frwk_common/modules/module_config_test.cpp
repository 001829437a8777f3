/*
 * The module configuration file: every element, every keyword, unknown modules, and nodes that are not files.
 */
#include "frwk_common/modules/module_config.h"

#include <climits>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kFile[] = "/etc/quor_apps_cfg.xml";
constexpr char kLoader[] = "frwk_load_module_param";

constexpr int32_t kWlan = E_APPS_MODULE_WLAN;

class ModuleConfigTest : public ModuleTest {
  protected:
    ModuleConfigTest() { (void)unlink(kFile); }
    ~ModuleConfigTest() override { (void)unlink(kFile); }

    static void load_file(const std::string &content) {
        write_file(kFile, content);
        modules::load_config();
    }
    /* Loads a file with these module elements. */
    static void load(const std::string &modules) {
        load_file("<?xml version=\"1.0\"?>\n<apps>" + modules + "</apps>\n");
    }
    /* Loads a file with one element of the module wlan. */
    static void load_wlan(const std::string &element, const std::string &text) {
        load("<wlan><" + element + ">" + text + "</" + element + "></wlan>");
    }
    static uint32_t facility_of(const std::string &word) {
        row(kWlan).facility = 99;
        load_wlan("facility", word);
        return row(kWlan).facility;
    }
    static int32_t delay_of(const std::string &text) {
        row(kWlan).delay = -77;
        load_wlan("delay", text);
        return row(kWlan).delay;
    }
    static uint32_t flags_of(const std::string &text) {
        row(kWlan).flag = 0x1222;
        load_wlan("flag", text);
        return row(kWlan).flag;
    }
    static frwk_module_info &row(int32_t id) { return g_modules_info[id]; }

    /* Has no memory for the first texts that are kept. The base library has memory all the while. */
    static void refuse_texts(unsigned count = UINT_MAX) {
        libc::malloc.forget_calls();
        libc::malloc.stand_in([count](size_t size) -> void * {
            return libc::malloc.calls() <= count ? nullptr : libc::malloc.real(size);
        });
    }

    LogCapture log_;
};

/* Elements of unknown modules, named unknown1 and so on. */
std::string unknown_modules(int count) {
    std::string modules;
    for (int i = 1; i <= count; ++i) {
        modules += "<unknown" + std::to_string(i) + "/>";
    }
    return modules;
}

std::string too_many() {
    return assertion("(8) > i");
}

void expect_same_row(const frwk_module_info &row, const frwk_module_info &before) {
    EXPECT_STREQ(row.name, before.name);
    EXPECT_STREQ(row.alias, before.alias);
    EXPECT_EQ(row.flag, before.flag);
    EXPECT_EQ(row.delay, before.delay);
    EXPECT_EQ(row.facility, before.facility);
    EXPECT_STREQ(row.cmd, before.cmd);
}

}  // namespace

/* ---- The elements of a module ---------------------------------------------------------------------- */

TEST_F(ModuleConfigTest, AppliesEveryElement) {
    load(
        "<wlan><alias>RADIO</alias><flag>FRWK_FLAG_DAEMON|FRWK_FLAG_MPSS</flag><delay>1500</delay>"
        "<facility>MAIL</facility><cmd>-x 1</cmd></wlan>");
    EXPECT_STREQ(row(kWlan).name, "wlan");
    EXPECT_STREQ(row(kWlan).alias, "RADIO");
    EXPECT_EQ(row(kWlan).flag, 0x11u);
    EXPECT_EQ(row(kWlan).delay, 1500);
    EXPECT_EQ(row(kWlan).facility, 16u);
    EXPECT_STREQ(row(kWlan).cmd, "-x 1");
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ModuleConfigTest, LeavesMemorySettingsAlone) {
    const frwk_module_memory before = row(kWlan).memory;
    load("<wlan><alias>RADIO</alias><memory>1</memory></wlan>");
    EXPECT_EQ(row(kWlan).memory.warn_at, before.warn_at);
    EXPECT_EQ(row(kWlan).memory.refuse_at, before.refuse_at);
    EXPECT_EQ(row(kWlan).memory.pool, before.pool);
}

TEST_F(ModuleConfigTest, UpdatesEveryModuleNotOnlyTheCallingOne) {
    load("<zndb><delay>1</delay></zndb><router><delay>2</delay></router><logtool><delay>3</delay></logtool>");
    EXPECT_EQ(row(2).delay, 1);
    EXPECT_EQ(row(3).delay, 2);
    EXPECT_EQ(row(52).delay, 3);
}

TEST_F(ModuleConfigTest, AbsentElementsLeaveTheRowAsItWas) {
    const frwk_module_info before = row(kWlan);
    load("<wlan></wlan>");
    expect_same_row(row(kWlan), before);
}

TEST_F(ModuleConfigTest, EmptyElementsLeaveTheRowAsItWas) {
    row(kWlan).delay = 5;
    row(kWlan).cmd = "-old";
    const frwk_module_info before = row(kWlan);
    load("<wlan><alias/><flag></flag><delay></delay><facility/><cmd></cmd></wlan>");
    expect_same_row(row(kWlan), before);
}

TEST_F(ModuleConfigTest, EachElementStandsAlone) {
    const frwk_module_info before = row(kWlan);
    load("<wlan><delay>9</delay></wlan>");
    EXPECT_EQ(row(kWlan).delay, 9);
    EXPECT_STREQ(row(kWlan).alias, before.alias);
    EXPECT_EQ(row(kWlan).flag, before.flag);
    EXPECT_EQ(row(kWlan).facility, before.facility);
}

TEST_F(ModuleConfigTest, TheLaterElementOfAModuleHolds) {
    load("<wlan><alias>ONE</alias><delay>1</delay></wlan><wlan><alias>TWO</alias></wlan>");
    EXPECT_STREQ(row(kWlan).alias, "TWO");
    EXPECT_EQ(row(kWlan).delay, 1);
}

TEST_F(ModuleConfigTest, TextsOutliveTheDocument) {
    load("<wlan><alias>RADIO</alias><cmd>-x</cmd></wlan><radius><alias>R</alias></radius>");
    load("<ble><alias>" + std::string(5000, 'b') + "</alias></ble>");
    EXPECT_STREQ(row(kWlan).alias, "RADIO");
    EXPECT_STREQ(row(kWlan).cmd, "-x");
    EXPECT_STREQ(row(39).name, "radius");
    EXPECT_EQ(std::string(row(6).alias), std::string(5000, 'b'));
}

TEST_F(ModuleConfigTest, TakesNoTrackedMemoryWhichHasNoSettingsYet) {
    base::os_mem_malloc.forget_calls();
    base::os_mem_strdup.forget_calls();
    load("<wlan><alias>RADIO</alias><cmd>-x</cmd></wlan><radius><alias>R</alias></radius>");
    EXPECT_STREQ(row(kWlan).alias, "RADIO");
    EXPECT_EQ(base::os_mem_malloc.calls() + base::os_mem_strdup.calls(), 0u);
}

TEST_F(ModuleConfigTest, WithoutMemoryTheOldTextsStay) {
    row(kWlan).cmd = "-old";
    refuse_texts();
    load("<wlan><alias>RADIO</alias><cmd>-x</cmd><delay>7</delay></wlan><radius/>");
    EXPECT_STREQ(row(kWlan).alias, "WLAN");
    EXPECT_STREQ(row(kWlan).cmd, "-old");
    EXPECT_EQ(row(kWlan).delay, 7);
    EXPECT_STREQ(row(39).name, "start_third_app");
}

TEST_F(ModuleConfigTest, AnUnknownModuleWhoseNameHasNoMemoryIsPassedOver) {
    refuse_texts(1);
    const frwk_module_info before = row(39);
    load(
        "<radius><alias>R</alias><delay>7</delay><flag>FRWK_FLAG_RUN</flag></radius>"
        "<tacacs><delay>8</delay></tacacs>");
    EXPECT_STREQ(row(39).name, before.name);
    EXPECT_STREQ(row(39).alias, before.alias);
    EXPECT_EQ(row(39).delay, before.delay);
    EXPECT_EQ(row(39).flag, before.flag);
    EXPECT_EQ(frwk_module_id("radius"), 0);
    EXPECT_EQ(frwk_module_id("tacacs"), 40);
    EXPECT_EQ(row(40).delay, 8);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_load_module_param",
                            "no memory for the text 'radius' of the module configuration"));
}

TEST_F(ModuleConfigTest, NamesAreComparedByteForByte) {
    load("<WLAN><delay>7</delay></WLAN>");
    EXPECT_EQ(row(kWlan).delay, 0);
    EXPECT_STREQ(row(39).name, "WLAN");
}

TEST_F(ModuleConfigTest, ShowsOnlyElementsOfTheRoot) {
    load("text<!-- <ble/> --><?wlan x?><wlan><ble><delay>7</delay></ble></wlan>text");
    EXPECT_EQ(row(6).delay, 0);
    EXPECT_STREQ(row(39).name, "start_third_app");
}

/* ---- Flags ----------------------------------------------------------------------------------------- */

TEST_F(ModuleConfigTest, EveryFlagWordHasItsBit) {
    EXPECT_EQ(flags_of("FRWK_FLAG_DAEMON"), 0x1u);
    EXPECT_EQ(flags_of("FRWK_FLAG_MONITORED"), 0x2u);
    EXPECT_EQ(flags_of("FRWK_FLAG_RUN"), 0x4u);
    EXPECT_EQ(flags_of("FRWK_FLAG_BLOCK"), 0x8u);
    EXPECT_EQ(flags_of("FRWK_FLAG_MPSS"), 0x10u);
    EXPECT_EQ(flags_of("FRWK_FLAG_ADMIN"), 0x20u);
    EXPECT_EQ(flags_of("FRWK_FLAG_POWEROFF"), 0x40u);
    EXPECT_EQ(flags_of("FRWK_FLAG_PRESTART"), 0x80u);
    EXPECT_EQ(flags_of("FRWK_FLAG_EXTERNAL"), 0x100u);
    EXPECT_EQ(flags_of("FRWK_FLAG_PSEUDO"), 0x200u);
}

TEST_F(ModuleConfigTest, FlagWordsMayBeSeparatedByAnything) {
    for (const char *separator : {"|", " ", ",", " | ", "\n", ";", "", "and", "_"}) {
        EXPECT_EQ(flags_of(std::string("FRWK_FLAG_ADMIN") + separator + "FRWK_FLAG_DAEMON"), 0x21u)
            << separator;
    }
}

TEST_F(ModuleConfigTest, AllFlagWordsTogether) {
    EXPECT_EQ(flags_of("FRWK_FLAG_DAEMON|FRWK_FLAG_MONITORED|FRWK_FLAG_RUN|FRWK_FLAG_BLOCK|FRWK_FLAG_MPSS|"
                       "FRWK_FLAG_ADMIN|FRWK_FLAG_POWEROFF|FRWK_FLAG_PRESTART|FRWK_FLAG_EXTERNAL|"
                       "FRWK_FLAG_PSEUDO"),
              0x3FFu);
}

TEST_F(ModuleConfigTest, FlagsAreReplacedWhole) {
    load("<device><flag>FRWK_FLAG_MONITORED</flag></device>");
    EXPECT_EQ(row(E_APPS_MODULE_DEVICE).flag, 0x2u);
}

TEST_F(ModuleConfigTest, BitsWithoutAWordAreLost) {
    row(kWlan).flag = 0xFFFFFFFF;
    load_wlan("flag", "FRWK_FLAG_PSEUDO");
    EXPECT_EQ(row(kWlan).flag, 0x200u);
}

TEST_F(ModuleConfigTest, TextWithoutAFlagWordClearsAllFlags) {
    for (const char *text :
         {"none", "0x1", "frwk_flag_daemon", "FRWK_FLAG_", "FLAG_DAEMON", "FRWK_FLAG_DAEMO"}) {
        EXPECT_EQ(flags_of(text), 0u) << text;
    }
}

TEST_F(ModuleConfigTest, FlagWordsAreFoundInsideLongerWords) {
    EXPECT_EQ(flags_of("xFRWK_FLAG_DAEMONx"), 0x1u);
    EXPECT_EQ(flags_of("FRWK_FLAG_RUNNING"), 0x4u);
}

TEST_F(ModuleConfigTest, FlagTextOfTenMegabytes) {
    EXPECT_EQ(flags_of(std::string(10u << 20, 'F') + "FRWK_FLAG_MPSS"), 0x10u);
}

/* ---- Delay ----------------------------------------------------------------------------------------- */

TEST_F(ModuleConfigTest, DelayIsADecimalNumber) {
    EXPECT_EQ(delay_of("0"), 0);
    EXPECT_EQ(delay_of("2500"), 2500);
    EXPECT_EQ(delay_of("+7"), 7);
    EXPECT_EQ(delay_of("-7"), -7);
    EXPECT_EQ(delay_of("010"), 10);
}

TEST_F(ModuleConfigTest, DelayIgnoresWhatFollowsTheNumber) {
    EXPECT_EQ(delay_of("12ms"), 12);
    EXPECT_EQ(delay_of("12 13"), 12);
    EXPECT_EQ(delay_of("12.9"), 12);
    EXPECT_EQ(delay_of("0x10"), 0);
}

TEST_F(ModuleConfigTest, DelayWithoutANumberIsZero) {
    EXPECT_EQ(delay_of("soon"), 0);
    EXPECT_EQ(delay_of("-"), 0);
    EXPECT_EQ(delay_of("--5"), 0);
}

TEST_F(ModuleConfigTest, DelaySaturatesAt32Bits) {
    EXPECT_EQ(delay_of("2147483647"), INT32_MAX);
    EXPECT_EQ(delay_of("2147483648"), INT32_MAX);
    EXPECT_EQ(delay_of("-2147483648"), INT32_MIN);
    EXPECT_EQ(delay_of("-2147483649"), INT32_MIN);
    EXPECT_EQ(delay_of("4294967296"), INT32_MAX);
    EXPECT_EQ(delay_of("99999999999999999999999999"), INT32_MAX);
    EXPECT_EQ(delay_of("-99999999999999999999999999"), INT32_MIN);
}

/* ---- Facility -------------------------------------------------------------------------------------- */

TEST_F(ModuleConfigTest, EveryFacilityWordHasItsNumber) {
    EXPECT_EQ(facility_of("AUTH"), 1u);
    EXPECT_EQ(facility_of("AUTHPRIV"), 2u);
    EXPECT_EQ(facility_of("CRON"), 3u);
    EXPECT_EQ(facility_of("OS_LOG_DAEMON"), 4u);
    EXPECT_EQ(facility_of("FTP"), 5u);
    EXPECT_EQ(facility_of("KERN"), 6u);
    for (uint32_t digit = 0; digit <= 7; ++digit) {
        EXPECT_EQ(facility_of("OS_LOG_LOCAL" + std::to_string(digit)), 7 + digit);
    }
    EXPECT_EQ(facility_of("LPR"), 15u);
    EXPECT_EQ(facility_of("MAIL"), 16u);
    EXPECT_EQ(facility_of("NEWS"), 17u);
    EXPECT_EQ(facility_of("SYSLOG"), 18u);
    EXPECT_EQ(facility_of("USER"), 19u);
    EXPECT_EQ(facility_of("UUCP"), 20u);
}

TEST_F(ModuleConfigTest, FacilityWordsIgnoreCase) {
    EXPECT_EQ(facility_of("auth"), 1u);
    EXPECT_EQ(facility_of("AuthPriv"), 2u);
    EXPECT_EQ(facility_of("os_log_daemon"), 4u);
    EXPECT_EQ(facility_of("os_log_local7"), 14u);
    EXPECT_EQ(facility_of("Os_Log_Local0"), 7u);
    EXPECT_EQ(facility_of("uucp"), 20u);
}

TEST_F(ModuleConfigTest, AnyOtherFacilityTextIsZero) {
    for (const char *text : {"AUT", "AUTHX", "DAEMON", "LOCAL0", "OS_LOG_LOCAL", "OS_LOG_LOCAL8",
                             "OS_LOG_LOCAL9", "OS_LOG_LOCALx", "OS_LOG_LOCAL77", "OS_LOG_LOCAL7 ",
                             "OS_LOG_LOCAL-1", "OS_LOG_AUTH", "LOG_USER", "USER,MAIL", "7", "none"}) {
        EXPECT_EQ(facility_of(text), 0u) << text;
    }
}

/* ---- Modules that are not built in ----------------------------------------------------------------- */

TEST_F(ModuleConfigTest, UnknownModuleTakesSlot39WithItsFlags) {
    load("<radius><flag>FRWK_FLAG_MONITORED|FRWK_FLAG_ADMIN</flag></radius>");
    EXPECT_EQ(frwk_module_id("radius"), 39);
    EXPECT_EQ(row(39).flag, 0x22u);
    EXPECT_EQ(frwk_module_id("start_third_app"), 0);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ModuleConfigTest, UnknownModuleKeepsTheOtherFieldsOfSlot39) {
    load("<radius/>");
    EXPECT_STREQ(row(39).name, "radius");
    EXPECT_STREQ(row(39).alias, "sdk");
    EXPECT_EQ(row(39).flag, 0x102u);
    EXPECT_EQ(row(39).facility, 9u);
    EXPECT_EQ(row(39).memory.warn_at, 0x20000u);
}

TEST_F(ModuleConfigTest, UnknownModulesTakeTheSlotsInFileOrder) {
    load("<unknown1/><wlan/><unknown2/><unknown3/>");
    EXPECT_EQ(frwk_module_id("unknown1"), 39);
    EXPECT_EQ(frwk_module_id("unknown2"), 40);
    EXPECT_EQ(frwk_module_id("unknown3"), 41);
    EXPECT_EQ(row(42).name, nullptr);
}

TEST_F(ModuleConfigTest, UnknownModuleIsKnownTheSecondTime) {
    load("<radius><delay>1</delay></radius><radius><delay>2</delay></radius><other/>");
    EXPECT_EQ(row(39).delay, 2);
    EXPECT_EQ(frwk_module_id("other"), 40);
}

TEST_F(ModuleConfigTest, ToolCanNotBeFoundAndCountsAsUnknown) {
    load("<tool><delay>7</delay></tool>");
    EXPECT_EQ(row(0).delay, 0);
    EXPECT_STREQ(row(39).name, "tool");
    EXPECT_EQ(row(39).delay, 7);
}

TEST_F(ModuleConfigTest, EightUnknownModulesFillTheSlots) {
    load(unknown_modules(8));
    for (int i = 1; i <= 8; ++i) {
        EXPECT_EQ(frwk_module_id(("unknown" + std::to_string(i)).c_str()), 38 + i);
    }
    EXPECT_STREQ(row(47).name, "at_cmd_task");
    EXPECT_EQ(log_.text(), "");
}

TEST_F(ModuleConfigTest, NinthUnknownModuleIsAssertedAndTakesSlot47) {
    load(unknown_modules(9));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, too_many()));
    EXPECT_EQ(frwk_module_id("unknown9"), 47);
    EXPECT_STREQ(row(47).alias, "AT_CMD_TASK");
}

TEST_F(ModuleConfigTest, FifteenthUnknownModuleTakesTheLastRow) {
    load(unknown_modules(15));
    EXPECT_EQ(log_.count(too_many()), 7u);
    EXPECT_STREQ(row(52).name, "unknown14");
    EXPECT_STREQ(row(53).name, "unknown15");
}

TEST_F(ModuleConfigTest, SixteenthUnknownModuleIsAssertedAndNotWritten) {
    load(unknown_modules(15) + "<unknown16><delay>7</delay></unknown16>");
    EXPECT_EQ(log_.count(too_many()), 8u);
    EXPECT_STREQ(row(53).name, "unknown15");
    EXPECT_EQ(row(53).delay, 0);
}

TEST_F(ModuleConfigTest, ModulesBehindTheSixteenthUnknownOneAreStillRead) {
    load(unknown_modules(300) + "<wlan><delay>7</delay></wlan>");
    EXPECT_EQ(row(kWlan).delay, 7);
    EXPECT_STREQ(row(53).name, "unknown15");
    EXPECT_EQ(log_.count(too_many()), 292u);
}

/* ---- Not regular files ----------------------------------------------------------------------------- */

TEST_F(ModuleConfigTest, AMissingFileIsFine) {
    const frwk_module_info before = row(kWlan);
    modules::load_config();
    expect_same_row(row(kWlan), before);
    EXPECT_EQ(log_.text(), "");
    EXPECT_EQ(base::xml_file_parse.calls(), 0u);
}

TEST_F(ModuleConfigTest, AFileThatCanNotBeParsedIsAsserted) {
    for (const char *content : {"<apps><wlan><delay>7</delay>", "<apps", "<apps><wlan></apps></wlan>",
                                "<apps><wlan><delay>7</delay></wlan><"}) {
        log_.clear();
        const frwk_module_info before = row(kWlan);
        load_file(content);
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != doc")));
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != node")));
        expect_same_row(row(kWlan), before);
    }
}

TEST_F(ModuleConfigTest, ABinaryFileIsAssertedAndChangesNothing) {
    for (const std::string &start :
         {std::string("\0\xFF<\x01", 4), std::string("\xFF\xFE<\0a\0", 6), std::string("<\x01\x02<<")}) {
        log_.clear();
        const frwk_module_info before = row(kWlan);
        load_file(start + std::string(2000, '\xC3') + "<wlan><delay>7</delay></wlan>");
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != node")));
        expect_same_row(row(kWlan), before);
    }
}

TEST_F(ModuleConfigTest, AFileWithoutARootIsAsserted) {
    for (const char *content : {"", "\n", "<!-- nothing -->", "just text"}) {
        log_.clear();
        load_file(content);
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != node")));
    }
}

TEST_F(ModuleConfigTest, ADocumentThatCanNotBeHadIsAsserted) {
    base::xml_file_parse.stand_in([](const char *) -> xml_doc * { return nullptr; });
    load("<wlan><delay>7</delay></wlan>");
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != doc")));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != node")));
    EXPECT_EQ(row(kWlan).delay, 0);
    EXPECT_EQ(base::xml_get_doc_root.calls(), 0u);
}

TEST_F(ModuleConfigTest, AFolderInPlaceOfTheFileIsAsserted) {
    ASSERT_EQ(mkdir(kFile, 0755), 0);
    modules::load_config();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kLoader, assertion("((void *)0) != doc")));
    (void)rmdir(kFile);
}

TEST_F(ModuleConfigTest, AnEmptyRootChangesNothing) {
    load("");
    load_file("<apps/>");
    EXPECT_EQ(log_.text(), "");
    EXPECT_STREQ(row(39).name, "start_third_app");
}

TEST_F(ModuleConfigTest, AHundredThousandLevelsAreNoHarm) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<wlan>";
    }
    deep += "<delay>7</delay>";
    for (int i = 0; i < 100000; ++i) {
        deep += "</wlan>";
    }
    load_file(deep);
    EXPECT_EQ(row(kWlan).delay, 0);
    EXPECT_STREQ(row(39).name, "start_third_app");
}
