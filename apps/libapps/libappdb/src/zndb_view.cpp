/*
 * Settings out of the service's view, without a request.
 */
#include <cstring>

#include "internal/frwk_log.h"
#include "mapped_view.h"
#include "zndb_ext.h"

namespace {

using Request = int (*)(const char *key, char *value, uint32_t size);

/* Arguments that a request refuses, with its words. */
bool are_usable(const char *key, const char *value) {
    return key != nullptr && value != nullptr && key[0] != '\0' && strnlen(key, ZNDB_KEY_LEN) < ZNDB_KEY_LEN;
}

/* request: asks the service, if there is no view or it can't be read. */
int view_get(LogName caller, StoreId store, const char *key, char *value, uint32_t size, Request request) {
    if (!are_usable(key, value)) {
        return request(key, value, size);
    }
    view::Found found = view::Found::kBusy;
    if (const zndb_view::Pinned view = zndb_view::pin()) {
        found = view.reader().get(store, key, value, size);
    }
    switch (found) {
        case view::Found::kYes:
            return E_ZNDB_RET_SUCCESS;
        case view::Found::kNo:
            FRWK_VERBOSE(caller, "'%s' is missing", key);
            return E_ZNDB_RET_NOT_FOUND;
        case view::Found::kTooLong:
            FRWK_WARN(caller, "'%s' VALUE len >= %d error!", key, static_cast<int>(size));
            return E_ZNDB_RET_VALUE_LEN;
        default:
            return request(key, value, size);
    }
}

}  // namespace

int zndb_view_get(const char *key, char *value, uint32_t size) {
    return view_get(__func__, StoreId::kPlain, key, value, size, zndb_get);
}

int zndb_view_get_perm(const char *key, char *value, uint32_t size) {
    return view_get(__func__, StoreId::kPerm, key, value, size, zndb_get_perm);
}

uint32_t zndb_view_serial(void) {
    const zndb_view::Pinned view = zndb_view::pin();
    return view ? view.reader().serial() : 0;
}
