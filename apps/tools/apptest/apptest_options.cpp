#include "apptest/apptest_options.h"

#include "apptest/body_text.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/module_identity.h"
#include "device/text_file.h"
#include "frwk_module.h"

namespace {

constexpr uint32_t kMostRoom = 64u * 1024 * 1024;
constexpr uint32_t kLongestTimeout = 3600;
constexpr double kLongestRun = 7 * 24 * 3600;

ExitCode take(const Named &named, int64_t *number) {
    if (!named.problem.empty()) {
        return complain(ExitCode::kUsage, named.problem);
    }
    *number = named.number;
    return ExitCode::kDone;
}

/* Encodes the body given on the command line. */
std::string encode(const AppTestOptions &options, const std::string &text, std::string *bytes) {
    if (options.hex) {
        return bytes_from_hex(text, bytes);
    }
    if (options.numbers) {
        return bytes_from_numbers(text, bytes);
    }
    *bytes = text;
    return "";
}

}  // namespace

void AppTestOptions::add_module(const Command &command) {
    command.add("MODULE", module, "Name, alias or id of a module").required();
}

CommandOption AppTestOptions::add_message(const Command &command) {
    return command.add("MESSAGE", message, "Name of a message, with or without E_APPS_MSG_, or its number");
}

void AppTestOptions::add_body(const Command &command) {
    command.add("BODY", body, "The message's body");
    command.flag("--hex", hex, "BODY is bytes in hexadecimal");
    command.flag("--int", numbers, "BODY is a list of 32-bit numbers").excludes("--hex");
    command.flag("--nul", nul, "Append a NUL to BODY, as in a C string");
    command.add("--file", file, "Read the body from a file, - for standard input")
        .value("FILE")
        .excludes("BODY");
}

void AppTestOptions::add_timeout(const Command &command) {
    command.add("--timeout", timeout, "Seconds for the module to accept it")
        .value("S")
        .shows_default()
        .within(0, kLongestTimeout);
}

void AppTestOptions::add_whole_limit(const Command &command) {
    command
        .add("--timeout", whole_limit,
             "Seconds for the whole call; default: " + std::to_string(kRequestSeconds) +
                 " to accept the request, no limit for the answer")
        .value("S")
        .within_real(0, kLongestTimeout);
}

void AppTestOptions::add_room(const Command &command) {
    const std::string usual = std::to_string(kDefaultRoom);
    command.add("--room", room, "Maximum bytes of the answer (" + usual + ")")
        .value("N")
        .within(0, kMostRoom);
}

void AppTestOptions::add_limits(const Command &command, const std::string &what) {
    command.add("--count", count, "End after N " + what).value("N").positive();
    command.add("--seconds", seconds, "End after S seconds").value("S").within_real(0.001, kLongestRun);
}

void AppTestOptions::add_json(const Command &command, const std::string &what) {
    command.flag("--json", json, what);
}

CommandLineTool::Run AppTestOptions::runs(ExitCode (*command)(const AppTestOptions &options)) const {
    return [this, command] {
        become_module(E_APPS_MODULE_APPTEST);
        return command(*this);
    };
}

CommandLineTool::Run AppTestOptions::runs_as_is(ExitCode (*command)(const AppTestOptions &options)) const {
    return [this, command] { return command(*this); };
}

std::string request_words(const char *command, const Envelope &envelope) {
    return std::string(command) + " " + module_text(envelope.module) + " " + message_text(envelope.msgid);
}

ExitCode read_module(const AppTestOptions &options, Envelope *envelope) {
    int64_t number = 0;
    const ExitCode code = take(find_module(options.module), &number);
    envelope->module = static_cast<uint32_t>(number);
    return code;
}

ExitCode read_message(const AppTestOptions &options, Envelope *envelope) {
    int64_t number = 0;
    const ExitCode code = take(find_message(options.message), &number);
    envelope->msgid = static_cast<int32_t>(number);
    return code;
}

ExitCode read_body(const AppTestOptions &options, Envelope *envelope) {
    std::string text = options.body;
    std::string problem = options.file.empty() ? "" : read_text_file(options.file, &text);
    if (problem.empty()) {
        problem = encode(options, text, &envelope->body);
    }
    if (!problem.empty()) {
        return complain(ExitCode::kUsage, problem);
    }
    if (options.nul) {
        envelope->body += '\0';
    }
    return ExitCode::kDone;
}

ExitCode read_envelope(const AppTestOptions &options, Envelope *envelope) {
    ExitCode code = read_module(options, envelope);
    if (code == ExitCode::kDone) {
        code = read_message(options, envelope);
    }
    return code == ExitCode::kDone ? read_body(options, envelope) : code;
}
