/*
 * Fuzzes the start-up list: exactly the modules that it names are marked.
 */
#include <iterator>

#include "frwk_common/modules/module_run_list.h"
#include "frwk_module.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr char kFile[] = "/etc/quor_apps_startup";
constexpr std::string_view kSeparators = " \t\n\r";

/* Whether a text, up to its first NUL, has this word. */
bool names(std::string_view list, std::string_view name) {
    list = list.substr(0, list.find('\0'));
    while (!list.empty()) {
        const size_t end = std::min(list.find_first_of(kSeparators), list.size());
        if (list.substr(0, end) == name) {
            return true;
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

/* Row 0 is not checked: unknown names have its id. */
void check_row(const frwk_module_info &row, std::string_view list) {
    const bool marked = (row.flag & FRWK_FLAG_RUN) != 0;
    if (&row != &g_modules_info[0] && row.name != nullptr) {
        FUZZ_CHECK(marked == names(list, row.name));
    }
    if (row.name == nullptr) {
        FUZZ_CHECK(!marked);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view list = FuzzInput(data, size).rest();
    put_file(kFile, list);
    uint32_t other_flags[FRWK_MODULE_ROWS];
    for (int id = 0; id < FRWK_MODULE_ROWS; ++id) {
        g_modules_info[id].flag &= ~FRWK_FLAG_RUN;
        other_flags[id] = g_modules_info[id].flag;
    }

    modules::load_run_list();
    for (int id = 0; id < FRWK_MODULE_ROWS; ++id) {
        FUZZ_CHECK((g_modules_info[id].flag & ~FRWK_FLAG_RUN) == other_flags[id]);
        check_row(g_modules_info[id], list);
    }
    return 0;
}
