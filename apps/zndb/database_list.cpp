/*
 * Lists of keys: pages of a store's values, or of its unsaved changes.
 */
#include "database.h"
#include "database_steps.h"

namespace {

bool begins_with(std::string_view key, std::string_view prefix) {
    return key.substr(0, prefix.size()) == prefix;
}

/*
 * Calls add with each entry of a map, by its key, whose key has the prefix and is greater than after, until
 * add returns false.
 */
template <typename Map, typename Add>
void walk(const Map &map, const ListRequest &request, const Add &add) {
    auto entry =
        request.after < request.prefix ? map.lower_bound(request.prefix) : map.upper_bound(request.after);
    while (entry != map.end() && begins_with(entry->first, request.prefix) && add(*entry)) {
        ++entry;
    }
}

}  // namespace

apps_err_e_type Database::list(const ListRequest &request, ListPage &page) {
    const Lock lock(mutex_);
    (void)open_journal(request.store); /* after a failure, list what the files have, as a get */
    const Store &listed = store(request.store);
    if (request.listed == Listed::kValues) {
        walk(listed.values(), request, [&request, &page](const auto &entry) {
            return page.add({ItemKind::kSet, request.store, entry.first, entry.second});
        });
        return E_APPS_ERR_SUCCESS;
    }

    if (listed.basis() == Basis::kNothing) {
        page.mark(kListEmptied);
    }
    walk(listed.changes(), request, [&request, &page, &listed](const auto &entry) {
        const std::string *value = listed.find(entry.first);
        return value != nullptr ? page.add({ItemKind::kSet, request.store, entry.first, *value})
                                : page.add({ItemKind::kDelete, request.store, entry.first, {}});
    });
    return E_APPS_ERR_SUCCESS;
}
