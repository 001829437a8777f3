#include "apptest/answer_type.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

template <typename Number>
std::string bytes_of(Number number) {
    return {reinterpret_cast<const char *>(&number), sizeof(number)};
}

/* The value for people and as JSON, with a bar between them if they differ. */
std::string shown(const std::string &type, const std::string &bytes, bool padded = false) {
    const AnswerValue value = answer_value(type, bytes, padded);
    const std::string json = json_object_to_json_string_ext(value.json.get(), JSON_C_TO_STRING_PLAIN);
    return value.text == json ? json : value.text + " | " + json;
}

TEST(AnswerType, NumbersAreOfTheAnswersSize) {
    EXPECT_EQ("-2", shown("int", bytes_of<int8_t>(-2)));
    EXPECT_EQ("-300", shown("int", bytes_of<int16_t>(-300)));
    EXPECT_EQ("-70000", shown("int", bytes_of<int32_t>(-70000)));
    EXPECT_EQ("-9223372036854775808", shown("int", bytes_of<int64_t>(INT64_MIN)));
    EXPECT_EQ("254", shown("uint", bytes_of<uint8_t>(254)));
    EXPECT_EQ("65236", shown("uint", bytes_of<uint16_t>(65236)));
    EXPECT_EQ("4294897296", shown("uint", bytes_of<uint32_t>(4294897296u)));
    EXPECT_EQ("18446744073709551615", shown("uint", bytes_of<uint64_t>(UINT64_MAX)));
    EXPECT_EQ("0", shown("uint32", bytes_of<uint32_t>(0)));
}

TEST(AnswerType, RealNumbersHaveNoMoreDigitsThanTheyNeed) {
    EXPECT_EQ("0.1", shown("float", bytes_of(0.1f)));
    EXPECT_EQ("0.1", shown("double", bytes_of(0.1)));
    EXPECT_EQ("0.30000000000000004", shown("double", bytes_of(0.1 + 0.2)));
    EXPECT_EQ("inf | \"inf\"", shown("double", bytes_of(std::numeric_limits<double>::infinity())));
}

TEST(AnswerType, AnyByteButZeroIsTrue) {
    EXPECT_EQ("false", shown("bool", bytes_of<uint32_t>(0)));
    EXPECT_EQ("true", shown("bool", bytes_of<uint32_t>(0x0100)));
}

TEST(AnswerType, ListsHaveNoUnusedRoom) {
    const std::string bytes = bytes_of<int32_t>(7) + bytes_of<int32_t>(-256) + std::string(8, '\0');
    EXPECT_EQ("7 -256 0 0 | [7,-256,0,0]", shown("ints", bytes));
    EXPECT_EQ("7 -256 | [7,-256]", shown("ints", bytes, true));
    EXPECT_EQ("7 4294967040 | [7,4294967040]", shown("uints", bytes, true));
    EXPECT_EQ(" | []", shown("uints", std::string(1024, '\0'), true));
}

TEST(AnswerType, ATextEndsAtItsNul) {
    EXPECT_EQ("wlan0 | \"wlan0\"", shown("text", std::string("wlan0\0rest", 10)));
    EXPECT_EQ("two\nlines | \"two\\nlines\"", shown("text", "two\nlines"));
    EXPECT_EQ(" | \"\"", shown("text", std::string(4, '\0')));
}

TEST(AnswerType, HexHasEveryByteButUnusedRoom) {
    EXPECT_EQ("0aff00 | \"0aff00\"", shown("hex", std::string("\x0a\xff\0", 3)));
    EXPECT_EQ("0aff | \"0aff\"", shown("hex", std::string("\x0a\xff\0", 3), true));
}

TEST(AnswerType, JsonIsSetOut) {
    const AnswerValue value = answer_value("json", std::string("{\"on\":[1]}\0\0", 12), true);
    EXPECT_EQ("", value.problem);
    EXPECT_EQ("{\n  \"on\": [\n    1\n  ]\n}", value.text);
    EXPECT_EQ("the answer is not JSON; --as text and --as hex print any",
              answer_value("json", "{on}", true).problem);
}

TEST(AnswerType, AWrongSizeIsSaidWithTheLength) {
    EXPECT_EQ("--as int takes an answer of 1, 2, 4 or 8 bytes, and --room makes it 3",
              room_problem("int", 3));
    EXPECT_EQ("--as uint8 takes an answer of 1 byte, and --room makes it 4", room_problem("uint8", 4));
    EXPECT_EQ("--as double takes an answer of 8 bytes, and --room makes it 0", room_problem("double", 0));
    EXPECT_EQ("--as ints takes an answer of a multiple of 4 bytes, and --room makes it 6",
              room_problem("ints", 6));
    for (const char *type : {"int", "uint", "bool"}) {
        for (const uint32_t room : {1u, 2u, 4u, 8u}) {
            EXPECT_EQ("", room_problem(type, room)) << type << room;
        }
    }
    EXPECT_EQ("", room_problem("uints", 24));
    EXPECT_EQ("", room_problem("text", 3));
    EXPECT_EQ("", room_problem("json", 0));
}

TEST(AnswerType, ChoosesTheRoom) {
    EXPECT_EQ(4u, default_room("int", 1024));
    EXPECT_EQ(4u, default_room("bool", 1024));
    EXPECT_EQ(8u, default_room("uint64", 1024));
    EXPECT_EQ(2u, default_room("int16", 1024));
    EXPECT_EQ(1024u, default_room("ints", 1024));
    EXPECT_EQ(1024u, default_room("text", 1024));
}

TEST(AnswerType, EveryTypeFitsItsDefaultRoom) {
    for (const std::string &type : answer_type_names()) {
        EXPECT_EQ("", room_problem(type, default_room(type, 1024))) << type;
    }
}

}  // namespace
