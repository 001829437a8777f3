/*
 * Unsubscribing: the event's file afterwards, every result and its log line.
 */
#include <fcntl.h>

#include <cerrno>
#include <string>

#include "unit/frwk_common/events/subscription_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kUnsub[] = "frwk_ipc_msg_unsub";
constexpr char kUnsubscribed[] = "unsubscribe event=link success!";

class UnsubscribeTest : public SubscriptionTest {};

/* A list of this many bytes that ends with router. */
std::string list_of(size_t size) {
    std::string list;
    while (list.size() + 12 <= size) {
        list += "wlan\n";
    }
    return list + std::string(size - list.size() - 7, '\n') + "router\n";
}

/* Lets a write take this many bytes, or fail when that is less than 0. */
void cut_writes(ssize_t taken) {
    libc::write.stand_in([taken](int fd, const void *data, size_t) {
        return taken < 0 ? taken : libc::write.real(fd, data, static_cast<size_t>(taken));
    });
}

}  // namespace

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

TEST_F(UnsubscribeTest, OmaRemovesTheLineOfOmadmAndKeepsItsOwn) {
    become(E_APPS_MODULE_OMA);
    EXPECT_EQ(after_unsub("omadm\noma\n"), "oma\n");
    EXPECT_EQ(after_unsub("oma\nomadm\n"), "omadm\n");
}

TEST_F(UnsubscribeTest, WhatStandsBeforeTheNameStaysInTheFile) {
    EXPECT_EQ(after_unsub("wlan\nmyrouter2\nlcd\n"), "wlan\nmylcd\n");
    EXPECT_EQ(after_unsub("myrouter\n"), "my");
}

TEST_F(UnsubscribeTest, RemovesTheFirstLineOnly) {
    EXPECT_EQ(after_unsub("router\nwlan\nrouter\n"), "wlan\nrouter\n");
}

TEST_F(UnsubscribeTest, NeedsNoLastLineEnd) {
    EXPECT_EQ(after_unsub("wlan\nrouter"), "wlan\n");
    after_unsub("router");
    EXPECT_FALSE(exists(kLinkFile));
}

TEST_F(UnsubscribeTest, RemovesACarriageReturnWithTheLine) {
    EXPECT_EQ(after_unsub("wlan\r\nrouter\r\nlcd\r\n"), "wlan\r\nlcd\r\n");
}

TEST_F(UnsubscribeTest, RemovesTheRestOfALongLine) {
    EXPECT_EQ(after_unsub("wlan\nrouter" + std::string(100, 'x') + "\nlcd\n"), "wlan\nlcd\n");
}

TEST_F(UnsubscribeTest, KeepsZeroBytes) {
    const std::string zeros("wlan\n\0\0\nrouter\n\0lcd\n", 20);
    EXPECT_EQ(after_unsub(zeros), std::string("wlan\n\0\0\n\0lcd\n", 13));
}

TEST_F(UnsubscribeTest, AFileOf511BytesNeedsNoHeap) {
    const std::string list = list_of(511);
    EXPECT_EQ(after_unsub(list), list.substr(0, 504));
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
}

TEST_F(UnsubscribeTest, AFileOf512BytesIsHandledThroughTheHeap) {
    size_t asked = 0;
    base::os_mem_malloc.stand_in([&asked](size_t size) {
        asked = size;
        return base::os_mem_malloc.real(size);
    });
    const std::string list = list_of(512);
    EXPECT_EQ(after_unsub(list), list.substr(0, 505));
    EXPECT_EQ(asked, 513u);
    EXPECT_EQ(base::os_mem_malloc.calls(), 1u);
}

TEST_F(UnsubscribeTest, AFileOfOneMegabyteIsHandledWhole) {
    const std::string list = list_of(1u << 20);
    EXPECT_EQ(after_unsub(list), list.substr(0, list.size() - 7));
    EXPECT_EQ(libc::write.calls(), 1u);
}

TEST_F(UnsubscribeTest, ReportsThatThereIsNoMemory) {
    base::os_mem_malloc.stand_in([](size_t) -> void * { return nullptr; });
    write_file(kLinkFile, list_of(512));
    EXPECT_EQ(frwk_ipc_msg_unsub("link"), 5);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kUnsub, "alloc for unsubscribe 'link' failed!"));
    EXPECT_EQ(read_file(kLinkFile), list_of(512));
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

TEST_F(UnsubscribeTest, IsWrittenBackInOneWrite) {
    after_unsub("wlan\nrouter\nlcd\n");
    EXPECT_EQ(libc::write.calls(), 1u);
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
