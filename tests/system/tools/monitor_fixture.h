/*
 * What tests of monitor_tool have in common: modules for it to look at, and its table taken apart.
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "frwk_module.h"
#include "support/module_process.h"

inline constexpr char kEvents[] = "/m_data/usr/subscribe";
inline constexpr char kEventsEx[] = "/m_webui/subscribe";
inline constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

inline std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream lines(text);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) {
        all.push_back(line);
    }
    return all;
}

/* A module's line in the list, with single blanks; T replaces its time, which varies. */
inline std::string row_of(const std::string &list, const std::string &name) {
    for (const std::string &line : lines_of(list)) {
        std::istringstream words(line);
        std::string all;
        for (std::string word, before; words >> word; before = word) {
            const bool time = word.find('.') != std::string::npos;
            all += (all.empty() ? "" : " ") + (time ? "T" : word);
        }
        if (all.find(" " + name + " ") != std::string::npos) {
            return all;
        }
    }
    return "no row";
}

/* A running wlan, and nothing that another test left. */
class MonitorTool : public testing::Test {
  protected:
    MonitorTool() {
        for (const char *folder : {kEvents, kEventsEx}) {
            std::filesystem::remove_all(folder);
        }
        std::filesystem::remove("/etc/quor_apps_startup");
        std::filesystem::remove_all("/m_data/factor/apps_disable");
        std::filesystem::remove(kResetFlag);
    }

    void start_monitor() { monitor_ = std::make_unique<ModuleProcess>(E_APPS_MODULE_MONITOR); }

    /* It takes messages and never answers. */
    void hang_wlan() { wlan_.process().stop(); }

    ModuleProcess wlan_{E_APPS_MODULE_WLAN};
    std::unique_ptr<ModuleProcess> monitor_;
};
