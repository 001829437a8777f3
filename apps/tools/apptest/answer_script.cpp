#include "apptest/answer_script.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "apptest/body_text.h"
#include "cli/name_lookup.h"

namespace {

/* The message of a '*' line: a number outside the 32 bits of messages. */
constexpr int64_t kAnyMessage = int64_t{1} << 40;

constexpr uint32_t kLongestDelay = 3600 * 1000;

/* Returns the rest of a line after a prefix, or false if the line doesn't begin with it. */
bool behind(const std::string &text, const std::string &mark, std::string *rest) {
    if (text.compare(0, mark.size(), mark) != 0) {
        return false;
    }
    *rest = text.substr(mark.size());
    return true;
}

std::string skip_blanks(const std::string &text) {
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

/* Takes the first word off a text. */
std::string take_word(std::string *text) {
    const std::string rest = skip_blanks(*text);
    const size_t end = std::min(rest.find_first_of(" \t"), rest.size());
    *text = skip_blanks(rest.substr(end));
    return rest.substr(0, end);
}

std::string parse_delay(const std::string &word, uint32_t *delay) {
    char *end = nullptr;
    const unsigned long value = std::strtoul(word.c_str(), &end, 10);
    if (word.empty() || word.find_first_not_of("0123456789") != std::string::npos || value > kLongestDelay) {
        return "'" + word + "' is not a delay in milliseconds of at most an hour";
    }
    *delay = static_cast<uint32_t>(value);
    return "";
}

/* Parses the part of a line after message and result. */
std::string parse_answer(std::string text, ScriptedAnswer *answer) {
    std::string rest;
    if (behind(text, "delay=", &rest)) {
        std::string problem = parse_delay(take_word(&rest), &answer->delay);
        if (!problem.empty()) {
            return problem;
        }
        text = rest;
    }
    if (behind(text, "text=", &answer->body) || text.empty()) {
        return "";
    }
    if (behind(text, "hex=", &rest)) {
        return bytes_from_hex(rest, &answer->body);
    }
    if (behind(text, "int=", &rest)) {
        return bytes_from_numbers(rest, &answer->body);
    }
    answer->echo = text == "echo";
    return answer->echo ? "" : "unknown answer '" + text + "': delay=, text=, hex=, int= or echo";
}

/* Parses one line of the script. */
std::string parse_line(std::string text, int64_t *msgid, ScriptedAnswer *answer) {
    const std::string message = take_word(&text);
    const Named found = message == "*" ? Named{kAnyMessage, ""} : find_message(message);
    if (!found.problem.empty()) {
        return found.problem;
    }
    const std::string code = take_word(&text);
    const Named result = code.empty() ? Named{0, "there is no result"} : find_code(code);
    if (!result.problem.empty()) {
        return result.problem;
    }
    *msgid = found.number;
    answer->result = static_cast<apps_err_e_type>(result.number);
    return parse_answer(text, answer);
}

}  // namespace

std::string AnswerScript::parse(const std::string &text) {
    std::map<int64_t, Turns> turns;
    std::istringstream lines(text);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        line.erase(line.find_last_not_of('\r') + 1);
        const std::string rest = skip_blanks(line);
        if (rest.empty() || rest[0] == '#') {
            continue;
        }
        int64_t msgid = 0;
        ScriptedAnswer answer;
        const std::string problem = parse_line(rest, &msgid, &answer);
        if (!problem.empty()) {
            return std::to_string(number) + ": " + problem;
        }
        turns[msgid].answers.push_back(answer);
    }
    turns_ = turns;
    return "";
}

ScriptedAnswer AnswerScript::next(apps_message_id_e_type msgid) {
    auto found = turns_.find(msgid);
    if (found == turns_.end()) {
        found = turns_.find(kAnyMessage);
    }
    if (found == turns_.end()) {
        return {};
    }
    Turns &turns = found->second;
    const size_t index = std::min(turns.given, turns.answers.size() - 1);
    ++turns.given;
    return turns.answers[index];
}
