/*
 * A module changes the language: the database stores it, and the subscribers receive the event.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/module_process.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr char kEvent[] = "3 9 0 -";           /* E_APPS_MSG_SYS_LANGUAGE_CHANGE of module 3 */
constexpr char kAgreementEvent[] = "3 10 0 -"; /* E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE */

/* Module 3 changes the language, module 5 subscribed to the event, module 20 did not. */
class LanguageEvent : public ZndbTest {
  protected:
    LanguageEvent() {
        std::filesystem::remove_all("/m_data/usr/subscribe");
        std::filesystem::create_directories("/m_data/usr/subscribe");
    }

    void start_with_list(const std::string &list) {
        start();
        ASSERT_EQ(0, zndb_set("webs_language_support", list.c_str()));
        ASSERT_EQ("ret=0", subscriber_.ask("sub E_APPS_MSG_SYS_LANGUAGE_CHANGE"));
    }

    /* Module 3 sends message 77 to each of the others, so that all its earlier messages have arrived. */
    void expect_no_news() {
        for (ModuleProcess *module : {&subscriber_, &stranger_}) {
            const std::string id = module == &subscriber_ ? "5" : "20";
            EXPECT_EQ("ret=15", changer_.ask("async " + id + " 77 3 -"));
            EXPECT_TRUE(module->wait_for_message("3 77 0 -"));
            EXPECT_EQ(1u, module->messages().size());
        }
    }

    ModuleProcess changer_{3};
    ModuleProcess subscriber_{5};
    ModuleProcess stranger_{20};
};

TEST_F(LanguageEvent, ReachesTheSubscriberAndNobodyElse) {
    start_with_list("en#English,zh#Chinese");
    EXPECT_EQ("ret=1", changer_.ask("language ZH"));
    EXPECT_TRUE(subscriber_.wait_for_message(kEvent));

    EXPECT_EQ("ret=15", changer_.ask("async 20 77 3 -"));
    EXPECT_TRUE(stranger_.wait_for_message("3 77 0 -"));
    EXPECT_EQ(1u, stranger_.messages().size());
    EXPECT_EQ(1u, subscriber_.messages().size());
    EXPECT_TRUE(changer_.messages().empty());
}

TEST_F(LanguageEvent, ComesAfterTheLanguageIsSafeFromAPowerCut) {
    start_with_list("en#English,zh#Chinese");
    EXPECT_EQ("ret=1", changer_.ask("language ZH"));
    EXPECT_TRUE(subscriber_.wait_for_message(kEvent));
    cut_power();
    EXPECT_EQ("ZH", plain("webs_language"));
}

TEST_F(LanguageEvent, OfTheUserAgreementIsAnotherOne) {
    start_with_list("en");
    ASSERT_EQ(0, zndb_set("webs_usragree_lang_support", "de,fr"));
    EXPECT_EQ("ret=0", stranger_.ask("sub E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE"));
    EXPECT_EQ("ret=1", changer_.ask("agreement fr"));
    EXPECT_TRUE(stranger_.wait_for_message(kAgreementEvent));
    EXPECT_EQ("fr", plain("webs_usragree_language"));
    EXPECT_EQ("ret 3", plain("webs_language"));
    EXPECT_TRUE(subscriber_.messages().empty());
}

TEST_F(LanguageEvent, IsNotPublishedForALanguageThatIsNotSupported) {
    start_with_list("en, zh");
    EXPECT_EQ("ret=0", changer_.ask("language zh"));
    EXPECT_TRUE(changer_.process().wait_for_error("frwk_language_change")) << changer_.process().errors();
    EXPECT_TRUE(changer_.process().wait_for_error("invalid language=zh")) << changer_.process().errors();
    EXPECT_EQ("ret 3", plain("webs_language"));
    expect_no_news();
}

TEST_F(LanguageEvent, IsNotPublishedWithAListOf1023CharactersWithoutAComma) {
    start_with_list(std::string(1023, 'x'));
    EXPECT_EQ("ret=0", changer_.ask("language en"));
    EXPECT_TRUE(changer_.process().wait_for_error("invalid language=en")) << changer_.process().errors();
    expect_no_news();
}

TEST_F(LanguageEvent, IsNotPublishedWithoutADatabase) {
    EXPECT_EQ("ret=0", changer_.ask("language en"));
    EXPECT_TRUE(changer_.process().wait_for_error("zndb get supported language failed!"))
        << changer_.process().errors();
    expect_no_news();
}

TEST_F(LanguageEvent, IsNotPublishedWhenTheLanguageCannotBeSaved) {
    start_after("mount -t tmpfs -o ro tmpfs /m_data/usr/db");
    ASSERT_EQ(0, zndb_set("webs_language_support", "en"));
    ASSERT_EQ("ret=0", subscriber_.ask("sub E_APPS_MSG_SYS_LANGUAGE_CHANGE"));
    EXPECT_EQ("ret=0", changer_.ask("language en"));
    EXPECT_TRUE(changer_.process().wait_for_error("save language 'en' to zndb failed!"))
        << changer_.process().errors();
    expect_no_news();
}

}  // namespace
