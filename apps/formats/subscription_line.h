/*
 * The text of a subscription file: the modules that subscribed to an event, one name per line, in the order
 * of subscription. Pure; does not access files. docs/events.md describes who changes a file, and when.
 */
#pragma once

#include <cstddef>
#include <string_view>

/* Ends each name. */
inline constexpr char kSubscriptionEnd = '\n';

/* Longer lines are split into pieces of this many characters, including the line end. */
inline constexpr size_t kSubscriptionPiece = 62;

/* A line, or a piece of one, that a reader builds from the blocks that it reads. */
class SubscriptionLine {
  public:
    void clear() {
        length_ = 0;
        is_whole_ = false;
    }
    bool empty() const { return length_ == 0; }

    /* Whether the line is complete. */
    bool is_whole() const { return is_whole_; }

    /* Appends the part of a text that belongs to this line, which is not whole. Returns the part's length. */
    size_t take(std::string_view text) {
        const std::string_view piece = text.substr(0, kSubscriptionPiece - length_);
        const size_t end = piece.find(kSubscriptionEnd);
        const size_t taken = end == std::string_view::npos ? piece.size() : end + 1;
        length_ += piece.copy(text_ + length_, taken);
        is_whole_ = end != std::string_view::npos || length_ == kSubscriptionPiece;
        return taken;
    }

    /* The name in the line, without trailing blanks; may be "". Valid until the next change. */
    const char *name();

  private:
    size_t length_ = 0;
    bool is_whole_ = false;
    char text_[kSubscriptionPiece + 1];
};

/* A part of a text, from begin up to, and not including, end. */
struct TextPart {
    size_t begin;
    size_t end;

    bool empty() const { return begin == end; }
};

/*
 * The part of a file's text that unsubscribing a module removes: from the first occurrence of its name, even
 * in another name, to the end of that line. Empty if the name does not occur.
 */
TextPart subscription_of(std::string_view name, std::string_view text);
