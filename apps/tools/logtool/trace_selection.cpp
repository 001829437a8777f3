#include "logtool/trace_selection.h"

#include <filesystem>
#include <system_error>

#include "cli/name_lookup.h"
#include "device/access_words.h"
#include "device/module_facts.h"
#include "device/text_file.h"
#include "formats/device_paths.h"

namespace {

std::string path_of(const std::string &name) {
    return std::string(paths::kTraceFolder) + "/" + name;
}

std::string make_file(const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(paths::kTraceFolder, error);
    if (error) {
        return failure_text(std::string("can't make ") + paths::kTraceFolder, paths::kTraceFolder,
                            error.value(), Access::kCreate);
    }
    return file_exists(path) ? "" : write_private_file(path, "");
}

std::string remove_file(const std::string &path) {
    std::error_code error;
    std::filesystem::remove(path, error);
    return error ? failure_text("can't remove " + path, path, error.value(), Access::kCreate) : "";
}

std::string switch_file(const std::string &path, bool on) {
    return on ? make_file(path) : remove_file(path);
}

}  // namespace

bool tracing_is_on() {
    return file_exists(paths::kTraceSwitch);
}

std::vector<uint32_t> traced_modules() {
    std::vector<uint32_t> modules;
    for (const ModuleFacts &facts : all_module_facts()) {
        if (facts.id > 0 && file_exists(path_of(facts.name))) {
            modules.push_back(static_cast<uint32_t>(facts.id));
        }
    }
    return modules;
}

std::string trace_mask() {
    std::string words;
    const bool read = file_exists(paths::kTraceMask) && read_text_file(paths::kTraceMask, &words).empty();
    return read ? words : "";
}

std::string switch_tracing(bool on) {
    return switch_file(paths::kTraceSwitch, on);
}

std::string switch_trace_of(uint32_t module, bool on) {
    return switch_file(path_of(module_text(module)), on);
}
