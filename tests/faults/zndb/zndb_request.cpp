#include "faults/zndb/zndb_request.h"

#include <ctime>
#include <filesystem>

#include "faults/faulty_device.h"
#include "faults/in_child.h"
#include "faults/leaks.h"
#include "faults/log_tap.h"
#include "faults/zndb/flaw.h"
#include "formats/device_paths.h"
#include "formats/zndb_batch_wire.h"
#include "support/checked_file.h"

namespace faults {

namespace {

namespace fs = std::filesystem;

/* Status of a child whose service went on. */
constexpr long kRefused = 101;

/* One run: the content before, and the content that must be there after the request. */
class Run {
  public:
    explicit Run(const ZndbRequest &request)
        : request_(request), before_(answers_of_files(request.files)), after_(before_) {
        for (const auto &[key, value] : request.changes) {
            after_[key] = value;
        }
    }

    void start(Database &database) const {
        const std::string &journal = request_.late_journal;
        if (!journal.empty()) {
            fs::rename(journal, journal + ".aside");
            fs::create_directory(journal);
        }
        database.load();
        if (!journal.empty()) {
            fs::remove(journal);
            fs::rename(journal + ".aside", journal);
        }
        for (const auto &[path, text] : request_.unfinished) {
            put_text(path, text);
        }
    }

    long ask(Database &database) const {
        return send(database, request_.msgid, request_.key, request_.value);
    }

    void check_refusal(long result, int lines) const {
        const bool is_missing = result == E_APPS_ERR_ZNDB_NO_FOUND;
        note_flaw_unless(is_missing || result == result_of_errno(met().error), "names no cause, or another");
        const int expected = 1 + static_cast<int>(kept_files()); /* replaced, but its folder not synced */
        note_flaw_unless(lines == expected, "logs " + std::to_string(lines) + " lines of a refusal");
    }

    void check_live(Database &database, bool done) const {
        compare_answers(done ? after_ : before_, answers_of(database), "the service");
        check_successor(done);
        check_files(done);
    }

    void check_successor(bool done) const {
        const int lines = warnings();
        compare_answers(done ? after_ : before_, answers_after_crash(), "its successor");
        const bool is_still_damaged = request_.damaged && !done;
        note_flaw_unless(warnings() == lines || is_still_damaged,
                         "leaves files that are reported as damaged");
    }

    void check_kept() const {
        const std::string path = paths::kPlainFile;
        const bool is_replaced = text_of(path) != text_before(path);
        const size_t expected = request_.damaged && is_replaced ? 1 : 0;
        const size_t found = kept_files();
        note_flaw_unless(found == expected, "keeps " + std::to_string(found) + " damaged files");
    }

    /* Whether the request was done before the service ended. */
    bool check_old_or_new(bool done) const {
        const Answers found = answers_after_crash();
        const bool is_old = !done && found == before_;
        if (!is_old) {
            compare_answers(after_, found, "its successor");
        }
        check_files(done);
        return !is_old;
    }

    /* A save is done where the plain store was saved: the perm store's failure is one line in the log. */
    void note_perm_failure(bool done) {
        const std::string words = std::string("can't save ") + paths::kPermFile;
        perm_has_failed_ = done && logged_text().find(words) != std::string::npos;
    }
    bool perm_has_failed() const { return perm_has_failed_; }

    void check_files(bool done) const {
        for (const char *path :
             {paths::kPlainFile, paths::kPermFile, paths::kFactoryFile, paths::kDefaultsFile}) {
            const std::string text = text_of(path);
            const auto saved = request_.saved.find(path);
            const bool is_new = saved != request_.saved.end() ? checked_lines(text) == saved->second
                                                              : text == text_before(path);
            note_flaw_unless(is_new || (may_be_old(path, done) && text == text_before(path)),
                             "leaves another content in " + std::string(path));
        }
    }

    /* One that another writer left may stay where it can't be removed. */
    void check_unfinished(bool done) const {
        for (const auto &[path, text] : unfinished_files()) {
            const bool is_old = text == text_in(request_.unfinished, path, "(none)");
            const std::string whole = fs::path(path).replace_extension();
            const bool is_used_up = !may_be_old(whole, done) && request_.saved.count(whole) != 0;
            note_flaw_unless((is_old && !is_used_up) || is_trial(text), "leaves " + path);
        }
    }

    /* The next save removes the file that a reset has created and could not remove. */
    void check_trial_goes(Database &database) const {
        if (request_.msgid == E_APPS_MSG_ZNDB_RESET) {
            note_flaw_unless(send(database, E_APPS_MSG_ZNDB_SAVE) == 0, "can't be saved");
            note_flaw_unless(
                unfinished_files().count(std::string(paths::kPlainFile) + paths::kTemporarySuffix) == 0,
                "never removes what it tried");
        }
    }

    void check_another(Database &database) {
        note_flaw_unless(send(database, E_APPS_MSG_ZNDB_SET, "next", "1") == 0, "spoils the next set");
        after_["plain next"] = "1";
        compare_answers(after_, answers_of(database), "the service at the end");
        check_successor(true);
    }

  private:
    static std::string text_in(const Files &files, const std::string &path, const std::string &otherwise) {
        const auto found = files.find(path);
        return found != files.end() ? found->second : otherwise;
    }

    bool may_be_old(const std::string &path, bool done) const {
        return !done || (perm_has_failed_ && path == paths::kPermFile);
    }

    bool is_trial(const std::string &text) const {
        return request_.msgid == E_APPS_MSG_ZNDB_RESET && met().way != Fault::Way::kNone &&
               checked_lines(text).empty();
    }

    std::string text_before(const std::string &path) const { return text_in(request_.files, path, "(none)"); }

    const ZndbRequest &request_;
    const Answers before_;
    Answers after_;
    bool perm_has_failed_ = false;
};

/* The service keeps its journal and the batch file open once they were needed. */
size_t kept_descriptors(const ZndbRequest &request) {
    const bool has_batch = request.msgid == kZndbBatchMessage || request.files.count(paths::kBatchFile) != 0;
    return (request.late_journal.empty() ? 0 : 1) + (has_batch ? 1 : 0);
}

long run_faulty(const ZndbRequest &request) {
    const Unwatched own;
    Run run(request);
    Database database;
    run.start(database);

    const size_t descriptors = holdings().descriptors + kept_descriptors(request);
    const int lines = warnings();
    const long result = own.watched([&] { return run.ask(database); });
    const bool done = result == 0;
    if (!done) {
        run.check_refusal(result, warnings() - lines);
    }
    note_flaw_unless(holdings().descriptors <= descriptors, "holds one more descriptor");
    run.note_perm_failure(done);
    run.check_unfinished(done);
    run.check_live(database, done);
    run.check_kept();

    if (!done || run.perm_has_failed()) {
        note_flaw_unless(run.ask(database) == 0, "refuses the request again");
        run.note_perm_failure(false);
        run.check_live(database, true);
        run.check_kept();
    }
    run.check_another(database);
    run.check_trial_goes(database);
    remove_kept_files();
    note_flaw_unless(request.value.empty() || logged_text().find(request.value) == std::string::npos,
                     "logs the value");
    return result;
}

/* In a child. */
long ask_starved(const Run &run, const Unwatched &own) {
    Database database;
    run.start(database);
    const auto ask = [&] { return end_if_starved([&] { return run.ask(database); }); };
    return own.watched(ask) == 0 ? 0 : kRefused;
}

long run_starved(const ZndbRequest &request) {
    const Unwatched own;
    Run run(request);
    const long status = in_child([&] { return ask_starved(run, own); });
    stop_watching();

    const bool done = run.check_old_or_new(status == 0);
    Database successor;
    successor.load();
    note_flaw_unless(unfinished_files().empty(), "leaves a file that a start does not remove");
    if (!done) {
        note_flaw_unless(run.ask(successor) == 0, "spoils the request to its successor");
    }
    run.check_another(successor);
    remove_kept_files();
    return status;
}

}  // namespace

Scenario with_files(const char *name, const Files &files) {
    return Scenario(name)
        .prepared([files] {
            forget_flaw();
            ::tzset(); /* the first look at the clock takes memory */
            put_files(files);
        })
        .verified(is_flawless)
        .unchanged(is_flawless);
}

Scenario faulty(const ZndbRequest &request) {
    return with_files(request.name, request.files)
        .called([request] { return run_faulty(request); })
        .failing(request.refusals)
        .except({Call::read}, Waived::kEffect, kCutMeanwhile, Fault::Way::kEnds)
        .except({Call::read}, Waived::kChange, kCutMeanwhile, Fault::Way::kEnds)
        .only(Failing::kSystemCalls);
}

Scenario starved(const ZndbRequest &request) {
    Scenario scenario = with_files(request.name, request.files);
    return (request.takes_memory ? scenario : scenario.quiet())
        .called([request] { return run_starved(request); })
        .failing({kStarved})
        .except({}, Waived::kWarning, "its end is what tells")
        .only(Failing::kAllocations);
}

}  // namespace faults
