/*
 * The working folders: their creation, their modes, and the warnings about them.
 */
#include "internal/guarded_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/file_info.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

namespace fs = std::filesystem;

constexpr char kTempFolder[] = "/tmp/m_tmp";
constexpr char kFolder[] = "/tmp/m_tmp/ipc";

class GuardedFolder : public ModuleTest {
  protected:
    GuardedFolder() { clean(); }
    ~GuardedFolder() override {
        doubles::restore_all();
        clean();
    }

    static void refuse_mode() { libc::fchmod.fail(EROFS); }

    LogCapture log_;

  private:
    static void clean() {
        fs::remove_all(kTempFolder);
        fs::create_directory(kTempFolder);
    }
};

}  // namespace

TEST_F(GuardedFolder, IsMadeWithAModeOfItsOwnAndSynced) {
    ASSERT_EQ(0, ::rmdir(kTempFolder));
    mode_t while_made = 0;
    base::os_system.stand_in([&while_made](const char *command) {
        while_made = mode_of(kTempFolder);
        return base::os_system.real(command);
    });
    const mode_t before = ::umask(0);
    make_guarded_temp_folder(kFolder);
    (void)::umask(before);
    EXPECT_EQ(0755u, mode_of(kFolder));
    EXPECT_EQ(0755u, mode_of(kTempFolder));
    EXPECT_EQ(0755u, while_made) << "it was open to all for a moment";
    EXPECT_EQ(1u, base::os_system.calls());
    EXPECT_EQ(1u, libc::sync.calls());
    EXPECT_EQ("", log_.text());
}

TEST_F(GuardedFolder, IsMadeByTheShellWhereTheFolderAboveCanNotBeMade) {
    ASSERT_EQ(0, ::rmdir(kTempFolder));
    libc::mkdir.fail(EIO);
    make_guarded_temp_folder(kFolder);
    EXPECT_EQ(0755u, mode_of(kFolder));
}

TEST_F(GuardedFolder, TheFolderAboveIsLeftAloneWhenItWasThere) {
    ASSERT_EQ(0, ::chmod(kTempFolder, 0700));
    make_guarded_temp_folder(kFolder);
    EXPECT_EQ(0755u, mode_of(kFolder));
    EXPECT_EQ(0700u, mode_of(kTempFolder));
}

TEST_F(GuardedFolder, OneThatIsThereIsClosedAndItsOtherBitsStay) {
    ASSERT_EQ(0, ::mkdir(kFolder, 0755));
    ASSERT_EQ(0, ::chmod(kFolder, 03775));
    make_guarded_folder(kFolder);
    EXPECT_EQ(03755u, mode_of(kFolder));
    EXPECT_EQ(0u, base::os_system.calls());
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "close_folder",
                    "others could write the working folder /tmp/m_tmp/ipc, mode 3775: now it is 3755"));
}

TEST_F(GuardedFolder, OneThatIsClosedIsLeftAlone) {
    ASSERT_EQ(0, ::mkdir(kFolder, 0755));
    make_guarded_folder(kFolder);
    EXPECT_EQ(0u, libc::fchmod.calls());
    EXPECT_EQ("", log_.text());
}

TEST_F(GuardedFolder, AModeThatCanNotBeSetIsTold) {
    ASSERT_EQ(0, ::mkdir(kFolder, 0755));
    ASSERT_EQ(0, ::chmod(kFolder, 0777));
    refuse_mode();
    close_folder(kFolder, false);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, "close_folder", with_errno("close working folder error!", EROFS)));
}

TEST_F(GuardedFolder, WhatIsNoFolderIsLeftAlone) {
    write_file(kFolder, "in the way");
    ASSERT_EQ(0, ::chmod(kFolder, 0666));
    make_guarded_folder(kFolder);
    EXPECT_EQ(0666u, mode_of(kFolder));
    ASSERT_EQ(0, ::unlink(kFolder));

    ASSERT_EQ(0, ::mkdir("/tmp/m_tmp/elsewhere", 0755));
    ASSERT_EQ(0, ::chmod("/tmp/m_tmp/elsewhere", 0777));
    ASSERT_EQ(0, ::symlink("/tmp/m_tmp/elsewhere", kFolder));
    make_guarded_folder(kFolder);
    EXPECT_EQ(0777u, mode_of("/tmp/m_tmp/elsewhere"));
}

TEST_F(GuardedFolder, AClosedTempFolderIsNotTouched) {
    close_temp_folder();
    EXPECT_EQ(0u, libc::open.calls());
    EXPECT_EQ("", log_.text());
}

TEST_F(GuardedFolder, AnOpenTempFolderIsClosedAndOwnFoldersInItStay) {
    ASSERT_EQ(0, ::mkdir(kFolder, 0755));
    ASSERT_EQ(0, ::chmod(kTempFolder, 0777));
    close_temp_folder();
    EXPECT_EQ(0755u, mode_of(kTempFolder));
    EXPECT_TRUE(exists(kFolder));
    EXPECT_EQ(0u, libc::rename.calls());
}

TEST_F(GuardedFolder, OneThatStaysOpenIsTold) {
    ASSERT_EQ(0, ::mkdir(kFolder, 0755));
    ASSERT_EQ(0, ::chmod(kFolder, 0777));
    refuse_mode();
    watch_working_folders();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "warn_of_others",
                            "others can write the working folder /tmp/m_tmp/ipc: owner " +
                                std::to_string(::geteuid()) + ", mode 0777"));
}

TEST_F(GuardedFolder, FoldersThatAreMissingAreNoNews) {
    ASSERT_EQ(0, ::rmdir(kTempFolder));
    watch_working_folders();
    close_temp_folder();
    EXPECT_EQ("", log_.text());
}
