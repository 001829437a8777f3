/*
 * The two folders of subscriptions: which one is used, and how each is created and cleared.
 */
#include <string>

#include "unit/frwk_common/events/subscription_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class SubscriptionFolderTest : public SubscriptionTest {};

/* What a call does with the shell and the file systems, in order. */
std::string steps_of(void (*call)()) {
    std::string steps;
    base::os_system.stand_in([&steps](const char *command) {
        steps += std::string(command) + ";";
        return base::os_system.real(command);
    });
    libc::sync.stand_in([&steps] { steps += "sync;"; });
    call();
    return steps;
}

}  // namespace

TEST_F(SubscriptionFolderTest, UsesTheOtherFolderWhileTheFirstIsMissing) {
    remove_tree(kSubscribeFolder);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(read_file("/m_webui/subscribe/link"), "router\n");
    ASSERT_EQ(mkdir(kSubscribeFolder, 0755), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(read_file(kLinkFile), "router\n");
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
    EXPECT_EQ(read_file("/m_webui/subscribe/link"), "router\n");
    remove_tree(kSubscribeFolder);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
    EXPECT_FALSE(exists("/m_webui/subscribe/link"));
}

TEST_F(SubscriptionFolderTest, InitClearsTheFolder) {
    write_file(kLinkFile, "router\n");
    write_file("/m_webui/subscribe/link", "router\n");
    EXPECT_EQ(steps_of(frwk_ipc_init_sub), "rm -rf /m_data/usr/subscribe/*;sync;");
    EXPECT_FALSE(exists(kLinkFile));
    EXPECT_TRUE(exists(kSubscribeFolder));
    EXPECT_TRUE(exists("/m_webui/subscribe/link"));
}

TEST_F(SubscriptionFolderTest, InitKeepsTheSubscribersOfAKeyThatBeginsWithADot) {
    write_file("/m_data/usr/subscribe/.link", "router\n");
    frwk_ipc_init_sub();
    EXPECT_EQ(read_file("/m_data/usr/subscribe/.link"), "router\n");
}

TEST_F(SubscriptionFolderTest, InitMakesTheFolder) {
    remove_tree(kSubscribeFolder);
    EXPECT_EQ(steps_of(frwk_ipc_init_sub), "mkdir -p /m_data/usr/subscribe;sync;");
    EXPECT_TRUE(exists(kSubscribeFolder));
}

TEST_F(SubscriptionFolderTest, InitExClearsTheOtherFolder) {
    write_file(kLinkFile, "router\n");
    write_file("/m_webui/subscribe/link", "router\n");
    EXPECT_EQ(steps_of(frwk_ipc_init_sub_ex), "rm -rf /m_webui/subscribe/*;sync;");
    EXPECT_FALSE(exists("/m_webui/subscribe/link"));
    EXPECT_TRUE(exists(kLinkFile));
}

TEST_F(SubscriptionFolderTest, InitExMakesTheOtherFolder) {
    remove_tree(kSubscribeFolderEx);
    EXPECT_EQ(steps_of(frwk_ipc_init_sub_ex), "mkdir -p /m_webui/subscribe;sync;");
    EXPECT_TRUE(exists(kSubscribeFolderEx));
}
