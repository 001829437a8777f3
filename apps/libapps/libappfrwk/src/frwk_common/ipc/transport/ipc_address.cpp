#include "frwk_common/ipc/transport/ipc_address.h"

#include <cstring>

#include "formats/device_paths.h"
#include "frwk_common.h"

namespace {

constexpr uint32_t kPortBits = 0x7F00;

}  // namespace

namespace ipc {

Address address_of(const char *name) {
    Address address = {};
    address.un.sun_family = AF_UNIX;
    constexpr size_t kFolder = sizeof(paths::kIpcFolder) - 1;
    constexpr size_t kRoom = sizeof(address.un.sun_path) - 1 - kFolder - 1;
    std::memcpy(address.un.sun_path, paths::kIpcFolder, kFolder);
    address.un.sun_path[kFolder] = '/';
    if (name != nullptr) {
        std::memcpy(address.un.sun_path + kFolder + 1, name, strnlen(name, kRoom));
    }
    return address;
}

}  // namespace ipc

uint16_t frwk_ipc_port(uint32_t module) {
    return static_cast<uint16_t>(module | kPortBits);
}
