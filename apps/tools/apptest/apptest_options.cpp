#include "apptest/apptest_options.h"

#include "apptest/body_text.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/text_file.h"

namespace {

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
