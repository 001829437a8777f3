/*
 * Escaping of special characters.
 */
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "frwk_utils.h"

namespace {

/* What the call writes into a zeroed buffer of size + 1 bytes that is followed by marks. */
std::string escaped(const char *src, const char *specials, int32_t size) {
    std::string buffer(static_cast<size_t>(size) + 1, '\0');
    buffer += "####";
    frwk_utils_special_char_transform(src, specials, buffer.data(), size);
    EXPECT_EQ("####", buffer.substr(buffer.size() - 4));
    buffer.resize(static_cast<size_t>(size) + 1);
    return buffer.substr(0, buffer.find('\0'));
}

TEST(SpecialCharTransform, PutsABackslashBeforeSpecialCharacters) {
    EXPECT_EQ("a\\$b\\\"c", escaped("a$b\"c", "$\"", 32));
}

TEST(SpecialCharTransform, CopiesATextWithoutSpecialCharacters) {
    EXPECT_EQ("plain text", escaped("plain text", "$\"", 32));
    EXPECT_EQ("plain$text", escaped("plain$text", "", 32));
    EXPECT_EQ("plain$text", escaped("plain$text", nullptr, 32));
}

TEST(SpecialCharTransform, ABackslashMayBeSpecialToo) {
    EXPECT_EQ("a\\\\b", escaped("a\\b", "\\", 32));
}

TEST(SpecialCharTransform, StopsWhenSizeBytesAreWritten) {
    EXPECT_EQ("1234", escaped("123456", "$", 4));
    EXPECT_EQ("12\\$", escaped("12$456", "$", 4));
}

TEST(SpecialCharTransform, TheLastEscapeMayPassTheSizeByOne) {
    EXPECT_EQ("123\\$", escaped("123$56", "$", 4));
    EXPECT_EQ("\\$", escaped("$$$", "$", 1));
}

TEST(SpecialCharTransform, WritesNoTerminator) {
    char buffer[] = "########";
    frwk_utils_special_char_transform("ab", "$", buffer, 4);
    EXPECT_STREQ("ab######", buffer);
}

TEST(SpecialCharTransform, NothingHappensWithoutTextOrSize) {
    char buffer[] = "####";
    frwk_utils_special_char_transform(nullptr, "$", buffer, 4);
    frwk_utils_special_char_transform("", "$", buffer, 4);
    frwk_utils_special_char_transform("ab", "$", buffer, 0);
    frwk_utils_special_char_transform("ab", "$", buffer, -1);
    frwk_utils_special_char_transform("ab", "$", buffer, INT_MIN);
    EXPECT_STREQ("####", buffer);
    frwk_utils_special_char_transform("ab", "$", nullptr, 4);
}

}  // namespace
