/*
 * The handler of a soak's modules: it checks every byte of a message, answers, and counts.
 */
#include <cstring>

#include "soak_place.h"
#include "soak_traffic.h"

namespace soak {

namespace {

bool is_whole(const Head &head, const unsigned char *bytes, int32_t data_len) {
    return static_cast<uint32_t>(data_len) == sizeof(Head) + head.size &&
           is_filled(bytes, head.size, head.start);
}

/* Messages of a sender to itself come on threads of their own, so in any order. */
void count(uint32_t src, Count &received, Count &last, const Head &head, const char *what) {
    const uint64_t before = last.load();
    if (src != g_place.module && head.number <= before) {
        complain(g_place.board, "%s %llu of module %u came to module %u after %llu", what,
                 static_cast<unsigned long long>(head.number), src, g_place.module,
                 static_cast<unsigned long long>(before));
    }
    last = head.number;
    ++received;
}

void count_one_way(uint32_t src, const Head &head) {
    if (head.generation == g_place.generation) {
        Traffic &traffic = g_place.board->traffic[src][g_place.module];
        count(src, traffic.received, traffic.last, head, "message");
    }
}

apps_err_e_type answer(const Head &head, void *rsp, uint32_t rsp_size) {
    if (rsp_size > 0) {
        fill(static_cast<unsigned char *>(rsp), rsp_size, answer_start(head.start, g_place.module, rsp_size));
    }
    return answer_result(head.start);
}

}  // namespace

uint64_t answer_start(uint64_t start, uint32_t receiver, uint32_t room) {
    return mix(start, receiver, room);
}

/* Never 2, which a request reports as its own failure. */
apps_err_e_type answer_result(uint64_t start) {
    return 1000 + static_cast<apps_err_e_type>(start % 1000);
}

apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                       void *rsp, uint32_t rsp_size, uint32_t) {
    Head head = {};
    if (src >= kModules || data_len < static_cast<int32_t>(sizeof(head))) {
        complain(g_place.board, "module %u got message %d of module %u with %d bytes", g_place.module, msgid,
                 src, data_len);
        return E_APPS_ERR_PARAM;
    }
    std::memcpy(&head, data, sizeof(head));
    if (!is_whole(head, static_cast<const unsigned char *>(data) + sizeof(head), data_len)) {
        complain(g_place.board, "message %d of module %u came damaged to module %u", msgid, src,
                 g_place.module);
    }

    Notices &notices = g_place.board->notices[src][g_place.module];
    switch (msgid) {
        case kAnswered:
            return answer(head, rsp, rsp_size);
        case kOneWay:
            count_one_way(src, head);
            return E_APPS_ERR_SUCCESS;
        case kNotice:
            count(src, notices.received, notices.last, head, "notice");
            return E_APPS_ERR_SUCCESS;
        case kChurnNotice:
            ++g_place.board->modules[g_place.module].churn_notices;
            return E_APPS_ERR_SUCCESS;
        default:
            complain(g_place.board, "module %u got message %d of module %u", g_place.module, msgid, src);
            return E_APPS_ERR_PARAM;
    }
}

}  // namespace soak
