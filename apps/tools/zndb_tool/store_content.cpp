#include "zndb_tool/store_content.h"

#include <chrono>

#include "cli/complaint.h"
#include "zndb_tool/store_files.h"
#include "zndb_tool/store_list.h"

namespace {

/* Somebody waits for the completion of a word, and a database that saves to a slow disk changes nothing. */
constexpr std::chrono::milliseconds kPatience(1000);

/* Whether no database answers, or one that is older than lists. */
bool cant_list(const RequestOutcome &outcome) {
    return !outcome.delivered() || outcome.result == E_APPS_ERR_UNSUPPORTED;
}

std::string take_listing(Store store, const StoreListing &listing, Entries *entries) {
    Entries read;
    std::string problem = store == Store::kDefault ? read_image_defaults(&read) : "";
    if (!problem.empty()) {
        return problem;
    }
    for (const ListedSetting &setting : listing.settings) {
        read[setting.key] = setting.value;
    }
    *entries = std::move(read);
    return "";
}

}  // namespace

std::string read_store(Store store, Entries *entries) {
    StoreListing listing;
    const RequestOutcome outcome =
        list_store_within(kPatience, changeable(store), Listed::kValues, "", &listing);
    if (cant_list(outcome)) {
        return read_store_files(store, entries);
    }
    return outcome.done()
               ? take_listing(store, listing, entries)
               : std::string("can't list the ") + store_name(store) + " store: " + code_text(outcome.result);
}
