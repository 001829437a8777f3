/*
 * Marker files: how they are made, depending on who else can write to their folder.
 */
#include "internal/marker_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_common/module_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/m_data/usr/markers";
constexpr char kMarker[] = "/m_data/usr/markers/marker";
constexpr char kOther[] = "/m_data/usr/markers/other";

class MarkerFile : public ModuleTest {
  protected:
    MarkerFile() {
        fs::remove_all(kFolder);
        fs::create_directories(kFolder);
        let_others(0755);
        was_there_before_shell_ = false;
        base::os_system.stand_in([](const char *command) {
            was_there_before_shell_ = exists(kMarker);
            return base::os_system.real(command);
        });
    }
    ~MarkerFile() override {
        doubles::restore_all();
        fs::remove_all(kFolder);
    }

    static void let_others(mode_t mode) { ASSERT_EQ(0, ::chmod(kFolder, mode)); }
    static void refuse_to_open(int error) {
        libc::open.stand_in([error](const char *path, int flags, mode_t mode) {
            if (std::string(path) == kMarker) {
                errno = error;
                return -1;
            }
            return libc::open.real(path, flags, mode);
        });
    }

    LogCapture log_;
    static inline bool was_there_before_shell_ = false;
};

}  // namespace

TEST_F(MarkerFile, IsMadeByTheShellWhereNobodyElseWrites) {
    EXPECT_TRUE(make_marker(kMarker));
    EXPECT_TRUE(exists(kMarker));
    EXPECT_EQ(1u, base::os_system.calls());
    EXPECT_FALSE(was_there_before_shell_);
    EXPECT_EQ("", log_.text());
}

TEST_F(MarkerFile, ThatExistsKeepsItsContent) {
    for (const mode_t mode : {0755u, 01777u, 0777u}) {
        let_others(mode);
        write_file(kMarker, "kept");
        EXPECT_TRUE(make_marker(kMarker));
        EXPECT_EQ("kept", read_file(kMarker)) << std::oct << mode;
    }
}

TEST_F(MarkerFile, IsThereBeforeTheShellRunsWhereOthersCanAddFiles) {
    let_others(01777);
    EXPECT_TRUE(make_marker(kMarker));
    EXPECT_EQ(1u, base::os_system.calls());
    EXPECT_TRUE(was_there_before_shell_);
}

TEST_F(MarkerFile, IsMadeWithoutTheShellWhereOthersCanReplaceFiles) {
    let_others(0777);
    EXPECT_TRUE(make_marker(kMarker));
    EXPECT_TRUE(exists(kMarker));
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(MarkerFile, MakesNothingThroughALinkThatOthersCouldHavePut) {
    for (const mode_t mode : {01777u, 0777u}) {
        let_others(mode);
        fs::remove(kMarker);
        log_.clear();
        ASSERT_EQ(0, ::symlink(kOther, kMarker));
        EXPECT_FALSE(make_marker(kMarker)) << std::oct << mode;
        EXPECT_FALSE(exists(kOther));
        EXPECT_EQ(0u, base::os_system.calls());
        EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("create marker file error!", ELOOP)));
    }
}

TEST_F(MarkerFile, IsNotLeftToTheShellAfterAFailure) {
    let_others(01777);
    refuse_to_open(EACCES);
    EXPECT_FALSE(make_marker(kMarker));
    EXPECT_EQ(0u, base::os_system.calls());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("create marker file error!", EACCES)));
}

TEST_F(MarkerFile, LogsAShellThatCanNotBeStarted) {
    base::os_system.stand_in([](const char *) { return -1; });
    (void)make_marker(kMarker);
    EXPECT_FALSE(exists(kMarker));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "'touch /m_data/usr/markers/marker' failed, status=-1"));
}

TEST_F(MarkerFile, HasAPathThatFitsTheCommand) {
    const std::string path = std::string(kFolder) + "/" + std::string(500, 'n');
    EXPECT_FALSE(make_marker(path.c_str()));
    EXPECT_EQ(0u, base::os_system.calls());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "'touch' not run: the path is too long"));
}

TEST_F(MarkerFile, OccupiesItsPathWhateverItIs) {
    EXPECT_FALSE(is_occupied(kMarker));
    ASSERT_EQ(0, ::symlink("/m_data/no/such/file", kMarker));
    EXPECT_TRUE(is_occupied(kMarker));
    fs::remove(kMarker);
    write_file(kMarker, "");
    EXPECT_TRUE(is_occupied(kMarker));
}

TEST_F(MarkerFile, IsTakenForThereWhenThatIsUnknown) {
    libc::lstat.fail(EIO);
    EXPECT_TRUE(is_occupied(kMarker));
}
