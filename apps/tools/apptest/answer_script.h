/*
 * What a module that is played by apptest answers: a script of lines
 *
 *     MESSAGE RESULT [delay=MILLISECONDS] [text=TEXT | hex=DIGITS | int=NUMBERS | echo]
 *
 * MESSAGE is a name, a number, or * for every message that has no line of its own; RESULT a result code's
 * name or number. What follows "text=" goes to the end of the line. Of several lines for a message each
 * answers once, in turn, the last one for good. Lines that are empty or begin with # mean nothing. Not
 * thread-safe.
 */
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "apps_err.h"
#include "apps_message.h"

struct ScriptedAnswer {
    apps_err_e_type result = E_APPS_ERR_SUCCESS;
    uint32_t delay = 0; /* milliseconds */
    bool echo = false;  /* the request's own body */
    std::string body;
};

class AnswerScript {
  public:
    /* Reads a script. Returns "" or, by line, what is wrong; nothing is taken then. */
    std::string parse(const std::string &text);

    /* Takes the next answer to a message; without a line for it, success and no body. */
    ScriptedAnswer next(apps_message_id_e_type msgid);

  private:
    struct Turns {
        std::vector<ScriptedAnswer> answers;
        size_t given = 0;
    };

    std::map<int64_t, Turns> turns_; /* by message, kAnyMessage for the rest */
};
