/*
 * Records that are filled from codec lists.
 */
#include "frwk_utils/settings/record_items.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "doubles/log_capture.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"

namespace {

struct Sample {
    char name[8];
    int32_t number;
    bool is_up;
};

apps_err_e_type settle_state(const char *word, void *record) {
    if (std::strcmp(word, "up") != 0) {
        return E_APPS_ERR_PARAM;
    }
    static_cast<Sample *>(record)->is_up = true;
    return E_APPS_ERR_SUCCESS;
}

constexpr RecordItem kItems[] = {
    {"no name!", FRWK_DATA_TYPE_STRING, sizeof(Sample::name), offsetof(Sample, name), "name",
     ItemPrivacy::kOpen, nullptr},
    {"no state!", FRWK_DATA_TYPE_STRING, kRecordWordSize, kNoField, "state", ItemPrivacy::kSecret,
     settle_state},
    {"no number!", FRWK_DATA_TYPE_INT, sizeof(int32_t), offsetof(Sample, number), nullptr, ItemPrivacy::kOpen,
     nullptr},
};

class RecordItems : public ConfigTest {
  protected:
    apps_err_e_type fill(std::string list) {
        return fill_record("caller", kItems, std::size(kItems), list.data(), &record_);
    }

    Sample record_ = {"old", 5, false};
};

}  // namespace

TEST_F(RecordItems, FillTheirFieldsInOrder) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, fill("lan,up,42,more"));
    EXPECT_STREQ("lan", record_.name);
    EXPECT_TRUE(record_.is_up);
    EXPECT_EQ(42, record_.number);
}

TEST_F(RecordItems, AfterTheOneThatCanNotBeReadStayAsTheyWere) {
    const LogCapture log;
    EXPECT_NE(E_APPS_ERR_SUCCESS, fill("too long a name,up,42"));
    EXPECT_FALSE(record_.is_up);
    EXPECT_EQ(5, record_.number);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "caller", "no name!"));
}

TEST_F(RecordItems, ThatAreNotUnderstoodEndWithTheirOwnResult) {
    EXPECT_EQ(E_APPS_ERR_PARAM, fill("lan,down,42"));
    EXPECT_STREQ("lan", record_.name);
    EXPECT_EQ(5, record_.number);
}

TEST_F(RecordItems, ThatAreMissingCountAsEmpty) {
    EXPECT_EQ(E_APPS_ERR_PARAM, fill(""));
    EXPECT_STREQ("", record_.name);
}

TEST_F(RecordItems, AreLoggedUnderTheirLabelsUnlessTheyAreSecret) {
    const LogCapture log;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, fill("lan,up,42"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, "caller", "name:lan")) << log.text();
    EXPECT_TRUE(log.contains("state:******"));
    EXPECT_FALSE(log.contains("42"));
}
