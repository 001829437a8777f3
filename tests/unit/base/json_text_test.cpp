/*
 * The tokens of JSON texts.
 */
#include "adapt/json_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using json_text::Token;

struct Sample {
    const char *text;
    Token token;
    size_t length; /* of the token */
};

void expect_tokens(std::initializer_list<Sample> samples) {
    for (const Sample &sample : samples) {
        const char *at = sample.text;
        EXPECT_EQ(sample.token, json_text::skip_token(&at)) << sample.text;
        EXPECT_EQ(sample.text + sample.length, at) << sample.text;
    }
}

}  // namespace

TEST(JsonText, OneTokenIsPassed) {
    expect_tokens({{"", Token::kEnd, 0},
                   {"}]", Token::kPlain, 1},
                   {" 1", Token::kPlain, 1},
                   {",1", Token::kBeforeItem, 1},
                   {"[1", Token::kBeforeItem, 1},
                   {"{}", Token::kBeforeItem, 1}});
}

TEST(JsonText, ANumberIsPassedToItsEnd) {
    expect_tokens({{"0]", Token::kPlain, 1},
                   {"-12.5e+7,", Token::kPlain, 8},
                   {"9223372036854775807", Token::kPlain, 19},
                   {"9223372036854775808", Token::kLongInteger, 19},
                   {"-9223372036854775808", Token::kPlain, 20},
                   {"-9223372036854775809", Token::kLongInteger, 20},
                   {"99999999999999999999.0", Token::kPlain, 22}});
}

TEST(JsonText, AStringIsPassedToItsQuote) {
    expect_tokens({{R"("a,[{"b)", Token::kPlain, 6},
                   {R"("\\" 1)", Token::kPlain, 4},
                   {R"("\"" 1)", Token::kPlain, 4},
                   {R"("\\u0000")", Token::kPlain, 9}});
}

TEST(JsonText, ABadTokenIsNotPassed) {
    for (const char *text : {"-", "01", "1.", "1e", "1e+", "'a'", "NaN", "Infinity", R"("a)", "\"a\n\"",
                             R"("\u0000")", R"("\)"}) {
        expect_tokens({{text, Token::kBad, 0}});
    }
}
