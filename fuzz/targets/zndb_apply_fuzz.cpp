/*
 * Fuzzes the apply control of the database: its bodies, the file with the way back, and a sequence of
 * requests, after which a start brings back what was not confirmed.
 *
 * The input is a sequence of bodies, each after its size (2 bytes).
 */
#include <vector>

#include "apply_handler.h"
#include "formats/device_paths.h"
#include "formats/way_back_text.h"
#include "frwk_module.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr uint32_t kBodyMax = 4000;
constexpr int kBodiesMax = 16;

/* A text in a block of exactly its size. */
using Bytes = std::vector<char>;

Bytes exact(std::string_view text) {
    return {text.begin(), text.end()};
}

void check_way_back(std::string_view text) {
    WayBack way_back;
    if (!parse_way_back(text, way_back)) {
        return;
    }
    const std::string again = format_way_back(way_back);
    WayBack read;
    FUZZ_CHECK(parse_way_back(again, read) && format_way_back(read) == again);
}

void check_request(Database &database, Trial &trial, const Bytes &body) {
    ApplyAnswer answer = {};
    ApplyRequest request = {};
    const bool sound = read_apply_body(body.data(), static_cast<int32_t>(body.size()), request);
    const apps_err_e_type result =
        zndb_handle(database, trial,
                    {E_APPS_MODULE_ROUTER, kZndbApplyMessage, body.empty() ? nullptr : body.data(),
                     static_cast<int32_t>(body.size()), &answer, sizeof(answer)});
    FUZZ_CHECK(sound || result == E_APPS_ERR_ZNDB_ARG);
    FUZZ_CHECK(answer.state <= static_cast<uint32_t>(ApplyState::kRestoring));
    FUZZ_CHECK(answer.seconds <= kConfirmSecondsMax);
}

void remove_files() {
    std::error_code ignored;
    for (const char *file : {paths::kPlainFile, paths::kPermFile, paths::kFactoryFile, paths::kWayBackFile}) {
        std::filesystem::remove(file, ignored);
    }
    std::filesystem::remove_all(paths::kJournalFolder, ignored);
}

/* What is found here must be settled: nothing waits after a start. */
void check_start() {
    Database database;
    database.load();
    Trial trial(database);
    trial.recover();
    ApplyAnswer answer = {};
    const ApplyRequest status = {ApplyAction::kStatus, 0, 0, nullptr, 0, 0};
    FUZZ_CHECK(trial.handle(status, answer) == E_APPS_ERR_SUCCESS);
    FUZZ_CHECK(answer.state == static_cast<uint32_t>(ApplyState::kNone) ||
               answer.state == static_cast<uint32_t>(ApplyState::kKept));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check_way_back(FuzzInput(data, size).rest());

    remove_files();
    {
        Database database;
        database.load();
        Trial trial(database);
        trial.recover();
        FuzzInput input(data, size);
        for (int i = 0; i < kBodiesMax && !input.empty(); ++i) {
            check_request(database, trial, exact(input.take(input.number(kBodyMax))));
        }
    }
    check_start();
    return 0;
}
