#include "model/client_calls.h"

#include <algorithm>
#include <iterator>

#include "apps_message.h"
#include "formats/zndb_list_wire.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "system/zndb/zndb_process.h"
#include "zndb.h"
#include "zndb_ext.h"

namespace model {

namespace {

constexpr uint32_t kLimit = 3;     /* seconds */
constexpr size_t kWordsMax = 1000; /* pages that never end */
constexpr int kListTries = 20;     /* each waits for seconds if nobody answers */

zndb_store store_of(Store store) {
    return static_cast<zndb_store>(store);
}

/* The result of a request that no call of the client sends: as zndb_set would give it. */
int sent(int32_t msgid, const std::string &body) {
    const int32_t result = ask_zndb(msgid, body);
    return result == 0 ? 0 : result == kZndbNoAnswer ? kNoAnswer : 1;
}

Outcome set(const Operation &operation) {
    const char *key = operation.key.c_str();
    switch (operation.store) {
        case Store::kPlain:
            return {zndb_set(key, operation.value->c_str())};
        case Store::kPerm:
            return {zndb_set_perm_data(key, operation.value->c_str())};
        case Store::kFactory:
            break;
    }
    return {sent(E_APPS_MSG_ZNDB_FACTOR_SET, set_body(operation.key, *operation.value))};
}

Outcome erase(const Operation &operation) {
    const char *key = operation.key.c_str();
    return {operation.store == Store::kPlain ? zndb_del(key) : zndb_del_perm(key)};
}

using Read = int (*)(const char *key, char *value, uint32_t size);

Outcome read_with(Read call, const Operation &operation) {
    char value[ZNDB_VALUE_LEN] = "";
    const int result = call(operation.key.c_str(), value, sizeof(value));
    return {result, result == 0 ? std::vector<std::string>{value} : std::vector<std::string>{}};
}

Outcome get(const Operation &operation) {
    return read_with(operation.store == Store::kPlain ? zndb_get : zndb_get_perm, operation);
}

Outcome get_default(const Operation &operation) {
    return read_with(zndb_get_def, operation);
}

Outcome view_get(const Operation &operation) {
    return read_with(operation.store == Store::kPlain ? zndb_view_get : zndb_view_get_perm, operation);
}

int add_to_words(const char *key, const char *value, void *words) {
    auto *all = static_cast<std::vector<std::string> *>(words);
    all->emplace_back(key);
    all->emplace_back(value);
    return 0;
}

Outcome list_store(Store store, const std::string &prefix) {
    Outcome outcome;
    outcome.result = zndb_list(store_of(store), prefix.c_str(), add_to_words, &outcome.words);
    outcome.words.emplace_back();
    return outcome;
}

Outcome list(const Operation &operation) {
    return list_store(operation.store, operation.key);
}

/* Appends the keys of a page. Returns whether there is another one; after: its last key. */
bool take_page(const std::string &bytes, std::string &after, std::vector<std::string> &words) {
    ListedPage page(bytes.data(), bytes.size());
    ZndbItem item = {};
    while (page.next(item)) {
        words.emplace_back(item.key);
        words.emplace_back(item.value);
        after = std::string(item.key);
    }
    return page.goes_on();
}

Outcome list_pages(const Operation &operation) {
    Outcome outcome;
    std::string after;
    for (bool goes_on = true; goes_on && outcome.result == 0;) {
        const zndb_list_request body =
            list_body({static_cast<StoreId>(operation.store), Listed::kValues, operation.key, after});
        std::string page(kListPageMin, '\0');
        int32_t result = 0;
        const int32_t ret =
            frwk_ipc_send_sync(E_APPS_MODULE_ZNDB, kZndbListMessage, &body, sizeof(body), page.data(),
                               static_cast<uint32_t>(page.size()), kLimit, &result);
        outcome.result = ret != 0 ? kNoAnswer : result;
        goes_on = outcome.result == 0 && take_page(page, after, outcome.words);
        goes_on = goes_on && outcome.words.size() < kWordsMax;
    }
    outcome.words.emplace_back();
    return outcome;
}

int add_item(zndb_batch *batch, const Item &item) {
    switch (item.kind) {
        case ItemKind::kSet:
            return zndb_batch_set(batch, store_of(item.store), item.key.c_str(), item.value.c_str());
        case ItemKind::kDelete:
            return zndb_batch_delete(batch, store_of(item.store), item.key.c_str());
        case ItemKind::kExpect:
            return zndb_batch_expect(batch, store_of(item.store), item.key.c_str(), item.value.c_str());
        default:
            return zndb_batch_expect(batch, store_of(item.store), item.key.c_str(), nullptr);
    }
}

Outcome batch(const Operation &operation) {
    const std::unique_ptr<zndb_batch, void (*)(zndb_batch *)> made(zndb_batch_new(), zndb_batch_free);
    int result = 0;
    for (const Item &item : operation.items) {
        result = result == 0 ? add_item(made.get(), item) : result;
    }
    return {result == 0 ? zndb_batch_apply(made.get()) : result};
}

Outcome compare_and_set(const Operation &operation) {
    return {zndb_compare_and_set(store_of(operation.store), operation.key.c_str(),
                                 operation.value ? operation.value->c_str() : nullptr,
                                 operation.successor.c_str())};
}

Outcome reset(const Operation &) {
    return {zndb_reset()};
}

Outcome save(const Operation &) {
    return {zndb_save()};
}

Outcome save_factory(const Operation &) {
    return {sent(E_APPS_MSG_ZNDB_FACTOR_SAVE, "")};
}

Outcome save_ram(const Operation &) {
    return {zndb_save_ram()};
}

Outcome power_off_notice(const Operation &) {
    return {sent(E_APPS_MSG_MONITOR_FPWROFF_NOTIFY, "")};
}

Outcome end(const Operation &operation) {
    (void)ask_zndb(static_cast<int32_t>(operation.number), "");
    return {};
}

Outcome language(const Operation &operation) {
    return {frwk_language_change(operation.key.c_str())};
}

Outcome serial(const Operation &) {
    return {0, {std::to_string(zndb_view_serial())}};
}

using Call = Outcome (*)(const Operation &operation);

struct Row {
    Kind kind;
    Call call;
};

constexpr Row kRows[] = {
    {Kind::kSet, set},
    {Kind::kDelete, erase},
    {Kind::kGet, get},
    {Kind::kGetDefault, get_default},
    {Kind::kViewGet, view_get},
    {Kind::kList, list},
    {Kind::kListPages, list_pages},
    {Kind::kBatch, batch},
    {Kind::kCompareAndSet, compare_and_set},
    {Kind::kReset, reset},
    {Kind::kSave, save},
    {Kind::kSaveFactory, save_factory},
    {Kind::kSaveRam, save_ram},
    {Kind::kPowerOffNotice, power_off_notice},
    {Kind::kLanguage, language},
    {Kind::kSerial, serial},
    {Kind::kEnd, end},
};

int carry_out_item(const Item &item) {
    Operation request = {};
    request.store = item.store;
    request.key = item.key;
    request.value = item.value;
    switch (item.kind) {
        case ItemKind::kSet:
            return set(request).result;
        case ItemKind::kDelete:
            return erase(request).result;
        default:
            return zndb_save();
    }
}

/* This client's requests of a storm; the first one without an answer is the last. */
Outcome storm(const Operation &operation, uint32_t client) {
    Outcome outcome;
    for (const Item &item : operation.items) {
        if (item.client != client) {
            continue;
        }
        const int result = carry_out_item(item);
        outcome.words.push_back(std::to_string(result));
        if (result == kNoAnswer) {
            outcome.result = kNoAnswer;
            break;
        }
    }
    outcome.words.emplace_back();
    return outcome;
}

}  // namespace

ClientCalls::ClientCalls(uint32_t id) : id_(id) {
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
}

Outcome ClientCalls::ask_whether_served() {
    return {frwk_get_module_status(E_APPS_MODULE_ZNDB) == 1 ? 0 : kNoAnswer};
}

Outcome ClientCalls::wait_until_served() {
    return {wait_until([] { return ask_whether_served().result == 0; }) ? 0 : kNoAnswer};
}

Outcome ClientCalls::list_all() {
    Outcome all;
    for (const Store store : kStores) {
        Outcome listed = list_store(store, "");
        for (int tries = 1; listed.result == kNoAnswer && tries < kListTries; ++tries) {
            listed = list_store(store, "");
        }
        all.result = all.result != 0 ? all.result : listed.result;
        all.words.insert(all.words.end(), listed.words.begin(), listed.words.end());
    }
    return all;
}

Outcome ClientCalls::save_all() {
    return {0, {std::to_string(save({}).result), std::to_string(save_factory({}).result)}};
}

Outcome ClientCalls::watch(const Operation &operation) {
    if (!told_) {
        told_ = std::make_unique<ToldValues>(operation.key);
    }
    return {0, told_->words()};
}

Outcome ClientCalls::carry_out(const Operation &operation) {
    if (operation.kind == Kind::kWatch) {
        return watch(operation);
    }
    if (operation.kind == Kind::kStorm) {
        return storm(operation, id_);
    }
    const auto *row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&operation](const Row &each) { return each.kind == operation.kind; });
    return row != std::end(kRows) ? row->call(operation) : Outcome{-1, {"no client carries this out"}};
}

}  // namespace model
