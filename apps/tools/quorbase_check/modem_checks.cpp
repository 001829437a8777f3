#include <algorithm>
#include <array>
#include <cstring>

#include "checks.h"
#include "libmal.h"

namespace {

constexpr unsigned char kBlank = 0xA5;

void start_client(const Examination &that) {
    const int32_t result = CALL(that, mal_client_init)("quorbase-check", 0);
    that.expect(result == MAL_NO_ERR || result == MAL_INITIAL_ALREADY_ERR,
                "can't be tried: mal_client_init fails");
}

/* A query may fail, without a SIM for instance, and must then leave its buffer alone. */
[[noreturn]] void end_with_failure(const Examination &that, int32_t result, bool unchanged) {
    that.expect(unchanged, "fails, and writes to its buffer");
    that.end(Verdict::kCalled, "fails with " + std::to_string(result) + ": no SIM, or no modem");
}

template <size_t Size>
bool is_blank(const std::array<unsigned char, Size> &record) {
    return std::all_of(record.begin(), record.end(), [](unsigned char byte) { return byte == kBlank; });
}

/* A NUL-terminated text of at most three digits. */
bool is_code(const unsigned char *code) {
    const auto *const end = static_cast<const unsigned char *>(std::memchr(code, '\0', 4));
    return end != nullptr && std::all_of(code, end, [](unsigned char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

void checks::check_mal_client_init(const Examination &that) {
    const auto init = CALL(that, mal_client_init);
    const int32_t first = init("quorbase-check", 0);
    that.expect(first == MAL_NO_ERR || first == MAL_INITIAL_ALREADY_ERR,
                "fails with " + std::to_string(first));
    const int32_t second = init("quorbase-check", 0);
    that.expect(second == MAL_NO_ERR || second == MAL_INITIAL_ALREADY_ERR,
                "fails with " + std::to_string(second) + " the second time");
}

void checks::check_libmal_get_mpss_status(const Examination &that) {
    start_client(that);
    const int32_t result = CALL(that, libmal_get_mpss_status)();
    that.end(Verdict::kCalled, result == 0 ? "the modem side is not up" : "the modem side is up");
}

void checks::check_libmal_get_sim_status(const Examination &that) {
    start_client(that);
    constexpr int32_t kUnwritten = 0x5A5A5A5A;
    int32_t status = kUnwritten;
    const int32_t result = CALL(that, libmal_get_sim_status)(MAL_SIM_SLOT_FIRST, &status);
    if (result != MAL_NO_ERR) {
        end_with_failure(that, result, status == kUnwritten);
    }
    that.expect(status != kUnwritten, "succeeds, and gives no state");
}

void checks::check_libmal_get_sim_plmn(const Examination &that) {
    start_client(that);
    const auto query = CALL(that, libmal_get_sim_plmn);
    std::array<unsigned char, MAL_SIM_PLMN_SIZE> plmn = {};
    plmn.fill(kBlank);
    that.expect(query(MAL_SIM_SLOT_FIRST, plmn.data(), MAL_SIM_PLMN_SIZE - 1) != MAL_NO_ERR && is_blank(plmn),
                "does not refuse a buffer of 7 bytes");
    const int32_t result = query(MAL_SIM_SLOT_FIRST, plmn.data(), MAL_SIM_PLMN_SIZE);
    if (result != MAL_NO_ERR) {
        end_with_failure(that, result, is_blank(plmn));
    }
    that.expect(is_code(plmn.data()) && is_code(plmn.data() + 4),
                "does not give two texts of at most 3 digits");
}

void checks::check_libmal_get_sim_spn(const Examination &that) {
    start_client(that);
    const auto query = CALL(that, libmal_get_sim_spn);
    std::array<unsigned char, MAL_SIM_SPN_SIZE> name = {};
    name.fill(kBlank);
    auto *const text = reinterpret_cast<char *>(name.data());
    const int32_t result = query(MAL_SIM_SLOT_FIRST, text, MAL_SIM_SPN_SIZE);
    if (result != MAL_NO_ERR) {
        end_with_failure(that, result, is_blank(name));
    }
    that.expect(std::memchr(text, '\0', MAL_SIM_SPN_SIZE) != nullptr, "gives a name without a NUL");
    name.fill(kBlank);
    (void)query(MAL_SIM_SLOT_FIRST, text, 1);
    that.expect(name[0] == '\0' && name[1] == kBlank, "does not shorten the name to its buffer");
}
