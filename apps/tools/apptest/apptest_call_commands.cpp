/*
 * The command of apptest that sends a request and prints its answer.
 */
#include <chrono>
#include <cstdio>

#include "apptest/answer_room.h"
#include "apptest/answer_type.h"
#include "apptest/apptest_options.h"
#include "apptest/body_text.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/limited_request.h"
#include "cli/name_lookup.h"
#include "cli/wait_notice.h"
#include "output/field_list.h"
#include "output/json_output.h"
#include "output/terminal.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Reply {
    RequestOutcome outcome;
    std::string bytes;
    int64_t microseconds;
};

uint32_t room_of(const AppTestOptions &options) {
    const uint32_t usual = options.type.empty() ? kDefaultRoom : default_room(options.type, kDefaultRoom);
    return options.room.value_or(usual);
}

/* Whether the answer is nothing but zeros: a number, if the caller knows how many bytes to expect. */
bool is_zero_number(const AppTestOptions &options, const std::string &answer) {
    return options.room && !answer.empty() && without_nuls(answer).empty();
}

// ---- the answer ----

void print_as_it_looks(const AppTestOptions &options, const Reply &reply) {
    const bool zero = reply.outcome.done() && is_zero_number(options, reply.bytes);
    if (options.dump || !is_text(reply.bytes) || zero) {
        (void)std::fputs(hex_dump(reply.bytes, output_width()).c_str(), stdout);
    } else if (!without_nuls(reply.bytes).empty()) {
        (void)std::puts(shown_text(Stream::kOutput, without_nuls(reply.bytes)).c_str());
    }
}

/* Adds all bytes of the answer, and also a text if it is one. */
void add_bytes(const Json &object, const std::string &answer) {
    add_member(object, "length", json_number(static_cast<int64_t>(answer.size())));
    add_member(object, "hex", json_text(hex_of(answer)));
    if (is_text(answer)) {
        add_member(object, "text", json_text(without_nuls(answer)));
    }
}

/* Without a type, the value of an answer that is JSON. */
Json untyped_value(const std::string &answer) {
    return is_text(answer) ? json_parsed(without_nuls(answer)) : nullptr;
}

void print_object(const AppTestOptions &options, const Reply &reply, Json value) {
    const Json object = json_members();
    add_member(object, "result", json_number(reply.outcome.result));
    add_member(object, "name", json_text(code_name(reply.outcome.result)));
    add_member(object, "microseconds", json_number(reply.microseconds));
    add_bytes(object, reply.bytes);
    if (!options.type.empty()) {
        add_member(object, "type", json_text(options.type));
    }
    if (value != nullptr) {
        add_member(object, "value", std::move(value));
    }
    print_json(object);
}

ExitCode print_untyped(const AppTestOptions &options, const Reply &reply) {
    if (options.json) {
        print_object(options, reply, untyped_value(reply.bytes));
    } else {
        print_as_it_looks(options, reply);
    }
    return ExitCode::kDone;
}

/* Of a request that failed, the bytes are no value. */
ExitCode print_typed(const AppTestOptions &options, const Reply &reply, const Envelope &envelope) {
    AnswerValue value;
    if (reply.outcome.done()) {
        value = answer_value(options.type, reply.bytes, !options.room);
    }
    if (options.json) {
        print_object(options, reply, std::move(value.json));
    } else if (reply.outcome.done() && value.problem.empty()) {
        (void)std::puts(shown_lines(Stream::kOutput, value.text).c_str());
    }
    return value.problem.empty()
               ? ExitCode::kDone
               : complain(ExitCode::kRefused, request_words("call", envelope) + ": " + value.problem);
}

ExitCode print_reply(const AppTestOptions &options, const Reply &reply, const Envelope &envelope) {
    return options.type.empty() ? print_untyped(options, reply) : print_typed(options, reply, envelope);
}

// ---- the request ----

RequestOutcome send(const AppTestOptions &options, const Envelope &envelope, std::string *answer) {
    const double limit = options.whole_limit.value_or(0);
    if (limit > 0) {
        const auto time = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(limit));
        return send_request_within(time, envelope.module, envelope.msgid, envelope.body, answer);
    }
    const uint32_t seconds = options.whole_limit ? 0 : kRequestSeconds;
    return send_request(envelope.module, envelope.msgid, envelope.body, answer, seconds);
}

Reply ask(const AppTestOptions &options, const Envelope &envelope) {
    Reply reply = {{}, std::string(room_of(options), '\0'), 0};
    const WaitNotice notice(envelope.module);
    const auto begin = Clock::now();
    reply.outcome = send(options, envelope, &reply.bytes);
    const auto took = Clock::now() - begin;
    reply.microseconds = std::chrono::duration_cast<std::chrono::microseconds>(took).count();
    return reply;
}

/* Nothing is sent if the answer can't be of the type. */
ExitCode check_room(const AppTestOptions &options) {
    const std::string problem = options.type.empty() ? "" : room_problem(options.type, room_of(options));
    return problem.empty() ? ExitCode::kDone : complain(ExitCode::kUsage, problem);
}

ExitCode call_module(const AppTestOptions &options) {
    Envelope envelope;
    ExitCode code = read_envelope(options, &envelope);
    if (code == ExitCode::kDone) {
        code = check_room(options);
    }
    if (code != ExitCode::kDone) {
        return code;
    }
    const Reply reply = ask(options, envelope);
    const ExitCode printed =
        reply.outcome.delivered() ? print_reply(options, reply, envelope) : ExitCode::kDone;
    const ExitCode sent = report_outcome(reply.outcome, envelope.module, request_words("call", envelope),
                                         room_hint(reply.outcome.result, envelope.msgid, room_of(options)));
    return std::max(printed, sent);
}

// ---- the command line ----

AppTestOptions g_options;

void declare(CommandLineTool &tool) {
    Command call = tool.add("call", "Send a request and print the answer",
                            "apptest call wlan sys_status --as uint\n"
                            "apptest call wlan sys_memory --as uints --room 24 --timeout 0.5\n"
                            "apptest call zndb zndb_get --nul lan_ip\n"
                            "apptest call router 3004 --hex '01 00 00 00' --dump\n"
                            "apptest call device 9000 --file request.json --as json\n",
                            g_options.runs(call_module));
    g_options.add_module(call);
    g_options.add_message(call).required();
    g_options.add_body(call);
    g_options.add_whole_limit(call);
    g_options.add_room(call);
    call.flag("--dump", g_options.dump, "Print the answer's bytes, even if it is a text");
    call.add("--as", g_options.type, "Print the answer as int, uint, text or another type; Tab lists them")
        .value("TYPE")
        .one_of("type", answer_type_names)
        .excludes("--dump");
    g_options.add_json(call, "Print result, time and answer as JSON");
}

const CommandGroup kCommands(0, declare);

}  // namespace
