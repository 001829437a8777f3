/*
 * UTF-8 characters, and those that control a terminal.
 */
#include "utf8_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/* A character in UTF-8. */
std::string utf8(uint32_t code) {
    std::string text;
    if (code < 0x80) {
        return {static_cast<char>(code)};
    }
    const size_t length = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    for (size_t i = 1; i < length; ++i) {
        text.insert(text.begin(), static_cast<char>(0x80 | (code & 0x3F)));
        code >>= 6;
    }
    constexpr uint32_t kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    text.insert(text.begin(), static_cast<char>(kLead[length] | code));
    return text;
}

bool is_shown(uint32_t code) {
    const std::string text = utf8(code);
    EXPECT_EQ(text.size(), utf8_length(text)) << std::hex << code;
    EXPECT_EQ(code, utf8_code(text));
    return is_shown_as_it_is(text);
}

TEST(Utf8Text, HasCharactersOfOneToFourBytes) {
    EXPECT_EQ(1u, utf8_length("a"));
    EXPECT_EQ(1u, utf8_length(std::string(1, '\0')));
    EXPECT_EQ(2u, utf8_length("\xC2\x80"));
    EXPECT_EQ(2u, utf8_length("\xDF\xBF more"));
    EXPECT_EQ(3u, utf8_length("\xE0\xA0\x80"));
    EXPECT_EQ(3u, utf8_length("\xED\x9F\xBF"));
    EXPECT_EQ(3u, utf8_length("\xEF\xBF\xBF"));
    EXPECT_EQ(4u, utf8_length("\xF0\x90\x80\x80"));
    EXPECT_EQ(4u, utf8_length("\xF4\x8F\xBF\xBF"));
}

TEST(Utf8Text, HasNoOtherBytes) {
    for (const char *text : {"\x80", "\xBF", "\xC0\x9B", "\xC1\xBF", "\xF5\x80\x80\x80", "\xFF", "\xC2",
                             "\xC2 ", "\xE2\x80", "\xE2\x80 ", "\xF0\x9F\x98", "\xE0\x9F\xBF", "\xED\xA0\x80",
                             "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xE2(\x80"}) {
        EXPECT_EQ(0u, utf8_length(text)) << text;
    }
}

TEST(Utf8Text, IsReadNoFurtherThanItGoes) {
    EXPECT_EQ(0u, utf8_length({"\xE2\x80\xAE", 2}));
    EXPECT_EQ(0u, utf8_length({"\xE2\x80\xAE", 1}));
}

TEST(ShownCharacters, AreLettersOfAllScripts) {
    for (const uint32_t code : {0x20u,   0x7Eu,   0xA0u,   0xACu,   0xAEu,    0xFCu,    0x5FFu,   0x606u,
                                0x61Bu,  0x61Du,  0x200Au, 0x2010u, 0x2027u,  0x202Fu,  0x205Fu,  0x2070u,
                                0x4E2Du, 0xFEFEu, 0xFFFCu, 0xFFFDu, 0x1F600u, 0xE1000u, 0x10FFFFu}) {
        EXPECT_TRUE(is_shown(code)) << std::hex << code;
    }
}

TEST(ShownCharacters, AreNoControlsOfEitherSet) {
    for (uint32_t code = 0; code < 0x20; ++code) {
        EXPECT_FALSE(is_shown(code)) << code;
    }
    for (uint32_t code = 0x7F; code < 0xA0; ++code) {
        EXPECT_FALSE(is_shown(code)) << std::hex << code;
    }
}

TEST(ShownCharacters, AreNoMarksThatTurnTheDirection) {
    for (const uint32_t code : {0x61Cu, 0x200Eu, 0x200Fu, 0x202Au, 0x202Bu, 0x202Cu, 0x202Du, 0x202Eu,
                                0x2066u, 0x2067u, 0x2068u, 0x2069u}) {
        EXPECT_FALSE(is_shown(code)) << std::hex << code;
    }
}

TEST(ShownCharacters, AreNoInvisibleOnes) {
    for (const uint32_t code :
         {0xADu,    0x600u,   0x605u,   0x6DDu,   0x70Fu,   0x890u,   0x8E2u,   0x180Eu,  0x200Bu,  0x200Du,
          0x2028u,  0x2029u,  0x2060u,  0x206Fu,  0xFEFFu,  0xFFF9u,  0xFFFBu,  0x110BDu, 0x110CDu, 0x13430u,
          0x1343Fu, 0x1BCA0u, 0x1D173u, 0x1D17Au, 0xE0001u, 0xE0020u, 0xE007Fu, 0x34Fu,   0x115Fu,  0x1160u,
          0x17B4u,  0x180Bu,  0x3164u,  0xFE00u,  0xFE0Fu,  0xFFA0u,  0xE0100u, 0xE01EFu}) {
        EXPECT_FALSE(is_shown(code)) << std::hex << code;
    }
}

}  // namespace
