#include "frwk_common/ipc_address.h"

#include <cstdio>

#include "frwk_common.h"
#include "internal/frwk_paths.h"

namespace {

constexpr uint32_t kPortBits = 0x7F00;

}  // namespace

IpcAddress ipc_address(const char *name) {
    IpcAddress address = {};
    address.un.sun_family = AF_UNIX;
    (void)std::snprintf(address.un.sun_path, sizeof(address.un.sun_path), "%s/%s", paths::kIpcFolder,
                        name != nullptr ? name : "");
    return address;
}

uint16_t frwk_ipc_port(uint32_t module) {
    return static_cast<uint16_t>(module | kPortBits);
}
