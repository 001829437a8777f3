/*
 * Both language changes: what is accepted, stored and published, and every failure with its log line.
 */
#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/event_doubles.h"
#include "unit/frwk_utils/fake_database.h"

namespace {

struct Language {
    const char *name; /* of the tests */
    int32_t (*change)(const char *language);
    const char *call;
    const char *list;
    const char *current;
    const char *list_failure;
    const char *save_failure; /* for the language "zh" */
    const char *not_in_list;  /* without the language */
    const char *event;
    int32_t msgid;
};

constexpr Language kLanguages[] = {
    {"Web", frwk_language_change, "frwk_language_change", "webs_language_support", "webs_language",
     "zndb get supported language failed!", "save language 'zh' to zndb failed!",
     "invalid language=", "E_APPS_MSG_SYS_LANGUAGE_CHANGE", 9},
    {"UserAgreement", frwk_user_agreement_language_change, "frwk_user_agreement_language_change",
     "webs_usragree_lang_support", "webs_usragree_language",
     "zndb get user agreement supported language failed!",
     "save user agreement language 'zh' to zndb failed!",
     "invalid user agreement language=", "E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE", 10},
};

class LanguageTest : public testing::WithParamInterface<Language>, public ConfigTest {
  protected:
    void SetUp() override {
        ConfigTest::SetUp();
        published_events().clear();
    }

    void support(const std::string &list) { store(GetParam().list, list); }

    /* A change that succeeds stores the language as it is given, and announces it once. */
    void expect_changed(const std::string &language) {
        published_events().clear();
        EXPECT_EQ(1, GetParam().change(language.c_str())) << language;
        EXPECT_EQ(language, stored(GetParam().current));
        EXPECT_EQ(1u, published_events().size());
    }

    void expect_refused(const std::string &language) {
        LogCapture log;
        EXPECT_EQ(0, GetParam().change(language.c_str())) << language;
        EXPECT_TRUE(logged_once(log, kWarningLevel, GetParam().call, GetParam().not_in_list + language));
        expect_nothing_changed();
    }

    void expect_nothing_changed() {
        EXPECT_EQ("(none)", stored(GetParam().current));
        EXPECT_TRUE(published_events().empty());
    }
};

std::string name_of(const testing::TestParamInfo<Language> &info) {
    return info.param.name;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Of, LanguageTest, testing::ValuesIn(kLanguages), name_of);

TEST_P(LanguageTest, StoresSavesAndAnnouncesTheChange) {
    support("en,zh");
    EXPECT_EQ(1, GetParam().change("zh"));

    const std::vector<DatabaseRequest> &requests = database().requests;
    ASSERT_EQ(3u, requests.size());
    EXPECT_EQ("zndb_get", requests[0].call);
    EXPECT_EQ(GetParam().list, requests[0].key);
    EXPECT_EQ(1024u, requests[0].size);
    EXPECT_EQ("zndb_set", requests[1].call);
    EXPECT_EQ(GetParam().current, requests[1].key);
    EXPECT_EQ("zh", requests[1].value);
    EXPECT_EQ("zndb_save", requests[2].call);

    ASSERT_EQ(1u, published_events().size());
    const PublishedEvent &event = published_events()[0];
    EXPECT_EQ(GetParam().event, event.event);
    EXPECT_EQ(GetParam().msgid, event.msgid);
    EXPECT_EQ(nullptr, event.data);
    EXPECT_EQ(0u, event.len);
}

TEST_P(LanguageTest, ALabelBelongsToNoLanguageAndLetterCaseDoesNotMatter) {
    support("en#English,zh#Chinese");
    expect_changed("ZH");
    expect_changed("en");
}

TEST_P(LanguageTest, AnyItemOfTheListWillDo) {
    support("en,zh#Chinese,de,pt-BR");
    for (const char *language : {"en", "zh", "de", "pt-br"}) {
        expect_changed(language);
    }
}

TEST_P(LanguageTest, ALanguageThatIsListedTwiceIsAnnouncedOnce) {
    support("en,en#English,en");
    expect_changed("en");
}

TEST_P(LanguageTest, ABlankAfterTheCommaBelongsToTheItem) {
    support("en, zh");
    expect_refused("zh");
    expect_changed(" zh");
}

TEST_P(LanguageTest, RefusesWhatIsNoItem) {
    support("en#English,zh#Chinese,");
    for (const char *language :
         {"e", "eng", "English", "en#English", "en#", "#English", "en,zh", ",", "zh#Chinese,", " en"}) {
        expect_refused(language);
    }
}

TEST_P(LanguageTest, AnEmptyItemIsNoLanguage) {
    for (const char *list : {"", ",", ",,,", "#English", "#,#"}) {
        support(list);
        expect_refused("en");
    }
}

TEST_P(LanguageTest, RefusesNullAndTheEmptyTextWithoutARequest) {
    for (const char *language : {static_cast<const char *>(nullptr), ""}) {
        const LogCapture log;
        EXPECT_EQ(0, GetParam().change(language));
        EXPECT_TRUE(logged_once(log, kWarningLevel, GetParam().call, "invalid input language!"));
    }
    EXPECT_TRUE(database().requests.empty());
}

TEST_P(LanguageTest, ReportsAListThatCannotBeRead) {
    const LogCapture log;
    EXPECT_EQ(0, GetParam().change("zh"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, GetParam().call, GetParam().list_failure));
    EXPECT_EQ(1u, database().requests.size());
    expect_nothing_changed();
}

TEST_P(LanguageTest, ReportsAChangeThatCannotBeStored) {
    support("zh");
    database().results["zndb_set"] = E_ZNDB_RET_IPC;
    const LogCapture log;
    EXPECT_EQ(0, GetParam().change("zh"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, GetParam().call, GetParam().save_failure));
    EXPECT_EQ("zndb_set", database().requests.back().call);
    expect_nothing_changed();
}

TEST_P(LanguageTest, ReportsAChangeThatCannotBeSavedAndDoesNotAnnounceIt) {
    support("zh");
    database().results["zndb_save"] = E_ZNDB_RET_FAILURE;
    const LogCapture log;
    EXPECT_EQ(0, GetParam().change("zh"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, GetParam().call, GetParam().save_failure));
    EXPECT_EQ("zh", stored(GetParam().current));
    EXPECT_TRUE(published_events().empty());
}

TEST_P(LanguageTest, AListOf1023CharactersWithoutACommaIsOneItem) {
    const std::string item(1023, 'x');
    support(item);
    expect_refused("en");
    expect_refused(item.substr(1));
    expect_changed(item);
}

TEST_P(LanguageTest, ALabelOf1020CharactersEndsWithTheList) {
    support("zh#" + std::string(1020, ' '));
    expect_refused("en");
    expect_changed("zh");
}

TEST_P(LanguageTest, AListThatComesWithoutItsNulEndsWithTheBuffer) {
    database().raw_answer = std::string(1024, 'x');
    expect_refused(std::string(1025, 'x'));
    database().raw_answer = "en," + std::string(1021, 'x');
    expect_refused("zh");
}
