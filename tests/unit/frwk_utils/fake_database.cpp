/*
 * The calls of the database's client, answered from two maps.
 */
#include "unit/frwk_utils/fake_database.h"

#include <algorithm>
#include <cstring>

namespace {

/* Returns the result that the request is to have. */
int note(const DatabaseRequest &request) {
    fake_database().requests.push_back(request);
    if (fake_database().seen) {
        fake_database().seen(request);
    }
    if (fake_database().requests.size() <= fake_database().spared) {
        return E_ZNDB_RET_SUCCESS;
    }
    const auto single = fake_database().results.find(request.call);
    return single != fake_database().results.end() ? single->second : fake_database().result;
}

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
    const int result = note({call, key, value, nullptr, 0});
    if (result == E_ZNDB_RET_SUCCESS) {
        (*store)[key] = value;
    }
    return result;
}

/* Like the transport, it writes to the buffer only what fits. */
int answer(const std::map<std::string, std::string> &store, const char *key, char *value, uint32_t size) {
    const std::string &raw = fake_database().raw_answer;
    if (!raw.empty()) {
        std::memcpy(value, raw.data(), std::min<size_t>(raw.size(), size));
        return E_ZNDB_RET_SUCCESS;
    }
    const auto found = store.find(key);
    if (found == store.end()) {
        return E_ZNDB_RET_NOT_FOUND;
    }
    if (found->second.size() >= size) {
        return E_ZNDB_RET_VALUE_LEN;
    }
    std::memcpy(value, found->second.c_str(), found->second.size() + 1);
    return E_ZNDB_RET_SUCCESS;
}

int get(const char *call, const std::map<std::string, std::string> &store, const char *key, char *value,
        uint32_t size) {
    if (key == nullptr || value == nullptr) {
        return E_ZNDB_RET_FAILURE;
    }
    if (std::strlen(key) >= ZNDB_KEY_LEN) {
        return E_ZNDB_RET_KEY_LEN;
    }
    const int result = note({call, key, "", value, size});
    return result != E_ZNDB_RET_SUCCESS ? result : answer(store, key, value, size);
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
    return get(__func__, fake_database().plain, key, value, size);
}

int zndb_get_perm(const char *key, char *value, uint32_t size) {
    return get(__func__, fake_database().perm, key, value, size);
}

int zndb_del_perm(const char *key) {
    const int result = note({__func__, key, "", nullptr, 0});
    if (result != E_ZNDB_RET_SUCCESS) {
        return result;
    }
    return fake_database().perm.erase(key) > 0 ? E_ZNDB_RET_SUCCESS : E_ZNDB_RET_NOT_FOUND;
}

int zndb_save() {
    return note({__func__, "", "", nullptr, 0});
}

int zndb_reset() {
    const int result = note({__func__, "", "", nullptr, 0});
    if (result == E_ZNDB_RET_SUCCESS) {
        fake_database().plain.clear();
    }
    return result;
}
