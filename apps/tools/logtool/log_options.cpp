#include "logtool/log_options.h"

#include "device/module_identity.h"
#include "frwk_module.h"

std::vector<std::string> LogOptions::states() {
    return {"on", "off"};
}

std::vector<std::string> LogOptions::ways_to_keep() {
    return {"ram", "rom", "perm"};
}

void LogOptions::add_modules(const Command &command, const char *what) {
    command.add("MODULE", modules, what);
}

void LogOptions::add_state(const Command &command) {
    command.add("STATE", state, "on or off; default: only show it").one_of("state", states);
}

void LogOptions::add_json(const Command &command, const char *what) {
    command.flag("--json", json, what);
}

CommandLineTool::Run LogOptions::runs(ExitCode (*command)(const LogOptions &options)) const {
    return [this, command] {
        become_module(E_APPS_MODULE_LOGTOOL);
        return command(*this);
    };
}
