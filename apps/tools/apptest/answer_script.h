/*
 * The answers of a module that apptest plays: a script of lines
 *
 *     MESSAGE RESULT [delay=MILLISECONDS] [text=TEXT | hex=DIGITS | int=NUMBERS | echo]
 *
 * MESSAGE is a name, a number, or * for every message without a line; RESULT is a result code's
 * name or number. A text after "text=" extends to the end of the line. If a message has several lines, each
 * one is used once, in order, and the last one for all further messages. Empty lines and lines that begin
 * with # are ignored. Not thread-safe.
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
    bool echo = false;  /* answer with the request's body */
    std::string body;
};

class AnswerScript {
  public:
    /* Parses a script. Returns "", or the problems by line; the script is then ignored. */
    std::string parse(const std::string &text);

    /* Returns the next answer to a message; without a line for it, success and no body. */
    ScriptedAnswer next(apps_message_id_e_type msgid);

  private:
    struct Turns {
        std::vector<ScriptedAnswer> answers;
        size_t given = 0;
    };

    std::map<int64_t, Turns> turns_; /* by message, kAnyMessage for the rest */
};
