/*
 * The trace mask as a file: when it is written and when it is removed, and the handling of failures.
 */
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>

#include "support/child.h"
#include "support/log_checks.h"
#include "support/open_descriptors.h"
#include "unit/frwk_utils/settings/trace_mask_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

constexpr char kCreateError[] = "create mals tracemask file error!";
constexpr char kWriteError[] = "write mals tracemask file error!";

/* A mask that holds one module. */
class TraceMaskFileTest : public TraceMaskTest {
  protected:
    TraceMaskFileTest() {
        switch_on();
        trace(E_APPS_MODULE_WLAN);
        frwk_module_unset(E_APPS_MODULE_WLAN, FRWK_FLAG_MPSS);
    }

    /* The call fails with one line, leaves no mask, and syncs once if there was one. */
    static void expect_failure(const std::string &line) {
        const LogCapture log;
        const bool had_mask = exists(kMaskFile);
        const size_t descriptors = open_descriptors();
        libc::sync.forget_calls();
        EXPECT_EQ(0, frwk_set_mals_tracemask());
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_set_mals_tracemask", line));
        EXPECT_FALSE(exists(kMaskFile));
        EXPECT_EQ(had_mask ? 1u : 0u, libc::sync.calls());
        EXPECT_EQ(descriptors, open_descriptors());
    }
};

/* Mounts a read-only file system over the mask's folder, visible only to this process. */
bool make_mask_folder_read_only() {
    const int flags = geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER;
    return unshare(flags) == 0 && mount("tmpfs", "/m_data/usr/mask", "tmpfs", MS_RDONLY, nullptr) == 0;
}

}  // namespace

TEST_F(TraceMaskFileTest, IsMadeInAFolderThatIsMade) {
    EXPECT_EQ("wlan,lib,base", mask());
    EXPECT_EQ(1u, base::os_system.calls());
    EXPECT_EQ(1u, libc::sync.calls());
}

TEST_F(TraceMaskFileTest, TheFolderIsMadeWithItsParents) {
    std::string command;
    base::os_system.stand_in([&command](const char *text) {
        command = text;
        return base::os_system.real(text);
    });
    EXPECT_EQ("wlan,lib,base", mask());
    EXPECT_EQ("mkdir -p /m_data/usr/mask", command);
}

TEST_F(TraceMaskFileTest, AFolderThatIsThereIsTaken) {
    std::filesystem::create_directories("/m_data/usr/mask");
    EXPECT_EQ("wlan,lib,base", mask());
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(TraceMaskFileTest, ReplacesALongerOne) {
    leave_mask("router,wlan,device,voice,sms,ntp,mpss,upgrade,lib,base");
    EXPECT_EQ("wlan,lib,base", mask());
}

TEST_F(TraceMaskFileTest, WithoutTheSwitchAStaleOneIsRemoved) {
    remove_node("/m_data/usr/trace/mal_service");
    leave_mask("router,lib,base");
    EXPECT_EQ("(none)", mask());
    EXPECT_EQ(1u, libc::sync.calls());
}

TEST_F(TraceMaskFileTest, WithoutTheSwitchAndAStaleOneNothingIsDone) {
    remove_node("/m_data/usr/trace/mal_service");
    EXPECT_EQ("(none)", mask());
    EXPECT_EQ(0u, libc::sync.calls());
    EXPECT_FALSE(exists("/m_data/usr/mask"));
}

TEST_F(TraceMaskFileTest, WithoutATracedModuleAStaleOneIsRemoved) {
    remove_node("/m_data/usr/trace/wlan");
    leave_mask("wlan,lib,base");
    EXPECT_EQ("(none)", mask());
    EXPECT_EQ(1u, libc::sync.calls());
}

TEST_F(TraceMaskFileTest, WithoutATracedModuleNoneIsMade) {
    remove_node("/m_data/usr/trace/wlan");
    EXPECT_EQ("(none)", mask());
    EXPECT_EQ(0u, libc::sync.calls());
    EXPECT_FALSE(exists("/m_data/usr/mask"));
}

TEST_F(TraceMaskFileTest, ReportsAFileThatCannotBeMade) {
    leave_mask("old");
    libc::open.stand_in([](const char *path, int flags, mode_t mode) {
        if ((flags & O_CREAT) == 0) {
            return libc::open.real(path, flags, mode);
        }
        EXPECT_STREQ(kMaskFile, path);
        EXPECT_EQ(O_RDWR, flags & O_ACCMODE);
        errno = EMFILE;
        return -1;
    });
    expect_failure(with_errno(kCreateError, EMFILE));
}

TEST_F(TraceMaskFileTest, ReportsAFolderThatCannotBeMade) {
    write_file("/m_data/usr/mask", "");
    expect_failure(with_errno(kCreateError, ENOTDIR));
    remove_node("/m_data/usr/mask");
}

TEST_F(TraceMaskFileTest, ReportsAReadOnlyFileSystem) {
    std::filesystem::create_directories("/m_data/usr/mask");
    const ChildEnd end = run_in_child([]() -> std::string {
        if (!make_mask_folder_read_only()) {
            return std::string("no read-only file system: ") + std::strerror(errno);
        }
        expect_failure(with_errno(kCreateError, EROFS));
        return testing::Test::HasFailure() ? "failed" : "reported";
    });
    EXPECT_EQ("reported", end.report) << end.errors;
}

TEST_F(TraceMaskFileTest, ReportsAShortWrite) {
    libc::fwrite.stand_in([](const void *data, size_t size, size_t count, FILE *file) {
        (void)libc::fwrite.real(data, size, count / 2, file);
        errno = ENOSPC;
        return count / 2;
    });
    leave_mask("old");
    expect_failure(with_errno(kWriteError, ENOSPC));
}

TEST_F(TraceMaskFileTest, ReportsAFullDisk) {
    leave_mask("old");
    libc::fflush.fail(ENOSPC);
    expect_failure(with_errno(kWriteError, ENOSPC));
}
