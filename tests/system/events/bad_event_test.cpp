/*
 * Invalid event keys, malformed subscription files, and a device without a folder for the lock.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "event_files.h"
#include "support/module_process.h"

namespace {

/* A module with its own mount of the folder of subscriptions, filled by a command. */
ChildProcess module_on_own_folder(int id, const std::string &options, const std::string &fill) {
    const std::string mount = "mount -t tmpfs -o " + options + " tmpfs /m_data/usr/subscribe";
    std::vector<std::string> words = {"unshare", "--mount"};
    if (::geteuid() != 0) {
        words.emplace_back("--map-root-user");
    }
    const std::string script = mount + " && cd /m_data/usr/subscribe && " + fill + " && exec \"$@\"";
    words.insert(words.end(), {"sh", "-c", script, "sh"});
    for (const std::string &word : module_command(id)) {
        words.push_back(word);
    }
    return ChildProcess(words, {"QUOR_DEBUG=1"});
}

class BadEvent : public EventFiles {
  protected:
    /* Publishes to whoever a file with this content lists. */
    void publish(const std::string &content) {
        EXPECT_TRUE(write_text(kEventFile, content));
        EXPECT_EQ("done", router_.ask("pub link 3001 -"));
    }
    bool logged(const std::string &text) { return router_.process().wait_for_error(text); }

    ModuleProcess router_{3};
};

TEST_F(BadEvent, AKeyThatNamesNoFileFailsAsAFileThatCanNotBeOpened) {
    ASSERT_TRUE(write_text("/m_data/usr/outside", "wlan\nrouter\n"));
    for (const char *key : {"../outside", "..", ".", "-", "a/b", "/m_data/usr/outside"}) {
        EXPECT_EQ("ret=12", router_.ask(std::string("sub ") + key)) << key;
        EXPECT_EQ("ret=12", router_.ask(std::string("unsub ") + key)) << key;
        EXPECT_EQ("done", router_.ask(std::string("pub ") + key + " 3001 -")) << key;
    }
    EXPECT_TRUE(logged("can't open event key file! errno=22, cause: Invalid argument"));
    EXPECT_TRUE(logged("open envent key(/m_data/usr/subscribe/../outside) file failed!"));
    EXPECT_TRUE(logged("open envent key(/m_data/usr/subscribe/) file failed!"));
    EXPECT_EQ("wlan\nrouter\n", file_text("/m_data/usr/outside"));
    ::unlink("/m_data/usr/outside");
}

TEST_F(BadEvent, AKeyOf200CharactersIsCut) {
    const std::string key(200, 'k');
    EXPECT_EQ("ret=0", router_.ask("sub " + key));
    EXPECT_EQ("router\n", file_text("/m_data/usr/subscribe/" + key.substr(0, 105)));
    ModuleProcess wlan(5);
    EXPECT_EQ("done", wlan.ask("pub " + key + " 3001 -"));
    EXPECT_TRUE(router_.wait_for_message("5 3001 0 -"));
    EXPECT_EQ("ret=0", router_.ask("unsub " + key));
    EXPECT_NE(0, ::access(("/m_data/usr/subscribe/" + key.substr(0, 105)).c_str(), F_OK));
}

TEST_F(BadEvent, AFolderInPlaceOfTheFileCanNotBeSubscribedTo) {
    ASSERT_EQ(0, ::mkdir(kEventFile, 0755));
    EXPECT_EQ("ret=12", router_.ask("sub link"));
    EXPECT_TRUE(logged("can't open event key file! errno=21, cause: Is a directory"));
    EXPECT_EQ("ret=0", router_.ask("unsub link"));
    EXPECT_EQ("done", router_.ask("pub link 3001 -"));
}

TEST_F(BadEvent, AFileThatThePlaceForbidsToOpenCanNotBeSubscribedTo) {
    ASSERT_EQ(0, ::symlink(kEventFile, kEventFile));
    EXPECT_EQ("ret=12", router_.ask("sub link"));
    EXPECT_TRUE(logged("can't open event key file! errno=40, cause: Too many levels of symbolic links"));
}

/* The name "wlan" would have room there, its line end not. */
TEST_F(BadEvent, OnAFullDeviceNothingIsWritten) {
    ChildProcess wlan = module_on_own_folder(5, "size=4k", "yes voice | head -c 4092 > link");
    ASSERT_EQ("started", wlan.read_line());
    for (int round = 0; round < 2; ++round) {
        wlan.write_line("sub link");
        EXPECT_EQ("ret=12", wlan.read_line()) << wlan.errors();
    }
    EXPECT_TRUE(wlan.wait_for_error("can't open event key file! errno=28, cause: No space left on device"));
}

TEST_F(BadEvent, AFileOfOneMegabyteIsReadToItsEnd) {
    ModuleProcess wlan(5);
    publish(std::string(1u << 20, '\n') + "wlan\n");
    EXPECT_TRUE(wlan.wait_for_messages(1));
    EXPECT_EQ("ret=0", router_.ask("sub link"));
    EXPECT_EQ("ret=0", router_.ask("unsub link"));
    EXPECT_EQ(std::string(1u << 20, '\n') + "wlan\n", file_text(kEventFile));
}

TEST_F(BadEvent, AFileOfOneMegabyteOfUnknownNamesIsSkipped) {
    const std::string unknown = "nonesuch_with_a_name_of_40_characters_xy"; /* each takes a line of the log */
    std::string names;
    while (names.size() < (1u << 20)) {
        names += unknown + "\n";
    }
    ModuleProcess wlan(5);
    publish(names + "wlan\n");
    EXPECT_TRUE(wlan.wait_for_messages(1));
    EXPECT_TRUE(logged("ignore invalid subscriber module(" + unknown + ")!"));
}

TEST_F(BadEvent, LinesWithoutEndWithCrLfUnknownAndTooLongAreReadForWhatTheyAre) {
    ModuleProcess wlan(5);
    ModuleProcess lcd(20);
    publish("\r\nlcd\r\nnonesuch\r\n" + std::string(100, 'x') + "\nwlan");
    EXPECT_TRUE(wlan.wait_for_message("3 3001 0 -"));
    EXPECT_TRUE(lcd.wait_for_message("3 3001 0 -"));
    EXPECT_TRUE(logged("ignore invalid subscriber module(nonesuch)!"));
    EXPECT_TRUE(logged("ignore invalid subscriber module(" + std::string(62, 'x') + ")!"));
    EXPECT_TRUE(logged("ignore invalid subscriber module(" + std::string(38, 'x') + ")!"));
}

TEST_F(BadEvent, WithoutAPlaceForTheLockSubscribingIsRefused) {
    ASSERT_EQ(0, std::system("rm -rf /tmp/m_tmp/lock"));
    ASSERT_TRUE(write_text("/tmp/m_tmp/lock", "in the way"));
    ModuleProcess tool(51); /* takes no lock of its own */
    EXPECT_EQ("ret=17", tool.ask("sub link"));
    EXPECT_EQ("ret=17", tool.ask("unsub link"));
    EXPECT_TRUE(
        tool.process().wait_for_error("can't create subscribe lock file! errno=20, cause: Not a directory"));
    EXPECT_TRUE(tool.process().wait_for_error("enter subscribe lock failed!"));
    EXPECT_TRUE(tool.process().wait_for_error("enter unsubscribe lock failed!"));
}

}  // namespace
