#include "zndb_tool/store_files.h"

#include <sstream>
#include <vector>

#include "device/text_file.h"
#include "zndb_tool/journal_text.h"

namespace {

/* Attempts to read a consistent state, since the database may change the journal meanwhile. */
constexpr int kAttempts = 20;

struct StoreFiles {
    const char *name;
    std::vector<std::string> paths; /* later files override earlier ones */
    char letter;                    /* the store's letter in the journal */
};

const StoreFiles &files_of(Store store) {
    static const StoreFiles files[] = {
        {"plain", {"/m_data/usr/db/user_data.txt"}, 'P'},
        {"perm", {"/m_data/usr_permanent/db/perm_data.txt"}, 'M'},
        {"default", {"/m_webui/usr/db/default_data.txt", "/m_data/factor/factor_data.txt"}, 'F'},
    };
    return files[static_cast<size_t>(store)];
}

void apply_lines(const std::string &text, Entries &entries) {
    for (const EntryLine &line : parse_entry_lines(text)) {
        if (line.problem.empty()) {
            entries[line.key] = line.value;
        }
    }
}

/* Applies a line of the journal. sign, text: the parts after the store's letter. */
void apply_change(char sign, const std::string &text, Entries &entries) {
    if (sign == '!') {
        entries.clear();
    } else if (sign == '-') {
        entries.erase(text);
    } else if (sign == '+') {
        apply_lines(text, entries);
    }
}

/* Ignores a last line without a line end, which was never answered. */
void apply_journal(const std::string &journal, char letter, Entries &entries) {
    std::istringstream lines(journal.substr(0, journal.rfind('\n') + 1));
    for (std::string line; std::getline(lines, line);) {
        if (line.size() >= 2 && line[0] == letter) {
            apply_change(line[1], line.substr(2), entries);
        }
    }
}

/* A missing file counts as empty. */
std::string read_if_there(const std::string &path, std::string *text) {
    text->clear();
    return file_exists(path) ? read_text_file(path, text) : "";
}

std::string read_files(const StoreFiles &files, Entries &entries) {
    for (const std::string &path : files.paths) {
        std::string text;
        std::string problem = read_if_there(path, &text);
        if (!problem.empty()) {
            return problem;
        }
        apply_lines(text, entries);
    }
    return "";
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

std::string read_store(Store store, Entries *entries) {
    std::string journal;
    std::string problem = read_journal_text(&journal);
    for (int attempt = 0; attempt < kAttempts && problem.empty(); ++attempt) {
        Entries read;
        std::string after;
        problem = read_files(files_of(store), read);
        if (problem.empty()) {
            problem = read_journal_text(&after);
        }
        if (problem.empty() && after == journal) {
            apply_journal(journal, files_of(store).letter, read);
            *entries = std::move(read);
            return "";
        }
        journal = std::move(after);
    }
    return problem.empty() ? "the database changes faster than it can be read" : problem;
}
