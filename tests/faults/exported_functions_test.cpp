/*
 * Every exported function has a scenario, is shown to make no call, or is left out for a
 * documented reason.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "support/wait_until.h"

namespace faults {

namespace {

struct LeftOut {
    const char *name;
    const char *reason;
};

constexpr LeftOut kLeftOut[] = {
    {"frwk_ipc_service", "never returns; its steps are those of frwk_ipc_service_ex"},
    {"frwk_keep_running", "never returns; without a semaphore it sleeps instead"},
    {"g_enum_apps_err_e_type", "a table"},
    {"g_enum_apps_message_id_e_type", "a table"},
    {"g_modules_info", "a table"},
};

constexpr LeftOut kLeftOutOfBase[] = {
    {"g_debug_log_enable", "a variable"},
    {"g_syslog_level", "a variable"},
    {"os_debug_print", "led aside here; a channel that can't be written to loses its line"},
    {"os_trace_print", "the same"},
};

std::vector<std::string> exported(const std::string &map) {
    std::vector<std::string> names;
    std::ifstream file(std::string(PROJECT) + map);
    const std::regex name("    (\\w+);");
    for (std::string line; std::getline(file, line);) {
        std::smatch found;
        if (std::regex_match(line, found, name)) {
            names.push_back(found[1]);
        }
    }
    return names;
}

/* Every table of this folder in one text. */
std::string all_tables() {
    std::string text;
    for (const auto &entry : std::filesystem::directory_iterator(std::string(PROJECT) + "/tests/faults")) {
        const std::string name = entry.path().filename();
        if (name.find("_test.cpp") != std::string::npos && name != "exported_functions_test.cpp") {
            text += file_text(entry.path());
        }
    }
    return text;
}

template <size_t kCount>
bool is_left_out(const LeftOut (&list)[kCount], const std::string &name) {
    for (const LeftOut &each : list) {
        if (name == each.name) {
            return true;
        }
    }
    return false;
}

/* What a row of a table names, made by one of these; or of the quiet functions, followed by its call. */
std::set<std::string> with_scenario() {
    const std::string tables = all_tables();
    const std::regex row(R"re((?:Scenario|makes|cpu|language|command)\(\s*"(\w+)[",]|\{"(\w+)",\s*\[\])re");
    std::set<std::string> names;
    for (std::sregex_iterator found(tables.begin(), tables.end(), row), end; found != end; ++found) {
        names.insert((*found)[1].matched ? (*found)[1] : (*found)[2]);
    }
    return names;
}

}  // namespace

TEST(ExportedFunctions, OfTheFrameworkAllMeetFaults) {
    const std::set<std::string> tried = with_scenario();
    const std::vector<std::string> names = exported("/apps/libapps/libquorapps.map");
    EXPECT_GT(names.size(), 100u);
    for (const std::string &name : names) {
        EXPECT_TRUE((tried.count(name) == 1) != is_left_out(kLeftOut, name)) << name;
    }
}

TEST(ExportedFunctions, OfTheBaseLibraryAllMeetFaults) {
    const std::set<std::string> tried = with_scenario();
    const std::vector<std::string> names = exported("/base/libquorbase.map");
    EXPECT_GT(names.size(), 60u);
    for (const std::string &name : names) {
        EXPECT_TRUE((tried.count(name) == 1) != is_left_out(kLeftOutOfBase, name)) << name;
    }
}

}  // namespace faults
