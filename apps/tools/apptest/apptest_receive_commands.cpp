/*
 * The commands of apptest that receive messages, until a limit is reached, or Ctrl-C.
 */
#include <algorithm>
#include <cstring>
#include <mutex>

#include "apptest/answer_script.h"
#include "apptest/apptest_options.h"
#include "apptest/arrivals.h"
#include "apptest/event_subscriptions.h"
#include "cli/command_line_tool.h"
#include "cli/complaint.h"
#include "cli/name_lookup.h"
#include "device/event_key.h"
#include "device/module_identity.h"
#include "device/played_module.h"
#include "device/service_socket.h"
#include "device/text_file.h"
#include "frwk_common.h"

namespace {

/* Created before a handler is registered, and never freed: handlers may still run while the process ends. */
Arrivals *g_arrivals = nullptr;
AnswerScript *g_script = nullptr;
EventSubscriptions *g_subscriptions = nullptr;
uint32_t g_identity = 0; /* of subscribe */
std::mutex g_script_lock;

std::string body_of(const void *data, int32_t length) {
    return data == nullptr || length <= 0
               ? ""
               : std::string(static_cast<const char *>(data), static_cast<size_t>(length));
}

apps_err_e_type print_only(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t length,
                           void *, uint32_t, uint32_t) noexcept {
    g_arrivals->take({src, msgid, body_of(data, length)});
    return E_APPS_ERR_SUCCESS;
}

ScriptedAnswer next_answer(apps_message_id_e_type msgid) {
    const std::lock_guard<std::mutex> lock(g_script_lock);
    return g_script->next(msgid);
}

/* An answer that doesn't fit the sender's buffer becomes an error, as in a real module. */
apps_err_e_type answer_as_scripted(uint32_t src, apps_message_id_e_type msgid, const void *data,
                                   int32_t length, void *rsp, uint32_t rsp_size, uint32_t) noexcept {
    const std::string request = body_of(data, length);
    g_arrivals->take({src, msgid, request});
    const ScriptedAnswer answer = next_answer(msgid);
    frwk_sleep(answer.delay);
    const std::string &body = answer.echo ? request : answer.body;
    if (rsp == nullptr || body.empty()) {
        return answer.result;
    }
    if (body.size() > rsp_size) {
        (void)complain(ExitCode::kRefused, "the answer to " + message_text(msgid) + " has " +
                                               std::to_string(body.size()) + " bytes, but the sender takes " +
                                               std::to_string(rsp_size));
        return E_APPS_ERR_OUTOFBUF;
    }
    std::memcpy(rsp, body.data(), body.size());
    return answer.result;
}

constexpr char kPlayed[] = "; a module that runs can't be played";

/* Refuses to start where the library would end the process for want of a right. */
ExitCode start_serving(uint32_t module, frwk_ipc_handler_t handler, frwk_exit_handler_t exit_handler) {
    const std::string missing = missing_right(module);
    if (!missing.empty()) {
        return complain(ExitCode::kRefused, "can't play " + module_text(module) + ": " + missing);
    }
    become_module(static_cast<int32_t>(module), exit_handler);
    frwk_ipc_service_ex(handler, 0);
    return ExitCode::kDone;
}

// ---- subscribe ----

/* Also called if a message ends the process. */
ExitCode end_subscriptions(ExitCode code) {
    code = g_subscriptions->end(code);
    remove_service_socket(g_identity);
    return code;
}

void end_subscriptions_at_exit(apps_message_id_e_type) noexcept {
    (void)end_subscriptions(ExitCode::kDone);
}

/* The module to subscribe as. */
ExitCode read_identity(const AppTestOptions &options, uint32_t *module) {
    const Named named =
        options.identity.empty() ? Named{E_APPS_MODULE_APPTEST, ""} : find_module(options.identity);
    if (!named.problem.empty()) {
        return complain(ExitCode::kUsage, named.problem);
    }
    *module = static_cast<uint32_t>(named.number);
    const std::string obstacle = obstacle_to_subscribing(*module);
    return obstacle.empty() ? ExitCode::kDone : complain(ExitCode::kUsage, obstacle);
}

/* Says who runs as the module already. */
std::string subscriber_words(uint32_t module) {
    const std::string running = running_words(module);
    if (running.empty() || module != E_APPS_MODULE_APPTEST) {
        return running.empty() ? "" : running + kPlayed;
    }
    return "another apptest subscribe" + running.substr(module_text(module).size()) +
           "; --as MODULE subscribes as another module";
}

/* Each is a file of the device while the subscription lasts. */
constexpr size_t kMostOfAPattern = 64;

/* The events that a word means: one, or all that a pattern matches. */
ExitCode read_event(const std::string &word, std::vector<std::string> *events) {
    if (!is_event_pattern(word)) {
        events->push_back(event_key(word));
        return ExitCode::kDone;
    }
    const std::vector<std::string> matching = event_keys_like(word);
    if (matching.empty()) {
        return complain(ExitCode::kUsage, "no event and no message matches '" + word + "'");
    }
    if (matching.size() > kMostOfAPattern) {
        return complain(ExitCode::kUsage, "'" + word + "' matches " + std::to_string(matching.size()) +
                                              " events and messages, the most is " +
                                              std::to_string(kMostOfAPattern));
    }
    for (const std::string &event : matching) {
        if (std::find(events->begin(), events->end(), event) == events->end()) {
            events->push_back(event);
        }
    }
    return ExitCode::kDone;
}

ExitCode read_events(const std::vector<std::string> &words, std::vector<std::string> *events) {
    ExitCode code = ExitCode::kDone;
    for (size_t i = 0; i < words.size() && code == ExitCode::kDone; ++i) {
        code = read_event(words[i], events);
    }
    return code;
}

// ---- serve ----

/* Reads the script from a file, or the single answer for every message. */
ExitCode read_script(const AppTestOptions &options) {
    if (!options.answer.empty()) {
        const std::string problem = g_script->parse("* " + options.answer);
        /* without the line number, since there is only one line */
        return problem.empty() ? ExitCode::kDone
                               : complain(ExitCode::kUsage, "--answer" + problem.substr(problem.find(':')));
    }
    std::string text;
    std::string problem = options.script.empty() ? "" : read_text_file(options.script, &text);
    if (problem.empty()) {
        problem = g_script->parse(text);
        problem = problem.empty() ? "" : options.script + ":" + problem;
    }
    return problem.empty() ? ExitCode::kDone : complain(ExitCode::kUsage, problem);
}

/* Subscribes to events and prints the messages; ends the subscriptions afterwards. */
ExitCode subscribe_to_events(const AppTestOptions &options) {
    const SignalWatch watch; /* must be created before threads */
    std::vector<std::string> events;
    ExitCode code = read_identity(options, &g_identity);
    if (code == ExitCode::kDone) {
        code = read_events(options.events, &events);
    }
    if (code != ExitCode::kDone) {
        return code;
    }
    const std::string running = subscriber_words(g_identity);
    if (!running.empty()) {
        return complain(ExitCode::kRefused, running);
    }
    g_arrivals = new Arrivals({options.count, options.seconds}, options.json);
    g_subscriptions = new EventSubscriptions;
    code = start_serving(g_identity, print_only, end_subscriptions_at_exit);
    if (code != ExitCode::kDone) {
        return code;
    }
    code = g_subscriptions->begin(events);
    if (code == ExitCode::kDone) {
        code = g_arrivals->wait(watch);
    }
    return end_subscriptions(code);
}

/* Plays a module: prints messages and answers them as scripted. */
ExitCode serve_as_module(const AppTestOptions &options) {
    const SignalWatch watch;
    g_arrivals = new Arrivals({options.count, options.seconds}, options.json);
    g_script = new AnswerScript;
    Envelope envelope;
    ExitCode code = read_module(options, &envelope);
    if (code == ExitCode::kDone) {
        code = read_script(options);
    }
    if (code == ExitCode::kDone) {
        const std::string running = running_words(envelope.module);
        code = running.empty() ? ExitCode::kDone : complain(ExitCode::kRefused, running + kPlayed);
    }
    if (code == ExitCode::kDone) {
        code = start_serving(envelope.module, answer_as_scripted, nullptr);
    }
    if (code == ExitCode::kDone) {
        code = g_arrivals->wait(watch);
        wait_for_last_answer(envelope.module, watch);
        remove_service_socket(envelope.module);
    }
    return code;
}

// ---- the command line ----

AppTestOptions g_options;

void declare(CommandLineTool &tool) {
    Command subscribe = tool.add("subscribe", "Subscribe to events and print what arrives, until Ctrl-C",
                                 "apptest subscribe E_APPS_MSG_SYS_LANGUAGE_CHANGE\n"
                                 "apptest subscribe --as sms sys_language_change\n"
                                 "apptest subscribe 'sys_*_change' --seconds 60\n"
                                 "apptest subscribe --count 1 --seconds 10 --json wlan_clients\n",
                                 g_options.runs_as_is(subscribe_to_events));
    subscribe
        .add("EVENT", g_options.events,
             "Keys of events, with or without E_APPS_MSG_, or patterns such as 'wlan_*'")
        .required();
    subscribe.add("--as", g_options.identity, "The module to subscribe as; it must not run (apptest)")
        .value("MODULE");
    g_options.add_limits(subscribe, "messages");
    g_options.add_json(subscribe, "Print each message as JSON, one per line");

    Command serve = tool.add("serve", "Play a module: print what arrives and answer it, until Ctrl-C",
                             "apptest serve wlan --answer '0 text=hello'\n"
                             "apptest serve wlan --script answers.txt\n"
                             "# answers.txt:  MESSAGE RESULT [delay=MS] [text=.. | hex=.. | int=.. | echo]\n"
                             "#   5004        0     text=three clients\n"
                             "#   5005        busy  delay=500\n"
                             "#   *           unsupported\n",
                             g_options.runs_as_is(serve_as_module));
    g_options.add_module(serve);
    serve.add("--script", g_options.script, "A file with one answer per line").value("FILE");
    serve.add("--answer", g_options.answer, "The answer to every message")
        .value("'RESULT ...'")
        .excludes("--script");
    g_options.add_limits(serve, "messages");
    g_options.add_json(serve, "Print each message as JSON, one per line");
}

const CommandGroup kCommands(2, declare);

}  // namespace
