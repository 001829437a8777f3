/*
 * Texts and variables in a module whose locale is neither that of the device's files nor that of its
 * messages.
 */
#include <clocale>

#include "frwk_utils.h"
#include "json.h"
#include "support/foreign_locale.h"
#include "unit/frwk_utils/values/value_text.h"

namespace {

double read_double(const char *text) {
    double value = 0;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_DOUBLE, text, &value, sizeof(value)), E_APPS_ERR_SUCCESS);
    return value;
}

double read_json_double(const char *text) {
    double value = 0;
    json_item *const root = json_parse(text);
    EXPECT_EQ(frwk_get_json_item_value(root, FRWK_DATA_TYPE_DOUBLE, "v", &value, sizeof(value)),
              E_APPS_ERR_SUCCESS);
    json_free(root);
    return value;
}

class InAForeignLocale : public testing::Test {
  private:
    ForeignLocale locale_;
};

}  // namespace

TEST_F(InAForeignLocale, ANumberIsWrittenWithAPoint) {
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_DOUBLE, 1.5), "1.500000");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_FLOAT, -0.25F), "-0.250000");
}

TEST_F(InAForeignLocale, APointIsReadAndACommaEndsTheNumber) {
    EXPECT_EQ(read_double("1.5"), 1.5);
    EXPECT_EQ(read_double("1,5"), 1.0);

    float value = 0;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_FLOAT, "-0.25", &value, sizeof(value)), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(value, -0.25F);
}

TEST_F(InAForeignLocale, AJsonNumberAndAJsonTextAreReadWithAPoint) {
    EXPECT_EQ(read_json_double("{\"v\": 1.5}"), 1.5);
    EXPECT_EQ(read_json_double("{\"v\": \"2.5\"}"), 2.5);
}

TEST_F(InAForeignLocale, TheModulesOwnNumbersKeepTheirComma) {
    (void)text_of(FRWK_DATA_TYPE_DOUBLE, 1.5);
    (void)read_double("1.5");
    (void)read_json_double("{\"v\": 1.5}");
    char text[16];
    (void)snprintf(text, sizeof(text), "%.1f", 1.5);
    EXPECT_STREQ(text, "1,5");
}

TEST_F(InAForeignLocale, BooleanWordsInCapitalLettersAreKnown) {
    uint8_t value = 1;
    EXPECT_EQ(frwk_str_to_bool("DISABLE", &value), 1);
    EXPECT_EQ(value, 0);
}

TEST_F(InAForeignLocale, AnAllowedWordInCapitalLettersIsKnown) {
    EXPECT_EQ(frwk_check_enum_value("wired,wifi", "WIFI"), 1);
}
