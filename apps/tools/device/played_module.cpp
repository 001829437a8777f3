#include "device/played_module.h"

#include "cli/name_lookup.h"
#include "device/access_words.h"
#include "device/module_facts.h"
#include "device/service_socket.h"
#include "formats/device_paths.h"
#include "formats/module_flags.h"
#include "frwk_module.h"

namespace {

std::string path_in(const char *folder, uint32_t module) {
    return std::string(folder) + "/" + module_text(module);
}

}  // namespace

std::string running_words(uint32_t module) {
    const pid_t holder = module_facts(static_cast<int32_t>(module)).process;
    if (holder == 0 && !is_served(module)) {
        return "";
    }
    const pid_t process = holder != 0 ? holder : serving_process(module);
    const std::string number = process != 0 ? " (pid " + std::to_string(process) + ")" : "";
    return module_text(module) + " is running" + number;
}

std::string missing_right(uint32_t module) {
    const bool has_lock = (g_modules_info[module].flag & kSingleInstanceFlags) != 0;
    const std::string problem = has_lock ? write_problem(path_in(paths::kLockFolder, module)) : "";
    return problem.empty() ? creation_problem(path_in(paths::kIpcFolder, module)) : problem;
}
