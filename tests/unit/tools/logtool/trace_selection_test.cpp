#include "logtool/trace_selection.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "frwk_module.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;

class TraceSelection : public testing::Test {
  protected:
    TraceSelection() { clear(); }
    ~TraceSelection() override { clear(); }

    static void clear() {
        fs::remove_all("/m_data/usr/trace");
        fs::remove_all("/m_data/usr/mask");
        fs::create_directories("/m_data/usr");
    }
};

TEST_F(TraceSelection, SwitchesTracingOnAndOff) {
    EXPECT_FALSE(tracing_is_on());
    EXPECT_EQ("", switch_tracing(true));
    EXPECT_TRUE(tracing_is_on());
    EXPECT_EQ("", switch_tracing(true)) << "it may be on already";
    EXPECT_EQ("", switch_tracing(false));
    EXPECT_FALSE(tracing_is_on());
    EXPECT_EQ("", switch_tracing(false));
}

TEST_F(TraceSelection, SelectsSingleModules) {
    EXPECT_EQ("", switch_trace_of(E_APPS_MODULE_WLAN, true));
    EXPECT_EQ("", switch_trace_of(E_APPS_MODULE_ROUTER, true));
    EXPECT_EQ("", switch_trace_of(E_APPS_MODULE_WLAN, false));
    EXPECT_EQ(std::vector<uint32_t>{E_APPS_MODULE_ROUTER}, traced_modules());
    EXPECT_FALSE(tracing_is_on());
}

TEST_F(TraceSelection, KeepsAFileThatIsThere) {
    fs::create_directories("/m_data/usr/trace");
    write_file("/m_data/usr/trace/wlan", "kept");
    EXPECT_EQ("", switch_trace_of(E_APPS_MODULE_WLAN, true));
    EXPECT_EQ("kept", read_file("/m_data/usr/trace/wlan"));
}

TEST_F(TraceSelection, ReadsTheMask) {
    EXPECT_EQ("", trace_mask());
    fs::create_directories("/m_data/usr/mask");
    write_file("/m_data/usr/mask/mal_service", "wlan router");
    EXPECT_EQ("wlan router", trace_mask());
}

TEST_F(TraceSelection, SaysWhatIsInItsWay) {
    write_file("/m_data/usr/trace", "no folder");
    EXPECT_EQ("can't make /m_data/usr/trace: Not a directory", switch_tracing(true));
    EXPECT_FALSE(tracing_is_on());
}

}  // namespace
