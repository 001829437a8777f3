#include "support/database_answer.h"

#include <algorithm>
#include <cstring>

#include "apps_err.h"
#include "apps_message.h"
#include "formats/zndb_wire.h"
#include "frwk_module.h"
#include "support/fuzz_input.h"

namespace {

std::string g_answer;
std::function<void(std::string_view, std::string_view)> g_seen;
size_t g_changes = 0;

/* A field as a text, which must have a NUL. */
std::string_view field(const char *bytes, size_t size) {
    const size_t length = ::strnlen(bytes, size);
    FUZZ_CHECK(length < size);
    return {bytes, length};
}

void take_set(const void *body, uint32_t size) {
    FUZZ_CHECK(size == sizeof(zndb_kv_t));
    const auto *set = static_cast<const zndb_kv_t *>(body);
    if (g_seen) {
        g_seen(field(set->key, sizeof(set->key)), field(set->value, sizeof(set->value)));
    }
}

bool is_get(apps_message_id_e_type msgid) {
    return msgid == E_APPS_MSG_ZNDB_GET || msgid == E_APPS_MSG_ZNDB_GET_PERM ||
           msgid == E_APPS_MSG_ZNDB_GET_DEF;
}

}  // namespace

void answer_gets_with(std::string_view bytes) {
    g_answer = bytes;
}

void on_set(std::function<void(std::string_view, std::string_view)> seen) {
    g_seen = std::move(seen);
}

size_t database_changes() {
    return g_changes;
}

extern "C" apps_err_e_type __wrap_frwk_ipc_send_sync(uint32_t module, apps_message_id_e_type msgid,
                                                     const void *req, uint32_t req_len, void *rsp,
                                                     uint32_t rsp_size, uint32_t, int32_t *result) {
    FUZZ_CHECK(module == E_APPS_MODULE_ZNDB);
    g_changes += is_get(msgid) ? 0 : 1;
    if (msgid == E_APPS_MSG_ZNDB_SET || msgid == E_APPS_MSG_ZNDB_SET_PERM) {
        take_set(req, req_len);
    }
    if (rsp_size > 0) {
        std::memset(rsp, 0, rsp_size);
        std::memcpy(rsp, g_answer.data(), std::min<size_t>(rsp_size, g_answer.size()));
    }
    *result = E_APPS_ERR_SUCCESS;
    return E_APPS_ERR_SUCCESS;
}
