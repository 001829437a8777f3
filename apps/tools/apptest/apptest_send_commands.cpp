/*
 * The commands of apptest that send one message and wait for no answer.
 */

#include "apptest/apptest_options.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "cli/request_outcome.h"
#include "device/event_key.h"
#include "device/module_words.h"
#include "frwk_common.h"
#include "output/field_list.h"

namespace {

const void *data_of(const std::string &body) {
    return body.empty() ? nullptr : body.data();
}

uint32_t length_of(const std::string &body) {
    return static_cast<uint32_t>(body.size());
}

/* send and notify differ only in the time limit. */
ExitCode deliver(const char *command, const AppTestOptions &options, uint32_t seconds) {
    Envelope envelope;
    const ExitCode code = read_envelope(options, &envelope);
    if (code != ExitCode::kDone) {
        return code;
    }
    const RequestOutcome outcome = send_message(envelope.module, envelope.msgid, envelope.body, seconds);
    return report_outcome(outcome, envelope.module, request_words(command, envelope));
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
    print_sentence(line);
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
    const std::string event = event_key(options.event);
    AppTestOptions completed = options;
    if (completed.message.empty()) {
        completed.message = event;
    }
    Envelope envelope;
    const ExitCode code = read_message_and_body(completed, &envelope);
    if (code != ExitCode::kDone) {
        return code;
    }
    const std::string problem = listeners_problem(event);
    if (!problem.empty()) {
        return complain(ExitCode::kRefused, "publish '" + event + "' failed: " + problem);
    }
    const Audience audience = audience_of(event);
    frwk_ipc_msg_pub(event.c_str(), envelope.msgid, data_of(envelope.body), length_of(envelope.body));
    report_audience(event, audience);
    return ExitCode::kDone;
}

// ---- the command line ----

AppTestOptions g_options;

void declare(CommandLineTool &tool) {
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

    Command publish = tool.add("publish", "Send an event to its listeners",
                               "apptest publish sys_language_change en\n"
                               "apptest publish --message 5004 wlan_clients --int 3\n",
                               g_options.runs(publish_event));
    publish.add("EVENT", g_options.event, "Key of the event, with or without E_APPS_MSG_").required();
    publish.add("--message", g_options.message, "The message to send; default: the one named like the event")
        .value("MESSAGE");
    g_options.add_body(publish);
}

const CommandGroup kCommands(1, declare);

}  // namespace
