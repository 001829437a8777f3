/*
 * Events from module to module.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "event_files.h"
#include "support/module_process.h"

namespace {

using Names = std::vector<std::string>;

class Event : public EventFiles {};

TEST_F(Event, ReachesItsSubscribersAndNobodyElse) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    ModuleProcess lcd(20);
    ModuleProcess sms(11);
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ("ret=0", lcd.ask("sub link"));
    EXPECT_EQ("ret=0", sms.ask("sub other"));
    EXPECT_EQ((Names{"wlan", "lcd"}), subscribers());

    EXPECT_EQ("done", router.ask("pub link 3001 text:up"));
    EXPECT_TRUE(wlan.wait_for_message("3 3001 2 7570"));
    EXPECT_TRUE(lcd.wait_for_message("3 3001 2 7570"));
    EXPECT_TRUE(sms.messages().empty());
    EXPECT_TRUE(router.messages().empty());
}

TEST_F(Event, DoesNotReachItsPublisher) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0", router.ask("sub link"));
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ("done", router.ask("pub link 3001 -"));
    EXPECT_TRUE(wlan.wait_for_message("3 3001 0 -"));
    EXPECT_TRUE(router.messages().empty());
}

TEST_F(Event, IsNoLongerHeardAfterUnsubscribing) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    ModuleProcess lcd(20);
    wlan.ask("sub link");
    lcd.ask("sub link");
    EXPECT_EQ("ret=0", wlan.ask("unsub link"));
    EXPECT_EQ("done", router.ask("pub link 3001 -"));
    EXPECT_TRUE(lcd.wait_for_messages(1));
    EXPECT_TRUE(wlan.messages().empty());
}

TEST_F(Event, ASubscriptionOutlivesItsModule) {
    ModuleProcess router(3);
    {
        ModuleProcess wlan(5);
        EXPECT_EQ("ret=0", wlan.ask("sub link"));
        wlan.process().kill();
    }
    EXPECT_EQ("done", router.ask("pub link 3001 text:missed"));
    ModuleProcess wlan(5);
    EXPECT_EQ("done", router.ask("pub link 3001 text:heard"));
    EXPECT_TRUE(wlan.wait_for_message("3 3001 5 6865617264"));
    EXPECT_EQ(1u, wlan.messages().size());
}

TEST_F(Event, ALargeBodyReachesEverySubscriberWhole) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    ModuleProcess lcd(20);
    wlan.ask("sub link");
    lcd.ask("sub link");
    EXPECT_EQ("done", router.ask("pub link 3001 zeros:100000"));
    const std::string received = "3 3001 100000 " + std::string(64, '0');
    EXPECT_TRUE(wlan.wait_for_message(received));
    EXPECT_TRUE(lcd.wait_for_message(received));
}

TEST_F(Event, IsKeptInTheOtherFolderWhileTheFirstIsMissing) {
    ASSERT_EQ(0, ::rmdir("/m_data/usr/subscribe"));
    ASSERT_EQ(0, ::mkdir("/m_webui/subscribe", 0755));
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ("wlan\n", file_text("/m_webui/subscribe/link"));
    EXPECT_EQ("done", router.ask("pub link 3001 -"));
    EXPECT_TRUE(wlan.wait_for_messages(1));
}

TEST_F(Event, OmaEndsTheSubscriptionOfOmadmInItsPlace) {
    ModuleProcess omadm(23);
    ModuleProcess oma(22);
    omadm.ask("sub link");
    oma.ask("sub link");
    EXPECT_EQ("ret=0", oma.ask("unsub link"));
    EXPECT_EQ(Names{"oma"}, subscribers());
}

TEST_F(Event, ThreadsOfTwoModulesMaySubscribeAtOnce) {
    ModuleProcess router(3);
    ModuleProcess wlan(5);
    router.tell("threads link 100 1 8");
    wlan.tell("threads link 100 2 8");
    EXPECT_EQ("failed=0", router.reply());
    EXPECT_EQ("failed=0", wlan.reply());
    EXPECT_EQ("ret=0", router.ask("unsub link"));
    EXPECT_EQ("ret=0", router.ask("sub link"));
    EXPECT_EQ("ret=0", wlan.ask("unsub link"));
    EXPECT_EQ("ret=0", wlan.ask("sub link"));
    EXPECT_EQ((Names{"router", "wlan"}), subscribers());
}

}  // namespace
