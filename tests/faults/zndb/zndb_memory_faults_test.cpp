/*
 * The database service without memory: it ends, and its successor finds the old or the new. Not for builds in
 * which a sanitizer replaces the allocator.
 */
#include <gtest/gtest.h>

#include "faults/in_child.h"
#include "faults/zndb/flaw.h"
#include "faults/zndb/zndb_request_table.h"

namespace faults {

namespace {

void run_starved(const std::vector<ZndbRequest> &requests) {
    for (const ZndbRequest &request : requests) {
        run_scenarios({starved(request)});
    }
}

/* In a child. */
long load_starved(const Unwatched &own) {
    Database database;
    return own.watched([&] {
        return end_if_starved([&] {
            database.load();
            return 0;
        });
    });
}

long start_starved() {
    const Unwatched own;
    const Answers expected = answers_of_files(all_files());
    const long status = in_child([&] { return load_starved(own); });
    stop_watching();
    compare_answers(expected, answers_after_crash(), "the next start");
    return status;
}

Scenario start() {
    return with_files("zndb: start", all_files())
        .called(start_starved)
        .failing({kStarved})
        .except({}, Waived::kWarning, "its end is what tells")
        .only(Failing::kAllocations);
}

}  // namespace

TEST(ZndbMemoryFaults, Start) {
    run_scenarios({start()});
}

TEST(ZndbMemoryFaults, Changes) {
    run_starved(zndb_changes());
}

TEST(ZndbMemoryFaults, Saves) {
    run_starved(zndb_saves());
}

TEST(ZndbMemoryFaults, OtherSaves) {
    run_starved(zndb_other_saves());
}

/* One that reads the journal takes memory for what is in it; the others take none. */
TEST(ZndbMemoryFaults, Readings) {
    run_starved(zndb_readings());
    run_starved({zndb_late_reading()});
}

}  // namespace faults
