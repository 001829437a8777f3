#include "device/module_words.h"

#include <gtest/gtest.h>

#include "frwk_module.h"

namespace {

TEST(ModuleWords, AreNamesAliasesOrNumbers) {
    std::vector<uint32_t> modules;
    EXPECT_EQ(ExitCode::kDone, read_modules({"wlan", "ROUTER", "2"}, &modules));
    EXPECT_EQ((std::vector<uint32_t>{E_APPS_MODULE_WLAN, E_APPS_MODULE_ROUTER, E_APPS_MODULE_ZNDB}), modules);
}

TEST(ModuleWords, EndAtTheFirstUnknownOne) {
    std::vector<uint32_t> modules;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ExitCode::kUsage, read_modules({"wlan", "nobody", "neither"}, &modules));
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, errors.find("nobody")) << errors;
    EXPECT_EQ(std::string::npos, errors.find("neither")) << errors;
}

TEST(ModuleWords, AreJoinedWithSeparatorsBetweenThem) {
    EXPECT_EQ("", joined({}));
    EXPECT_EQ("a", joined({"a"}));
    EXPECT_EQ("a b c", joined({"a", "b", "c"}));
    EXPECT_EQ("a, b", joined({"a", "b"}, ", "));
}

}  // namespace
