/*
 * The device's debug mode: a setting, a script that starts and stops the debug services, and marker files
 * that restore the mode after a reboot. No other state; any thread.
 */
#include "frwk_utils/settings/debug_mode.h"

#include <unistd.h>

#include <cstdio>

#include "formats/debug_marker.h"
#include "formats/device_paths.h"
#include "frwk_utils.h"
#include "internal/frwk_log.h"
#include "internal/guarded_folder.h"
#include "internal/marker_file.h"
#include "internal/planted.h"
#include "internal/shell.h"
#include "support/letter_case.h"
#include "zndb.h"

namespace {

constexpr size_t kCommandSize = 128;

/* The first one that exists is run; it runs with the module's rights, so no other user may have put it there.
 */
constexpr const char *kScripts[] = {paths::kDebugScript, paths::kDebugScriptOfImage};

bool may_run(const char *script) {
    if (!exists_as_ours(script)) {
        return false;
    }
    const bool replaceable = all_can_replace(script);
    if (replaceable) {
        FRWK_WARN(log_name::kDebugModeShell, "everybody can replace %s: not run", script);
    }
    return !replaceable;
}

const char *find_script() {
    for (const char *script : kScripts) {
        if (may_run(script)) {
            return script;
        }
    }
    return nullptr;
}

/* Returns whether there was one. */
bool remove_markers() {
    bool removed = false;
    for (const DebugMarker &marker : kDebugMarkers) {
        if (is_occupied(marker.path)) {
            removed = run_on_path("rm -f", marker.path) || removed;
        }
    }
    return removed;
}

/* Returns whether the mode is one that has a marker. */
bool create_marker(const char *mode) {
    for (const DebugMarker &marker : kDebugMarkers) {
        if (same_ignoring_case(mode, marker.keep)) {
            return make_marker(marker.path);
        }
    }
    return false;
}

bool lasts_until_reboot(const char *mode) {
    return mode == nullptr || mode[0] == '\0' || same_ignoring_case(mode, "ram");
}

bool is_marked() {
    for (const DebugMarker &marker : kDebugMarkers) {
        if (exists_as_ours(marker.path)) {
            return true;
        }
    }
    return false;
}

}  // namespace

int32_t settings::run_debug_script(int32_t start) {
    const char *script = find_script();
    if (script == nullptr) {
        return 1;
    }
    char command[kCommandSize];
    (void)std::snprintf(command, sizeof(command), "%s %s", script, start != 0 ? "start" : "stop");
    FRWK_DEBUG(log_name::kDebugModeShell, "%s", command);
    return run_shell(command);
}

int32_t frwk_debug_mode_init(void) {
    if (is_marked()) {
        (void)zndb_set(kDebugModeKey, "true");
        (void)settings::run_debug_script(1);
    }
    return 1;
}

int32_t frwk_debug_mode_set(int32_t enable, const char *mode) {
    if (zndb_set(kDebugModeKey, enable != 0 ? "true" : "false") != E_ZNDB_RET_SUCCESS) {
        FRWK_WARN(__func__, "zndb set debugmode=%d failed!", enable);
        return 0;
    }
    const bool forget = enable == 0 || lasts_until_reboot(mode);
    const bool changed = forget ? remove_markers() : create_marker(mode);
    if (changed) {
        ::sync();
    }
    (void)settings::run_debug_script(enable);
    return 1;
}
