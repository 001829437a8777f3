#include "soak_settings.h"

#include <string>

#include "soak_place.h"
#include "zndb.h"

namespace soak {

namespace {

/* The database may have been killed with a request before it. */
void fail(const Liveness &database, const char *what, int ret) {
    if (database.lived()) {
        complain(g_place.board, "module %u: %s fails: %d", g_place.module, what, ret);
    } else {
        ++own().excused;
    }
}

bool shows(const Board &board, uint32_t module, uint32_t key, uint64_t number, int ret, const char *value) {
    return number == 0 ? ret == E_ZNDB_RET_NOT_FOUND
                       : ret == E_ZNDB_RET_SUCCESS && value == value_of(board.seed, module, key, number);
}

/* A doubtful set was carried out or not; from here on it is known. */
void resolve(Setting &setting, uint32_t key, int ret, const char *value) {
    const uint64_t doubtful = setting.doubtful;
    if (doubtful != 0 && shows(*g_place.board, g_place.module, key, doubtful, ret, value)) {
        setting.acknowledged = doubtful;
    }
    setting.doubtful = 0;
}

void fill_setting(Board &board, uint32_t module, uint32_t key) {
    const int ret =
        zndb_set(key_name(module, key).c_str(), value_of(board.seed, module, key, kFullLength).c_str());
    if (ret != E_ZNDB_RET_SUCCESS) {
        complain(&board, "module %u: key %u can't be filled: %d", module, key, ret);
    }
    Setting &setting = board.modules[module].settings[key];
    setting.acknowledged = kFullLength;
    setting.doubtful = 0;
}

}  // namespace

Module &own() {
    return g_place.board->modules[g_place.module];
}

Liveness::Liveness(uint32_t module)
    : module_(module), generation_(g_place.board->generation[module].load()) {}

bool Liveness::lived() const {
    return is_up(generation_) && g_place.board->generation[module_] == generation_;
}

bool is_possible(const Board &board, uint32_t module, uint32_t key, int ret, const char *value) {
    const Setting &setting = board.modules[module].settings[key];
    const uint64_t doubtful = setting.doubtful;
    return shows(board, module, key, setting.acknowledged, ret, value) ||
           (doubtful != 0 && shows(board, module, key, doubtful, ret, value));
}

void get_setting(uint32_t key) {
    const Liveness database(kDatabase);
    char value[ZNDB_VALUE_LEN] = "";
    const int ret = zndb_get(key_name(g_place.module, key).c_str(), value, sizeof(value));
    if (ret != E_ZNDB_RET_SUCCESS && ret != E_ZNDB_RET_NOT_FOUND) {
        fail(database, "a get", ret);
        return;
    }
    if (!is_possible(*g_place.board, g_place.module, key, ret, value)) {
        complain(g_place.board, "module %u: key %u reads %d '%.40s'", g_place.module, key, ret, value);
    }
    resolve(own().settings[key], key, ret, value);
    ++own().gets;
}

void change_setting(uint32_t key, uint64_t number) {
    Setting &setting = own().settings[key];
    if (setting.doubtful != 0) {
        ++own().doubts;
        get_setting(key);
        return;
    }
    const Liveness database(kDatabase);
    setting.doubtful = number;
    const int ret = zndb_set(key_name(g_place.module, key).c_str(),
                             value_of(g_place.board->seed, g_place.module, key, number).c_str());
    if (ret != E_ZNDB_RET_SUCCESS) {
        fail(database, "a set", ret);
        return;
    }
    setting.acknowledged = number;
    setting.doubtful = 0;
    ++own().sets;
}

void fill_settings(Board &board) {
    for (uint32_t module = 1; module < kModules; ++module) {
        for (uint32_t key = 0; module != kDatabase && key < kKeys; ++key) {
            fill_setting(board, module, key);
        }
    }
}

void save_settings() {
    const Liveness database(kDatabase);
    const int ret = zndb_save();
    if (ret != E_ZNDB_RET_SUCCESS) {
        fail(database, "a save", ret);
        return;
    }
    ++own().saves;
}

}  // namespace soak
