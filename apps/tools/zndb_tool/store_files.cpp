#include "zndb_tool/store_files.h"

#include <sstream>
#include <vector>

#include "device/text_file.h"
#include "formats/batch_text.h"
#include "formats/entry_line.h"
#include "formats/store_values.h"
#include "zndb_tool/journal_text.h"

namespace {

/* Attempts to read a consistent state, since the database may change the journal meanwhile. */
constexpr int kAttempts = 20;

struct StoreFiles {
    const char *name;
    std::vector<std::string> paths; /* a later one has the last word */
    StoreId changed;                /* the one that can change, as the journal names it */
};

const StoreFiles &files_of(Store store) {
    static const StoreFiles files[] = {
        {"plain", {paths::kPlainFile}, StoreId::kPlain},
        {"perm", {paths::kPermFile}, StoreId::kPerm},
        {"default", {paths::kDefaultsFile, paths::kFactoryFile}, StoreId::kFactory},
    };
    return files[static_cast<size_t>(store)];
}

void apply_lines(const std::string &text, Entries &entries) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        Entry entry;
        if (parse_entry(entry_text(line), entry) == nullptr) {
            entries[std::string(entry.key)] = entry.value;
        }
    }
}

/* A last line without its end was never answered and doesn't count. */
void apply_journal(const std::string &journal, StoreId store, Entries &entries) {
    std::istringstream lines(journal.substr(0, journal.rfind('\n') + 1));
    for (std::string line; std::getline(lines, line);) {
        JournalRecord record = {};
        if (parse_record(line, record) == nullptr && record.store == store) {
            apply_record(entries, record);
        }
    }
}

/* A missing file counts as empty. */
std::string read_if_there(const std::string &path, std::string *text) {
    text->clear();
    return file_exists(path) ? read_text_file(path, text) : "";
}

std::string read_files(const std::vector<std::string> &paths, Entries &entries) {
    for (const std::string &path : paths) {
        std::string text;
        std::string problem = read_if_there(path, &text);
        if (!problem.empty()) {
            return problem;
        }
        apply_lines(text, entries);
    }
    return "";
}

/* A batch that its last line shows to be complete is repeated by the next start of the database. */
void apply_batch(const std::string &batch, StoreId store, Entries &entries) {
    std::vector<JournalRecord> changes;
    if (!parse_batch(batch, changes)) {
        return;
    }
    for (const JournalRecord &change : changes) {
        if (change.store == store) {
            apply_record(entries, change);
        }
    }
}

/*
 * The journals that concern a store, in the order in which a start of the database reads them: its own, the
 * one of an older service, and a batch that was interrupted.
 */
struct Journals {
    std::string own;
    std::string old;
    std::string batch;

    bool operator==(const Journals &other) const {
        return own == other.own && old == other.old && batch == other.batch;
    }
};

std::string read_journals(StoreId store, Journals *journals) {
    std::string problem = read_journal_text(paths_of(store).journal, &journals->own);
    if (problem.empty()) {
        problem = read_journal_text(paths::kOldJournal, &journals->old);
    }
    return problem.empty() ? read_journal_text(paths::kBatchFile, &journals->batch) : problem;
}

}  // namespace

const char *store_name(Store store) {
    return files_of(store).name;
}

std::string store_paths(Store store) {
    std::string all;
    for (const std::string &path : files_of(store).paths) {
        all += (all.empty() ? "" : ", ") + path;
    }
    return all;
}

std::string read_store_files(Store store, Entries *entries) {
    const StoreId changed = files_of(store).changed;
    Journals journal;
    std::string problem = read_journals(changed, &journal);
    for (int attempt = 0; attempt < kAttempts && problem.empty(); ++attempt) {
        Entries read;
        Journals after;
        problem = read_files(files_of(store).paths, read);
        if (problem.empty()) {
            problem = read_journals(changed, &after);
        }
        if (problem.empty() && after == journal) {
            apply_journal(journal.own, changed, read);
            apply_journal(journal.old, changed, read);
            apply_batch(journal.batch, changed, read);
            *entries = std::move(read);
            return "";
        }
        journal = std::move(after);
    }
    return problem.empty() ? "the database changes faster than it can be read" : problem;
}

std::string read_image_defaults(Entries *entries) {
    Entries read;
    std::string problem = read_files({paths::kDefaultsFile}, read);
    if (problem.empty()) {
        *entries = std::move(read);
    }
    return problem;
}
