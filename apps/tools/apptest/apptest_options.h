/*
 * What the command line of apptest says.
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/exit_code.h"

struct AppTestOptions {
    std::string module;
    std::string message;
    std::string event;
    std::vector<std::string> events;

    /* The body: how it is written, and a file in its place. */
    std::string body;
    std::string file;
    bool hex = false;
    bool numbers = false;
    bool nul = false;

    uint32_t timeout = 3; /* seconds, that a module is granted to take a message */
    uint32_t room = 1024; /* bytes of an answer */
    bool dump = false;
    bool json = false;

    /* subscribe, serve, load: when to end; 0 for never. */
    uint64_t count = 0;
    double seconds = 0;

    std::string script;
    std::string answer;

    uint32_t clients = 1;
    double rate = 0; /* requests a second, 0 for as many as go */
};

/* Where a message goes, and what it carries. */
struct Envelope {
    uint32_t module = 0;
    int32_t msgid = 0;
    std::string body;
};

/* Reads what the command line says of each; explains what is wrong. */
ExitCode read_module(const AppTestOptions &options, Envelope *envelope);
ExitCode read_message(const AppTestOptions &options, Envelope *envelope);
ExitCode read_body(const AppTestOptions &options, Envelope *envelope);

/* All three. */
ExitCode read_envelope(const AppTestOptions &options, Envelope *envelope);
