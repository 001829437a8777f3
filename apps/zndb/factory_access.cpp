#include "factory_access.h"

#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "environment.h"
#include "formats/module_flags.h"
#include "frwk_common.h"
#include "os_log.h"

namespace {

constexpr char kWritersName[] = "QUOR_ZNDB_FACTORY_WRITERS";
constexpr std::string_view kTools = "tool";

ModuleSet administrators() {
    ModuleSet found = 0;
    for (uint32_t id = E_APPS_MODULE_MIN + 1; id < E_APPS_MODULE_MAX; ++id) {
        found |= (g_modules_info[id].flag & FRWK_FLAG_ADMIN) != 0 ? module_bit(id) : 0;
    }
    return found;
}

void add_writer(FactoryAccess &access, const std::string &name) {
    const int32_t id = frwk_module_id(name.c_str());
    if (name == kTools) {
        access.tools = true;
    } else if (id != 0) {
        access.modules |= module_bit(static_cast<uint32_t>(id));
    } else {
        warn_ignored(kWritersName, name.c_str());
    }
}

FactoryAccess read_writers(std::string_view names) {
    FactoryAccess access = {0, false};
    while (!names.empty()) {
        const size_t end = std::min(names.find(','), names.size());
        add_writer(access, std::string(names.substr(0, end)));
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return access;
}

/* On a PC the service may run as somebody else, who owns the overlay's file then. */
bool is_roots(const frwk_ipc_peer_t &peer) {
    return peer.user == 0 || peer.user == ::geteuid();
}

/* Of a process in another process namespace nobody knows what locks it holds. */
bool is_known(const frwk_ipc_peer_t *peer) {
    return peer != nullptr && peer->process > 0;
}

bool is_allowed(const FactoryAccess &access, const frwk_ipc_peer_t &peer, uint32_t src) {
    const ModuleSet modules = modules_of(peer.process);
    if (modules != 0) {
        return (modules & access.modules) != 0;
    }
    return access.tools && is_roots(peer) && is_tool(src);
}

}  // namespace

FactoryAccess factory_access() {
    const char *names = environment_text(kWritersName);
    return names != nullptr ? read_writers(names) : FactoryAccess{administrators(), true};
}

bool is_tool(uint32_t module) {
    return module < E_APPS_MODULE_MAX && g_modules_info[module].name != nullptr &&
           (g_modules_info[module].flag & kServingFlags) == 0;
}

bool may_write_factory(const FactoryAccess &access, const frwk_ipc_peer_t *peer, uint32_t src,
                       apps_message_id_e_type msgid) {
    if (is_known(peer) && is_allowed(access, *peer, src)) {
        return true;
    }
    OS_LOG(OS_LOG_WARNING,
           "message %d refused: process %d of user %u, as module %u, may not write the factory overlay",
           msgid, peer != nullptr ? peer->process : 0, peer != nullptr ? peer->user : 0, src);
    return false;
}
