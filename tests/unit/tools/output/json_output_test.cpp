#include "output/json_output.h"

#include <gtest/gtest.h>

namespace {

std::string text_of(const Json &value) {
    return json_object_to_json_string_ext(value.get(), JSON_C_TO_STRING_PLAIN);
}

TEST(JsonOutput, KeepsUtf8AndReplacesOtherBytes) {
    EXPECT_EQ("\"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\"",
              text_of(json_text("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80")));
    for (const char *bad : {"\xFF", "\x80", "\xC3", "\xC0", "\xF5"}) {
        EXPECT_EQ("\"\xEF\xBF\xBD\"", text_of(json_text(bad)));
    }
    EXPECT_EQ("\"\xEF\xBF\xBDz\"", text_of(json_text("\xE2z")));
}

TEST(JsonOutput, ReplacesOverlongFormsSurrogatesAndWhatIsTooLarge) {
    const std::string three = "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"";
    EXPECT_EQ(three, text_of(json_text("\xE0\x80\x80")));
    EXPECT_EQ(three, text_of(json_text("\xED\xA0\x80")));
    const std::string four = "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"";
    EXPECT_EQ(four, text_of(json_text("\xF0\x80\x80\x80")));
    EXPECT_EQ(four, text_of(json_text("\xF4\x90\x80\x80")));
}

TEST(JsonOutput, EscapesControlCharactersAndQuotes) {
    EXPECT_EQ("\"\\u001b\\n\\\"\\\\\"", text_of(json_text("\033\n\"\\")));
}

TEST(JsonOutput, WritesWordsAsWhatTheyAre) {
    EXPECT_EQ("18446744073709551615", text_of(json_word("18446744073709551615")));
    EXPECT_EQ("-9223372036854775807", text_of(json_word("-9223372036854775807")));
    EXPECT_EQ("1.500000", text_of(json_word("1.500000")));
    EXPECT_EQ("true", text_of(json_word("true")));
    EXPECT_EQ("\"inf\"", text_of(json_word("inf")));
    EXPECT_EQ("\"-nan\"", text_of(json_word("-nan")));
    EXPECT_EQ("\"\"", text_of(json_word("")));
    EXPECT_EQ("\"null\"", text_of(json_word("null")));
}

TEST(JsonOutput, BuildsObjectsAndArrays) {
    const Json object = json_members();
    Json array = json_items();
    add_item(array, json_number(1));
    add_item(array, json_text("x"));
    add_member(object, "list", std::move(array));
    EXPECT_EQ("{\"list\":[1,\"x\"]}", text_of(object));
}

}  // namespace
