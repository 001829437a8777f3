/*
 * How the device remembers its debug mode: in a setting, "true" or "false", and across a reboot in a marker
 * file.
 */
#pragma once

#include "formats/device_paths.h"

inline constexpr char kDebugModeKey[] = "device_debug_mode";

struct DebugMarker {
    const char *keep; /* the word that selects it */
    const char *path;
};

inline constexpr DebugMarker kDebugMarkers[] = {
    {"rom", paths::kDebugMarker},
    {"perm", paths::kDebugMarkerPermanent},
};
