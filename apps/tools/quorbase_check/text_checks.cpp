#include <array>
#include <cstring>

#include "byte_buffer.h"
#include "checks.h"
#include "enum_name.h"
#include "text_copy.h"

namespace {

/* ---- Buffers --------------------------------------------------------------------------------------- */

zn_bf_t buffer_of(const Examination &that, uint32_t size) {
    zn_bf_t buffer = {};
    that.expect(CALL(that, zn_bf_init)(&buffer, size) == 1, "can't be tried: zn_bf_init fails");
    return buffer;
}

/* ---- Names of numbers ------------------------------------------------------------------------------ */

constexpr std::array<zn_enum_item, 2> kTable = {{{1, "ONE", 0xFFFFFFFF}, {-2, "TWO", 0xFFFFFFFF}}};

/* ---- Texts ----------------------------------------------------------------------------------------- */

}  // namespace

void checks::check_zn_bf_init(const Examination &that) {
    zn_bf_t buffer = {};
    that.expect(CALL(that, zn_bf_init)(&buffer, 10) == 1, "does not return 1");
    that.expect(buffer.data != nullptr && buffer.capacity >= 10 && buffer.length == 0,
                "does not give an empty buffer with the capacity");
    std::memset(buffer.data, 'x', buffer.capacity + size_t{1});
    CALL(that, zn_bf_free)(&buffer);
}

void checks::check_zn_bf_grow(const Examination &that) {
    zn_bf_t buffer = buffer_of(that, 4);
    that.expect(buffer.data != nullptr, "can't be tried: zn_bf_init gives no memory");
    std::memcpy(buffer.data, "abcd", 4);
    buffer.length = 4;
    constexpr uint32_t kLarge = 100000;
    that.expect(CALL(that, zn_bf_grow)(&buffer, kLarge) == 1, "does not return 1");
    that.expect(buffer.data != nullptr && buffer.capacity >= kLarge, "does not make room");
    that.expect(std::memcmp(buffer.data, "abcd", 4) == 0, "loses the content");
    std::memset(buffer.data, 'x', kLarge + size_t{1});
    CALL(that, zn_bf_free)(&buffer);
}

void checks::check_zn_bf_free(const Examination &that) {
    zn_bf_t buffer = buffer_of(that, 10);
    CALL(that, zn_bf_free)(&buffer);
    that.expect(buffer.data == nullptr && buffer.length == 0 && buffer.capacity == 0,
                "does not leave an empty buffer");
}

void checks::check_zn_enum_to_string(const Examination &that) {
    const auto name_of = CALL(that, zn_enum_to_string);
    const char *const name = name_of(kTable.data(), kTable.size(), -2);
    that.expect(name != nullptr && std::strcmp(name, "TWO") == 0, "does not give a number's name");
    const char *const unknown = name_of(kTable.data(), kTable.size(), 3);
    that.expect(unknown == nullptr || std::strcmp(unknown, "unknown") == 0,
                "gives neither null nor \"unknown\" for a number without a name");
}

void checks::check_zn_string_to_enum(const Examination &that) {
    const auto number_of = CALL(that, zn_string_to_enum);
    that.expect(number_of(kTable.data(), kTable.size(), "TWO") == -2, "does not give a name's number");
    that.expect(number_of(kTable.data(), kTable.size(), "THREE") == -1,
                "does not give -1 for an unknown name");
}

void checks::check_strsncpy(const Examination &that) {
    const auto copy = CALL(that, strsncpy);
    std::array<char, 8> text = {'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'};
    that.expect(copy(text.data(), "abcdef", 3) == text.data(), "does not return the destination");
    that.expect(std::memcmp(text.data(), "abc", 4) == 0, "does not write a NUL after the characters");
    that.expect(text[4] == 'x', "writes past the NUL");
    (void)copy(text.data(), "a", 3);
    that.expect(std::strcmp(text.data(), "a") == 0, "does not end at the source's NUL");
}

void checks::check_strdern(const Examination &that) {
    std::array<char, 8> text = {'a', ' ', 'b', '\r', '\n', '\0'};
    that.expect(CALL(that, strdern)(text.data(), 5) == text.data(), "does not return the text");
    that.expect(std::strcmp(text.data(), "a b") == 0, "does not strip CR and LF at the end");
}
