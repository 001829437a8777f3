/*
 * Valid and invalid requests of a module to the database.
 */
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "frwk_common.h"
#include "support/checked_file.h"
#include "system/zndb/zndb_process.h"

namespace {

class ZndbRequests : public ZndbTest {};

TEST_F(ZndbRequests, AKeyIsSetReadAndDeleted) {
    start();
    EXPECT_EQ("ret 3", plain("wan_mode"));
    EXPECT_EQ(0, zndb_set("wan_mode", "4G"));
    EXPECT_EQ("4G", plain("wan_mode"));
    EXPECT_EQ(0, zndb_set("wan_mode", ""));
    EXPECT_EQ("", plain("wan_mode"));
    EXPECT_EQ(0, zndb_del("wan_mode"));
    EXPECT_EQ("ret 3", plain("wan_mode"));
    EXPECT_EQ(3, zndb_del("wan_mode"));
}

TEST_F(ZndbRequests, ThePermStoreIsApart) {
    start();
    EXPECT_EQ(0, zndb_set("k", "plain"));
    EXPECT_EQ("ret 3", perm("k"));
    EXPECT_EQ(0, zndb_set_perm_data("k", "perm"));
    EXPECT_EQ("plain", plain("k"));
    EXPECT_EQ("perm", perm("k"));
    EXPECT_EQ(0, zndb_del_perm("k"));
    EXPECT_EQ("ret 3", perm("k"));
    EXPECT_EQ("plain", plain("k"));
}

TEST_F(ZndbRequests, DefaultsShowWhereNothingIsSet) {
    ASSERT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "a=default\nb=default\n"));
    ASSERT_TRUE(write_text("/m_data/factor/factor_data.txt", "b=factory\n"));
    start();
    EXPECT_EQ("default", plain("a"));
    EXPECT_EQ("factory", plain("b"));
    EXPECT_EQ(0, zndb_set("a", "own"));
    EXPECT_EQ("own", plain("a"));
    EXPECT_EQ("default", def("a"));
    EXPECT_EQ("ret 3", perm("a"));
    EXPECT_EQ(0, zndb_del("a"));
    EXPECT_EQ("default", plain("a"));
}

TEST_F(ZndbRequests, SaveWritesTheFiles) {
    start();
    EXPECT_EQ(0, zndb_set("b", " two = 2 "));
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "3"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("a=1\nb= two = 2 \n", checked_lines(file_text("/m_data/usr/db/user_data.txt")));
    EXPECT_EQ("p=3\n", checked_lines(file_text("/m_data/usr_permanent/db/perm_data.txt")));
    EXPECT_EQ("", file_text("/tmp/m_tmp/zndb/journal.plain"));
}

TEST_F(ZndbRequests, ResetEmptiesThePlainStore) {
    ASSERT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "a=default\n"));
    start();
    EXPECT_EQ(0, zndb_set("a", "own"));
    EXPECT_EQ(0, zndb_set("b", "own"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "own"));
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ("default", plain("a"));
    EXPECT_EQ("ret 3", plain("b"));
    EXPECT_EQ("own", perm("p"));
}

TEST_F(ZndbRequests, TheOverlayIsSetAndSavedByItsOwnMessages) {
    start();
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("mac", "02:00")));
    EXPECT_EQ("02:00", def("mac"));
    EXPECT_EQ("02:00", plain("mac"));
    EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SAVE, ""));
    EXPECT_EQ("mac=02:00\n", checked_lines(file_text("/m_data/factor/factor_data.txt")));
}

TEST_F(ZndbRequests, TheLongestKeyAndValueMakeTheWholeWay) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    start();
    EXPECT_EQ(0, zndb_set(key.c_str(), value.c_str()));
    EXPECT_EQ(0, zndb_save());
    cut_power();
    EXPECT_EQ(value, plain(key));
}

TEST_F(ZndbRequests, AValueThatDoesNotFitGives5) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1234"));
    char value[5];
    EXPECT_EQ(5, zndb_get("k", value, 4));
    EXPECT_EQ(0, zndb_get("k", value, 5));
    EXPECT_STREQ("1234", value);
}

TEST_F(ZndbRequests, WhenTheDatabaseIsNotRunningEveryCallGives2) {
    EXPECT_EQ(2, zndb_set("k", "v"));
    EXPECT_EQ(2, zndb_set_perm_data("k", "v"));
    EXPECT_EQ("ret 2", plain("k"));
    EXPECT_EQ("ret 2", perm("k"));
    EXPECT_EQ("ret 2", def("k"));
    EXPECT_EQ(2, zndb_del("k"));
    EXPECT_EQ(2, zndb_del_perm("k"));
    EXPECT_EQ(2, zndb_save());
    EXPECT_EQ(2, zndb_save_ram());
    EXPECT_EQ(2, zndb_reset());
}

TEST_F(ZndbRequests, ARequestBeforeTheFilesAreLoadedWaitsForThem) {
    std::string content;
    for (int i = 0; i < 16000; ++i) {
        content += "key" + std::to_string(i) + "=" + std::string(100, 'v') + "\n";
    }
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", content));
    zndb_ = std::make_unique<ChildProcess>(std::vector<std::string>{ZNDB_PROGRAM});
    std::string first;
    ASSERT_TRUE(wait_until([&first] {
        first = plain("key15999");
        return first != "ret 2";
    }));
    EXPECT_EQ(std::string(100, 'v'), first);
}

TEST_F(ZndbRequests, WhatCantBeStoredGetsACodeALogLineAndChangesNothing) {
    start();
    EXPECT_EQ(0, zndb_set("k", "old"));
    const std::string journal = file_text("/tmp/m_tmp/zndb/journal.plain");
    const struct {
        std::string key, value, line;
    } cases[] = {
        {"k", "new\nline", "'k' refused: the value holds a CR, LF or NUL"},
        {"k", "new\r", "'k' refused: the value holds a CR, LF or NUL"},
        {"a=b", "v", "'a=b' refused: the key holds '='"},
        {"#k", "v", "'#k' refused: the key begins with '#' or a blank"},
        {" k", "v", "' k' refused: the key begins with '#' or a blank"},
        {"", "v", "'' refused: the key is empty"},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(1, zndb_set(each.key.c_str(), each.value.c_str()));
        EXPECT_TRUE(zndb_->wait_for_error(each.line)) << zndb_->errors();
        EXPECT_EQ(2004, ask_zndb(E_APPS_MSG_ZNDB_SET_PERM, set_body(each.key, each.value)));
        EXPECT_EQ(2004, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body(each.key, each.value)));
    }
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ(journal, file_text("/tmp/m_tmp/zndb/journal.plain"));
}

TEST_F(ZndbRequests, BodiesOfTheWrongFormAreRefusedAndServiceGoesOn) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    for (const std::string &body :
         {std::string(), std::string("k"), std::string(1056, 'x'), std::string(100000, 'x')}) {
        for (const int32_t msgid : {E_APPS_MSG_ZNDB_SET, E_APPS_MSG_ZNDB_GET, E_APPS_MSG_ZNDB_DEL}) {
            EXPECT_EQ(2004, ask_zndb(msgid, body)) << msgid << " " << body.size();
        }
    }
    EXPECT_EQ(2004, ask_zndb(E_APPS_MSG_ZNDB_SAVE, "x"));
    EXPECT_EQ(8, ask_zndb(2999, ""));
    EXPECT_EQ("v", plain("k"));
}

TEST_F(ZndbRequests, ASecondInstanceIsRefused) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    ChildProcess second({ZNDB_PROGRAM});
    EXPECT_EQ(255, second.exit_status());
    EXPECT_NE(std::string::npos, second.errors().find("the 'zndb' is already running!\n")) << second.errors();
    EXPECT_EQ("v", plain("k"));
}

TEST_F(ZndbRequests, AnExitMessageEndsItAndLosesNothing) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(-1000, ask_zndb(E_APPS_MSG_SYS_EXIT, ""));
    EXPECT_EQ(0, zndb_->exit_status());
    start();
    EXPECT_EQ("v", plain("k"));
}

TEST_F(ZndbRequests, ThreadsOfAModuleAskAtOnce) {
    start();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            const std::string key = "key" + std::to_string(t);
            for (int i = 0; i < 25; ++i) {
                EXPECT_EQ(0, zndb_set(key.c_str(), std::to_string(i).c_str()));
                EXPECT_EQ(std::to_string(i), plain(key));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

TEST_F(ZndbRequests, NoRequestLeavesADescriptorOpen) {
    start();
    const auto every_request = [] {
        EXPECT_EQ(0, zndb_set("k", "v"));
        (void)zndb_set_perm_data("k", "v");
        (void)plain("k");
        (void)plain("missing");
        (void)zndb_save_ram();
        (void)zndb_save();
        (void)zndb_del("k");
        (void)zndb_reset();
    };
    every_request();
    const size_t before = zndb_->descriptors();
    for (int i = 0; i < 20; ++i) {
        every_request();
    }
    /* A connection closes after its answer. */
    EXPECT_TRUE(wait_until([&] { return zndb_->descriptors() <= before; })) << zndb_->descriptors();
}

}  // namespace
