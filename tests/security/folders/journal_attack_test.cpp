/*
 * Another user attacks the database's journal on tmpfs, whose content becomes settings.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "security/folders/attacked_device.h"
#include "support/other_user.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr char kTempFolder[] = "/tmp/m_tmp";
constexpr char kFolder[] = "/tmp/m_tmp/zndb";
constexpr char kJournal[] = "/tmp/m_tmp/zndb/journal.plain";
constexpr char kOldJournal[] = "/tmp/m_tmp/zndb/journal";
constexpr char kTheirs[] = "/tmp/theirs";
constexpr char kHacked[] = "P+admin_password=hacked\n";

const std::string kMissing = "ret " + std::to_string(E_ZNDB_RET_NOT_FOUND);

class JournalAttack : public ZndbTest {
  protected:
    JournalAttack() { clean_device(); }

    /* The service is as good as on a clean device: nothing is believed, and a change outlives a crash. */
    void expect_unharmed(const char *what) {
        start();
        EXPECT_EQ(kMissing, plain("admin_password")) << what;
        EXPECT_EQ(0, zndb_set("lan_ip", "10.0.0.1")) << what << zndb_->errors();
        restart();
        EXPECT_EQ("10.0.0.1", plain("lan_ip")) << what;
        EXPECT_EQ(kMissing, plain("admin_password")) << what;
        EXPECT_EQ(kPrecious, file_text(kVictim)) << what;
        zndb_.reset();
    }
    static void expect_closed(const char *what) {
        EXPECT_EQ(::geteuid(), owner_of(kFolder)) << what;
        EXPECT_EQ(0755u, mode_of(kFolder)) << what;
        EXPECT_EQ(::geteuid(), owner_of(kJournal)) << what;
        EXPECT_EQ(0600u, mode_of(kJournal)) << what;
    }
};

using JournalAttackByAnotherUser = ByAnotherUser<JournalAttack>;

/* What the tool shows of the settings while no database runs. */
std::string exported() {
    ChildProcess tool({ZNDB_TOOL_PROGRAM, "export", "-"});
    std::string all;
    while (const std::optional<std::string> line = tool.read_line()) {
        all += *line + "\n";
    }
    return all + std::to_string(tool.exit_status());
}

}  // namespace

TEST_F(JournalAttackByAnotherUser, WhatStandsInTheJournalsPlaceIsNotBelieved) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kFolder);
        plant(what, kJournal, kHacked);
        expect_unharmed(name_of(what));
        expect_closed(name_of(what));
    }
}

TEST_F(JournalAttackByAnotherUser, WhatStandsInThePlaceOfAnOlderServicesJournalIsNotTakenOver) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kFolder);
        plant(what, kOldJournal, kHacked);
        expect_unharmed(name_of(what));
        expect_closed(name_of(what));
    }
}

TEST_F(JournalAttackByAnotherUser, WhatStandsInItsSuccessorsPlaceMakesWay) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kFolder);
        plant(what, std::string(kJournal) + ".tmp", kHacked);
        start();
        EXPECT_EQ(0, zndb_set("lan_ip", "10.0.0.1"));
        EXPECT_EQ(0, zndb_save_ram()) << name_of(what) << zndb_->errors();
        zndb_.reset();
        expect_unharmed(name_of(what));
        expect_closed(name_of(what));
    }
}

TEST_F(JournalAttackByAnotherUser, WhatStandsInItsFoldersPlaceIsNotBelieved) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kTempFolder);
        plant(what, kFolder, kHacked);
        expect_unharmed(name_of(what));
        expect_closed(name_of(what));
    }
}

/* The folder and the journal in it. */
TEST_F(JournalAttackByAnotherUser, AWholeFolderOfAnotherUserIsNotBelieved) {
    for (const mode_t mode : {0700u, 0755u, 0777u}) {
        clean_device();
        open_to_all(kTempFolder);
        ASSERT_EQ(0, as_other_user([mode] {
                      const bool made = ::mkdir(kFolder, mode) == 0 && ::chmod(kFolder, mode) == 0;
                      return made && write_text(kJournal, kHacked) ? 0 : 1;
                  }));
        expect_unharmed("a folder with a journal");
        expect_closed("a folder with a journal");
    }
}

TEST_F(JournalAttackByAnotherUser, ALinkToAFolderOfAnotherUserIsNotFollowed) {
    open_to_all(kTempFolder);
    ASSERT_EQ(0, as_other_user([] {
                  const bool made = ::mkdir(kTheirs, 0755) == 0 && ::symlink(kTheirs, kFolder) == 0;
                  return made && write_text(kJournal, kHacked) &&
                                 write_text("/tmp/theirs/journal.plain.tmp", "theirs")
                             ? 0
                             : 1;
              }));
    expect_unharmed("a link to a folder with a journal");
    expect_closed("a link to a folder with a journal");
    EXPECT_EQ(kHacked, file_text("/tmp/theirs/journal.plain"));
    EXPECT_EQ("theirs", file_text("/tmp/theirs/journal.plain.tmp"));
    (void)::unlink("/tmp/theirs/journal.plain");
    (void)::unlink("/tmp/theirs/journal.plain.tmp");
    (void)::rmdir(kTheirs);
}

/* Even where the folder above is theirs. */
TEST_F(JournalAttackByAnotherUser, AJournalInAWorkingFolderOfAnotherUserIsNotBelieved) {
    ASSERT_EQ(0, ::chown(kTempFolder, kOtherUser, ::getegid()));
    ASSERT_EQ(0, as_other_user(
                     [] { return ::mkdir(kFolder, 0755) == 0 && write_text(kJournal, kHacked) ? 0 : 1; }));
    expect_unharmed("a journal in a working folder of theirs");
    ASSERT_EQ(0, ::chown(kTempFolder, ::geteuid(), ::getegid()));
}

TEST_F(JournalAttack, ItsFolderHasAModeOfItsOwnWhateverTheUmask) {
    const Umask none(0);
    expect_unharmed("a umask of 0");
    expect_closed("a umask of 0");
}

TEST_F(JournalAttack, AJournalThatWasOpenToAllIsNarrowed) {
    open_to_all(kFolder);
    ASSERT_TRUE(write_text(kJournal, "P+own=1\n"));
    ASSERT_EQ(0, ::chmod(kJournal, 0666));
    start();
    EXPECT_EQ("1", plain("own"));
    expect_closed("an own journal");
}

/* Nor does it wait for the other end of a pipe. */
TEST_F(JournalAttackByAnotherUser, WhatStandsInTheJournalsPlaceIsNotExported) {
    for (const Plant what : kAllPlants) {
        clean_device();
        open_to_all(kFolder);
        plant(what, kJournal, kHacked);
        EXPECT_EQ("1", exported()) << name_of(what);
    }
}

TEST_F(JournalAttackByAnotherUser, AWholeFolderOfAnotherUserIsNotExported) {
    open_to_all(kTempFolder);
    ASSERT_EQ(0, as_other_user(
                     [] { return ::mkdir(kFolder, 0755) == 0 && write_text(kJournal, kHacked) ? 0 : 1; }));
    EXPECT_EQ("1", exported());
}

TEST_F(JournalAttack, AnOwnJournalIsExported) {
    open_to_all(kFolder);
    ASSERT_TRUE(write_text(kJournal, "P+own=1\n"));
    EXPECT_EQ("own=1\n0", exported());
}
