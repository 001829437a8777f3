/*
 * apptest: sends messages to modules, receives messages, plays a module, and measures response times.
 */
#include "apptest/apptest_load.h"
#include "apptest/apptest_receive.h"
#include "apptest/apptest_send.h"
#include "cli/command_line_tool.h"
#include "cli/name_lookup.h"
#include "cli/number_range.h"
#include "device/module_identity.h"
#include "frwk_module.h"

namespace {

using Command = ExitCode (*)(const AppTestOptions &options);

constexpr uint32_t kLongestTimeout = 3600;
constexpr uint32_t kMostClients = 1000;
constexpr uint32_t kMostRoom = 64u * 1024 * 1024;
constexpr double kLongestRun = 7 * 24 * 3600;
constexpr double kHighestRate = 1e6;

/* Filled by the parser before a command runs. */
AppTestOptions g_options;

CommandLineTool::Run run(Command command) {
    return [command] {
        become_module(E_APPS_MODULE_APPTEST);
        return command(g_options);
    };
}

/* For commands that choose their module identity themselves. */
CommandLineTool::Run run_as_is(Command command) {
    return [command] { return command(g_options); };
}

void add_module(CLI::App &command) {
    command.add_option("MODULE", g_options.module, "Name, alias or id of a module")->required();
}

CLI::Option *add_message(CLI::App &command) {
    return command.add_option("MESSAGE", g_options.message,
                              "Name of a message, with or without E_APPS_MSG_, or its number");
}

void add_body(CLI::App &command) {
    CLI::Option *body = command.add_option("BODY", g_options.body, "The message's body");
    CLI::Option *hex = command.add_flag("--hex", g_options.hex, "BODY is bytes in hexadecimal");
    command.add_flag("--int", g_options.numbers, "BODY is a list of 32-bit numbers")->excludes(hex);
    command.add_flag("--nul", g_options.nul, "Append a NUL to BODY, as in a C string");
    command.add_option("--file", g_options.file, "Read the body from a file, - for standard input")
        ->type_name("FILE")
        ->excludes(body);
}

void add_timeout(CLI::App &command) {
    command.add_option("--timeout", g_options.timeout, "Seconds for the module to accept it (3)")
        ->type_name("S")
        ->check(whole_number(0, kLongestTimeout));
}

void add_room(CLI::App &command) {
    command.add_option("--room", g_options.room, "Maximum bytes of the answer (1024)")
        ->type_name("N")
        ->check(whole_number(0, kMostRoom));
}

void add_limits(CLI::App &command, const std::string &what) {
    command.add_option("--count", g_options.count, "End after N " + what)
        ->type_name("N")
        ->check(whole_number(1));
    command.add_option("--seconds", g_options.seconds, "End after S seconds")
        ->type_name("S")
        ->check(real_number(0.001, kLongestRun));
}

void add_json(CLI::App &command, const std::string &what) {
    command.add_flag("--json", g_options.json, what);
}

void add_call(CommandLineTool &tool) {
    CLI::App &call = tool.add("call", "Send a request and print the answer",
                              "apptest call wlan sys_status --room 4 --dump\n"
                              "apptest call zndb zndb_get --nul lan_ip\n"
                              "apptest call router 3004 --hex '01 00 00 00'\n"
                              "apptest call device 9000 --file request.json --json\n",
                              run(call_module));
    add_module(call);
    add_message(call)->required();
    add_body(call);
    add_timeout(call);
    add_room(call);
    call.add_flag("--dump", g_options.dump, "Print the answer's bytes, even if it is a text");
    add_json(call, "Print result, time and answer as JSON");
}

void add_sending_commands(CommandLineTool &tool) {
    CLI::App &send = tool.add("send", "Send a message without an answer",
                              "apptest send --timeout 10 router 3004 text\n", run(send_to_module));
    add_module(send);
    add_message(send)->required();
    add_body(send);
    add_timeout(send);

    CLI::App &notify = tool.add("notify", "As send, with the limit that modules use, 3 seconds",
                                "apptest notify wlan sys_language_change\n", run(notify_module));
    add_module(notify);
    add_message(notify)->required();
    add_body(notify);

    CLI::App &broadcast = tool.add("broadcast", "Send a message to every monitored module",
                                   "apptest broadcast sys_device_offline\n", run(broadcast_message));
    add_message(broadcast)->required();
    add_body(broadcast);
}

void add_event_commands(CommandLineTool &tool) {
    CLI::App &publish = tool.add("publish", "Send an event to its listeners",
                                 "apptest publish sys_language_change en\n"
                                 "apptest publish --message 5004 wlan_clients --int 3\n",
                                 run(publish_event));
    publish.add_option("EVENT", g_options.event, "Key of the event, with or without E_APPS_MSG_")->required();
    publish
        .add_option("--message", g_options.message,
                    "The message to send; default: the one named like the event")
        ->type_name("MESSAGE");
    add_body(publish);

    CLI::App &subscribe = tool.add("subscribe", "Subscribe to events and print what arrives, until Ctrl-C",
                                   "apptest subscribe E_APPS_MSG_SYS_LANGUAGE_CHANGE\n"
                                   "apptest subscribe --as sms sys_language_change\n"
                                   "apptest subscribe --count 1 --seconds 10 --json wlan_clients\n",
                                   run_as_is(subscribe_to_events));
    subscribe.add_option("EVENT", g_options.events, "Keys of events, with or without E_APPS_MSG_")
        ->required();
    subscribe
        .add_option("--as", g_options.identity,
                    "The module to subscribe as; it must not run (apptest, which 'publish' is too)")
        ->type_name("MODULE");
    add_limits(subscribe, "messages");
    add_json(subscribe, "Print each message as JSON, one per line");
}

void add_serve(CommandLineTool &tool) {
    CLI::App &serve =
        tool.add("serve", "Play a module: print what arrives and answer it, until Ctrl-C",
                 "apptest serve wlan --answer '0 text=hello'\n"
                 "apptest serve wlan --script answers.txt\n"
                 "# answers.txt:  MESSAGE RESULT [delay=MS] [text=.. | hex=.. | int=.. | echo]\n"
                 "#   5004        0     text=three clients\n"
                 "#   5005        busy  delay=500\n"
                 "#   *           unsupported\n",
                 run_as_is(serve_as_module));
    add_module(serve);
    CLI::Option *script = serve.add_option("--script", g_options.script, "A file with one answer per line");
    script->type_name("FILE");
    serve.add_option("--answer", g_options.answer, "The answer to every message")
        ->type_name("'RESULT ...'")
        ->excludes(script);
    add_limits(serve, "messages");
    add_json(serve, "Print each message as JSON, one per line");
}

void add_load(CommandLineTool &tool) {
    CLI::App &load = tool.add("load", "Send many requests and print how fast they were answered",
                              "apptest load wlan sys_status --room 4 --seconds 10\n"
                              "apptest load zndb zndb_get --nul lan_ip --clients 8 --rate 2000 --json\n",
                              run(load_module));
    add_module(load);
    add_message(load)->required();
    add_body(load);
    add_timeout(load);
    add_room(load);
    add_limits(load, "requests");
    load.add_option("--clients", g_options.clients, "Number of concurrent clients (1)")
        ->type_name("N")
        ->check(whole_number(1, kMostClients));
    load.add_option("--rate", g_options.rate, "Requests per second of all clients; default: no limit")
        ->type_name("N")
        ->check(real_number(0.01, kHighestRate));
    add_json(load, "Print JSON");
}

void add_list(CommandLineTool &tool) {
    CLI::App &messages = tool.add("messages", "List the messages and their numbers",
                                  "apptest messages WLAN\n", run(list_messages));
    messages.add_option("TEXT", g_options.message, "Only those with this text in the name");
    add_json(messages, "Print JSON");
}

constexpr ToolWords kWords = {"apptest",
                              "Sends messages to the device's modules, receives them, and plays a module.",
                              "apptest call wlan sys_status --room 4 --dump\n"
                              "apptest subscribe E_APPS_MSG_SYS_LANGUAGE_CHANGE\n"
                              "apptest serve wlan --answer '0 text=hello'\n"};

void declare(CommandLineTool &tool) {
    add_call(tool);
    add_sending_commands(tool);
    add_event_commands(tool);
    add_serve(tool);
    add_load(tool);
    add_list(tool);
    tool.complete("MODULE", module_names);
    tool.complete("MESSAGE", message_names);
    tool.complete("EVENT", message_names);
}

}  // namespace

int main(int argc, char **argv) {
    return run_tool(kWords, declare, argc, argv);
}
