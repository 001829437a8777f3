/*
 * Fuzzes files of key=value lines: the operator's, the product's, and the one of the simulated modem.
 *
 * The input is the key that the modem's client reads, with a NUL, and the file.
 */
#include <climits>

#include "frwk_utils.h"
#include "frwk_utils/sim/sim_subnet.h"
#include "frwk_utils/values/key_value_line.h"
#include "libmal.h"
#include "simulation_file.h"
#include "support/database_answer.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"
#include "zndb.h"

namespace {

constexpr char kOperatorFile[] = "/m_webui/usr/db/subnet/custom_data.txt";
constexpr char kProductFile[] = "/m_data/usr/product_data.txt";

/* Pairs are parts of lines: none contains a line end, and none is longer than a line. */
void check_pairs(const char *path, CommentPlace place) {
    const KeyValueRules rules = {"fuzz", place, "skipped", "NUL", "end"};
    KeyValueFile file(rules);
    FUZZ_CHECK(file.open(path));
    KeyValue pair = {};
    size_t characters = 0;
    while (file.next(&pair)) {
        FUZZ_CHECK(std::strpbrk(pair.key, "\n=") == nullptr && std::strchr(pair.value, '\n') == nullptr);
        FUZZ_CHECK(pair.key[0] != ' ' && pair.key[0] != '\t');
        FUZZ_CHECK(pair.key[0] != '#' || place == CommentPlace::kFirstByte);
        characters += std::strlen(pair.key) + 1 + std::strlen(pair.value);
    }
    FUZZ_CHECK(characters <= std::filesystem::file_size(path));
}

/* The client has checked the sizes of each key and value that reach the database. */
void check_adaptation() {
    size_t sets = 0;
    on_set([&sets](std::string_view key, std::string_view value) {
        FUZZ_CHECK(key.size() < ZNDB_KEY_LEN && value.size() < ZNDB_VALUE_LEN);
        ++sets;
    });
    FUZZ_CHECK(frwk_specify_path_db_adapt(kProductFile) == 0);
    const size_t product_sets = sets;

    sim::SimInfo info = {};
    const int32_t found = sim::adapt(sim::SubnetAction::kAdd, info);
    FUZZ_CHECK(found == 0 || found == 1);
    FUZZ_CHECK(product_sets <= std::filesystem::file_size(kProductFile));
    (void)sim::adapt(sim::SubnetAction::kDelete, info);
    on_set(nullptr);
}

void check_simulation(const char *key) {
    const SimulatedValue value(key);
    FUZZ_CHECK(std::strlen(value.text()) <= kSimulationValueMax);
    FUZZ_CHECK(value.known() || value.text()[0] == '\0');
    FUZZ_CHECK(std::strpbrk(value.text(), "\r\n") == nullptr);
    (void)value.number();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folder("/m_webui/usr/db/subnet") && make_folder("/m_data/usr/modem");
    FUZZ_CHECK(ready);
    FuzzInput input(data, size);
    const ExactText key(input.text());
    const std::string_view content = input.rest();
    for (const char *path : {kOperatorFile, kProductFile, MAL_SIMULATION_FILE}) {
        put_file(path, content);
    }
    answer_gets_with("46001");

    check_pairs(kProductFile, CommentPlace::kFirstByte);
    check_pairs(kProductFile, CommentPlace::kFirstText);
    check_adaptation();
    check_simulation(key.get());
    return 0;
}
