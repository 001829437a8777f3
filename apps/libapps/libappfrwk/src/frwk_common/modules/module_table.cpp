/*
 * Accessors of the module table. An id outside the table means the calling module.
 *
 * Flag words are read and changed atomically, so threads may read them while another changes them.
 */
#include <cstdio>
#include <cstring>

#include "formats/device_paths.h"
#include "frwk_common/core/process_state.h"
#include "internal/planted.h"

namespace {

constexpr uint32_t kMarkerPathSize = 256;

frwk_module_info *row_of(int32_t id) {
    const bool named = static_cast<uint32_t>(id) < E_APPS_MODULE_MAX;
    return &g_modules_info[named ? id : g_s_module_id.load()];
}

const char *text_or_empty(const char *text) {
    return text != nullptr ? text : "";
}

}  // namespace

const char *frwk_module_name(int32_t id) {
    return row_of(id)->name;
}

const char *frwk_module_alias(int32_t id) {
    return row_of(id)->alias;
}

int32_t frwk_module_id(const char *name) {
    if (name == nullptr) {
        return 0;
    }
    for (int32_t id = E_APPS_MODULE_MIN + 1; id < E_APPS_MODULE_MAX; ++id) {
        const char *candidate = g_modules_info[id].name;
        // Most names differ in their first character, so this avoids a call.
        if (candidate != nullptr && *candidate == *name && std::strcmp(candidate, name) == 0) {
            return id;
        }
    }
    return 0;
}

const char *frwk_module_cmd(int32_t id) {
    return text_or_empty(row_of(id)->cmd);
}

frwk_module_info *frwk_module_monitor(int32_t id) {
    frwk_module_info *row = &g_modules_info[id];
    __atomic_fetch_or(&row->flag, FRWK_FLAG_MONITORED, __ATOMIC_RELAXED);
    return row;
}

frwk_module_info *frwk_module_set(int32_t id, uint32_t bits) {
    frwk_module_info *row = row_of(id);
    __atomic_fetch_or(&row->flag, bits, __ATOMIC_RELAXED);
    return row;
}

frwk_module_info *frwk_module_unset(int32_t id, uint32_t bits) {
    frwk_module_info *row = row_of(id);
    __atomic_fetch_and(&row->flag, ~bits, __ATOMIC_RELAXED);
    return row;
}

int32_t frwk_module_feature(int32_t id, uint32_t bits) {
    return (__atomic_load_n(&row_of(id)->flag, __ATOMIC_RELAXED) & bits) != 0 ? 1 : 0;
}

int32_t frwk_module_disabled(int32_t id, char *path, uint32_t size) {
    char own[kMarkerPathSize];
    const bool wanted = path != nullptr && size > 0;
    char *marker = wanted ? path : own;
    const char *name = frwk_module_name(id);
    (void)std::snprintf(marker, wanted ? size : sizeof(own), "%s/%s", paths::kDisabledModules,
                        text_or_empty(name));

    // Without a name the path is that of the folder, which must not count as a marker.
    return name != nullptr && exists_as_ours(marker) ? 1 : 0;
}
