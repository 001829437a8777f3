/*
 * Subscribing and unsubscribing: every result and its log line, and the two folders of subscriptions.
 */
#include <fcntl.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/threads.h"
#include "unit/frwk_common/events/subscription_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kSub[] = "frwk_ipc_msg_sub";
constexpr char kSubscribed[] = "subscribe event=link success!";

class SubscribeTest : public SubscriptionTest {};

constexpr char kUnsub[] = "frwk_ipc_msg_unsub";
constexpr char kUnsubscribed[] = "unsubscribe event=link success!";

class UnsubscribeTest : public SubscriptionTest {};

/* Lets a write take this many bytes, or fail when that is less than 0. */
void cut_writes(ssize_t taken) {
    libc::write.stand_in([taken](int fd, const void *data, size_t) {
        return taken < 0 ? taken : libc::write.real(fd, data, static_cast<size_t>(taken));
    });
}

class SubscriptionFolderTest : public SubscriptionTest {};

/* The shell commands and syncs of a call, in order. */
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

TEST_F(SubscribeTest, MakesTheFileWithTheOwnName) {
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(read_file(kLinkFile), "router\n");
    EXPECT_TRUE(logged_once(log_, kDebugLevel, kSub, kSubscribed));
}

TEST_F(SubscribeTest, AddsTheNameBehindTheOthers) {
    EXPECT_EQ(after_sub("wlan\nlcd\n"), "wlan\nlcd\nrouter\n");
}

TEST_F(SubscribeTest, TwiceAddsOneLineOnly) {
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(read_file(kLinkFile), "router\n");
    EXPECT_EQ(log_.count(kSubscribed), 1u);
}

TEST_F(SubscribeTest, IsRefusedWhenTheLockCanNotBeHad) {
    remove_tree("/tmp/m_tmp/lock");
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 17);
    EXPECT_TRUE(log_.contains("can't create subscribe lock file!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, "enter subscribe lock failed!"));
    EXPECT_FALSE(exists(kLinkFile));
}

TEST_F(SubscribeTest, FailsWhereTheFileIsAFolder) {
    ASSERT_EQ(mkdir(kLinkFile, 0755), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EISDIR)));
}

TEST_F(SubscribeTest, FailsOnAFileThatMayNotBeOpened) {
    write_file(kLinkFile, "router\n");
    refuse_to_open(0, EACCES);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EACCES)));
    EXPECT_EQ(read_file(kLinkFile), "router\n");
}

TEST_F(SubscribeTest, FailsWithoutAnyFolder) {
    remove_folders();
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, ENOENT)));
}

TEST_F(SubscribeTest, FailsWhenTheNameCanNotBeWritten) {
    write_file(kLinkFile, "wlan\n");
    libc::writev.fail(EDQUOT);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EDQUOT)));
    EXPECT_FALSE(log_.contains(kSubscribed));
    EXPECT_EQ(read_file(kLinkFile), "wlan\n");
}

TEST_F(SubscribeTest, LeavesNoPartOfALineThatCanNotBeWrittenWhole) {
    for (const char *list : {"wlan\n", ""}) {
        write_file(kLinkFile, list);
        log_.clear();
        libc::writev.stand_in([](int fd, const iovec *line, int) {
            errno = 0;
            return libc::writev.real(fd, line, 1);
        });
        EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, ENOSPC)));
        EXPECT_FALSE(log_.contains(kSubscribed));
        EXPECT_EQ(read_file(kLinkFile), list);
    }
}

TEST_F(SubscribeTest, TellsAPartOfALineThatStaysFromAFullDisk) {
    write_file(kLinkFile, "wlan\n");
    libc::writev.stand_in([](int fd, const iovec *line, int) { return libc::writev.real(fd, line, 1); });
    libc::ftruncate.fail(EFBIG);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EIO)));
    EXPECT_EQ(read_file(kLinkFile), "wlan\nrouter");
}

TEST_F(SubscribeTest, DoesNotWaitForAPipeInPlaceOfTheFile) {
    ASSERT_EQ(mkfifo(kLinkFile, 0644), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EINVAL)));
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
}

TEST_F(SubscribeTest, AKeyThatNamesNoFileCanNotBeOpened) {
    for (const char *key : kKeysThatNameNoFile) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_msg_sub(key), 12) << (key != nullptr ? key : "null");
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EINVAL)));
    }
    EXPECT_FALSE(exists("/m_data/usr/escaped"));
}

TEST_F(SubscribeTest, AKeyThatNamesALinkLeadsNowhere) {
    ASSERT_EQ(symlink("/m_data/usr/escaped", kLinkFile), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, ELOOP)));
    EXPECT_FALSE(exists("/m_data/usr/escaped"));
}

TEST_F(SubscribeTest, AModuleWithoutANameTouchesNobodysLine) {
    become(40);
    EXPECT_EQ(after_sub("wlan\n"), "wlan\n\n");
    EXPECT_EQ(after_unsub("wlan\n\n"), "wlan\n\n");
}

TEST_F(SubscribeTest, ThreadsThatSubscribeAtOnceAddOneLine) {
    run_in_threads(8, [](size_t i) {
        const std::string own = "event" + std::to_string(i);
        for (int round = 0; round < 50; ++round) {
            EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
            EXPECT_EQ(frwk_ipc_msg_sub(own.c_str()), 0);
            EXPECT_EQ(frwk_ipc_msg_unsub(own.c_str()), 0);
        }
    });
    EXPECT_EQ(read_file(kLinkFile), "router\n");
    EXPECT_FALSE(exists("/m_data/usr/subscribe/event0"));
}

TEST_F(UnsubscribeTest, FromAnEventWithoutSubscribersMakesNoFile) {
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
    EXPECT_FALSE(exists(kLinkFile));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(UnsubscribeTest, RemovesTheOwnLine) {
    EXPECT_EQ(after_unsub("wlan\nrouter\nlcd\n"), "wlan\nlcd\n");
    EXPECT_TRUE(logged_once(log_, kDebugLevel, kUnsub, kUnsubscribed));
    EXPECT_EQ(after_unsub("router\nlcd\n"), "lcd\n");
    EXPECT_EQ(after_unsub("wlan\nrouter\n"), "wlan\n");
    EXPECT_EQ(libc::sync.calls(), 0u);
}

TEST_F(UnsubscribeTest, LeavesAFileAloneThatDoesNotListIt) {
    EXPECT_EQ(after_unsub("wlan\nROUTER\n"), "wlan\nROUTER\n");
    EXPECT_EQ(log_.text(), "");
    EXPECT_EQ(libc::write.calls(), 0u);
}

TEST_F(UnsubscribeTest, LeavesAnEmptyFileAlone) {
    EXPECT_EQ(after_unsub(""), "");
    EXPECT_TRUE(exists(kLinkFile));
}

TEST_F(UnsubscribeTest, TheLastSubscriberDeletesTheFileAndSyncs) {
    unsigned synced_without_file = 0;
    libc::sync.stand_in([&] { synced_without_file += exists(kLinkFile) ? 0 : 1; });
    after_unsub("router\n");
    EXPECT_FALSE(exists(kLinkFile));
    EXPECT_EQ(synced_without_file, 1u);
    EXPECT_EQ(libc::sync.calls(), 1u);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, kUnsub, kUnsubscribed));
}

TEST_F(UnsubscribeTest, ReportsThatThereIsNoMemory) {
    base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
    const std::string list = std::string(505, 'w') + "router\n";
    write_file(kLinkFile, list);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 5);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "alloc for unsubscribe 'link' failed!"));
    EXPECT_EQ(read_file(kLinkFile), list);
}

TEST_F(UnsubscribeTest, RefusesAFileThatIsLargerThanAnyBlock) {
    for (const off_t size : {off_t{65u << 20}, off_t{0xFFFFFFFF}}) {
        write_file(kLinkFile, "router\n");
        ASSERT_EQ(truncate(kLinkFile, size), 0);
        log_.clear();
        EXPECT_EQ(frwk_ipc_msg_unsub("link"), 5);
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "alloc for unsubscribe 'link' failed!"));
    }
}

TEST_F(UnsubscribeTest, IsRefusedWhenTheLockCanNotBeHad) {
    write_file(kLinkFile, "router\n");
    remove_tree("/tmp/m_tmp/lock");
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 17);
    EXPECT_TRUE(log_.contains("can't create subscribe lock file!"));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "enter unsubscribe lock failed!"));
    EXPECT_EQ(read_file(kLinkFile), "router\n");
}

TEST_F(UnsubscribeTest, FailsOnAFileThatMayNotBeRead) {
    write_file(kLinkFile, "router\n");
    refuse_to_open(0, EACCES);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, with_errno(kNotOpened, EACCES)));
}

TEST_F(UnsubscribeTest, FailsOnAFileThatMayNotBeWritten) {
    write_file(kLinkFile, "wlan\nrouter\n");
    refuse_to_open(O_CREAT, EROFS);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, with_errno(kNotOpened, EROFS)));
    EXPECT_EQ(read_file(kLinkFile), "wlan\nrouter\n");
}

TEST_F(UnsubscribeTest, LeavesAFileAloneThatCanNotBeReadWhole) {
    write_file(kLinkFile, "router\nwlan\n");
    libc::read.stand_in([first = true](int fd, void *data, size_t) mutable -> ssize_t {
        if (first) {
            first = false;
            return libc::read.real(fd, data, 8);
        }
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, with_errno(kNotOpened, EIO)));
    libc::read.restore();
    EXPECT_EQ(read_file(kLinkFile), "router\nwlan\n");
}

TEST_F(UnsubscribeTest, ReportsAShortWriteOfTheStart) {
    for (const ssize_t taken : {-1, 0, 4}) {
        write_file(kLinkFile, "wlan\nrouter\nlcd\n");
        log_.clear();
        cut_writes(taken);
        EXPECT_EQ(frwk_ipc_msg_unsub("link"), 18) << taken;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "write event key start failed!"));
        EXPECT_FALSE(log_.contains(kUnsubscribed));
    }
}

TEST_F(UnsubscribeTest, ReportsAShortWriteOfTheEnd) {
    for (const ssize_t taken : {5, 8}) {
        write_file(kLinkFile, "wlan\nrouter\nlcd\n");
        log_.clear();
        cut_writes(taken);
        EXPECT_EQ(frwk_ipc_msg_unsub("link"), 18) << taken;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "write event key end failed!"));
    }
}

TEST_F(UnsubscribeTest, ReportsTheEndWhenThereIsNoStart) {
    write_file(kLinkFile, "router\nlcd\n");
    cut_writes(-1);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 18);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "write event key end failed!"));
}

TEST_F(UnsubscribeTest, AFolderInPlaceOfTheFileListsNobody) {
    ASSERT_EQ(mkdir(kLinkFile, 0755), 0);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
    EXPECT_EQ(log_.text(), "");
}

TEST_F(UnsubscribeTest, AKeyThatNamesNoFileCanNotBeOpened) {
    write_file("/m_data/usr/escaped", "router\n");
    for (const char *key : kKeysThatNameNoFile) {
        log_.clear();
        EXPECT_EQ(frwk_ipc_msg_unsub(key), 12) << (key != nullptr ? key : "null");
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, with_errno(kNotOpened, EINVAL)));
    }
    EXPECT_EQ(read_file("/m_data/usr/escaped"), "router\n");
    (void)unlink("/m_data/usr/escaped");
}

TEST_F(UnsubscribeTest, AKeyThatNamesALinkLeadsNowhere) {
    write_file("/m_data/usr/escaped", "router\n");
    ASSERT_EQ(symlink("/m_data/usr/escaped", kLinkFile), 0);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, with_errno(kNotOpened, ELOOP)));
    EXPECT_EQ(read_file("/m_data/usr/escaped"), "router\n");
    (void)unlink("/m_data/usr/escaped");
}

TEST_F(UnsubscribeTest, LetsTheLockGoWhateverTheResult) {
    write_file(kLinkFile, "router\n");
    refuse_to_open(O_CREAT, EROFS);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 12);
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    libc::open.restore();
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 0);
    EXPECT_EQ(g_s_sub_lock_file, nullptr);
}

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
