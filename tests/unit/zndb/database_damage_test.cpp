/*
 * Files with malformed lines: the next save cleans them, and keeps the damaged versions.
 */
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "unit/zndb/database_fixture.h"

namespace {

const std::string kDamaged = "k=v\nrubbish\n";

class DatabaseDamage : public DatabaseFixture {
  protected:
    void SetUp() override {
        for (const std::string &path : {kPlainFile, kPermFile, kFactoryFile}) {
            for (const std::string &kept : kept_of(path)) {
                std::filesystem::remove_all(kept);
            }
        }
        DatabaseFixture::SetUp();
    }

    static std::vector<std::string> kept_of(const std::string &path) {
        return files_beginning(path + ".damaged-");
    }

    /* Starts on a file with a damaged line. */
    void start_with_damaged(const std::string &path) {
        put_file(path, kDamaged);
        restart();
        log_.clear();
    }

    /* Expects a refusal that changes and leaves nothing. */
    void expect_reset_refused(int32_t result) {
        EXPECT_EQ(result, database_->reset());
        end_faults();
        EXPECT_EQ("v", plain("k"));
        EXPECT_EQ(kDamaged, content_of(kPlainFile));
        EXPECT_TRUE(kept_of(kPlainFile).empty());
        EXPECT_FALSE(exists(kPlainFile + ".tmp"));
        EXPECT_EQ("", journals());
    }

    /* Expects the cleaned file, the damaged one beside it, and one warning. */
    void expect_cleaned(const std::string &path, const std::string &content = "k=v\n") {
        EXPECT_EQ(content, saved_lines(path));
        ASSERT_EQ(1u, kept_of(path).size());
        EXPECT_EQ(kDamaged, content_of(kept_of(path)[0]));
        EXPECT_EQ(
            (std::vector<std::string>{path + " was damaged: the old file is kept as " + kept_of(path)[0]}),
            warnings(log_));
    }
};

TEST_F(DatabaseDamage, ASaveWithoutAnyChangeCleansTheFilesAndKeepsTheDamagedOnes) {
    for (const std::string &path : {kPlainFile, kPermFile}) {
        start_with_damaged(path);
        EXPECT_EQ(0, database_->save());
        expect_cleaned(path);
    }
    start_with_damaged(kFactoryFile);
    EXPECT_EQ(0, database_->save_factory());
    expect_cleaned(kFactoryFile);
}

TEST_F(DatabaseDamage, TheSaveBeforeThePowerGoesOffCleansToo) {
    start_with_damaged(kPermFile);
    EXPECT_EQ(0, database_->save_before_power_off());
    expect_cleaned(kPermFile);
}

TEST_F(DatabaseDamage, ACleanedFileIsLeftAlone) {
    start_with_damaged(kPlainFile);
    EXPECT_EQ(0, database_->save());
    put_file(kPlainFile, "# by hand\nk=v\n");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("# by hand\nk=v\n", content_of(kPlainFile));
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "new"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
}

TEST_F(DatabaseDamage, AResetKeepsTheDamagedFileToo) {
    start_with_damaged(kPlainFile);
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    expect_cleaned(kPlainFile, "");
}

TEST_F(DatabaseDamage, ACleaningThatFailsLeavesTheFileAndIsDoneByTheNextSave) {
    start_with_damaged(kPlainFile);
    fail_rename(EIO);
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ(kDamaged, content_of(kPlainFile));
    EXPECT_TRUE(kept_of(kPlainFile).empty());
    log_.clear();
    EXPECT_EQ(0, database_->save());
    expect_cleaned(kPlainFile);
}

TEST_F(DatabaseDamage, AFileThatCantBeKeptIsNotReplaced) {
    start_with_damaged(kPlainFile);
    fail_link(EPERM);
    fail_open(kPlainFile, EIO);
    EXPECT_EQ(0, database_->set(P, "new", "1"));
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ(kDamaged, content_of(kPlainFile));
    EXPECT_TRUE(log_.contains("can't save " + kPlainFile + " errno=5")) << log_.text();
}

/* The save after the reset would fail, and leave the device without its settings. */
TEST_F(DatabaseDamage, AResetIsRefusedWhereTheDamagedFileCantBeKept) {
    start_with_damaged(kPlainFile);
    fail_link(ENOSPC);
    fail_opens([](const std::string &path) { return path.find(".damaged-") != path.npos ? ENOSPC : 0; });
    expect_reset_refused(6);
}

TEST_F(DatabaseDamage, AResetIsRefusedWhereAllNamesOfDamagedFilesAreTaken) {
    start_with_damaged(kPlainFile);
    fail_link(EEXIST);
    expect_reset_refused(2007);
}

/* The damaged file keeps its room, so that the settings need as much again. */
TEST_F(DatabaseDamage, AResetIsRefusedWhereTheDamagedFileFillsTheDisk) {
    start_with_damaged(kPlainFile);
    fill_disk_of("/m_data/usr/db");
    expect_reset_refused(6);
}

TEST_F(DatabaseDamage, AResetIsRefusedWhereADamagedFileCantBeRemovedAgain) {
    start_with_damaged(kPlainFile);
    doubles::libc::unlink.stand_in([](const char *) {
        errno = EPERM;
        return -1;
    });
    EXPECT_EQ(2006, database_->reset());
    end_faults();
    EXPECT_EQ("v", plain("k"));
}

/* The file is the new one already, so that there is no damage left to keep. */
TEST_F(DatabaseDamage, ACleaningWhoseFolderWasNotSyncedIsSyncedByTheNextSave) {
    std::filesystem::create_directories("/m_data/usr/db");
    start_with_damaged(kPlainFile);
    fail_folder_sync();
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    expect_saved_again();
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
    doubles::libc::fsync.forget_calls();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(0u, doubles::libc::fsync.calls());
}

/* It may have more than the store. */
TEST_F(DatabaseDamage, AFileThatWasNotReadWholeIsNotCleaned) {
    put_file(kPermFile, kDamaged + full_file());
    restart();
    EXPECT_EQ(0, database_->save());
    EXPECT_TRUE(kDamaged + full_file() == content_of(kPermFile));
    EXPECT_TRUE(kept_of(kPermFile).empty());
}

TEST_F(DatabaseDamage, AFileWithTooManyKeysIsKeptWhenAResetReplacesIt) {
    const std::string content = full_file() + "one more=1\n";
    put_file(kPlainFile, content);
    restart();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
    ASSERT_EQ(1u, kept_of(kPlainFile).size());
    EXPECT_TRUE(content == content_of(kept_of(kPlainFile)[0]));
}

TEST_F(DatabaseDamage, DamagedDefaultsAreNeverWritten) {
    put_file(kDefaultsFile, kDamaged);
    restart();
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ(kDamaged, content_of(kDefaultsFile));
}

/* ---- The check line, and the file before the last save ---------------------------------------------- */

class DatabaseGenerations : public DatabaseDamage {
  protected:
    void save(const char *value) {
        EXPECT_EQ(0, database_->set(P, "k", value));
        EXPECT_EQ(0, database_->save());
    }

    static void damage(const std::string &path) {
        std::string content = content_of(path);
        content[0] = static_cast<char>(content[0] ^ 1);
        put_file(path, content);
    }
};

TEST_F(DatabaseGenerations, GrowWithEachSaveAndTheOneBeforeIsKept) {
    save("1");
    EXPECT_EQ(saved_file("k=1\n", 1), content_of(kPlainFile));
    EXPECT_FALSE(exists(kPlainPrevious));
    save("2");
    EXPECT_EQ(saved_file("k=2\n", 2), content_of(kPlainFile));
    EXPECT_EQ(saved_file("k=1\n", 1), content_of(kPlainPrevious));
    restart();
    save("3");
    EXPECT_EQ(saved_file("k=3\n", 3), content_of(kPlainFile));
    EXPECT_EQ(saved_file("k=2\n", 2), content_of(kPlainPrevious));
    EXPECT_FALSE(exists(kPlainPrevious + ".tmp"));
}

TEST_F(DatabaseGenerations, EachStoresFileEndsInItsCheckLine) {
    for (const StoreId id : kStoreIds) {
        database_->set(id, "k", "v");
    }
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(0, database_->save_factory());
    for (const std::string &path : {kPlainFile, kPermFile, kFactoryFile}) {
        EXPECT_EQ(saved_file("k=v\n", 1), content_of(path));
    }
}

TEST_F(DatabaseGenerations, ADamagedFileLosesOneSaveAndNoUnsavedChange) {
    save("1");
    save("2");
    EXPECT_EQ(0, database_->set(P, "unsaved", "1"));
    damage(kPlainFile);
    restart();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ("1", plain("unsaved"));
    ASSERT_EQ(1u, database_->set_aside().size());
    EXPECT_EQ(kept_of(kPlainFile), database_->set_aside());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(saved_file("k=1\nunsaved=1\n", 3), content_of(kPlainFile));
    EXPECT_EQ(saved_file("k=1\n", 1), content_of(kPlainPrevious));
}

TEST_F(DatabaseGenerations, ADamagedFileOfEachStoreIsReplaced) {
    for (const char *value : {"1", "2"}) {
        for (const StoreId id : kStoreIds) {
            database_->set(id, "k", value);
        }
        EXPECT_EQ(0, database_->save_before_power_off());
    }
    for (const std::string &path : {kPlainFile, kPermFile, kFactoryFile}) {
        damage(path);
    }
    restart();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ("1", perm("k"));
    EXPECT_EQ("1", def("k"));
    EXPECT_EQ(3u, database_->set_aside().size());
}

/* The next save replaces it, and neither copy of it is lost nor taken for the file before the save. */
TEST_F(DatabaseGenerations, ADamagedFileWithoutAPreviousOneIsCleanedByTheNextSave) {
    put_file(kPlainFile, "k=v\n#zndb format=1 generation=7 check=00000000\n");
    restart();
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(saved_file("k=v\n", 8), content_of(kPlainFile));
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
    EXPECT_FALSE(exists(kPlainPrevious));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(saved_file("k=v\n", 8), content_of(kPlainFile));
}

TEST_F(DatabaseGenerations, ADamagedFileThatCouldNotBeSetAsideIsKeptByTheSaveThatReplacesIt) {
    const std::string content = "k=v\n#zndb format=1 generation=7 check=00000000\n";
    put_file(kPlainFile, content);
    fail_link(EROFS);
    fail_opens([](const std::string &path) { return path.find(".damaged-") != path.npos ? EROFS : 0; });
    doubles::libc::rename.stand_in([](const char *, const char *) {
        errno = EROFS;
        return -1;
    });
    restart();
    end_faults();
    EXPECT_TRUE(kept_of(kPlainFile).empty());
    EXPECT_EQ(0, database_->save());
    ASSERT_EQ(1u, kept_of(kPlainFile).size());
    EXPECT_EQ(content, content_of(kept_of(kPlainFile)[0]));
}

TEST_F(DatabaseGenerations, ASaveIsDoneWhereThePreviousFileCantBeKept) {
    save("1");
    save("2");
    fail_link(EPERM);
    fail_open(kPlainFile, EIO);
    log_.clear();
    save("3");
    end_faults();
    EXPECT_EQ(saved_file("k=3\n", 3), content_of(kPlainFile));
    EXPECT_EQ(saved_file("k=1\n", 1), content_of(kPlainPrevious));
    EXPECT_EQ(
        (std::vector<std::string>{"can't keep " + kPlainPrevious + " errno=5, cause: Input/output error"}),
        warnings(log_));
}

TEST_F(DatabaseGenerations, WithoutLinksThePreviousFileIsACopy) {
    save("1");
    fail_link(EPERM);
    save("2");
    EXPECT_EQ(saved_file("k=1\n", 1), content_of(kPlainPrevious));
}

/* ---- Lines of newer services ------------------------------------------------------------------------ */

class DatabaseNewerLines : public DatabaseGenerations {
  protected:
    /* A file that a newer service has saved. */
    static std::string newer_file(const std::string &lines) {
        const std::string text = lines + "#zndb format=2 generation=5 more=1 ";
        Crc32 crc;
        crc.add(text);
        char check[16];
        (void)std::snprintf(check, sizeof(check), "check=%08x\n", crc.value());
        return text + check;
    }
};

TEST_F(DatabaseNewerLines, AreCarriedAlong) {
    put_file(kPlainFile, newer_file("# a comment\na=1\n@new syntax\n=x\nno sign\n#zndb new\n\n"));
    log_.clear();
    restart();
    EXPECT_TRUE(warnings(log_).empty()) << log_.text();
    EXPECT_EQ("1", plain("a"));
    const std::string carried =
        "# a comment\n#zndb line @new syntax\n#zndb line =x\n#zndb line no sign\n#zndb new\n";
    for (const int generation : {6, 7}) {
        database_->set(P, "b", std::to_string(generation));
        EXPECT_EQ(0, database_->save());
        EXPECT_EQ(saved_file("a=1\nb=" + std::to_string(generation) + "\n" + carried,
                             static_cast<uint64_t>(generation)),
                  content_of(kPlainFile));
        restart();
    }
}

TEST_F(DatabaseNewerLines, AreSettingsForAServiceThatUnderstandsThem) {
    put_file(kPlainFile, saved_file("a=1\n#zndb line b=2\n", 5));
    restart();
    EXPECT_EQ("2", plain("b"));
    database_->set(P, "a", "2");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("a=2\nb=2\n", saved_lines(kPlainFile));
}

/* Who edits the file by hand removes the check line alone. */
TEST_F(DatabaseNewerLines, AreCarriedAlongWithoutACheckLineToo) {
    put_file(kPlainFile, "# a comment\na=1\n#zndb line @new\n");
    restart();
    database_->set(P, "a", "2");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("a=2\n#zndb line @new\n", saved_lines(kPlainFile));
}

TEST_F(DatabaseNewerLines, ThatCantBeCarriedAreReportedAndTheFileIsKept) {
    const std::string content = newer_file("a=1\n@" + std::string(2000, 'x') + "\n#b\rc\n@\rd\n");
    put_file(kPlainFile, content);
    restart();
    EXPECT_TRUE(log_.contains(kPlainFile + " line 2 skipped: it is too long")) << log_.text();
    EXPECT_TRUE(log_.contains(kPlainFile + " line 3 skipped: the comment holds a CR or NUL")) << log_.text();
    EXPECT_EQ(0, database_->save());
    ASSERT_EQ(1u, kept_of(kPlainFile).size());
    EXPECT_EQ(content, content_of(kept_of(kPlainFile)[0]));
}

TEST_F(DatabaseNewerLines, AreLimited) {
    std::string lines;
    while (lines.size() < 2 * kCarriedMax) {
        lines += "#" + std::string(1000, 'x') + "\n";
    }
    put_file(kPlainFile, newer_file(lines));
    restart();
    EXPECT_TRUE(log_.contains("skipped: there are too many lines of a newer service")) << log_.text();
    EXPECT_EQ(0, database_->save());
    EXPECT_LE(std::filesystem::file_size(kPlainFile), kCarriedMax + 100);
    EXPECT_EQ(1u, kept_of(kPlainFile).size());
}

TEST_F(DatabaseNewerLines, AreEmptiedByAReset) {
    put_file(kPlainFile, newer_file("a=1\n@new\n"));
    restart();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
    EXPECT_EQ(newer_file("a=1\n@new\n"), content_of(kPlainPrevious));
}

}  // namespace
