#include "apptest/body_text.h"

#include <gtest/gtest.h>

namespace {

std::string from_hex(const std::string &digits) {
    std::string bytes = "untouched";
    const std::string problem = bytes_from_hex(digits, &bytes);
    return problem.empty() ? bytes : problem;
}

std::string from_numbers(const std::string &numbers) {
    std::string bytes = "untouched";
    const std::string problem = bytes_from_numbers(numbers, &bytes);
    return problem.empty() ? hex_of(bytes) : problem;
}

TEST(BodyText, ReadsHexWithBlanksAndColonsBetweenBytes) {
    EXPECT_EQ("abc", from_hex("61 62:63"));
    EXPECT_EQ(std::string("\0\xFF", 2), from_hex("00fF"));
    EXPECT_EQ("", from_hex(""));
}

TEST(BodyText, RefusesHalfBytesAndOtherCharacters) {
    EXPECT_EQ("'1' is not a hexadecimal byte", from_hex("001"));
    EXPECT_EQ("'1 ' is not a hexadecimal byte", from_hex("1 2"));
    EXPECT_EQ("'0x' is not a hexadecimal byte", from_hex("0x01"));
}

TEST(BodyText, ReadsNumbersAsWordsInHostByteOrder) {
    const uint32_t words[] = {1, 0xFFFFFFFE, 0xFFFFFFFF, 0x10};
    EXPECT_EQ(hex_of({reinterpret_cast<const char *>(words), sizeof(words)}),
              from_numbers("1,-2 4294967295, 0x10"));
    EXPECT_EQ("", from_numbers(""));
}

TEST(BodyText, RefusesNumbersBeyond32Bits) {
    EXPECT_EQ("'4294967296' is not a 32-bit number", from_numbers("4294967296"));
    EXPECT_EQ("'-2147483649' is not a 32-bit number", from_numbers("-2147483649"));
    EXPECT_EQ("'99999999999999999999' is not a 32-bit number", from_numbers("99999999999999999999"));
    EXPECT_EQ("'1x' is not a 32-bit number", from_numbers("1x"));
}

TEST(BodyText, DumpsBytesAndOnlyCountsZerosAtTheEnd) {
    EXPECT_EQ("", hex_dump("", 80));
    EXPECT_EQ("(3 zero bytes)\n", hex_dump(std::string(3, '\0'), 80));
    EXPECT_EQ(
        "00000000  41 00 7f ff 30 31 32 33 34 35 36 37 38 39 3a 3b  A...0123456789:;\n"
        "00000010  3c                                               <\n"
        "(1 zero byte)\n",
        hex_dump(std::string("A\0\x7F\xFF"
                             "0123456789:;<\0",
                             18),
                 80));
}

TEST(BodyText, ANarrowDumpHasFewerBytesOnALine) {
    EXPECT_EQ("00000000  61 62 63 64  abcd\n00000004  65           e\n", hex_dump("abcde", 42));
    EXPECT_EQ("00000000  61 62 63 64 65           abcde\n", hex_dump("abcde", 43));
    EXPECT_EQ("00000000  61 62 63 64  abcd\n00000004  65           e\n", hex_dump("abcde", 1));
}

TEST(BodyText, KnowsATextByItsCharacters) {
    EXPECT_TRUE(is_text(""));
    EXPECT_TRUE(is_text(std::string("text\0\0", 6)));
    EXPECT_TRUE(is_text("\xC3\xA4"));
    EXPECT_FALSE(is_text("\xA5\xA5"));
    EXPECT_FALSE(is_text("two\nlines"));
    EXPECT_FALSE(is_text("\x7F"));
    EXPECT_FALSE(is_text(std::string("a\0b", 3)));
}

TEST(BodyText, ShowsABodyInOneLineCutWhenItIsLong) {
    EXPECT_EQ("text", body_line(std::string("text\0", 5)));
    EXPECT_EQ("01ff", body_line("\x01\xFF"));
    EXPECT_EQ(std::string(64, 'x'), body_line(std::string(64, 'x')));
    EXPECT_EQ(std::string(64, 'x') + "...", body_line(std::string(65, 'x')));
}

}  // namespace
