#include "monitor_tool/module_report.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "frwk_module.h"
#include "unit/tools/monitor_tool/made_report.h"

namespace {

TEST(ModuleReport, NamesTheTroubleOfAModule) {
    EXPECT_EQ(Trouble::kNone, trouble_of(running("wlan", 0, 0)));
    EXPECT_EQ(Trouble::kNone, trouble_of(stopped("wlan"))) << "not in the start-up list";
    EXPECT_EQ(Trouble::kHangs, trouble_of(hanging("wlan")));
    EXPECT_EQ(Trouble::kDead, trouble_of(dead("wlan")));
    ModuleReport disabled = dead("wlan");
    disabled.facts.enabled = false;
    EXPECT_EQ(Trouble::kNone, trouble_of(disabled));
    ModuleReport tool = dead("tool");
    tool.facts.flags = FRWK_FLAG_RUN;
    EXPECT_EQ(Trouble::kNone, trouble_of(tool));
    ModuleReport silent = stopped("wlan");
    silent.facts.process = 5;
    EXPECT_EQ(Trouble::kHangs, trouble_of(silent)) << "accepts no messages";
    silent.result.forbidden = true;
    EXPECT_EQ(Trouble::kUnknown, trouble_of(silent));
}

TEST(ModuleReport, ColoursTrouble) {
    EXPECT_EQ(Style::kAlert, style_of(Trouble::kHangs));
    EXPECT_EQ(Style::kAlert, style_of(Trouble::kDead));
    EXPECT_EQ(Style::kWarning, style_of(Trouble::kUnknown));
    EXPECT_EQ(Style::kPlain, style_of(Trouble::kNone));
}

TEST(ModuleReport, PutsTroubleFirstAndKeepsTheOrder) {
    std::vector<ModuleReport> reports = {running("a", 0, 0), dead("b"), running("c", 0, 0),
                                         hanging("d"),       dead("e"), stopped("f")};
    put_trouble_first(reports);
    std::string names;
    for (const ModuleReport &report : reports) {
        names += report.facts.name;
    }
    EXPECT_EQ("dbeacf", names);
}

TEST(ModuleReport, HasTheFactsOfTheProcess) {
    ModuleReport report = running("wlan", 0, 0);
    report.facts.process = ::getpid();
    report = report_of(report.facts, report.result);
    ASSERT_TRUE(report.process);
    EXPECT_GE(report.processor, 0);
    EXPECT_GE(report.uptime, 0);
    const Json object = report_as_json(report);
    for (const char *member : {"processor_percent", "resident_bytes", "threads", "uptime_seconds"}) {
        EXPECT_TRUE(json_object_object_get_ex(object.get(), member, nullptr)) << member;
    }
    report.facts.process = 0;
    EXPECT_FALSE(report_of(report.facts, report.result).process);
}

}  // namespace
