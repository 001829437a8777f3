#include "device/module_survey.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>

#include "device/service_socket.h"
#include "support/unique_fd.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr ProbeResult kLate = {
    {E_APPS_ERR_TIMEOUT, E_APPS_ERR_SUCCESS}, false, 0, std::nullopt, std::nullopt};

/* Longer than any time limit of the tools, so that a module with a full backlog counts as late, not absent.
 */
constexpr uint32_t kConnectSeconds = 120;

/* Requests an answer of fixed size. */
template <typename T>
std::optional<T> answer_to(uint32_t module, apps_message_id_e_type msgid) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::string answer(sizeof(T), '\0');
    if (!send_request(module, msgid, "", &answer, kConnectSeconds).done()) {
        return std::nullopt;
    }
    T value;
    std::memcpy(&value, answer.data(), sizeof(value));
    return value;
}

ProbeResult ask(uint32_t module) {
    ProbeResult result;
    const auto begin = Clock::now();
    result.probe = send_request(module, E_APPS_MSG_SYS_PROBE, "", nullptr, kConnectSeconds);
    result.microseconds = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
    result.forbidden = result.probe.sent == E_APPS_ERR_MODULE && is_forbidden(module);
    if (result.probe.delivered()) {
        result.status = answer_to<uint32_t>(module, E_APPS_MSG_SYS_STATUS);
        result.memory = answer_to<os_mem_usage_t>(module, E_APPS_MSG_SYS_MEMORY);
    }
    return result;
}

}  // namespace

struct ModuleSurvey::State {
    explicit State(const std::vector<uint32_t> &modules)
        : all_answered(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        for (const uint32_t module : modules) {
            subjects[module];
        }
    }

    struct Subject {
        ProbeResult result;
        bool asked = false; /* and has not answered yet */
        uint64_t round = 0; /* in which it was asked */
    };

    std::vector<uint32_t> begin_round();
    void take(uint32_t module, const ProbeResult &result);

    const UniqueFd all_answered; /* can be read when the round is over */
    std::mutex mutex;
    std::map<uint32_t, Subject> subjects; /* mutex */
    uint64_t round = 0;                   /* mutex */
    size_t awaited = 0;                   /* missing answers of this round; mutex */
};

/* Starts a round; returns the modules to query. */
std::vector<uint32_t> ModuleSurvey::State::begin_round() {
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<uint32_t> idle;
    ++round;
    for (auto &[module, subject] : subjects) {
        if (!subject.asked) {
            subject.asked = true;
            subject.round = round;
            idle.push_back(module);
        }
    }
    awaited = idle.size();
    eventfd_t before = 0;
    (void)::eventfd_read(all_answered.get(), &before);
    if (awaited == 0) {
        (void)::eventfd_write(all_answered.get(), 1);
    }
    return idle;
}

void ModuleSurvey::State::take(uint32_t module, const ProbeResult &result) {
    const std::lock_guard<std::mutex> lock(mutex);
    Subject &subject = subjects[module];
    subject.result = result;
    subject.asked = false;
    if (subject.round == round && --awaited == 0) {
        (void)::eventfd_write(all_answered.get(), 1);
    }
}

ModuleSurvey::ModuleSurvey(const std::vector<uint32_t> &modules, std::chrono::milliseconds limit)
    : limit_(limit), state_(std::make_shared<State>(modules)) {}

void ModuleSurvey::begin() {
    end_ = Clock::now() + limit_;
    for (const uint32_t module : state_->begin_round()) {
        std::thread([state = state_, module] { state->take(module, ask(module)); }).detach();
    }
}

void ModuleSurvey::wait() const {
    pollfd readable = {state_->all_answered.get(), POLLIN, 0};
    (void)::poll(&readable, 1, milliseconds_left());
}

void ModuleSurvey::wait(const SignalWatch &watch) const {
    (void)watch.wait(state_->all_answered.get(), milliseconds_left());
}

std::map<uint32_t, ProbeResult> ModuleSurvey::results() const {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    std::map<uint32_t, ProbeResult> all;
    for (const auto &[module, subject] : state_->subjects) {
        all[module] = subject.asked ? kLate : subject.result;
    }
    return all;
}

int ModuleSurvey::milliseconds_left() const {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now()).count();
    return static_cast<int>(std::max<int64_t>(left + 1, 0));
}

std::map<uint32_t, ProbeResult> survey_modules(const std::vector<uint32_t> &modules,
                                               std::chrono::milliseconds limit) {
    ModuleSurvey survey(modules, limit);
    survey.begin();
    survey.wait();
    return survey.results();
}

ProbeResult survey_module(uint32_t module, std::chrono::milliseconds limit) {
    return survey_modules({module}, limit)[module];
}
