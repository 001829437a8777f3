/*
 * The commands of apptest that send one message.
 */
#include <chrono>
#include <cstdio>

#include "apptest/apptest_options.h"
#include "apptest/body_text.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/request_outcome.h"
#include "cli/wait_notice.h"
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

void print_answer(const AppTestOptions &options, const std::string &answer) {
    if (options.dump || !is_text(answer)) {
        (void)std::fputs(hex_dump(answer).c_str(), stdout);
    } else if (!without_nuls(answer).empty()) {
        (void)std::puts(shown_text(Stream::kOutput, without_nuls(answer)).c_str());
    }
}

/* Adds the answer as bytes, also as a text if it is one, and as a value if the text is JSON. */
void add_answer(const Json &object, const std::string &answer) {
    const std::string text = without_nuls(answer);
    add_member(object, "hex", json_text(hex_of(text)));
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

ExitCode read_message_and_body(const AppTestOptions &options, Envelope *envelope) {
    const ExitCode code = read_message(options, envelope);
    return code == ExitCode::kDone ? read_body(options, envelope) : code;
}

ExitCode call_module(const AppTestOptions &options) {
    Envelope envelope;
    const ExitCode code = read_envelope(options, &envelope);
    if (code != ExitCode::kDone) {
        return code;
    }
    std::string answer(options.room, '\0');
    const WaitNotice notice(envelope.module);
    const auto begin = Clock::now();
    const RequestOutcome outcome =
        send_request(envelope.module, envelope.msgid, envelope.body, &answer, options.timeout);
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    if (outcome.delivered() && options.json) {
        print_json_answer(outcome.result, took.count(), answer);
    } else if (outcome.delivered()) {
        print_answer(options, answer);
    }
    return report_outcome(outcome, envelope.module, what("call", envelope));
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

/* Sends the message with the event's name, unless another one is given. */
ExitCode publish_event(const AppTestOptions &options) {
    AppTestOptions completed = options;
    if (completed.message.empty()) {
        completed.message = options.event;
    }
    Envelope envelope;
    const ExitCode code = read_message_and_body(completed, &envelope);
    if (code == ExitCode::kDone) {
        frwk_ipc_msg_pub(options.event.c_str(), envelope.msgid, data_of(envelope.body),
                         length_of(envelope.body));
    }
    return code;
}

// ---- the command line ----

AppTestOptions g_options;

void declare(CommandLineTool &tool) {
    Command call = tool.add("call", "Send a request and print the answer",
                            "apptest call wlan sys_status --room 4 --dump\n"
                            "apptest call zndb zndb_get --nul lan_ip\n"
                            "apptest call router 3004 --hex '01 00 00 00'\n"
                            "apptest call device 9000 --file request.json --json\n",
                            g_options.runs(call_module));
    g_options.add_module(call);
    g_options.add_message(call).required();
    g_options.add_body(call);
    g_options.add_timeout(call);
    g_options.add_room(call);
    call.flag("--dump", g_options.dump, "Print the answer's bytes, even if it is a text");
    g_options.add_json(call, "Print result, time and answer as JSON");

    Command send = tool.add("send", "Send a message without an answer",
                            "apptest send --timeout 10 router 3004 text\n", g_options.runs(send_to_module));
    g_options.add_module(send);
    g_options.add_message(send).required();
    g_options.add_body(send);
    g_options.add_timeout(send);

    Command notify = tool.add("notify", "As send, with the limit that modules use, 3 seconds",
                              "apptest notify wlan sys_language_change\n", g_options.runs(notify_module));
    g_options.add_module(notify);
    g_options.add_message(notify).required();
    g_options.add_body(notify);

    Command broadcast = tool.add("broadcast", "Send a message to every monitored module",
                                 "apptest broadcast sys_device_offline\n", g_options.runs(broadcast_message));
    g_options.add_message(broadcast).required();
    g_options.add_body(broadcast);

    Command publish = tool.add("publish", "Send an event to its subscribers",
                               "apptest publish E_APPS_MSG_SYS_LANGUAGE_CHANGE en\n"
                               "apptest publish --message 5004 wlan_clients --int 3\n",
                               g_options.runs(publish_event));
    publish.add("EVENT", g_options.event, "Key of the event").required();
    publish.add("--message", g_options.message, "The message to send; default: the one named like the event")
        .value("MESSAGE");
    g_options.add_body(publish);
}

const CommandGroup kCommands(1, declare);

}  // namespace
