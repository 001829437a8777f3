/*
 * The database service's start: faults in every call that it makes to read its files.
 */
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "faults/faulty_device.h"
#include "faults/in_child.h"
#include "faults/log_tap.h"
#include "faults/zndb/flaw.h"
#include "faults/zndb/zndb_request.h"
#include "formats/device_paths.h"
#include "support/checked_file.h"

namespace faults {

namespace {

namespace fs = std::filesystem;

/* The result of a start. */
enum Start : long {
    kWhole = 0,
    kGivenUp = 1 /* a file was not read, and that was logged */
};

constexpr int kLockless = EXIT_FAILURE;

struct Written {
    apps_message_id_e_type set;
    apps_message_id_e_type save;
    const char *key; /* of the set, among the answers */
};

constexpr Written kWritten[] = {
    {E_APPS_MSG_ZNDB_SET, E_APPS_MSG_ZNDB_SAVE, "plain next"},
    {E_APPS_MSG_ZNDB_SET_PERM, E_APPS_MSG_ZNDB_SAVE, "perm next"},
    {E_APPS_MSG_ZNDB_FACTOR_SET, E_APPS_MSG_ZNDB_FACTOR_SAVE, "default next"},
};

bool was_answered_before(const std::string &key) {
    return key.find(" answered") != std::string::npos;
}

/* Other modules have been given the values that the journal holds. */
void check_answered(const Answers &expected, const Answers &found) {
    for (const auto &[key, value] : expected) {
        if (was_answered_before(key)) {
            note_flaw_unless(found.at(key) == value, "has lost '" + key + "'");
        }
    }
}

/* A store whose file is unreadable accepts changes, but doesn't overwrite the file. */
void change_and_save(Database &database, Answers &expected) {
    for (const Written &written : kWritten) {
        note_flaw_unless(send(database, written.set, "next", written.key) == 0, "refuses a set");
        expected[written.key] = written.key;
    }
    const bool given_up = logged_text().find(" unreadable: loaded ") != std::string::npos;
    for (const Written &written : kWritten) {
        const long result = send(database, written.save);
        note_flaw_unless(result == 0 || (given_up && result == E_APPS_ERR_ZNDB_OTHER), "refuses a save");
    }
}

/* The start that is watched must be the first: an earlier one has made the journal and its folder. */
void check_journal_is_of(const Files &files) {
    const bool has_one = files.count(paths::kPlainJournal) + files.count(paths::kOldJournal) != 0;
    const bool has_folder = fs::exists(fs::path(paths::kPlainJournal).parent_path());
    note_flaw_unless(has_folder == has_one, "finds what an earlier start has made");
}

/* A start, and what comes after it: changes, saves, and a start without a fault. */
long start_service(const Files &files) {
    const Unwatched own;
    Answers expected = answers_of_files(files);
    check_journal_is_of(files);
    Database database;
    (void)own.watched([&] {
        database.load();
        return 0;
    });
    const bool told = logged_text().find("errno=") != std::string::npos;
    const Answers found = answers_of(database);
    note_flaw_unless(told || found == expected, "gives up a file without a line in the log");
    check_answered(expected, found);

    change_and_save(database, expected);
    const int lines = warnings();
    compare_answers(expected, answers_after_crash(), "the next start");
    note_flaw_unless(warnings() == lines, "leaves files that are reported as damaged");
    remove_kept_files(); /* of one that was cut in the middle of a line */
    return told ? kGivenUp : kWhole;
}

Scenario start(const char *name, const Files &files) {
    return with_files(name, files)
        .called([files] { return start_service(files); })
        .failing({kGivenUp})
        .except({Call::read}, Waived::kEffect, kCutMeanwhile, Fault::Way::kEnds)
        .only(Failing::kSystemCalls);
}

Files only_defaults() {
    return {{paths::kDefaultsFile, "image=d\nshared=d\n"}};
}

Files with(Files files, const std::string &path, const std::string &text) {
    files[path] = text;
    return files;
}

Files with_leftovers() {
    Files files = all_files();
    files.merge(leftovers());
    return files;
}

/* The files of a device that has saved, the perm and the plain one damaged by flash since. */
Files damaged_files() {
    Files files = all_files();
    for (const char *path : {paths::kPlainFile, paths::kPermFile}) {
        const std::string saved = saved_file(files[path], 1);
        files[std::string(path) + paths::kPreviousSuffix] = saved;
        files[path] += "#zndb format=1 generation=2 check=00000000\n";
    }
    return files;
}

/* In a child. */
long make_database() {
    const long status = end_if_starved([] {
        const Database database;
        return 0;
    });
    stop_watching();
    return status;
}

}  // namespace

TEST(ZndbStartFaults, Files) {
    run_scenarios({
        start("zndb: start", all_files()),
        start("zndb: start, the first", only_defaults()),
        start("zndb: start, torn journal", with(all_files(), paths::kPlainJournal, "P+answered=j\nP+key=ha")),
        start("zndb: start, with leftovers", with_leftovers()),
        start("zndb: start, an older service's journal", with_old_journal()),
        start("zndb: start, damaged files", damaged_files()),
    });
}

TEST(ZndbStartFaults, Lock) {
    run_scenarios({
        Scenario("zndb: the lock")
            .called([] { return in_child(make_database); })
            .failing({kLockless, kStarved})
            .except({Call::malloc}, Waived::kWarning, "without memory for a path its end is what tells"),
    });
}

}  // namespace faults
