/*
 * The calls of the database's client, answered from two maps.
 */
#include "unit/frwk_utils/fake_database.h"

#include <cstring>

namespace {

int set(const char *call, std::map<std::string, std::string> *store, const char *key, const char *value) {
    if (key == nullptr || value == nullptr) {
        return E_ZNDB_RET_FAILURE;
    }
    if (std::strlen(key) >= ZNDB_KEY_LEN) {
        return E_ZNDB_RET_KEY_LEN;
    }
    if (std::strlen(value) >= ZNDB_VALUE_LEN) {
        return E_ZNDB_RET_VALUE_LEN;
    }
    fake_database().requests.push_back({call, key, value, nullptr, 0});
    if (fake_database().result == E_ZNDB_RET_SUCCESS) {
        (*store)[key] = value;
    }
    return fake_database().result;
}

/* Like the transport, it writes to the buffer only what fits. */
int answer(const char *key, char *value, uint32_t size) {
    const auto found = fake_database().plain.find(key);
    if (found == fake_database().plain.end()) {
        return E_ZNDB_RET_NOT_FOUND;
    }
    if (found->second.size() >= size) {
        return E_ZNDB_RET_VALUE_LEN;
    }
    std::memcpy(value, found->second.c_str(), found->second.size() + 1);
    return E_ZNDB_RET_SUCCESS;
}

}  // namespace

FakeDatabase &fake_database() {
    static FakeDatabase database;
    return database;
}

int zndb_set(const char *key, const char *value) {
    return set(__func__, &fake_database().plain, key, value);
}

int zndb_set_perm_data(const char *key, const char *value) {
    return set(__func__, &fake_database().perm, key, value);
}

int zndb_get(const char *key, char *value, uint32_t size) {
    if (key == nullptr || value == nullptr) {
        return E_ZNDB_RET_FAILURE;
    }
    if (std::strlen(key) >= ZNDB_KEY_LEN) {
        return E_ZNDB_RET_KEY_LEN;
    }
    fake_database().requests.push_back({__func__, key, "", value, size});
    return fake_database().result != E_ZNDB_RET_SUCCESS ? fake_database().result : answer(key, value, size);
}
