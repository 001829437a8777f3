/*
 * Lists of a store's keys, page by page.
 */
#include <cstring>

#include "database_call.h"
#include "formats/zndb_list_wire.h"
#include "internal/frwk_log.h"
#include "internal/plain_block.h"
#include "support/owned_block.h"
#include "zndb_ext.h"

namespace {

/* Some hundred ordinary settings. The database sends as many bytes even for a short page. */
constexpr uint32_t kPageSize = 16384;

static_assert(kPageSize >= kListPageMin);

/* A text with its NUL, which outlives the page that it comes from. */
template <size_t Size>
class Text {
  public:
    void take(std::string_view text) { bytes_[text.copy(bytes_, Size - 1)] = '\0'; }
    const char *c_str() const { return bytes_; }

  private:
    char bytes_[Size] = "";
};

/* What a page's reader does next. */
enum class After {
    kNextPage,
    kEnd,
    kMalformed
};

class List {
  public:
    List(zndb_list_handler handler, void *context) : handler_(handler), context_(context) {}

    /* Passes a page's keys to the handler. */
    After take(ListedPage page) {
        ZndbItem item = {};
        while (page.next(item)) {
            if (!follows(item)) {
                return After::kMalformed;
            }
            key_.take(item.key);
            value_.take(item.value);
            if (handler_(key_.c_str(), value_.c_str(), context_) != 0) {
                return After::kEnd;
            }
            ++taken_;
        }
        return page.at_end() ? end_of(page) : After::kMalformed;
    }

    /* The last key; "" before the first page. */
    const char *key() const { return key_.c_str(); }

  private:
    bool follows(const ZndbItem &item) const {
        return item.kind == ItemKind::kSet && item.key > std::string_view(key_.c_str());
    }

    /* A page that goes on has an item: otherwise the list would never end. */
    After end_of(const ListedPage &page) {
        const bool has_items = taken_ > 0;
        taken_ = 0;
        if (!page.goes_on()) {
            return After::kEnd;
        }
        return has_items ? After::kNextPage : After::kMalformed;
    }

    const zndb_list_handler handler_;
    void *const context_;
    Text<ZNDB_KEY_LEN> key_;
    Text<ZNDB_VALUE_LEN> value_;
    uint32_t taken_ = 0; /* items of this page */
};

/* Requests one page. Returns 0 or the result of the list. */
int request_page(LogName caller, const ListRequest &request, void *page) {
    const zndb_list_request body = list_body(request);
    int32_t result = 0;
    const int ret =
        zndb::send_request({caller, kZndbListMessage, &body, sizeof(body), page, kPageSize}, &result);
    return ret != E_ZNDB_RET_SUCCESS ? ret : zndb::plain_outcome(caller, result);
}

int list_all(LogName caller, StoreId store, const char *prefix, List &list) {
    const OwnedBlock page(plain_block(kPageSize));
    if (!page) {
        FRWK_WARN(caller, "no memory for a page of the list");
        return E_ZNDB_RET_FAILURE;
    }
    for (;;) {
        const int ret = request_page(caller, {store, Listed::kValues, prefix, list.key()}, page.get());
        if (ret != E_ZNDB_RET_SUCCESS) {
            return ret;
        }
        const After after = list.take(ListedPage(page.get(), kPageSize));
        if (after == After::kMalformed) {
            FRWK_WARN(caller, "the answer of the database is malformed");
            return E_ZNDB_RET_FAILURE;
        }
        if (after == After::kEnd) {
            return E_ZNDB_RET_SUCCESS;
        }
    }
}

}  // namespace

int zndb_list(zndb_store store, const char *prefix, zndb_list_handler handler, void *context) {
    const bool is_known = static_cast<unsigned>(store) <= ZNDB_STORE_FACTORY;
    const int ret =
        zndb::check_arguments(__func__, prefix != nullptr && handler != nullptr && is_known, prefix);
    if (ret != E_ZNDB_RET_SUCCESS) {
        return ret;
    }
    List list(handler, context);
    return list_all(__func__, static_cast<StoreId>(store), prefix, list);
}
