/*
 * Fuzzes a SIM's data: the stored copy, and the operator file that is chosen.
 *
 * The input is a byte that selects which modem calls fail and which operator files exist (see Bit), the SIM's
 * state, its PLMN record, its name as the modem copies it, and the custom MNC in the database.
 */
#include "formats/device_paths.h"
#include "frwk_utils/sim/sim_subnet.h"
#include "frwk_utils/sim/subnet_settings.h"
#include "libmal.h"
#include "support/database_answer.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

enum Bit : uint8_t {
    kStatusFails = 1,
    kPlmnFails = 2,
    kNameFails = 4,
    kPlmnHasFile = 8,
    kNameHasFile = 16,
    kAtRunTime = 32
};

struct Sim {
    uint8_t bits;
    int32_t status;
    char plmn[MAL_SIM_PLMN_SIZE];
    char name[MAL_SIM_SPN_SIZE];
};

Sim g_sim;

int32_t answer_unless(uint8_t bit) {
    return (g_sim.bits & bit) != 0 ? MAL_FAILURE_ERR : MAL_NO_ERR;
}

std::string text_of(const char *bytes, size_t size) {
    return {bytes, ::strnlen(bytes, size)};
}

const std::string kFolder = std::string(paths::kSubnetFolder) + "/";

/* Whether a path is in the operators' folder, or in a folder directly below it. */
bool is_confined(const std::string &path) {
    return path.size() < sim::kSubnetPathSize && path.compare(0, kFolder.size(), kFolder) == 0 &&
           path.find("..") == std::string::npos &&
           std::count(path.begin() + static_cast<std::ptrdiff_t>(kFolder.size()), path.end(), '/') <= 1;
}

bool exists(const std::string &path) {
    const char *ending = "/custom_data.txt";
    const bool is_of_all_names = path.find(ending) == path.size() - std::strlen(ending);
    return (g_sim.bits & (is_of_all_names ? kPlmnHasFile : kNameHasFile)) != 0;
}

/* The expected decision, by the rules of the adaptation. */
std::string expected_path(const std::string &plmn, const std::string &name) {
    const auto can_name_a_file = [](const std::string &text) {
        return text.find('/') == std::string::npos && text.find("..") == std::string::npos;
    };
    const std::string of_name = kFolder + plmn + "/custom_" + name + "_data.txt";
    if (!name.empty() && can_name_a_file(plmn) && can_name_a_file(name) && exists(of_name)) {
        return of_name;
    }
    const std::string of_plmn = kFolder + plmn + "/custom_data.txt";
    return can_name_a_file(plmn) && exists(of_plmn) ? of_plmn : kFolder + "custom_data.txt";
}

/* The stored copy of the SIM's data: its texts, truncated to their sizes. */
void check_info(const sim::SimInfo &info, std::string_view database) {
    FUZZ_CHECK(ends(info.plmn) && ends(info.spn));
    if (!sim::is_usable_sim(info.sim_status)) {
        FUZZ_CHECK(info.plmn[0] == '\0' && info.spn[0] == '\0');
        return;
    }
    const bool has_plmn = (g_sim.bits & kPlmnFails) == 0;
    const std::string custom_mnc(database.substr(0, std::min<size_t>(3, database.find('\0'))));
    const std::string mcc = has_plmn ? text_of(g_sim.plmn, 4) : "";
    const std::string mnc = has_plmn ? text_of(g_sim.plmn + 4, 4) : "";
    FUZZ_CHECK(info.plmn == mcc + (custom_mnc.empty() ? mnc : custom_mnc));
    FUZZ_CHECK(info.spn ==
               ((g_sim.bits & kNameFails) != 0 ? "" : text_of(g_sim.name, sizeof(g_sim.name) - 1)));
}

std::string check_path(const sim::SimInfo &info) {
    char path[sim::kSubnetPathSize];
    std::fill(std::begin(path), std::end(path), '#');
    sim::choose_path(path, info.plmn, info.spn);
    FUZZ_CHECK(ends(path) && is_confined(path));
    FUZZ_CHECK(path == expected_path(info.plmn, info.spn));
    return path;
}

/* The database has the identity of the SIM and the chosen path. */
void check_adaptation(const sim::SimInfo &info, const std::string &path) {
    on_set([&](std::string_view key, std::string_view value) {
        FUZZ_CHECK(key != subnet_settings::kPlmn || value == info.plmn);
        FUZZ_CHECK(key != subnet_settings::kSpn || value == info.spn);
        FUZZ_CHECK(key != subnet_settings::kPath || value == path);
    });
    const size_t changes = database_changes();
    const int32_t found = sim::adapt(sim::SubnetAction::kAdd, info);
    FUZZ_CHECK(found == 0 || found == 1);
    FUZZ_CHECK(database_changes() > changes || path != kFolder + "custom_data.txt");
    on_set(nullptr);
}

}  // namespace

extern "C" int32_t __wrap_libmal_get_sim_status(int32_t, int32_t *status) {
    *status = g_sim.status;
    return answer_unless(kStatusFails);
}

extern "C" int32_t __wrap_libmal_get_sim_plmn(int32_t, void *plmn, uint32_t size) {
    FUZZ_CHECK(size == sizeof(g_sim.plmn));
    std::memcpy(plmn, g_sim.plmn, size);
    return answer_unless(kPlmnFails);
}

extern "C" int32_t __wrap_libmal_get_sim_spn(int32_t, char *spn, uint32_t size) {
    FUZZ_CHECK(size == sizeof(g_sim.name));
    std::memcpy(spn, g_sim.name, size);
    return answer_unless(kNameFails);
}

extern "C" void __wrap_frwk_sleep(uint32_t) {}

extern "C" int32_t __wrap_os_file_exist(const char *path) {
    FUZZ_CHECK(is_confined(path));
    return exists(path) ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folder(paths::kSubnetFolder);
    FUZZ_CHECK(ready);
    static const bool has_file = (put_file((kFolder + "custom_data.txt").c_str(), "apn=internet\n"), true);
    FUZZ_CHECK(has_file);

    FuzzInput input(data, size);
    g_sim = {};
    g_sim.bits = input.byte();
    g_sim.status = static_cast<int8_t>(input.byte());
    input.take(sizeof(g_sim.plmn)).copy(g_sim.plmn, sizeof(g_sim.plmn));
    input.take(sizeof(g_sim.name)).copy(g_sim.name, sizeof(g_sim.name));
    const std::string_view database = input.rest();
    answer_gets_with(database);

    sim::SimInfo info = {};
    sim::read_sim_info((g_sim.bits & kAtRunTime) != 0 ? 0 : 1, &info);
    check_info(info, database);
    const std::string path = check_path(info);
    (void)sim::decide_adaptation(&info);
    FUZZ_CHECK(ends(info.md5));
    check_adaptation(info, path);
    return 0;
}
