/*
 * The text of a subscription file: the modules that subscribed to an event, a name a line, in the order of
 * subscription. Pure text; knows nothing of files. docs/events.md describes who changes a file, and when.
 */
#pragma once

#include <cstddef>
#include <string_view>

/* Added to a name when its module subscribes. */
inline constexpr char kSubscriptionEnd = '\n';

/* Longer lines are split into pieces of this many characters, including the line end. */
inline constexpr size_t kSubscriptionPiece = 62;

/* A line, or a piece of one, that a reader puts together character by character. */
class SubscriptionLine {
  public:
    void clear() {
        length_ = 0;
        is_whole_ = false;
    }
    bool empty() const { return length_ == 0; }

    /* Whether it takes no more characters. */
    bool is_whole() const { return is_whole_; }

    /* Only when it isn't whole. */
    void add(char character) {
        text_[length_++] = character;
        is_whole_ = character == kSubscriptionEnd || length_ == kSubscriptionPiece;
    }

    /* The name in it, without blanks at its end; "" for none. Valid until the next change. */
    const char *name();

  private:
    size_t length_ = 0;
    bool is_whole_ = false;
    char text_[kSubscriptionPiece + 1];
};

/* A part of a text: its first byte, and the one behind its last. */
struct TextPart {
    size_t begin;
    size_t end;

    bool empty() const { return begin == end; }
};

/*
 * What a module's unsubscribing removes from a file's text: from the first place at which the name stands, be
 * it within another name, to the end of that line. Empty when it stands nowhere.
 */
TextPart subscription_of(std::string_view name, std::string_view text);
