/*
 * Splits a command as a shell does, to check that every text from outside is a single word.
 */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "internal/shell_command.h"
#include "support/fuzz_input.h"

/*
 * The words of a command without redirections. Parts outside quotes may only have characters without a
 * special meaning to the shell.
 */
inline std::vector<std::string> shell_words(std::string_view command) {
    std::vector<std::string> words(1);
    bool quoted = false;
    bool escaped = false;
    for (const char c : command) {
        if (escaped) {
            words.back() += c;
            escaped = false;
        } else if (c == '\'') {
            quoted = !quoted;
        } else if (!quoted && c == '\\') {
            escaped = true;
        } else if (!quoted && c == ' ') {
            words.emplace_back();
        } else {
            FUZZ_CHECK(quoted || std::strchr(kShellSafe, c) != nullptr);
            words.back() += c;
        }
    }
    FUZZ_CHECK(!quoted && !escaped);
    return words;
}

/* The quoted form of a word from outside, which the shell reads as exactly this word. */
inline std::string as_word(const std::string &word) {
    ShellCommand<4096> argument;
    argument.add_word(word.c_str());
    FUZZ_CHECK(argument.complete());
    FUZZ_CHECK(shell_words(argument.text()) == std::vector<std::string>{word});
    return argument.text();
}
