/*
 * Fuzzes the batches and lists of the database: their bodies, the pages that a client reads, the batch file,
 * and a sequence of batches compared with a model of three maps.
 *
 * The input is a sequence of batches: the size of each body (2 bytes) and the body.
 */
#include <map>
#include <vector>

#include "formats/batch_text.h"
#include "formats/device_paths.h"
#include "formats/zndb_batch_wire.h"
#include "formats/zndb_list_wire.h"
#include "frwk_module.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"
#include "zndb_handler.h"

namespace {

constexpr uint32_t kBodyMax = 4000;
constexpr int kBatchesMax = 16;

/* A text in a block of exactly its size. */
using Bytes = std::vector<char>;

Bytes exact(std::string_view text) {
    return {text.begin(), text.end()};
}

// ---- the formats ----

void check_items(const Bytes &bytes) {
    ZndbItems items(bytes.data(), bytes.size());
    ZndbItem item = {};
    size_t at = 0;
    while (items.next(item)) {
        Bytes again(item_size(item));
        write_item(again.data(), item);
        FUZZ_CHECK(std::equal(again.begin(), again.end(), bytes.begin() + static_cast<ptrdiff_t>(at)));
        at += again.size();
    }
    FUZZ_CHECK(items.at_end() == (at == bytes.size()));
}

void check_list_body(const Bytes &bytes) {
    ListRequest request = {};
    if (read_list_body(bytes.data(), static_cast<int32_t>(bytes.size()), request)) {
        FUZZ_CHECK(request.prefix.size() < ZNDB_KEY_LEN && request.after.size() < ZNDB_KEY_LEN);
    }
}

void check_page(const Bytes &bytes) {
    ListedPage page(bytes.data(), bytes.size());
    ZndbItem item = {};
    size_t count = 0;
    while (page.next(item)) {
        ++count;
    }
    FUZZ_CHECK(count <= bytes.size() / sizeof(zndb_item_head));
}

void check_batch_text(std::string_view text) {
    std::vector<JournalRecord> changes;
    if (parse_batch(text, changes)) {
        FUZZ_CHECK(format_batch(changes) == text);
    }
}

// ---- the database ----

bool is_bad(const ZndbItem &item) {
    return key_problem(item.key) != nullptr || value_problem(item.value) != nullptr;
}

class Model {
  public:
    /* The result of a batch, which it carries out. */
    apps_err_e_type apply(const ZndbBatchItems &items) {
        for (const ZndbItem &item : items) {
            if (is_bad(item)) {
                return E_APPS_ERR_ZNDB_ARG;
            }
        }
        for (const ZndbItem &item : items) {
            if (!holds(item)) {
                return E_APPS_ERR_ZNDB_AVL;
            }
        }
        for (const ZndbItem &item : items) {
            carry_out(item);
        }
        return E_APPS_ERR_SUCCESS;
    }

    /* Compares the values with the database's. */
    void check(Database &database) const {
        for (const StoreId id : kStoreIds) {
            Bytes bytes(size_t{1} << 20);
            ListPage page(bytes.data(), bytes.size());
            FUZZ_CHECK(database.list({id, Listed::kValues, {}, {}}, page) == E_APPS_ERR_SUCCESS);
            ListedPage read(bytes.data(), bytes.size());
            ZndbItem item = {};
            for (const auto &[key, value] : maps_[static_cast<size_t>(id)]) {
                FUZZ_CHECK(read.next(item) && item.key == key && item.value == value);
            }
            FUZZ_CHECK(read.at_end() && !read.goes_on());
        }
    }

  private:
    using Map = std::map<std::string, std::string>;

    bool holds(const ZndbItem &item) const {
        const Map &map = maps_[static_cast<size_t>(item.store)];
        const auto found = map.find(std::string(item.key));
        switch (item.kind) {
            case ItemKind::kExpect:
                return found != map.end() && found->second == item.value;
            case ItemKind::kExpectMissing:
                return found == map.end();
            default:
                return true;
        }
    }

    void carry_out(const ZndbItem &item) {
        Map &map = maps_[static_cast<size_t>(item.store)];
        if (item.kind == ItemKind::kSet) {
            map[std::string(item.key)] = item.value;
        } else if (item.kind == ItemKind::kDelete) {
            map.erase(std::string(item.key));
        }
    }

    Map maps_[std::size(kStoreIds)];
};

void check_batch(Database &database, Model &model, const Bytes &body) {
    BatchAnswer answer = {-1, 0};
    const apps_err_e_type result =
        zndb_handle(database, {E_APPS_MODULE_ROUTER, kZndbBatchMessage, body.empty() ? nullptr : body.data(),
                               static_cast<int32_t>(body.size()), &answer, sizeof(answer)});
    ZndbBatchItems items;
    if (!read_batch_body(body.data(), static_cast<int32_t>(body.size()), items)) {
        FUZZ_CHECK(result == E_APPS_ERR_ZNDB_ARG && answer.verdict == -1);
        return;
    }
    FUZZ_CHECK(result == model.apply(items));
    FUZZ_CHECK((result == E_APPS_ERR_SUCCESS) == (answer.verdict == E_ZNDB_RET_SUCCESS));
    FUZZ_CHECK(answer.item == kNoItem || answer.item < items.size());
}

void remove_files() {
    std::error_code ignored;
    for (const char *file : {paths::kPlainFile, paths::kPermFile, paths::kFactoryFile}) {
        std::filesystem::remove(file, ignored);
    }
    std::filesystem::remove_all(paths::kJournalFolder, ignored);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const Bytes all = exact(FuzzInput(data, size).rest());
    check_items(all);
    check_list_body(all);
    check_page(all);
    check_batch_text({all.data(), all.size()});

    remove_files();
    Model model;
    {
        Database database;
        database.load();
        FuzzInput input(data, size);
        for (int i = 0; i < kBatchesMax && !input.empty(); ++i) {
            check_batch(database, model, exact(input.take(input.number(kBodyMax))));
        }
        model.check(database);
    }
    Database successor;
    successor.load();
    model.check(successor);
    return 0;
}
