/*
 * The database service: faults in every call into the system that it makes for a request.
 */
#include <gtest/gtest.h>

#include <algorithm>

#include "faults/zndb/zndb_request_table.h"
#include "formats/zndb_batch_wire.h"
#include "formats/zndb_list_wire.h"

namespace faults {

namespace {

void run_faulty(const std::vector<ZndbRequest> &requests) {
    for (const ZndbRequest &request : requests) {
        run_scenarios({faulty(request)});
    }
}

}  // namespace

TEST(ZndbFaults, Changes) {
    run_faulty(zndb_changes());
}

TEST(ZndbFaults, Saves) {
    run_faulty(zndb_saves());
}

TEST(ZndbFaults, OtherSaves) {
    run_faulty(zndb_other_saves());
}

TEST(ZndbFaults, Readings) {
    for (const ZndbRequest &request : zndb_readings()) {
        run_scenarios({faulty(request).quiet()});
    }
    run_faulty({zndb_late_reading()});
}

/* A message that is new needs a scenario. */
TEST(ZndbFaults, EveryMessageOfTheServiceIsTried) {
    std::vector<ZndbRequest> tried;
    for (const auto &requests : {zndb_changes(), zndb_saves(), zndb_other_saves(), zndb_readings()}) {
        tried.insert(tried.end(), requests.begin(), requests.end());
    }
    std::vector<int> messages = {kZndbBatchMessage, kZndbListMessage};
    for (int id = E_APPS_MSG_ZNDB_MIN + 1; id <= E_APPS_MSG_ZNDB_RESET; ++id) {
        messages.push_back(id);
    }
    for (const int id : messages) {
        const auto is_it = [id](const ZndbRequest &request) { return request.msgid == id; };
        EXPECT_TRUE(std::any_of(tried.begin(), tried.end(), is_it)) << id;
    }
}

}  // namespace faults
