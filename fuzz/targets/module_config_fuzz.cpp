/*
 * Fuzzes the module configuration file, and checks the resulting module table.
 */
#include <array>
#include <iterator>

#include "frwk_common/modules/module_config.h"
#include "frwk_module.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr char kFile[] = "/etc/quor_apps_cfg.xml";
constexpr uint32_t kNamedFlags = 0x03FF;
constexpr uint32_t kFacilityMax = 20;
constexpr int32_t kSpareEnd = FRWK_MODULE_ROWS;

/* Reads a text up to its NUL, so that the sanitizer detects a missing one. */
bool is_text(const char *text) {
    return text != nullptr && std::strlen(text) < SIZE_MAX;
}

/* Only spare slots get names. Each text has a NUL; each flag and facility is a known one. */
void check_row(int32_t id, const frwk_module_info &row, const frwk_module_info &before) {
    if (id < FRWK_MODULE_SPARE_FIRST || id >= kSpareEnd) {
        FUZZ_CHECK(row.name == before.name);
    }
    FUZZ_CHECK(row.name == before.name || is_text(row.name));
    FUZZ_CHECK(row.alias == before.alias || is_text(row.alias));
    FUZZ_CHECK(row.cmd == before.cmd || is_text(row.cmd));
    FUZZ_CHECK(row.flag == before.flag || (row.flag & ~kNamedFlags) == 0);
    FUZZ_CHECK(row.facility == before.facility || row.facility <= kFacilityMax);
    FUZZ_CHECK(std::memcmp(&row.memory, &before.memory, sizeof(row.memory)) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const auto table = [] {
        std::array<frwk_module_info, FRWK_MODULE_ROWS> rows;
        std::copy(std::begin(g_modules_info), std::end(g_modules_info), rows.begin());
        return rows;
    }();
    put_file(kFile, FuzzInput(data, size).rest());

    modules::load_config();
    for (int32_t id = 0; id < FRWK_MODULE_ROWS; ++id) {
        check_row(id, g_modules_info[id], table[static_cast<size_t>(id)]);
    }
    std::copy(table.begin(), table.end(), std::begin(g_modules_info));
    return 0;
}
