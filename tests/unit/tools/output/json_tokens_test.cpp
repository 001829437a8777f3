#include "output/json_tokens.h"

#include <gtest/gtest.h>

#include <string>

#include "json.h"

namespace {

TEST(JsonTokens, AreThoseOfTheFormat) {
    EXPECT_TRUE(has_json_tokens("{\"a\": [1, -2.5e3, true, null, \"\\u00fc\"]}"));
    EXPECT_TRUE(has_json_tokens(""));
}

TEST(JsonTokens, AreNoWordsAndNumbersOfOtherLanguages) {
    for (const char *text : {"NaN", "Infinity", "01", "'a'"}) {
        EXPECT_FALSE(has_json_tokens(text)) << text;
    }
}

TEST(JsonTokens, AreOfAnySize) {
    EXPECT_TRUE(has_json_tokens("99999999999999999999999"));
}

TEST(JsonTokens, AreOfATextThatModulesWouldTakeToo) {
    std::string list = "[";
    for (uint32_t i = 2; i < JSON_ITEMS_MAX; ++i) {
        list += "1,";
    }
    EXPECT_TRUE(has_json_tokens((list + "1]").c_str()));
    EXPECT_FALSE(has_json_tokens((list + "1,1]").c_str()));
    EXPECT_TRUE(has_json_tokens(std::string(JSON_TEXT_MAX, ' ').c_str()));
    EXPECT_FALSE(has_json_tokens(std::string(JSON_TEXT_MAX + 1, ' ').c_str()));
}

}  // namespace
