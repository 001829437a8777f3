#include "old_journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "formats/store_values.h"
#include "journal.h"
#include "journal_file.h"
#include "journal_lines.h"
#include "os_log.h"

namespace {

/* The content of the old journal, by StoreId. */
struct OldContent {
    JournalContent stores[std::size(kStoreIds)] = {
        JournalContent(StoreId::kPlain), JournalContent(StoreId::kPerm), JournalContent(StoreId::kFactory)};

    JournalContent &of(StoreId id) { return stores[static_cast<size_t>(id)]; }
};

int report(const char *what, int error) {
    errno = error;
    OS_LOG_ERRNO((what + std::string(" ") + paths::kOldJournal).c_str());
    return error;
}

/* Returns 0 or an errno value; ENOENT without an old journal. */
int read_old_journal(OldContent &content) {
    UniqueFd fd;
    int error = make_journal_folder(paths::kOldJournal);
    if (error == 0) {
        error = open_journal_file(paths::kOldJournal, O_RDONLY, fd);
    }
    if (error != 0) {
        return error;
    }
    return read_journal(
               fd.get(), paths::kOldJournal,
               [&content](const JournalRecord &record) { return content.of(record.store).take(record); })
        .error;
}

/* Appends the records to a store's journal. Returns 0 or an errno value, which is logged. */
int append_to_journal(StoreId id, JournalContent &content) {
    Journal journal(paths_of(id).journal, id);
    int error = journal.open([](const JournalRecord &) {});
    content.hand_out(
        [&](const JournalRecord &record) { error = error == 0 ? journal.append(record) : error; });
    return error;
}

}  // namespace

int take_over_old_journal() {
    OldContent content;
    int error = read_old_journal(content);
    if (error != 0) {
        return error == ENOENT ? 0 : report("can't open", error);
    }
    for (const StoreId id : kStoreIds) {
        error = append_to_journal(id, content.of(id));
        if (error != 0) {
            return error;
        }
    }
    if (::unlink(paths::kOldJournal) != 0) {
        return report("can't remove", errno);
    }
    OS_LOG(OS_LOG_NOTICE, "took over the journal of an older service");
    return 0;
}
