/*
 * A shell command that is put together piece by piece: fixed texts and numbers as they are, and words from
 * outside in a form in which the shell takes each as one plain argument.
 *
 *     ShellCommand<256> command;
 *     command.add("cp ").add_word(source).add(" ").add_word(target);
 *     if (command.complete()) {
 *         os_system(command.text());
 *     }
 *
 * A word that begins with '-' is still an option to the tool that gets it: whoever takes one from outside
 * checks that.
 */
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstring>

/* The characters that mean nothing to the shell. */
inline constexpr char kShellSafe[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:,@%+=";

/* Whether the shell takes the word as it is. */
inline bool is_shell_safe(const char *word) {
    return *word != '\0' && word[std::strspn(word, kShellSafe)] == '\0';
}

/* kSize: of the buffer, the terminator included. A piece that does not fit is left out whole. */
template <size_t kSize>
class ShellCommand {
  public:
    /* Adds a text of the program's own, formatted as printf does; no %s may come from outside. */
    __attribute__((format(printf, 2, 3))) ShellCommand &add(const char *format, ...) {
        va_list args;
        va_start(args, format);
        const int length = complete_ ? std::vsnprintf(text_ + length_, kSize - length_, format, args) : 0;
        va_end(args);
        const bool fits = length >= 0 && static_cast<size_t>(length) < kSize - length_;
        close_piece(fits, fits ? length_ + static_cast<size_t>(length) : length_);
        return *this;
    }

    /* Adds one argument: as it is when all its characters are safe, else in single quotes. */
    ShellCommand &add_word(const char *word) {
        size_t end = length_;
        const bool fits = is_shell_safe(word) ? put(&end, word, std::strlen(word)) : put_quoted(&end, word);
        close_piece(fits, end);
        return *this;
    }

    /* Whether every piece has fitted. A command that is not complete must not be run. */
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

    /* Within single quotes only the quote itself means something: it is put between two quoted parts. */
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
