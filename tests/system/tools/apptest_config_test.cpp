/*
 * apptest checks the module configuration and the start-up list.
 */
#include <gtest/gtest.h>

#include <cstdio>

#include "support/temp_folder.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"

namespace {

const ToolChecks kAppTest("apptest");
constexpr char kConfig[] = "/etc/quor_apps_cfg.xml";
constexpr char kStartup[] = "/etc/quor_apps_startup";

class AppTestConfig : public testing::Test {
  protected:
    ~AppTestConfig() override {
        (void)std::remove(kConfig);
        (void)std::remove(kStartup);
    }
    const TempFolder folder_;
};

}  // namespace

TEST_F(AppTestConfig, FindsNothingOnADeviceWithoutTheFiles) {
    EXPECT_EQ("", kAppTest.output_of({"check-config"}));
}

TEST_F(AppTestConfig, ChecksTheDevicesFilesTogether) {
    ASSERT_TRUE(write_text(kConfig, "<modules>\n<camera><dealy>1</dealy></camera>\n</modules>\n"));
    ASSERT_TRUE(write_text(kStartup, "camera\nwlam\n"));
    const ToolEnd end = kAppTest.run({"check-config"});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ(
        "/etc/quor_apps_cfg.xml:2: unknown element 'dealy'; did you mean 'delay'?: ignored\n"
        "/etc/quor_apps_startup:2: unknown module 'wlam'; did you mean 'wlan'?: ignored\n",
        end.output);
    EXPECT_EQ("", end.errors);
}

TEST_F(AppTestConfig, ChecksTheFilesOfTheCommandLineWhateverTheirOrder) {
    const std::string list = folder_.file("list", "camera wlan");
    const std::string config = folder_.file("config", "\xEF\xBB\xBF<modules><camera/></modules>");
    EXPECT_EQ("", kAppTest.output_of({"check-config", list, config}));
    const ToolEnd end = kAppTest.run({"check-config", list});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ(list + ":1: unknown module 'camera': ignored\n", end.output);
}

TEST_F(AppTestConfig, PrintsJson) {
    const std::string list = folder_.file("list", "wlan\nwlan");
    const ToolEnd end = kAppTest.run({"check-config", "--json", list});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("[\n  {\n    \"file\": \"" + list +
                  "\",\n    \"line\": 2,\n    \"text\": \"'wlan' is listed twice\"\n  }\n]\n",
              end.output);
}

TEST_F(AppTestConfig, RefusesAFileThatCanNotBeRead) {
    kAppTest.expect_failure(2, "can't read " + folder_.path("missing") + ": No such file or directory",
                            {"check-config", folder_.path("missing")});
}
