/*
 * The command of apptest that checks the module configuration and the start-up list.
 */
#include <algorithm>
#include <cstdio>

#include "apptest/module_config_check.h"
#include "apptest/startup_list_check.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "device/text_file.h"
#include "formats/device_paths.h"
#include "output/json_output.h"
#include "output/spelt_text.h"

namespace {

struct ConfigOptions {
    std::vector<std::string> files;
    bool json = false;
};

struct ConfigFile {
    std::string path;
    std::string text;
    ConfigFindings findings;

    /* Only a module configuration begins like this. */
    bool is_xml() const {
        const size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
        return first != std::string::npos && text[first] == '<';
    }
};

/* The files of the command line, or those of the device that there are. */
std::vector<std::string> paths_of(const ConfigOptions &options) {
    if (!options.files.empty()) {
        return options.files;
    }
    std::vector<std::string> paths;
    for (const char *path : {paths::kModuleConfig, paths::kStartupList}) {
        if (file_exists(path)) {
            paths.emplace_back(path);
        }
    }
    return paths;
}

/* The modules that a start-up list may name depend on the module configuration, so that comes first. */
void check_all(std::vector<ConfigFile> &files) {
    std::vector<std::string> own_modules;
    for (ConfigFile &file : files) {
        if (file.is_xml()) {
            ModuleConfigCheck check = check_module_config(file.text);
            file.findings = std::move(check.findings);
            own_modules.insert(own_modules.end(), check.own_modules.begin(), check.own_modules.end());
        }
    }
    for (ConfigFile &file : files) {
        if (!file.is_xml()) {
            file.findings = check_startup_list(file.text, own_modules);
        }
    }
}

void print_findings(const std::vector<ConfigFile> &files, bool json) {
    const Json items = json_items();
    for (const ConfigFile &file : files) {
        for (const ConfigFinding &finding : file.findings) {
            if (!json) {
                std::printf("%s:%zu: %s\n", spelt_out(file.path).c_str(), finding.line,
                            spelt_out(finding.text).c_str());
            }
            Json item = json_members();
            add_member(item, "file", json_text(file.path));
            add_member(item, "line", json_number(static_cast<int64_t>(finding.line)));
            add_member(item, "text", json_text(finding.text));
            add_item(items, std::move(item));
        }
    }
    if (json) {
        print_json(items);
    }
}

ExitCode check_config(const ConfigOptions &options) {
    std::vector<ConfigFile> files;
    for (const std::string &path : paths_of(options)) {
        ConfigFile file = {path, "", {}};
        const std::string problem = read_text_file(path, &file.text);
        if (!problem.empty()) {
            return complain(ExitCode::kUsage, problem);
        }
        files.push_back(std::move(file));
    }
    check_all(files);
    print_findings(files, options.json);
    const bool right =
        std::all_of(files.begin(), files.end(), [](const ConfigFile &file) { return file.findings.empty(); });
    return right ? ExitCode::kDone : ExitCode::kRefused;
}

// ---- the command line ----

ConfigOptions g_options;

void declare(CommandLineTool &tool) {
    Command check = tool.add("check-config", "Check the module configuration and the start-up list",
                             "apptest check-config\n"
                             "apptest check-config image/etc/quor_apps_cfg.xml image/etc/quor_apps_startup\n",
                             [] { return check_config(g_options); });
    check.add("FILE", g_options.files, "Files to check instead of the device's");
    check.flag("--json", g_options.json, "Print JSON");
}

const CommandGroup kCommands(5, declare);

}  // namespace
