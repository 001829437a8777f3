#include "apptest/apptest_send.h"

#include <chrono>
#include <cstdio>

#include "apptest/answer_room.h"
#include "apptest/body_text.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/request_outcome.h"
#include "cli/wait_notice.h"
#include "device/event_key.h"
#include "device/module_words.h"
#include "frwk_common.h"
#include "output/json_output.h"
#include "output/terminal.h"
#include "output/text_table.h"

namespace {

using Clock = std::chrono::steady_clock;

const void *data_of(const std::string &body) {
    return body.empty() ? nullptr : body.data();
}

uint32_t length_of(const std::string &body) {
    return static_cast<uint32_t>(body.size());
}

/* Whether the answer is nothing but zeros: a number, if the caller knows how many bytes to expect. */
bool is_zero_number(const AppTestOptions &options, const std::string &answer) {
    return options.room && !answer.empty() && without_nuls(answer).empty();
}

void print_answer(const AppTestOptions &options, const RequestOutcome &outcome, const std::string &answer) {
    if (options.dump || !is_text(answer) || (outcome.done() && is_zero_number(options, answer))) {
        (void)std::fputs(hex_dump(answer).c_str(), stdout);
    } else if (!without_nuls(answer).empty()) {
        (void)std::puts(shown_text(Stream::kOutput, without_nuls(answer)).c_str());
    }
}

/* Adds all bytes of the answer, also a text if it is one, and a value if the text is JSON. */
void add_answer(const Json &object, const std::string &answer) {
    const std::string text = without_nuls(answer);
    add_member(object, "length", json_number(static_cast<int64_t>(answer.size())));
    add_member(object, "hex", json_text(hex_of(answer)));
    if (!is_text(answer)) {
        return;
    }
    add_member(object, "text", json_text(text));
    Json value = json_parsed(text);
    if (value != nullptr) {
        add_member(object, "value", std::move(value));
    }
}

void print_json_answer(apps_err_e_type result, int64_t microseconds, const std::string &answer) {
    const Json object = json_members();
    add_member(object, "result", json_number(result));
    add_member(object, "name", json_text(code_name(result)));
    add_member(object, "microseconds", json_number(microseconds));
    add_answer(object, answer);
    print_json(object);
}

std::string what(const char *command, const Envelope &envelope) {
    return std::string(command) + " " + module_text(envelope.module) + " " + message_text(envelope.msgid);
}

/* send and notify differ only in the time limit. */
ExitCode deliver(const char *command, const AppTestOptions &options, uint32_t seconds) {
    Envelope envelope;
    const ExitCode code = read_envelope(options, &envelope);
    if (code != ExitCode::kDone) {
        return code;
    }
    const RequestOutcome outcome = send_message(envelope.module, envelope.msgid, envelope.body, seconds);
    return report_outcome(outcome, envelope.module, what(command, envelope));
}

/* To whom an event goes. */
struct Audience {
    std::vector<std::string> modules;
    bool has_publisher = false; /* the publisher doesn't send it to itself */
};

Audience audience_of(const std::string &event) {
    Audience audience;
    for (const std::string &name : listeners_of(event)) {
        if (name == frwk_module_name(-1)) {
            audience.has_publisher = true;
        } else if (frwk_module_id(name.c_str()) > E_APPS_MODULE_MIN) {
            audience.modules.push_back(name);
        }
    }
    return audience;
}

void report_audience(const std::string &event, const Audience &audience) {
    const size_t count = audience.modules.size();
    const std::string names = count == 0 ? "" : ": " + joined(audience.modules, " ");
    const std::string line =
        event + " has " + std::to_string(count) + (count == 1 ? " listener" : " listeners") + names;
    (void)std::puts(shown_text(Stream::kOutput, line).c_str());
    if (audience.has_publisher) {
        (void)complain(ExitCode::kDone,
                       "apptest itself subscribes too, but a publisher never hears itself; use 'apptest "
                       "subscribe --as MODULE'");
    }
}

ExitCode read_message_and_body(const AppTestOptions &options, Envelope *envelope) {
    const ExitCode code = read_message(options, envelope);
    return code == ExitCode::kDone ? read_body(options, envelope) : code;
}

}  // namespace

ExitCode call_module(const AppTestOptions &options) {
    Envelope envelope;
    const ExitCode code = read_envelope(options, &envelope);
    if (code != ExitCode::kDone) {
        return code;
    }
    const uint32_t room = options.room.value_or(kDefaultRoom);
    std::string answer(room, '\0');
    const WaitNotice notice(envelope.module);
    const auto begin = Clock::now();
    const RequestOutcome outcome =
        send_request(envelope.module, envelope.msgid, envelope.body, &answer, options.timeout);
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    if (outcome.delivered() && options.json) {
        print_json_answer(outcome.result, took.count(), answer);
    } else if (outcome.delivered()) {
        print_answer(options, outcome, answer);
    }
    return report_outcome(outcome, envelope.module, what("call", envelope),
                          room_hint(outcome.result, envelope.msgid, room));
}

ExitCode send_to_module(const AppTestOptions &options) {
    return deliver("send", options, options.timeout);
}

ExitCode notify_module(const AppTestOptions &options) {
    return deliver("notify", options, kRequestSeconds);
}

ExitCode broadcast_message(const AppTestOptions &options) {
    Envelope envelope;
    const ExitCode code = read_message_and_body(options, &envelope);
    if (code == ExitCode::kDone) {
        frwk_ipc_msg_broadcast(envelope.msgid, data_of(envelope.body), length_of(envelope.body));
    }
    return code;
}

ExitCode publish_event(const AppTestOptions &options) {
    const std::string event = event_key(options.event);
    AppTestOptions completed = options;
    if (completed.message.empty()) {
        completed.message = event;
    }
    Envelope envelope;
    const ExitCode code = read_message_and_body(completed, &envelope);
    if (code == ExitCode::kDone) {
        const Audience audience = audience_of(event);
        frwk_ipc_msg_pub(event.c_str(), envelope.msgid, data_of(envelope.body), length_of(envelope.body));
        report_audience(event, audience);
    }
    return code;
}

ExitCode list_messages(const AppTestOptions &options) {
    TextTable table({"NUMBER", "NAME"});
    const Json items = json_items();
    for (const zn_enum_item &row : g_enum_apps_message_id_e_type) {
        if (std::string(row.name).find(options.message) == std::string::npos) {
            continue;
        }
        table.add({std::to_string(row.value), row.name});
        Json item = json_members();
        add_member(item, "number", json_number(row.value));
        add_member(item, "name", json_text(row.name));
        add_item(items, std::move(item));
    }
    if (options.json) {
        print_json(items);
    } else {
        table.print();
    }
    return ExitCode::kDone;
}
