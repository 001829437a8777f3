/*
 * Subscribing: the event's file afterwards, every result and its log line.
 */
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "unit/frwk_common/events/subscription_fixture.h"

namespace libc = doubles::libc;

namespace {

constexpr char kSub[] = "frwk_ipc_msg_sub";
constexpr char kSubscribed[] = "subscribe event=link success!";

class SubscribeTest : public SubscriptionTest {};

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

TEST_F(SubscribeTest, ANameInAnotherLetterCaseIsListed) {
    EXPECT_EQ(after_sub("ROUTER\n"), "ROUTER\n");
    g_modules_info[E_APPS_MODULE_ROUTER].name = "ROUTER";
    EXPECT_EQ(after_sub("router\n"), "router\n");
}

TEST_F(SubscribeTest, ANameWithinALineIsNotListed) {
    EXPECT_EQ(after_sub("router2\nmyrouter\n"), "router2\nmyrouter\nrouter\n");
}

TEST_F(SubscribeTest, LooksPastEmptyLines) {
    EXPECT_EQ(after_sub("\n\nwlan\n\nrouter\n"), "\n\nwlan\n\nrouter\n");
}

TEST_F(SubscribeTest, LooksPastTheFirstBlockOfALargeFile) {
    std::string many;
    for (int i = 0; i < 200000; ++i) {
        many += "wlan\n";
    }
    EXPECT_EQ(after_sub(many + "router\n"), many + "router\n");
    EXPECT_EQ(after_sub(many), many + "router\n");
}

TEST_F(SubscribeTest, AnyLineEndIsStripped) {
    for (const char *line : {"router\r\n", "router", "router \t\n", "wlan\r\nrouter\r\n"}) {
        EXPECT_EQ(after_sub(line), line);
    }
}

TEST_F(SubscribeTest, ALastLineWithoutItsEndIsNotMended) {
    EXPECT_EQ(after_sub("wlan"), "wlanrouter\n");
}

TEST_F(SubscribeTest, ALongLineIsReadInPiecesOf62Characters) {
    const std::string rest_is_router = std::string(62, 'x') + "router\n";
    EXPECT_EQ(after_sub(rest_is_router), rest_is_router);
    const std::string rest_is_outer = std::string(61, 'x') + "router\n";
    EXPECT_EQ(after_sub(rest_is_outer), rest_is_outer + "router\n");
    EXPECT_EQ(after_sub(std::string(100, 'x') + "\n"), std::string(100, 'x') + "\nrouter\n");
}

TEST_F(SubscribeTest, ANameOf62CharactersIsFound) {
    const std::string name(62, 'n');
    g_modules_info[E_APPS_MODULE_ROUTER].name = name.c_str();
    EXPECT_EQ(after_sub(name + "\n"), name + "\n");
}

TEST_F(SubscribeTest, IsWrittenToAnEmptyFile) {
    EXPECT_EQ(after_sub(""), "router\n");
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
    libc::writev.stand_in([](int, const iovec *, int) -> ssize_t {
        errno = EDQUOT;
        return -1;
    });
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
    libc::ftruncate.stand_in([](int, off_t) {
        errno = EFBIG;
        return -1;
    });
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 12);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, kSub, with_errno(kNotOpened, EIO)));
    EXPECT_EQ(read_file(kLinkFile), "wlan\nrouter");
}

TEST_F(SubscribeTest, IsWrittenInOneCall) {
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(libc::writev.calls(), 1u);
    EXPECT_EQ(libc::write.calls(), 0u);
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

TEST_F(SubscribeTest, AKeyIsCutWhereItsPathEndsBeforeItIsChecked) {
    const std::string key(105, 'k');
    EXPECT_EQ(frwk_ipc_msg_sub((key + "/../escaped").c_str()), 0);
    EXPECT_EQ(read_file("/m_data/usr/subscribe/" + key), "router\n");
    EXPECT_EQ(frwk_ipc_msg_sub((key.substr(0, 103) + "/../escaped").c_str()), 12);
}

TEST_F(SubscribeTest, AKeyMayHoldDots) {
    EXPECT_EQ(frwk_ipc_msg_sub("..."), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("a..b"), 0);
    EXPECT_EQ(read_file("/m_data/usr/subscribe/..."), "router\n");
    EXPECT_EQ(read_file("/m_data/usr/subscribe/a..b"), "router\n");
}

TEST_F(SubscribeTest, APathIsCutAt127Characters) {
    const std::string key(200, 'k');
    EXPECT_EQ(frwk_ipc_msg_sub(key.c_str()), 0);
    EXPECT_EQ(read_file("/m_data/usr/subscribe/" + key.substr(0, 105)), "router\n");
    EXPECT_EQ(frwk_ipc_msg_sub((key.substr(0, 105) + "other").c_str()), 0);
    EXPECT_EQ(log_.count("success!"), 1u) << log_.text();
    EXPECT_EQ(frwk_ipc_msg_unsub(key.c_str()), 0);
    EXPECT_FALSE(exists("/m_data/usr/subscribe/" + key.substr(0, 105)));
}

TEST_F(SubscribeTest, AModuleWithoutANameTouchesNobodysLine) {
    become(40);
    EXPECT_EQ(after_sub("wlan\n"), "wlan\n\n");
    EXPECT_EQ(after_unsub("wlan\n\n"), "wlan\n\n");
}

TEST_F(SubscribeTest, ThreadsThatSubscribeAtOnceAddOneLine) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            const std::string own = "event" + std::to_string(i);
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
                EXPECT_EQ(frwk_ipc_msg_sub(own.c_str()), 0);
                EXPECT_EQ(frwk_ipc_msg_unsub(own.c_str()), 0);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(read_file(kLinkFile), "router\n");
    EXPECT_FALSE(exists("/m_data/usr/subscribe/event0"));
}
