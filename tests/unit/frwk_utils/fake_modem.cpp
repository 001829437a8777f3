/*
 * The calls of libmal, answered from what the test has set.
 */
#include "unit/frwk_utils/fake_modem.h"

#include <algorithm>
#include <cstring>

namespace {

void note(const std::string &call) {
    if (fake_modem().seen) {
        fake_modem().seen("modem " + call);
    }
}

/* Takes the next answer; the last one stays. */
template <typename Answer>
Answer take(std::vector<Answer> *answers) {
    const Answer answer = answers->front();
    if (answers->size() > 1) {
        answers->erase(answers->begin());
    }
    return answer;
}

int32_t give(const ModemText &text, void *out, uint32_t size) {
    std::memcpy(out, text.bytes.data(), std::min<size_t>(text.bytes.size(), size));
    return text.ret;
}

std::string numbers(int32_t slot, uint32_t size) {
    return std::to_string(slot) + " " + std::to_string(size);
}

}  // namespace

FakeModem &fake_modem() {
    static FakeModem modem;
    return modem;
}

std::string plmn_bytes(const std::string &mcc, const std::string &mnc) {
    std::string bytes = mcc + std::string(4 - mcc.size(), '\0');
    return bytes + mnc + std::string(4 - mnc.size(), '\0');
}

std::string spn_bytes(const std::string &name) {
    return name + std::string(17 - name.size(), '\0');
}

int32_t mal_client_init(const char *client_name, int32_t options) {
    note("init " + std::string(client_name) + " " + std::to_string(options));
    return fake_modem().init_ret;
}

int32_t libmal_get_mpss_status(void) {
    note("mpss");
    return take(&fake_modem().mpss);
}

int32_t libmal_get_sim_status(int32_t slot, int32_t *status) {
    note("status " + std::to_string(slot));
    const ModemPoll poll = take(&fake_modem().polls);
    *status = poll.status;
    return poll.ret;
}

int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size) {
    note("plmn " + numbers(slot, size));
    return give(take(&fake_modem().plmns), plmn, size);
}

int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size) {
    note("spn " + numbers(slot, size));
    return give(take(&fake_modem().spns), spn, size);
}
