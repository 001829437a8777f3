/*
 * Publishing: the receivers of the message, what is skipped, and what is logged.
 */
#include <cerrno>
#include <string>

#include "unit/frwk_common/events/subscription_fixture.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace libc = doubles::libc;

namespace {

constexpr char kPub[] = "frwk_ipc_msg_pub";

std::string ignored(const std::string &name) {
    return "ignore invalid subscriber module(" + name + ")!";
}

/* The process is module 3, router; wlan and lcd listen. */
class PublishTest : public SubscriptionTest {
  protected:
    /* Publishes "up" with message 3001 to the subscribers that a file lists. */
    static void publish(const std::string &list) {
        write_file(kLinkFile, list);
        frwk_ipc_msg_pub("link", 3001, "up", 2);
    }
    /* What each of them receives. */
    static Bytes notice() { return words({3, 3001, 1, 3, 0, 2}) + text_bytes("up"); }
    void expect_wlan_reached() {
        EXPECT_EQ(wlan_.take_message(), notice());
        EXPECT_FALSE(wlan_.has_connection());
    }
    void expect_nobody_reached() {
        EXPECT_FALSE(wlan_.has_connection());
        EXPECT_FALSE(lcd_.has_connection());
    }

    TestListener wlan_{"wlan"};
    TestListener lcd_{"lcd"};
};

}  // namespace

TEST_F(PublishTest, NotifiesEverySubscriber) {
    publish("wlan\nlcd\n");
    EXPECT_EQ(wlan_.take_message(), notice());
    EXPECT_EQ(lcd_.take_message(), notice());
}

TEST_F(PublishTest, NeedsNoBody) {
    write_file(kLinkFile, "wlan\n");
    frwk_ipc_msg_pub("link", 9, nullptr, 0);
    EXPECT_EQ(wlan_.take_message(), words({3, 9, 1, 3, 0, 0}));
}

TEST_F(PublishTest, ReachesOnlyTheSubscribersOfTheEvent) {
    write_file("/m_data/usr/subscribe/other", "lcd\n");
    publish("wlan\n");
    expect_wlan_reached();
    EXPECT_FALSE(lcd_.has_connection());
}

TEST_F(PublishTest, DoesNothingWithoutSubscribers) {
    publish("");
    frwk_ipc_msg_pub("nobody", 3001, "up", 2);
    expect_nobody_reached();
    EXPECT_EQ(log_.text(), "");
}

TEST_F(PublishTest, SkipsThePublisherItself) {
    publish("router\nwlan\n");
    expect_wlan_reached();
    EXPECT_EQ(log_.count("####"), 1u) << log_.text();
}

TEST_F(PublishTest, SkipsBlankLines) {
    publish("\n\r\n \t\nwlan\n\n");
    expect_wlan_reached();
    EXPECT_FALSE(log_.contains("ignore"));
}

TEST_F(PublishTest, SkipsNamesThatAreNotInTheModuleTable) {
    publish("nonesuch\nwlan\nWLAN\ntool\n");
    expect_wlan_reached();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, ignored("nonesuch")));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, ignored("WLAN")));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, ignored("tool")));
}

TEST_F(PublishTest, PassesOverSubscribersThatDoNotRun) {
    lcd_.stop();
    publish("lcd\nwlan\n");
    expect_wlan_reached();
}

TEST_F(PublishTest, SendsAModuleThatIsListedTwiceTwoMessages) {
    publish("wlan\nwlan\n");
    EXPECT_EQ(wlan_.take_message(), notice());
    EXPECT_EQ(wlan_.take_message(), notice());
}

TEST_F(PublishTest, ReadsAnyLineEnd) {
    publish("lcd\r\nwlan");
    EXPECT_EQ(wlan_.take_message(), notice());
    EXPECT_EQ(lcd_.take_message(), notice());
}

TEST_F(PublishTest, ReadsALongLineInPiecesOf62Characters) {
    publish(std::string(62, 'x') + "wlan\n" + std::string(100, 'y') + "\n");
    expect_wlan_reached();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, ignored(std::string(62, 'x'))));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, ignored(std::string(62, 'y'))));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, ignored(std::string(38, 'y'))));
}

TEST_F(PublishTest, ALineOf62CharactersLeavesNoRest) {
    publish(std::string(62, 'x') + "\nwlan\n");
    expect_wlan_reached();
    EXPECT_EQ(log_.count("ignore"), 1u);
}

TEST_F(PublishTest, ReadsAFileOfOneMegabyteWithoutHeap) {
    publish(std::string(1u << 20, '\n') + "wlan\n");
    expect_wlan_reached();
    EXPECT_EQ(doubles::base::os_mem_malloc.calls(), 0u);
}

TEST_F(PublishTest, ReadsAFileOfOrdinarySizeInOneCall) {
    std::string all;
    for (int32_t id = 1; id < FRWK_MODULE_ROWS; ++id) {
        const char *name = frwk_module_name(id);
        all += name != nullptr && id < E_APPS_MODULE_MAX ? std::string(name) + "\n" : "";
    }
    publish(all);
    EXPECT_EQ(libc::read.calls(), 1u);
    expect_wlan_reached();
}

TEST_F(PublishTest, ReadsNothingOfAFileThatGrowsMeanwhile) {
    write_file(kLinkFile, "wlan\n");
    libc::read.stand_in([](int fd, void *data, size_t size) {
        const ssize_t count = libc::read.real(fd, data, size);
        write_file(kLinkFile, "statistics\nlcd\n");
        return count;
    });
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    expect_wlan_reached();
    EXPECT_FALSE(log_.contains("ignore")) << log_.text();
    EXPECT_FALSE(lcd_.has_connection());
}

TEST_F(PublishTest, TakesNoLock) {
    ASSERT_EQ(mkdir(kSubscribeLockFile, 0755), 0);
    publish("wlan\n");
    expect_wlan_reached();
    EXPECT_EQ(libc::fopen.calls(), 0u);
}

TEST_F(PublishTest, ReportsAFileThatMayNotBeOpened) {
    write_file(kLinkFile, "wlan\n");
    refuse_to_open(0, EACCES);
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kPub, "open envent key(/m_data/usr/subscribe/link) file failed!"));
    expect_nobody_reached();
}

TEST_F(PublishTest, EndsWhereTheFileCanNotBeReadFurther) {
    write_file(kLinkFile, "wlan\n");
    libc::read.fail(EIO);
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    libc::read.restore();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_ipc_msg_pub",
                            "read event key(/m_data/usr/subscribe/link) file failed!"));
    expect_nobody_reached();
}

TEST_F(PublishTest, AFolderInPlaceOfTheFileListsNobody) {
    ASSERT_EQ(mkdir(kLinkFile, 0755), 0);
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(PublishTest, AKeyThatNamesNoFileCanNotBeOpened) {
    write_file("/m_data/usr/escaped", "wlan\n");
    for (const char *key : kKeysThatNameNoFile) {
        log_.clear();
        frwk_ipc_msg_pub(key, 3001, "up", 2);
        const std::string path = std::string(kSubscribeFolder) + "/" + (key != nullptr ? key : "");
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kPub, "open envent key(" + path + ") file failed!"));
    }
    expect_nobody_reached();
    (void)unlink("/m_data/usr/escaped");
}

TEST_F(PublishTest, AKeyThatNamesALinkLeadsNowhere) {
    write_file("/m_data/usr/escaped", "wlan\n");
    ASSERT_EQ(symlink("/m_data/usr/escaped", kLinkFile), 0);
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kPub, "open envent key(/m_data/usr/subscribe/link) file failed!"));
    expect_nobody_reached();
    (void)unlink("/m_data/usr/escaped");
}

TEST_F(PublishTest, UsesTheOtherFolderWhileTheFirstIsMissing) {
    remove_tree(kSubscribeFolder);
    write_file("/m_webui/subscribe/link", "wlan\n");
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    expect_wlan_reached();
}

TEST_F(PublishTest, ReachesAModuleThatSubscribedItself) {
    become(E_APPS_MODULE_WLAN);
    ASSERT_EQ(frwk_ipc_msg_sub("link"), 0);
    become(E_APPS_MODULE_ROUTER);
    frwk_ipc_msg_pub("link", 3001, "up", 2);
    expect_wlan_reached();
}
