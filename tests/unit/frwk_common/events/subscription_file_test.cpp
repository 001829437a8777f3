/*
 * The file of an event's subscribers: how names are found, added and removed, and how its path is cut.
 */
#include "frwk_common/events/subscription_file.h"

#include <string>

#include "unit/frwk_common/events/subscription_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class SubscriptionFileTest : public SubscriptionTest {};

/* A list of this many bytes that ends with router. */
std::string list_of(size_t size) {
    std::string list;
    while (list.size() + 12 <= size) {
        list += "wlan\n";
    }
    return list + std::string(size - list.size() - 7, '\n') + "router\n";
}

}  // namespace

TEST_F(SubscriptionFileTest, ANameInAnotherLetterCaseIsListed) {
    EXPECT_EQ(after_sub("ROUTER\n"), "ROUTER\n");
    g_modules_info[E_APPS_MODULE_ROUTER].name = "ROUTER";
    EXPECT_EQ(after_sub("router\n"), "router\n");
}

TEST_F(SubscriptionFileTest, ANameWithinALineIsNotListed) {
    EXPECT_EQ(after_sub("router2\nmyrouter\n"), "router2\nmyrouter\nrouter\n");
}

TEST_F(SubscriptionFileTest, ALookGoesPastEmptyLines) {
    EXPECT_EQ(after_sub("\n\nwlan\n\nrouter\n"), "\n\nwlan\n\nrouter\n");
}

TEST_F(SubscriptionFileTest, ALookGoesPastTheFirstBlockOfALargeFile) {
    std::string many;
    for (int i = 0; i < 200000; ++i) {
        many += "wlan\n";
    }
    EXPECT_EQ(after_sub(many + "router\n"), many + "router\n");
    EXPECT_EQ(after_sub(many), many + "router\n");
}

TEST_F(SubscriptionFileTest, AnyLineEndIsStripped) {
    for (const char *line : {"router\r\n", "router", "router \t\n", "wlan\r\nrouter\r\n"}) {
        EXPECT_EQ(after_sub(line), line);
    }
}

TEST_F(SubscriptionFileTest, ALastLineWithoutItsEndIsNotMended) {
    EXPECT_EQ(after_sub("wlan"), "wlanrouter\n");
}

TEST_F(SubscriptionFileTest, ALongLineIsReadInPiecesOf62Characters) {
    const std::string rest_is_router = std::string(62, 'x') + "router\n";
    EXPECT_EQ(after_sub(rest_is_router), rest_is_router);
    const std::string rest_is_outer = std::string(61, 'x') + "router\n";
    EXPECT_EQ(after_sub(rest_is_outer), rest_is_outer + "router\n");
    EXPECT_EQ(after_sub(std::string(100, 'x') + "\n"), std::string(100, 'x') + "\nrouter\n");
}

TEST_F(SubscriptionFileTest, ANameOf62CharactersIsFound) {
    const std::string name(62, 'n');
    g_modules_info[E_APPS_MODULE_ROUTER].name = name.c_str();
    EXPECT_EQ(after_sub(name + "\n"), name + "\n");
}

TEST_F(SubscriptionFileTest, ANameIsWrittenToAnEmptyFile) {
    EXPECT_EQ(after_sub(""), "router\n");
}

TEST_F(SubscriptionFileTest, ANameIsWrittenInOneCall) {
    EXPECT_EQ(frwk_ipc_msg_sub("link"), 0);
    EXPECT_EQ(libc::writev.calls(), 1u);
    EXPECT_EQ(libc::write.calls(), 0u);
}

TEST_F(SubscriptionFileTest, AKeyIsCutWhereItsPathEndsBeforeItIsChecked) {
    const std::string key(105, 'k');
    EXPECT_EQ(frwk_ipc_msg_sub((key + "/../escaped").c_str()), 0);
    EXPECT_EQ(read_file("/m_data/usr/subscribe/" + key), "router\n");
    EXPECT_EQ(frwk_ipc_msg_sub((key.substr(0, 103) + "/../escaped").c_str()), 12);
}

TEST_F(SubscriptionFileTest, AKeyMayHoldDots) {
    EXPECT_EQ(frwk_ipc_msg_sub("..."), 0);
    EXPECT_EQ(frwk_ipc_msg_sub("a..b"), 0);
    EXPECT_EQ(read_file("/m_data/usr/subscribe/..."), "router\n");
    EXPECT_EQ(read_file("/m_data/usr/subscribe/a..b"), "router\n");
}

TEST_F(SubscriptionFileTest, APathIsCutAt127Characters) {
    const std::string key(200, 'k');
    EXPECT_EQ(frwk_ipc_msg_sub(key.c_str()), 0);
    EXPECT_EQ(read_file("/m_data/usr/subscribe/" + key.substr(0, 105)), "router\n");
    EXPECT_EQ(frwk_ipc_msg_sub((key.substr(0, 105) + "other").c_str()), 0);
    EXPECT_EQ(log_.count("success!"), 1u) << log_.text();
    EXPECT_EQ(frwk_ipc_msg_unsub(key.c_str()), 0);
    EXPECT_FALSE(exists("/m_data/usr/subscribe/" + key.substr(0, 105)));
}

TEST_F(SubscriptionFileTest, OmaRemovesTheLineOfOmadmAndKeepsItsOwn) {
    become(E_APPS_MODULE_OMA);
    EXPECT_EQ(after_unsub("omadm\noma\n"), "oma\n");
    EXPECT_EQ(after_unsub("oma\nomadm\n"), "omadm\n");
}

TEST_F(SubscriptionFileTest, WhatStandsBeforeTheNameStaysInTheFile) {
    EXPECT_EQ(after_unsub("wlan\nmyrouter2\nlcd\n"), "wlan\nmylcd\n");
    EXPECT_EQ(after_unsub("myrouter\n"), "my");
}

TEST_F(SubscriptionFileTest, RemovalTakesTheFirstLineOnly) {
    EXPECT_EQ(after_unsub("router\nwlan\nrouter\n"), "wlan\nrouter\n");
}

TEST_F(SubscriptionFileTest, RemovalNeedsNoLastLineEnd) {
    EXPECT_EQ(after_unsub("wlan\nrouter"), "wlan\n");
    after_unsub("router");
    EXPECT_FALSE(exists(kLinkFile));
}

TEST_F(SubscriptionFileTest, RemovalTakesACarriageReturnWithTheLine) {
    EXPECT_EQ(after_unsub("wlan\r\nrouter\r\nlcd\r\n"), "wlan\r\nlcd\r\n");
}

TEST_F(SubscriptionFileTest, RemovalTakesTheRestOfALongLine) {
    EXPECT_EQ(after_unsub("wlan\nrouter" + std::string(100, 'x') + "\nlcd\n"), "wlan\nlcd\n");
}

TEST_F(SubscriptionFileTest, RemovalKeepsZeroBytes) {
    const std::string zeros("wlan\n\0\0\nrouter\n\0lcd\n", 20);
    EXPECT_EQ(after_unsub(zeros), std::string("wlan\n\0\0\n\0lcd\n", 13));
}

TEST_F(SubscriptionFileTest, AFileOf511BytesNeedsNoHeap) {
    const std::string list = list_of(511);
    EXPECT_EQ(after_unsub(list), list.substr(0, 504));
    EXPECT_EQ(base::os_mem_malloc.calls(), 0u);
}

TEST_F(SubscriptionFileTest, AFileOf512BytesIsHandledThroughTheHeap) {
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

TEST_F(SubscriptionFileTest, AFileOfOneMegabyteIsHandledWhole) {
    const std::string list = list_of(1u << 20);
    EXPECT_EQ(after_unsub(list), list.substr(0, list.size() - 7));
    EXPECT_EQ(libc::write.calls(), 1u);
}

TEST_F(SubscriptionFileTest, ARemovalIsWrittenBackInOneWrite) {
    after_unsub("wlan\nrouter\nlcd\n");
    EXPECT_EQ(libc::write.calls(), 1u);
}
