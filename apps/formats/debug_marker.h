/*
 * How the device remembers its debug mode: a setting, "true" or "false", and over a reboot a marker file.
 */
#pragma once

#include "formats/device_paths.h"

inline constexpr char kDebugModeKey[] = "device_debug_mode";

struct DebugMarker {
    const char *keep; /* the word that asks for it */
    const char *path;
};

inline constexpr DebugMarker kDebugMarkers[] = {
    {"rom", paths::kDebugMarker},
    {"perm", paths::kDebugMarkerPermanent},
};
