/*
 * Fuzzes the requests of the database's clients: a sequence of requests, compared with a model of three maps.
 *
 * The input is a sequence of requests: the request (a byte), the size of the answer's buffer (2 bytes), the
 * size of the body (2 bytes), and the body. For a set, a size of 0 means a body with a key and a value, each
 * with a NUL.
 */
#include <map>
#include <optional>
#include <vector>

#include "formats/device_paths.h"
#include "formats/entry_line.h"
#include "formats/zndb_wire.h"
#include "frwk_module.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"
#include "zndb_handler.h"

namespace {

constexpr uint32_t kAnswerMax = 1100;
constexpr uint32_t kBodyMax = 1100;
constexpr int kRequestsMax = 64;
constexpr char kFill = '#';

enum class Kind {
    kSet,
    kGet,
    kDelete,
    kReset,
    kSave,
    kOther
};

struct Request {
    apps_message_id_e_type msgid;
    Kind kind;
    StoreId store;
};

constexpr Request kRequests[] = {
    {E_APPS_MSG_ZNDB_SET, Kind::kSet, StoreId::kPlain},
    {E_APPS_MSG_ZNDB_SET_PERM, Kind::kSet, StoreId::kPerm},
    {E_APPS_MSG_ZNDB_FACTOR_SET, Kind::kSet, StoreId::kFactory},
    {E_APPS_MSG_ZNDB_GET, Kind::kGet, StoreId::kPlain},
    {E_APPS_MSG_ZNDB_GET_PERM, Kind::kGet, StoreId::kPerm},
    {E_APPS_MSG_ZNDB_GET_DEF, Kind::kGet, StoreId::kFactory},
    {E_APPS_MSG_ZNDB_DEL, Kind::kDelete, StoreId::kPlain},
    {E_APPS_MSG_ZNDB_DEL_PERM, Kind::kDelete, StoreId::kPerm},
    {E_APPS_MSG_ZNDB_RESET, Kind::kReset, StoreId::kPlain},
    {E_APPS_MSG_ZNDB_SAVE, Kind::kSave, StoreId::kPlain},
    {E_APPS_MSG_ZNDB_FACTOR_SAVE, Kind::kSave, StoreId::kFactory},
    {E_APPS_MSG_ZNDB_SAVE_RAM, Kind::kSave, StoreId::kPlain},
    {E_APPS_MSG_MONITOR_FPWRON_NOTIFY, Kind::kOther, StoreId::kPlain},
};

/* A body, in a block of exactly its size. */
using Body = std::vector<char>;

/* A model of the database: the answer and the effect of each request. */
class Model {
  public:
    apps_err_e_type answer(const Request &request, const Body &body, uint32_t size, std::string *value) {
        switch (request.kind) {
            case Kind::kSet:
                return set(request.store, body);
            case Kind::kGet:
                return get(request.store, body, size, value);
            case Kind::kDelete:
                return erase(request.store, body);
            case Kind::kReset:
                return reset(body);
            case Kind::kSave:
                return body.empty() ? E_APPS_ERR_SUCCESS : E_APPS_ERR_ZNDB_ARG;
            case Kind::kOther:
                break;
        }
        return E_APPS_ERR_UNSUPPORTED;
    }

  private:
    using Map = std::map<std::string, std::string>;

    Map &map(StoreId id) { return maps_[static_cast<size_t>(id)]; }

    apps_err_e_type set(StoreId id, const Body &body) {
        if (body.size() != sizeof(zndb_kv_t)) {
            return E_APPS_ERR_ZNDB_ARG;
        }
        const std::string key(body.data(), ::strnlen(body.data(), ZNDB_KEY_LEN));
        const std::string value(body.data() + ZNDB_KEY_LEN,
                                ::strnlen(body.data() + ZNDB_KEY_LEN, ZNDB_VALUE_LEN));
        if (key.size() == ZNDB_KEY_LEN || value.size() == ZNDB_VALUE_LEN || key.empty() ||
            std::strchr("# \t", key[0]) != nullptr || key.find_first_of("=\r\n") != std::string::npos ||
            value.find_first_of("\r\n") != std::string::npos) {
            return E_APPS_ERR_ZNDB_ARG;
        }
        map(id)[key] = value;
        return E_APPS_ERR_SUCCESS;
    }

    /* The key of a get or delete, or nothing for a malformed body. */
    static std::optional<std::string> key_of(const Body &body) {
        const bool is_key = body.size() >= 2 && body.size() <= ZNDB_KEY_LEN &&
                            ::strnlen(body.data(), body.size()) == body.size() - 1;
        return is_key ? std::optional<std::string>(body.data()) : std::nullopt;
    }

    apps_err_e_type get(StoreId id, const Body &body, uint32_t size, std::string *value) {
        const std::optional<std::string> key = key_of(body);
        if (!key) {
            return E_APPS_ERR_ZNDB_ARG;
        }
        const StoreId other = id == StoreId::kPerm ? StoreId::kPerm : StoreId::kFactory;
        for (const StoreId place : {id, other}) {
            const auto found = map(place).find(*key);
            if (found != map(place).end()) {
                *value = found->second;
                return value->size() < size ? E_APPS_ERR_SUCCESS : E_APPS_ERR_OUTOFBUF;
            }
        }
        return E_APPS_ERR_ZNDB_NO_FOUND;
    }

    apps_err_e_type erase(StoreId id, const Body &body) {
        const std::optional<std::string> key = key_of(body);
        if (!key) {
            return E_APPS_ERR_ZNDB_ARG;
        }
        return map(id).erase(*key) == 1 ? E_APPS_ERR_SUCCESS : E_APPS_ERR_ZNDB_NO_FOUND;
    }

    apps_err_e_type reset(const Body &body) {
        if (!body.empty()) {
            return E_APPS_ERR_ZNDB_ARG;
        }
        map(StoreId::kPlain).clear();
        return E_APPS_ERR_SUCCESS;
    }

    Map maps_[3];
};

Body set_body(FuzzInput *input) {
    Body body(sizeof(zndb_kv_t), '\0');
    const std::string_view key = input->text().substr(0, ZNDB_KEY_LEN);
    const std::string_view value = input->text().substr(0, ZNDB_VALUE_LEN);
    std::copy(key.begin(), key.end(), body.begin());
    std::copy(value.begin(), value.end(), body.begin() + ZNDB_KEY_LEN);
    return body;
}

Body take_body(const Request &request, FuzzInput *input) {
    const uint32_t size = input->number(kBodyMax);
    if (size == 0 && request.kind == Kind::kSet) {
        return set_body(input);
    }
    const std::string_view bytes = input->take(size);
    return {bytes.begin(), bytes.end()};
}

/* The results of a save for each store, if there is room: success. Leaves the rest of the answer unchanged.
 */
void take_results(std::vector<char> *answer) {
    if (answer->size() >= sizeof(SaveResults)) {
        SaveResults each = {-1, -1};
        std::memcpy(&each, answer->data(), sizeof(each));
        FUZZ_CHECK(each.plain == E_APPS_ERR_SUCCESS && each.perm == E_APPS_ERR_SUCCESS);
        answer->erase(answer->begin(), answer->begin() + sizeof(each));
    }
}

void check_request(Database *database, Model *model, FuzzInput *input) {
    const Request &request = kRequests[input->byte() % std::size(kRequests)];
    std::vector<char> answer(input->number(kAnswerMax), kFill);
    const Body body = take_body(request, input);
    const auto size = static_cast<uint32_t>(answer.size());

    const apps_err_e_type ret = zndb_handle(
        *database, {E_APPS_MODULE_ROUTER, request.msgid, body.empty() ? nullptr : body.data(),
                    static_cast<int32_t>(body.size()), answer.empty() ? nullptr : answer.data(), size});
    std::string value;
    FUZZ_CHECK(ret == model->answer(request, body, size, &value));
    if (ret == E_APPS_ERR_SUCCESS && request.kind == Kind::kGet) {
        FUZZ_CHECK(value == answer.data());
        return;
    }
    if (ret == E_APPS_ERR_SUCCESS && request.msgid == E_APPS_MSG_ZNDB_SAVE) {
        take_results(&answer);
    }
    FUZZ_CHECK(is_filled(answer, kFill));
}

void remove_files() {
    for (const char *file : {paths::kPlainFile, paths::kPermFile, paths::kFactoryFile, paths::kPlainJournal,
                             paths::kPermJournal, paths::kFactoryJournal, paths::kOldJournal}) {
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    remove_files();
    FuzzInput input(data, size);
    Database database;
    database.load();
    Model model;
    for (int i = 0; i < kRequestsMax && !input.empty(); ++i) {
        check_request(&database, &model, &input);
    }
    return 0;
}
