#include "zndb_tool/store_list.h"

#include <algorithm>

#include "cli/limited_request.h"
#include "cli/wait_notice.h"
#include "formats/entry_line.h"
#include "frwk_module.h"

namespace {

constexpr size_t kFirstPage = size_t{64} * 1024;

/* Of a store whose keys, and as many deleted ones, have the longest texts. */
constexpr size_t kLastPage = sizeof(zndb_list_head) + 3 * kStoreKeysMax * kItemSizeMax;

/* Returns false for a malformed page. */
bool read_page(const std::string &bytes, StoreListing *listing) {
    ListedPage page(bytes.data(), bytes.size());
    StoreListing read = {page.emptied(), {}};
    ZndbItem item = {};
    while (page.next(item)) {
        read.settings.push_back(
            {std::string(item.key), std::string(item.value), item.kind == ItemKind::kDelete});
    }
    if (page.at_end()) {
        *listing = std::move(read);
    }
    return page.at_end();
}

bool goes_on(const std::string &bytes) {
    return ListedPage(bytes.data(), bytes.size()).goes_on();
}

/*
 * Requests larger and larger pages until one has everything: several pages could be of different moments.
 * ask: sends the request for a page.
 */
template <typename Ask>
RequestOutcome list_with(const Ask &ask, const ListRequest &request, StoreListing *listing) {
    const zndb_list_request body = list_body(request);
    const std::string bytes(reinterpret_cast<const char *>(&body), sizeof(body));
    std::string page;
    RequestOutcome outcome = {};
    for (size_t size = kFirstPage;; size = std::min(size * 4, kLastPage)) {
        page.assign(size, '\0');
        outcome = ask(bytes, &page);
        if (!outcome.done() || !goes_on(page) || size == kLastPage) {
            break;
        }
    }
    if (outcome.done() && (goes_on(page) || !read_page(page, listing))) {
        outcome.result = E_APPS_ERR_FORMAT;
    }
    return outcome;
}

}  // namespace

RequestOutcome list_store(StoreId store, Listed listed, const std::string &prefix, StoreListing *listing) {
    const WaitNotice notice(E_APPS_MODULE_ZNDB);
    return list_with(
        [](const std::string &body, std::string *page) {
            return send_request(E_APPS_MODULE_ZNDB, kZndbListMessage, body, page);
        },
        {store, listed, prefix, {}}, listing);
}

RequestOutcome list_store_within(std::chrono::milliseconds limit, StoreId store, Listed listed,
                                 const std::string &prefix, StoreListing *listing) {
    return list_with(
        [limit](const std::string &body, std::string *page) {
            return send_request_within(limit, E_APPS_MODULE_ZNDB, kZndbListMessage, body, page);
        },
        {store, listed, prefix, {}}, listing);
}

RequestOutcome look_for_key(StoreId store, const std::string &key, bool *has_key) {
    StoreListing listing;
    const RequestOutcome outcome = list_store(store, Listed::kValues, key, &listing);
    *has_key = !listing.settings.empty() && listing.settings.front().key == key;
    return outcome;
}
