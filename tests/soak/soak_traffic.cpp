/*
 * The steps of a module's main thread.
 */
#include "soak_traffic.h"

#include <array>
#include <cstring>
#include <vector>

#include "frwk_common.h"
#include "soak_place.h"
#include "soak_settings.h"

namespace soak {

namespace {

constexpr uint32_t kLimitSeconds = 60;
constexpr int32_t kUnset = -99999;

/* Head and bytes, as they travel. Kept from step to step, so that it does not grow. */
std::vector<unsigned char> g_body;
std::vector<unsigned char> g_answer;

const std::vector<unsigned char> &body_of(const Step &step, uint64_t number, uint32_t generation) {
    const Head head = {number, step.draw, generation, step.size};
    g_body.resize(sizeof(head) + step.size);
    std::memcpy(g_body.data(), &head, sizeof(head));
    fill(g_body.data() + sizeof(head), step.size, head.start);
    return g_body;
}

uint32_t length_of(const std::vector<unsigned char> &bytes) {
    return static_cast<uint32_t>(bytes.size());
}

/* Notes a request that did not succeed: nothing wrong where the receiver was down at the time. */
void fail(const Liveness &peer, const char *what, int32_t ret) {
    if (peer.lived()) {
        complain(g_place.board, "module %u: %s of module %u: %d", g_place.module, what, peer.module(), ret);
    } else {
        ++own().excused;
    }
}

void check_answer(const Step &step, int32_t result) {
    const uint64_t start = answer_start(step.draw, step.peer, step.room);
    if (result != answer_result(step.draw) || !is_filled(g_answer.data(), step.room, start)) {
        complain(g_place.board, "module %u: a wrong answer of module %u, result %d, %u bytes", g_place.module,
                 step.peer, result, step.room);
    }
}

/* The web page and the remote management get this from a module that has just started and has no handler yet.
 */
bool is_starting(const Liveness &peer, int32_t result) {
    const bool never_waits =
        g_place.module == E_APPS_MODULE_WEBSERVER || g_place.module == E_APPS_MODULE_TR069;
    return never_waits && result == E_APPS_ERR_PROCESS && !peer.lived();
}

void send_sync(const Step &step) {
    const Liveness peer(step.peer);
    const auto &body = body_of(step, 0, peer.generation());
    g_answer.assign(step.room, 0);
    int32_t result = kUnset;
    const apps_err_e_type ret =
        frwk_ipc_send_sync(step.peer, kAnswered, body.data(), length_of(body),
                           step.room > 0 ? g_answer.data() : nullptr, step.room, kLimitSeconds, &result);
    if (ret != E_APPS_ERR_SUCCESS) {
        fail(peer, "a request", ret);
        return;
    }
    if (is_starting(peer, result)) {
        ++own().excused;
        return;
    }
    check_answer(step, result);
    ++own().syncs;
}

/* The number of the next message to a receiver; counting restarts with each start of it. */
uint64_t begin(Traffic &traffic, uint32_t generation) {
    if (traffic.sent_to != generation) {
        traffic.begun = 0;
        traffic.acknowledged = 0;
        traffic.sent_to = generation;
    }
    return ++traffic.begun;
}

void send_async(const Step &step) {
    const Liveness peer(step.peer);
    Traffic &traffic = g_place.board->traffic[g_place.module][step.peer];
    const uint64_t number = begin(traffic, peer.generation());
    const auto &body = body_of(step, number, peer.generation());
    const apps_err_e_type ret =
        frwk_ipc_send_async(step.peer, kOneWay, body.data(), length_of(body), kLimitSeconds);
    if (ret != E_APPS_ERR_ASYNC) {
        fail(peer, "a message", ret);
        return;
    }
    if (peer.lived()) {
        ++traffic.acknowledged;
    }
    ++own().asyncs;
}

void publish(const Step &step) {
    const uint64_t number = ++own().published_begun;
    const auto &body = body_of(step, number, 0);
    frwk_ipc_msg_pub(kSteadyEvent, kNotice, body.data(), length_of(body));
    ++own().published;
    ++own().publications;
}

void publish_churn(const Step &step) {
    const auto &body = body_of(step, 0, 0);
    frwk_ipc_msg_pub(churn_event(step.event).c_str(), kChurnNotice, body.data(), length_of(body));
    ++own().publications;
}

void change_subscription(const Step &step) {
    const bool wanted = step.draw / 1000 % 2 == 0;
    const std::string event = churn_event(step.event);
    own().listed[step.event] = Listed::kUnknown;
    const apps_err_e_type ret = wanted ? frwk_ipc_msg_sub(event.c_str()) : frwk_ipc_msg_unsub(event.c_str());
    if (ret != E_APPS_ERR_SUCCESS) {
        complain(g_place.board, "module %u: subscribing or unsubscribing: %d", g_place.module, ret);
        return;
    }
    own().listed[step.event] = wanted ? Listed::kYes : Listed::kNo;
    ++own().changes;
}

void ask_status(const Step &step) {
    const Liveness peer(step.peer);
    const uint32_t status = frwk_get_module_status(step.peer);
    if (status != 1) {
        fail(peer, "a wrong status", static_cast<int32_t>(status));
    }
}

void ask_nobody() {
    const apps_err_e_type ret =
        frwk_ipc_send_sync(0, kAnswered, nullptr, 0, nullptr, 0, kLimitSeconds, nullptr);
    if (ret != E_APPS_ERR_MODULE) {
        complain(g_place.board, "module %u: a request to module 0 gives %d", g_place.module, ret);
    }
}

void act(const Step &step, uint64_t number) {
    switch (step.action) {
        case Action::kSync:
            return send_sync(step);
        case Action::kAsync:
            return send_async(step);
        case Action::kPublish:
            return publish(step);
        case Action::kPublishChurn:
            return publish_churn(step);
        case Action::kToggle:
            return is_churner(g_place.module) ? change_subscription(step) : get_setting(step.key);
        case Action::kGet:
            return get_setting(step.key);
        case Action::kSet:
            return change_setting(step.key, number);
        case Action::kStatus:
            return ask_status(step);
        case Action::kSave:
            return save_settings();
        case Action::kRefused:
            return ask_nobody();
    }
}

}  // namespace

/* What was counted of earlier starts of this module is done with. */
void set_place(Board *board, uint32_t module, uint32_t generation) {
    g_place = {board, module, generation};
    for (auto &row : board->traffic) {
        Traffic &traffic = row[module];
        traffic.received = 0;
        traffic.last = 0;
        traffic.received_by = generation;
    }
}

void reserve_memory() {
    g_body.reserve(sizeof(Head) + kLargest);
    g_answer.reserve(kLargest);
}

void subscribe_steady() {
    if (is_listener(g_place.module) && frwk_ipc_msg_sub(kSteadyEvent) != E_APPS_ERR_SUCCESS) {
        complain(g_place.board, "module %u can't subscribe", g_place.module);
    }
    for (uint32_t event = 0; g_place.module == kKeeper && event < kEvents; ++event) {
        (void)frwk_ipc_msg_sub(churn_event(event).c_str());
    }
}

bool take_step() {
    const uint64_t number = own().steps;
    if (number >= g_place.board->quota) {
        return false;
    }
    act(step_of(g_place.board->seed, g_place.module, number), number + 1);
    own().steps = number + 1;
    return true;
}

}  // namespace soak
