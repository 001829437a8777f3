/*
 * The words for a boolean.
 */
#include <cctype>
#include <string>

#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"

namespace {

constexpr uint8_t kUntouched = 0xa5;

std::string upper(std::string text) {
    for (char &each : text) {
        each = static_cast<char>(std::toupper(static_cast<unsigned char>(each)));
    }
    return text;
}

void expect_value(const std::string &text, uint8_t expected) {
    SCOPED_TRACE(text);
    const LogCapture log;
    uint8_t value = kUntouched;
    EXPECT_EQ(frwk_str_to_bool(text.c_str(), &value), 1);
    EXPECT_EQ(value, expected);
    EXPECT_EQ(log.text(), "");
}

}  // namespace

TEST(BoolToStr, HasAPairOfWordsForEachStyle) {
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_ON_OFF, 1), "on");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_ON_OFF, 0), "off");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_YES_NO, 1), "yes");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_YES_NO, 0), "no");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_TRUE_FALSE, 1), "true");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_TRUE_FALSE, 0), "false");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_ENABLE_DISABLE, 1), "enable");
    EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_ENABLE_DISABLE, 0), "disable");
}

TEST(BoolToStr, HasDigitsForAnyOtherStyle) {
    for (const int32_t style : {0, 5, -1, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(frwk_bool_to_str(style, 1), "1") << style;
        EXPECT_STREQ(frwk_bool_to_str(style, 0), "0") << style;
    }
}

TEST(BoolToStr, TakesAnythingButZeroAsTrue) {
    for (const int32_t value : {2, -1, 256, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(frwk_bool_to_str(FRWK_BOOL_STYLE_ON_OFF, value), "on") << value;
    }
}

TEST(BoolToStr, NumbersItsStylesFromOne) {
    EXPECT_EQ(FRWK_BOOL_STYLE_ON_OFF, 1);
    EXPECT_EQ(FRWK_BOOL_STYLE_YES_NO, 2);
    EXPECT_EQ(FRWK_BOOL_STYLE_TRUE_FALSE, 3);
    EXPECT_EQ(FRWK_BOOL_STYLE_ENABLE_DISABLE, 4);
}

TEST(StrToBool, KnowsTheWordsForTrueInAnyCase) {
    for (const char *word : {"1", "on", "yes", "true", "enable", "On", "yEs", "tRUE"}) {
        expect_value(word, 1);
        expect_value(upper(word), 1);
    }
}

TEST(StrToBool, KnowsTheWordsForFalseInAnyCase) {
    for (const char *word : {"0", "no", "off", "false", "disable", "Off", "nO", "fALSE"}) {
        expect_value(word, 0);
        expect_value(upper(word), 0);
    }
}

TEST(StrToBool, TakesAnEmptyTextAsFalse) {
    expect_value("", 0);
}

TEST(StrToBool, TakesANullTextAsFalse) {
    uint8_t value = kUntouched;
    EXPECT_EQ(frwk_str_to_bool(nullptr, &value), 1);
    EXPECT_EQ(value, 0);
}

TEST(StrToBool, RefusesEveryOtherTextAndLeavesTheByteAlone) {
    for (const char *text : {"2", " true", "true ", " ", "-1", "+1", "01", "00", "1.0", "tru", "truee", "y",
                             "n", "enabled", "\"1\"", "on,off", "nan"}) {
        SCOPED_TRACE(text);
        const LogCapture log;
        uint8_t value = kUntouched;
        EXPECT_EQ(frwk_str_to_bool(text, &value), 0);
        EXPECT_EQ(value, kUntouched);
        EXPECT_TRUE(logged_once(log, kDebugLevel, "frwk_str_to_bool",
                                std::string("invalid bool value=") + text + "!"));
        EXPECT_TRUE(
            logged_once(log, kWarningLevel, "frwk_str_to_bool", "the text is no word for a boolean!"));
    }
}

TEST(StrToBool, AnswersWithoutAPlaceForTheValue) {
    EXPECT_EQ(frwk_str_to_bool("on", nullptr), 1);
    EXPECT_EQ(frwk_str_to_bool("off", nullptr), 1);
    EXPECT_EQ(frwk_str_to_bool("", nullptr), 1);
    EXPECT_EQ(frwk_str_to_bool(nullptr, nullptr), 1);
    EXPECT_EQ(frwk_str_to_bool("2", nullptr), 0);
}
