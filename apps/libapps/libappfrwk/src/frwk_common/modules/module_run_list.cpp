/*
 * Reads the start-up list: module names, separated by white space.
 */
#include "frwk_common/modules/module_run_list.h"

#include <cstring>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "internal/frwk_log.h"
#include "internal/small_buffer.h"
#include "os_file.h"
#include "support/unique_fd.h"

namespace {

/* Smaller lists need no heap. */
constexpr uint32_t kFixedListSize = 512;

constexpr char kSeparators[] = " \t\n\r";

void mark_modules(char *text) {
    char *position = nullptr;
    const char *name = ::strtok_r(frwk_skip_space(text), kSeparators, &position);
    for (; name != nullptr; name = ::strtok_r(nullptr, kSeparators, &position)) {
        frwk_module_set(frwk_module_id(name), FRWK_FLAG_RUN);
    }
}

}  // namespace

void modules::load_run_list() {
    const uint64_t size = os_file_size(paths::kStartupList);
    if (size == 0 && os_file_exist(paths::kStartupList) != 0) {
        return;  // Empty, or not a regular file: opening a pipe would wait for its writer.
    }

    UniqueFile file(std::fopen(paths::kStartupList, "re"));
    if (!file) {
        FRWK_WARN(log_name::kLoadModuleRun, "can't found apps run cfg file(%s)!", paths::kStartupList);
        return;
    }

    SmallBuffer<kFixedListSize> buffer;
    if (size >= UINT32_MAX || !buffer.reserve(static_cast<uint32_t>(size) + 1)) {
        FRWK_WARN(log_name::kLoadModuleRun, "alloc for load apps run cfg file failed!");
        return;
    }
    char *text = reinterpret_cast<char *>(buffer.data());
    text[std::fread(text, 1, static_cast<size_t>(size), file.get())] = '\0';
    if (std::ferror(file.get())) {
        FRWK_WARN_ERRNO(log_name::kLoadModuleRun, "read apps run cfg file error!");
    }

    mark_modules(text);
}
