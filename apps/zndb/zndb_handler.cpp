#include "zndb_handler.h"

#include <cstring>
#include <string_view>

#include "formats/zndb_batch_wire.h"
#include "formats/zndb_list_wire.h"
#include "formats/zndb_wire.h"
#include "os_log.h"

namespace {

using Answer = apps_err_e_type (*)(Database &database, StoreId id, const ZndbMessage &message);

/* A message that the database answers. id: the store, for messages about one store. */
struct Row {
    apps_message_id_e_type msgid;
    StoreId id;
    Answer answer;
};

apps_err_e_type refuse_body(const ZndbMessage &message) {
    OS_LOG(OS_LOG_WARNING, "message %d of module %u refused: its body of %d bytes is malformed",
           message.msgid, message.src, message.data_len);
    return E_APPS_ERR_ZNDB_ARG;
}

bool is_refused_factory(StoreId id, const ZndbMessage &message) {
    return id == StoreId::kFactory && message.may_write_factory != nullptr &&
           !message.may_write_factory(message);
}

apps_err_e_type answer_set(Database &database, StoreId id, const ZndbMessage &message) {
    Entry entry;
    if (!read_set_body(message.data, message.data_len, entry)) {
        return refuse_body(message);
    }
    return is_refused_factory(id, message) ? E_APPS_ERR_ZNDB_READ_ONLY
                                           : database.set(id, entry.key, entry.value);
}

apps_err_e_type answer_get(Database &database, StoreId id, const ZndbMessage &message) {
    std::string_view key;
    if (!read_key_body(message.data, message.data_len, key)) {
        return refuse_body(message);
    }
    auto *buffer = static_cast<char *>(message.rsp);
    return database.get(id, key, buffer, buffer != nullptr ? message.rsp_size : 0);
}

apps_err_e_type answer_del(Database &database, StoreId id, const ZndbMessage &message) {
    std::string_view key;
    return read_key_body(message.data, message.data_len, key) ? database.erase(id, key)
                                                              : refuse_body(message);
}

/* Returns the result of each store if the answer's buffer has room for both. */
apps_err_e_type answer_save(Database &database, StoreId, const ZndbMessage &message) {
    if (message.data_len > 0) {
        return refuse_body(message);
    }
    SaveResults each = {};
    const apps_err_e_type result = database.save(&each);
    if (message.rsp != nullptr && message.rsp_size >= sizeof(each)) {
        std::memcpy(message.rsp, &each, sizeof(each));
    }
    return result;
}

apps_err_e_type answer_save_factory(Database &database, StoreId id, const ZndbMessage &message) {
    if (message.data_len > 0) {
        return refuse_body(message);
    }
    return is_refused_factory(id, message) ? E_APPS_ERR_ZNDB_READ_ONLY : database.save_factory();
}

apps_err_e_type answer_save_ram(Database &database, StoreId, const ZndbMessage &message) {
    return message.data_len > 0 ? refuse_body(message) : database.save_ram();
}

apps_err_e_type answer_reset(Database &database, StoreId, const ZndbMessage &message) {
    return message.data_len > 0 ? refuse_body(message) : database.reset();
}

/* The first change of the overlay, or kNoItem. An expectation only reads. */
uint32_t factory_change_in(ZndbItemSpan items) {
    for (size_t i = 0; i < items.size(); ++i) {
        if (items[i].store == StoreId::kFactory &&
            (items[i].kind == ItemKind::kSet || items[i].kind == ItemKind::kDelete)) {
            return static_cast<uint32_t>(i);
        }
    }
    return kNoItem;
}

apps_err_e_type apply_if_allowed(Database &database, const ZndbMessage &message, const ZndbBatchItems &items,
                                 BatchAnswer &answer) {
    const uint32_t refused = refused_factory_change(items.span(), message);
    if (refused != kNoItem) {
        answer = {E_ZNDB_RET_REFUSED, refused};
        return E_APPS_ERR_ZNDB_READ_ONLY;
    }
    return database.apply_batch(items, answer);
}

/* Returns the verdict if the answer's buffer has room for it. */
apps_err_e_type answer_batch(Database &database, StoreId, const ZndbMessage &message) {
    ZndbBatchItems items;
    if (!read_batch_body(message.data, message.data_len, items)) {
        return refuse_body(message);
    }
    BatchAnswer answer = {};
    const apps_err_e_type result = apply_if_allowed(database, message, items, answer);
    if (message.rsp != nullptr && message.rsp_size >= sizeof(answer)) {
        std::memcpy(message.rsp, &answer, sizeof(answer));
    }
    return result;
}

apps_err_e_type answer_list(Database &database, StoreId, const ZndbMessage &message) {
    ListRequest request = {};
    if (!read_list_body(message.data, message.data_len, request)) {
        return refuse_body(message);
    }
    if (message.rsp == nullptr || message.rsp_size < kListPageMin) {
        OS_LOG(OS_LOG_WARNING, "message %d of module %u refused: a page of a list doesn't fit %u bytes",
               message.msgid, message.src, message.rsp_size);
        return E_APPS_ERR_OUTOFBUF;
    }
    ListPage page(message.rsp, message.rsp_size);
    return database.list(request, page);
}

/* The body of the monitor's notice is ignored. */
apps_err_e_type answer_power_off(Database &database, StoreId, const ZndbMessage &) {
    return database.save_before_power_off();
}

constexpr Row kRows[] = {
    {E_APPS_MSG_ZNDB_SET, StoreId::kPlain, answer_set},
    {E_APPS_MSG_ZNDB_GET, StoreId::kPlain, answer_get},
    {E_APPS_MSG_ZNDB_SAVE, StoreId::kPlain, answer_save},
    {E_APPS_MSG_ZNDB_FACTOR_SET, StoreId::kFactory, answer_set},
    {E_APPS_MSG_ZNDB_FACTOR_SAVE, StoreId::kFactory, answer_save_factory},
    {E_APPS_MSG_ZNDB_SET_PERM, StoreId::kPerm, answer_set},
    {E_APPS_MSG_ZNDB_GET_PERM, StoreId::kPerm, answer_get},
    {E_APPS_MSG_ZNDB_GET_DEF, StoreId::kFactory, answer_get},
    {E_APPS_MSG_ZNDB_DEL, StoreId::kPlain, answer_del},
    {E_APPS_MSG_ZNDB_DEL_PERM, StoreId::kPerm, answer_del},
    {E_APPS_MSG_ZNDB_SAVE_RAM, StoreId::kPlain, answer_save_ram},
    {E_APPS_MSG_ZNDB_RESET, StoreId::kPlain, answer_reset},
    {kZndbBatchMessage, StoreId::kPlain, answer_batch},
    {kZndbListMessage, StoreId::kPlain, answer_list},
    {E_APPS_MSG_MONITOR_FPWROFF_NOTIFY, StoreId::kPlain, answer_power_off},
};

}  // namespace

uint32_t refused_factory_change(ZndbItemSpan items, const ZndbMessage &message) {
    const uint32_t change = factory_change_in(items);
    return change != kNoItem && is_refused_factory(StoreId::kFactory, message) ? change : kNoItem;
}

apps_err_e_type zndb_handle(Database &database, const ZndbMessage &message) {
    for (const Row &row : kRows) {
        if (row.msgid == message.msgid) {
            return row.answer(database, row.id, message);
        }
    }
    OS_LOG(OS_LOG_WARNING, "message %d of module %u refused: it is unknown", message.msgid, message.src);
    return E_APPS_ERR_UNSUPPORTED;
}
