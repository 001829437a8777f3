/*
 * Helpers for every fuzz target: splitting the input, and asserting properties.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

/* Ends the run, which keeps the input, unless the condition holds. */
#define FUZZ_CHECK(condition)                                                                         \
    do {                                                                                              \
        if (!(condition)) {                                                                           \
            (void)std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                             \
        }                                                                                             \
    } while (false)

/* Whether all of these bytes still have their fill value. */
template <typename Bytes>
bool is_filled(const Bytes &bytes, char fill) {
    return std::all_of(std::begin(bytes), std::end(bytes), [fill](char byte) { return byte == fill; });
}

/* Whether an array of characters contains a NUL. */
template <size_t kSize>
bool ends(const char (&text)[kSize]) {
    return std::memchr(text, '\0', kSize) != nullptr;
}

/* A text in a block of exactly its size, so that the sanitizer detects a read past its NUL. */
class ExactText {
  public:
    explicit ExactText(std::string_view text) : bytes_(std::make_unique<char[]>(text.size() + 1)) {
        if (!text.empty()) {
            std::memcpy(bytes_.get(), text.data(), text.size());
        }
    }

    char *get() const { return bytes_.get(); }

  private:
    std::unique_ptr<char[]> bytes_;
};

/* The input, consumed from its beginning. After its end it gives zeros and empty texts. */
class FuzzInput {
  public:
    FuzzInput(const uint8_t *data, size_t size) : left_(reinterpret_cast<const char *>(data), size) {}

    bool empty() const { return left_.empty(); }

    uint8_t byte() { return left_.empty() ? 0 : static_cast<uint8_t>(take(1)[0]); }

    /* A number from 0 to max, at most 65535. */
    uint32_t number(uint32_t max) {
        const uint32_t high = byte();
        return (high << 8 | byte()) % (max + 1);
    }

    /* Up to count bytes. */
    std::string_view take(size_t count) {
        const std::string_view front = left_.substr(0, count);
        left_.remove_prefix(front.size());
        return front;
    }

    /* The bytes up to the next NUL, which is consumed too. */
    std::string_view text() {
        const std::string_view front = take(std::min(left_.find('\0'), left_.size()));
        take(1);
        return front;
    }

    std::string_view rest() { return take(left_.size()); }

  private:
    std::string_view left_;
};
