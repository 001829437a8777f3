/*
 * Decodes the keys of a terminal from its bytes. Pure.
 */
#pragma once

#include <cstddef>
#include <string>

/* A key: the byte of a character, or one of these. */
enum Key : int {
    kNoKey = 0,
    kEnter = '\n',
    kEscape = 27,
    kBackspace = 127,
    kUp = 256,
    kDown,
    kPageUp,
    kPageDown,
    kHome,
    kEnd,
    kOtherKey
};

class KeyDecoder {
  public:
    void add(const char *bytes, size_t count) { text_.append(bytes, count); }

    /* Takes the next key; kNoKey if there is none, or only the beginning of one. */
    int next();

    /* Whether there is the beginning of a key, which may also be the Escape key alone. */
    bool has_begun() const { return !text_.empty(); }

    /* Takes what has begun as the Escape key. */
    int give_up();

  private:
    int take(size_t length, int key);
    int take_sequence();

    std::string text_;
};
