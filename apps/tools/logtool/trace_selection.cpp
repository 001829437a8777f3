#include "logtool/trace_selection.h"

#include <filesystem>
#include <system_error>

#include "cli/table_names.h"
#include "device/module_facts.h"
#include "device/text_file.h"

namespace {

constexpr char kFolder[] = "/m_data/usr/trace";
constexpr char kSwitch[] = "mal_service";
constexpr char kMask[] = "/m_data/usr/mask/mal_service";

std::string path_of(const std::string &name) {
    return std::string(kFolder) + "/" + name;
}

std::string make_file(const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(kFolder, error);
    if (error) {
        return std::string("can't make ") + kFolder + ": " + error.message();
    }
    return file_exists(path) ? "" : write_private_file(path, "");
}

std::string remove_file(const std::string &path) {
    std::error_code error;
    std::filesystem::remove(path, error);
    return error ? "can't remove " + path + ": " + error.message() : "";
}

std::string switch_file(const std::string &name, bool on) {
    return on ? make_file(path_of(name)) : remove_file(path_of(name));
}

}  // namespace

bool tracing_is_on() {
    return file_exists(path_of(kSwitch));
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
    const bool read = file_exists(kMask) && read_text_file(kMask, &words).empty();
    return read ? words : "";
}

std::string switch_tracing(bool on) {
    return switch_file(kSwitch, on);
}

std::string switch_trace_of(uint32_t module, bool on) {
    return switch_file(module_text(module), on);
}
