/*
 * Builds a shell command piece by piece: fixed texts and numbers unchanged, and words from outside quoted, so
 * that the shell passes each one as a single argument.
 *
 *     ShellCommand<256> command;
 *     command.add("cp ").add_word(source).add(" ").add_word(target);
 *     if (command.complete()) {
 *         os_system(command.text());
 *     }
 *
 * A word that begins with '-' is still an option of the tool: the caller must check words from outside for
 * that.
 */
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstring>

/* The characters without a special meaning to the shell. */
inline constexpr char kShellSafe[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:,@%+=";

/* Whether a word needs no quotes. */
inline bool is_shell_safe(const char *word) {
    return *word != '\0' && word[std::strspn(word, kShellSafe)] == '\0';
}

/* kSize: size of the buffer in bytes, including the NUL. A piece that does not fit is left out completely. */
template <size_t kSize>
class ShellCommand {
  public:
    /* Adds a formatted text of the program; no argument for %s may come from outside. */
    __attribute__((format(printf, 2, 3))) ShellCommand &add(const char *format, ...) {
        va_list args;
        va_start(args, format);
        const int length = complete_ ? std::vsnprintf(text_ + length_, kSize - length_, format, args) : 0;
        va_end(args);
        const bool fits = length >= 0 && static_cast<size_t>(length) < kSize - length_;
        close_piece(fits, fits ? length_ + static_cast<size_t>(length) : length_);
        return *this;
    }

    /* Adds one argument: unchanged if all its characters are safe, else in single quotes. */
    ShellCommand &add_word(const char *word) {
        size_t end = length_;
        const bool fits = is_shell_safe(word) ? put(&end, word, std::strlen(word)) : put_quoted(&end, word);
        close_piece(fits, end);
        return *this;
    }

    /* Whether every piece has fitted. An incomplete command must not be run. */
    bool complete() const { return complete_; }
    const char *text() const { return text_; }

  private:
    bool put(size_t *end, const char *bytes, size_t count) {
        if (count >= kSize - *end) {
            return false;
        }
        std::memcpy(text_ + *end, bytes, count);
        *end += count;
        return true;
    }

    /* Within single quotes only the quote itself is special: it is added between two quoted parts. */
    bool put_quoted(size_t *end, const char *word) {
        bool fits = put(end, "'", 1);
        for (; fits && *word != '\0'; ++word) {
            fits = *word == '\'' ? put(end, "'\\''", 4) : put(end, word, 1);
        }
        return fits && put(end, "'", 1);
    }

    void close_piece(bool fits, size_t end) {
        complete_ = complete_ && fits;
        length_ = complete_ ? end : length_;
        text_[length_] = '\0';
    }

    char text_[kSize] = {};
    size_t length_ = 0;
    bool complete_ = true;
};
