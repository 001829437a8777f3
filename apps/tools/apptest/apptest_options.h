/*
 * The command line options of apptest. A file of commands has an object, filled by the parser
 * before a command runs.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_line_tool.h"
#include "cli/request_outcome.h"

/* Bytes of an answer, unless --room says otherwise. */
inline constexpr uint32_t kDefaultRoom = 1024;

struct AppTestOptions {
    std::string module;
    std::string message;
    std::string event;
    std::vector<std::string> events;
    std::string identity; /* the module to subscribe as; "" for apptest */

    /* The body, its notation, and a file to read it from. */
    std::string body;
    std::string file;
    bool hex = false;
    bool numbers = false;
    bool nul = false;

    uint32_t timeout = kRequestSeconds; /* for a module to accept a message */
    std::optional<double> whole_limit;  /* seconds for all of a call; 0 or nothing: none */
    std::optional<uint32_t> room;       /* bytes of the answer; nothing: the default */
    std::string type;                   /* of the answer; "" to print it as what it looks like */
    bool dump = false;
    bool json = false;

    /* subscribe, serve, load: limits; 0 for none. */
    uint64_t count = 0;
    double seconds = 0;

    std::string script;
    std::string answer;

    uint32_t clients = 1;
    double rate = 0; /* requests per second, 0 for no limit */

    /* What several commands take. */
    void add_module(const Command &command);
    CommandOption add_message(const Command &command);
    void add_body(const Command &command);
    void add_timeout(const Command &command);
    void add_whole_limit(const Command &command);
    void add_room(const Command &command);
    void add_limits(const Command &command, const std::string &what);
    void add_json(const Command &command, const std::string &what);

    /* Carries out a command as the module apptest. */
    CommandLineTool::Run runs(ExitCode (*command)(const AppTestOptions &options)) const;

    /* The same for a command that chooses its module itself. */
    CommandLineTool::Run runs_as_is(ExitCode (*command)(const AppTestOptions &options)) const;
};

/* The receiver, number and body of a message. */
struct Envelope {
    uint32_t module = 0;
    int32_t msgid = 0;
    std::string body;
};

/* "call wlan 6 E_APPS_MSG_SYS_STATUS", for messages about the request. */
std::string request_words(const char *command, const Envelope &envelope);

/* Each reads one part from the command line, and reports a problem. */
ExitCode read_module(const AppTestOptions &options, Envelope *envelope);
ExitCode read_message(const AppTestOptions &options, Envelope *envelope);
ExitCode read_body(const AppTestOptions &options, Envelope *envelope);

/* Reads all three parts. */
ExitCode read_envelope(const AppTestOptions &options, Envelope *envelope);
