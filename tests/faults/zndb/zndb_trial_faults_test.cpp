/*
 * Settings on trial: faults in every call that an apply makes. Whatever fails, the next start finds the
 * values from before, as nobody confirms.
 */
#include <gtest/gtest.h>

#include <algorithm>

#include "faults/zndb/flaw.h"
#include "faults/zndb/zndb_request.h"
#include "trial.h"

namespace faults {

namespace {

/* Asks as a client does. answer: receives the answer. */
long ask(Trial &trial, ApplyAction action, ApplyAnswer &answer, const std::string &page = "") {
    const uint32_t seconds = action == ApplyAction::kCommit ? 3600 : 0;
    const uint32_t number = answer.number;
    const long result = trial.handle({action, number, seconds, page.data(), page.size(), 1}, answer);
    answer.number = std::max(number, answer.number);
    return result;
}

std::string page_of(StoreId store) {
    const ZndbItem item = {ItemKind::kSet, store, "key", "tried"};
    std::string page(item_size(item), '\0');
    write_item(page.data(), item);
    return page;
}

void check_successor(const Answers &before) {
    Database database;
    database.load();
    Trial(database).recover();
    compare_answers(before, answers_of(database), "the next start");
}

long try_settings() {
    const Unwatched own;
    Database database;
    database.load();
    Trial trial(database);
    trial.recover();
    const Answers before = answers_of(database);
    ApplyAnswer answer = {};
    note_flaw_unless(ask(trial, ApplyAction::kBegin, answer) == 0, "begins no stage");
    for (const StoreId store : {StoreId::kPlain, StoreId::kPerm}) {
        note_flaw_unless(ask(trial, ApplyAction::kAdd, answer, page_of(store)) == 0, "takes no page");
    }
    const long result = own.watched([&] { return ask(trial, ApplyAction::kCommit, answer); });
    if (result != 0) {
        compare_answers(before, answers_of(database), "a refused apply");
    }
    check_successor(before);
    return result;
}

}  // namespace

TEST(ZndbFaults, SettingsOnTrial) {
    run_scenarios({with_files("zndb apply", all_files())
                       .called(try_settings)
                       .failing({E_APPS_ERR_NOSPACE, E_APPS_ERR_ZNDB_OTHER, E_APPS_ERR_ZNDB_READ_ONLY})
                       .only(Failing::kSystemCalls)});
}

}  // namespace faults
