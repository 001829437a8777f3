/*
 * Start-up lists of all sizes and formats, read by a starting module.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "device_files.h"
#include "support/module_process.h"

namespace {

constexpr int kTool = 0;
constexpr size_t kFiveMegabytes = size_t{5} << 20;
constexpr size_t kLargestBlock = size_t{64} << 20;

/* A list of exactly so many bytes: blanks and line ends, and the name of wlan at its very end. */
std::string list_of_size(size_t size) {
    const std::string name = "wlan";
    std::string list;
    while (list.size() < size - name.size()) {
        list += list.size() % 40 == 39 ? '\n' : ' ';
    }
    return list + name;
}

class StartupList : public DeviceFiles {
  protected:
    /* The modules that are marked with this list. */
    static std::string marked_by(const std::string &list) {
        write_startup_list(list);
        ModuleProcess tool(kTool);
        return tool.ask("run");
    }
};

TEST_F(StartupList, WithoutAListNobodyIsMarkedAndALineSaysSo) {
    ModuleProcess tool(kTool);
    EXPECT_EQ("run:", tool.ask("run"));
    EXPECT_TRUE(tool.process().wait_for_error("can't found apps run cfg file(/etc/quor_apps_startup)!"));
}

TEST_F(StartupList, ExactlyTheNamedModulesAreMarked) {
    EXPECT_EQ("run: 3 5 12", marked_by("router\r\n\r\n  wlan\r\n\n\t dbm\r\n"));
}

TEST_F(StartupList, AnySeparatorsAndBlanksWillDo) {
    EXPECT_EQ("run: 1 2 3 4", marked_by(" \t\r\nmonitor \t zndb\rrouter\n\n\nmnet\t"));
}

TEST_F(StartupList, ALastLineWithoutAnEndIsRead) {
    EXPECT_EQ("run: 3 5", marked_by("router\nwlan"));
}

TEST_F(StartupList, AListOf0BytesMarksNobody) {
    EXPECT_EQ("run:", marked_by(""));
}

TEST_F(StartupList, AListOfBlanksMarksNobody) {
    EXPECT_EQ("run:", marked_by(" \n\t\r\n   "));
    EXPECT_EQ("run:", marked_by(std::string(5000, '\n')));
}

TEST_F(StartupList, ListsAroundTheSizeOfTheFixedBufferAreReadToTheirEnd) {
    for (size_t size : {size_t{510}, size_t{511}, size_t{512}, size_t{513}, size_t{1024}, size_t{1025}}) {
        SCOPED_TRACE(size);
        ASSERT_EQ(size, list_of_size(size).size());
        EXPECT_EQ("run: 5", marked_by(list_of_size(size)));
    }
}

TEST_F(StartupList, AListOf5MegabytesIsReadToItsEnd) {
    EXPECT_EQ("run: 5", marked_by(list_of_size(kFiveMegabytes)));
}

TEST_F(StartupList, AMillionNamesAreRead) {
    std::string list;
    while (list.size() < kFiveMegabytes) {
        list += "router dbm\n";
    }
    EXPECT_EQ("run: 3 12", marked_by(list));
}

TEST_F(StartupList, AListAboveTheLargestBlockIsPassedOver) {
    write_startup_list(list_of_size(kLargestBlock + 1));
    ModuleProcess tool(kTool);
    EXPECT_EQ("run:", tool.ask("run"));
    EXPECT_TRUE(tool.process().wait_for_error("alloc for load apps run cfg file failed!"));
}

TEST_F(StartupList, AnUnknownNameMarksTheTool) {
    EXPECT_EQ("run: 0 3", marked_by("no_such_module router"));
    EXPECT_EQ("run: 0", marked_by(std::string(2000, 'x')));
}

TEST_F(StartupList, NamesAreComparedByteForByte) {
    EXPECT_EQ("run: 0", marked_by("WLAN Router wlan,"));
}

TEST_F(StartupList, AZeroByteEndsTheList) {
    EXPECT_EQ("run: 3", marked_by(std::string("router\0wlan", 11)));
}

TEST_F(StartupList, BinaryBytesAreNoHarm) {
    std::string binary;
    for (int i = 1; i < 20000; ++i) {
        binary += static_cast<char>(i % 255 + 1);
    }
    EXPECT_EQ("run: 0", marked_by(binary));
}

TEST_F(StartupList, APipeInItsPlaceIsNotWaitedFor) {
    ASSERT_EQ(0, ::mkfifo("/etc/quor_apps_startup", 0644));
    {
        ModuleProcess tool(kTool);
        EXPECT_EQ("run:", tool.ask("run"));
    }
    ::unlink("/etc/quor_apps_startup");
}

TEST_F(StartupList, AFolderInItsPlaceIsNoHarm) {
    ASSERT_EQ(0, ::mkdir("/etc/quor_apps_startup", 0755));
    {
        ModuleProcess tool(kTool);
        EXPECT_EQ("run:", tool.ask("run"));
    }
    ::rmdir("/etc/quor_apps_startup");
}

TEST_F(StartupList, AModuleOfTheConfigurationFileMayBeNamed) {
    write_config("<m><camera/></m>");
    EXPECT_EQ("run: 39", marked_by("camera"));
}

TEST_F(StartupList, TheMarkIsAddedToTheOtherFlags) {
    write_startup_list("wlan");
    ModuleProcess tool(kTool);
    EXPECT_EQ("wlan WLAN 0x1226 0 14 null", tool.ask("row 5"));
}

}  // namespace
