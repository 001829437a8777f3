/*
 * The modem's client calls, answered from the simulation file.
 */
#include "libmal.h"

#include <atomic>
#include <cstring>

#include "simulation_file.h"

static_assert(sizeof(mal_sim_plmn_t) == MAL_SIM_PLMN_SIZE, "a PLMN record has 8 bytes");

namespace {

std::atomic<bool> g_s_initialised{false};

/* Copies a text and its NUL, truncated to the buffer. */
void copy_text(char *out, size_t size, const char *text) {
    const size_t length = strnlen(text, size - 1);
    std::memcpy(out, text, length);
    out[length] = '\0';
}

}  // namespace

int32_t mal_client_init(const char *client_name, int32_t) {
    if (client_name == nullptr) {
        return MAL_FAILURE_ERR;
    }
    return g_s_initialised.exchange(true) ? MAL_INITIAL_ALREADY_ERR : MAL_NO_ERR;
}

int32_t libmal_get_mpss_status(void) {
    const SimulatedValue mpss("mpss");
    return mpss.known() ? mpss.number() : 1;
}

int32_t libmal_get_sim_status(int32_t slot, int32_t *status) {
    const SimulatedValue value("sim_status");
    if (slot != MAL_SIM_SLOT_FIRST || status == nullptr || !value.known()) {
        return MAL_FAILURE_ERR;
    }
    *status = value.number();
    return MAL_NO_ERR;
}

int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size) {
    const SimulatedValue mcc("mcc");
    const SimulatedValue mnc("mnc");
    if (slot != MAL_SIM_SLOT_FIRST || plmn == nullptr || size < MAL_SIM_PLMN_SIZE || !mcc.known() ||
        !mnc.known()) {
        return MAL_FAILURE_ERR;
    }

    mal_sim_plmn_t record = {};
    copy_text(record.mcc, sizeof(record.mcc), mcc.text());
    copy_text(record.mnc, sizeof(record.mnc), mnc.text());
    std::memcpy(plmn, &record, sizeof(record));
    return MAL_NO_ERR;
}

int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size) {
    const SimulatedValue value("spn");
    if (slot != MAL_SIM_SLOT_FIRST || spn == nullptr || size == 0 || !value.known()) {
        return MAL_FAILURE_ERR;
    }
    copy_text(spn, size, value.text());
    return MAL_NO_ERR;
}
