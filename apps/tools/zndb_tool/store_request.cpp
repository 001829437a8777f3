#include "zndb_tool/store_request.h"

#include <cstring>

#include "cli/wait_notice.h"
#include "formats/zndb_wire.h"
#include "frwk_module.h"

namespace {

/* The messages of a store; 0 for none. */
struct StoreMessages {
    apps_message_id_e_type set, get, del;
};

/* In the order of Store. */
constexpr StoreMessages kMessages[] = {
    {E_APPS_MSG_ZNDB_SET, E_APPS_MSG_ZNDB_GET, E_APPS_MSG_ZNDB_DEL},
    {E_APPS_MSG_ZNDB_SET_PERM, E_APPS_MSG_ZNDB_GET_PERM, E_APPS_MSG_ZNDB_DEL_PERM},
    {E_APPS_MSG_ZNDB_FACTOR_SET, E_APPS_MSG_ZNDB_GET_DEF, 0},
};

const StoreMessages &messages_of(Store store) {
    return kMessages[static_cast<size_t>(store)];
}

RequestOutcome ask(apps_message_id_e_type msgid, const std::string &body, std::string *answer = nullptr) {
    const WaitNotice notice(E_APPS_MODULE_ZNDB);
    return send_request(E_APPS_MODULE_ZNDB, msgid, body, answer);
}

/* A key with its NUL. */
std::string key_body(const std::string &key) {
    return {key.c_str(), key_body_size(key)};
}

}  // namespace

StoreId changeable(Store store) {
    constexpr StoreId kIds[] = {StoreId::kPlain, StoreId::kPerm, StoreId::kFactory};
    return kIds[static_cast<size_t>(store)];
}

RequestOutcome set_in_store(Store store, const std::string &key, const std::string &value) {
    const zndb_kv_t body = set_body({key, value});
    return ask(messages_of(store).set, {reinterpret_cast<const char *>(&body), sizeof(body)});
}

RequestOutcome get_from_store(Store store, const std::string &key, std::string *value) {
    std::string answer(ZNDB_VALUE_LEN, '\0');
    const RequestOutcome outcome = ask(messages_of(store).get, key_body(key), &answer);
    if (outcome.done()) {
        value->assign(answer, 0, ::strnlen(answer.data(), answer.size()));
    }
    return outcome;
}

RequestOutcome delete_from_store(Store store, const std::string &key) {
    return ask(messages_of(store).del, key_body(key));
}

SaveOutcome save_both_stores() {
    SaveResults each = {E_APPS_ERR_SUCCESS, E_APPS_ERR_SUCCESS};
    std::string answer(sizeof(each), '\0');
    const RequestOutcome outcome = ask(E_APPS_MSG_ZNDB_SAVE, "", &answer);
    std::memcpy(&each, answer.data(), sizeof(each));
    return {outcome, each.plain, each.perm};
}

RequestOutcome save_overlay() {
    return ask(E_APPS_MSG_ZNDB_FACTOR_SAVE, "");
}

RequestOutcome save_in_ram() {
    return ask(E_APPS_MSG_ZNDB_SAVE_RAM, "");
}

RequestOutcome reset_store() {
    return ask(E_APPS_MSG_ZNDB_RESET, "");
}
