/*
 * Saves on a slow disk: gets and sets are answered while it syncs, and whatever changes meanwhile is neither
 * lost nor half saved.
 */
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/wait_until.h"
#include "unit/zndb/database_fixture.h"
#include "zndb_ext.h"

namespace {

namespace fs = std::filesystem;

constexpr char kDebugKey[] = "device_debug_mode";
constexpr char kPhotos[] = "/tmp/m_tmp/photos";

/* The folders of all files of the database. */
const std::vector<std::string> kFolders = {"/m_data/usr/db", "/m_data/usr_permanent/db", "/tmp/m_tmp/zndb"};

class DatabaseSlowSave : public DatabaseFixture {
  protected:
    ~DatabaseSlowSave() override {
        for (std::thread &thread : threads_) {
            thread.join();
        }
        fs::remove_all(kPhotos);
    }

    /* Does something on another thread. Returns false if that does not end by itself. */
    bool ends_beside(const std::function<void()> &action) {
        const auto ended = std::make_shared<std::atomic<bool>>(false);
        threads_.emplace_back([action, ended] {
            action();
            *ended = true;
        });
        return wait_until([ended] { return ended->load(); }, std::chrono::seconds(20));
    }

    /* The first sync of a save takes as long as this does, on another thread; result: of all its syncs. */
    void during_the_sync(const std::function<void()> &action, int error = 0) {
        const auto begun = std::make_shared<std::atomic<bool>>(false);
        doubles::libc::fsync.stand_in([this, action, begun, error](int fd) {
            if (!begun->exchange(true)) {
                EXPECT_TRUE(ends_beside(action)) << "it waits for the disk";
            }
            errno = error;
            return error != 0 ? -1 : doubles::libc::fsync.real(fd);
        });
    }

    /* The same for a set of a key that is being saved. */
    void set_during_the_sync(StoreId id = P, int error = 0) {
        during_the_sync([this, id] { EXPECT_EQ(0, database_->set(id, "k", "2")); }, error);
    }

    int32_t batch_of_both(const char *value) {
        ZndbBatchItems batch;
        EXPECT_TRUE(batch.add({ItemKind::kSet, P, "k", value}));
        EXPECT_TRUE(batch.add({ItemKind::kSet, M, "k", value}));
        BatchAnswer answer = {-1, 0};
        return database_->apply_batch(batch, answer);
    }

    std::thread waiting_; /* joined by its test */

  private:
    std::list<std::thread> threads_;
};

TEST_F(DatabaseSlowSave, GetsAndSetsAreAnsweredWhileTheDiskSyncs) {
    database_->set(P, "k", "1");
    database_->set(M, "k", "1");
    database_->set(F, "k", "1");
    const auto last_save = [](Database &database) { return database.save_before_power_off(); };
    const auto factory_save = [](Database &database) { return database.save_factory(); };
    for (apps_err_e_type (*save)(Database &) : {+factory_save, +last_save}) {
        during_the_sync([this] {
            for (const StoreId id : kStoreIds) {
                EXPECT_EQ("1", get(id, "k"));
                EXPECT_EQ(0, database_->set(id, "new", "1"));
                EXPECT_EQ("1", get(id, "new"));
                EXPECT_EQ(0, database_->erase(id, "new"));
            }
            ListRequest request = {};
            char bytes[kListPageMin];
            ListPage page(bytes, sizeof(bytes));
            EXPECT_EQ(0, database_->list(request, page));
            EXPECT_EQ(0, database_->save_ram());
        });
        EXPECT_EQ(0, save(*database_));
    }
}

TEST_F(DatabaseSlowSave, ASetDuringTheSaveStaysUnsaved) {
    for (const StoreId id : {P, M}) {
        const StorePaths files = paths_of(id);
        database_->set(id, "k", "1");
        database_->set(id, "other", "1");
        set_during_the_sync(id);
        EXPECT_EQ(0, database_->save());
        EXPECT_EQ("k=1\nother=1\n", saved_lines(files.file));
        EXPECT_EQ(std::string(id == P ? "P" : "M") + "+k=2\n", content_of(files.journal));
        EXPECT_EQ("2", get(id, "k"));
        EXPECT_EQ(0, database_->save());
        EXPECT_EQ("k=2\nother=1\n", saved_lines(files.file));
        EXPECT_EQ("", content_of(files.journal));
    }
}

TEST_F(DatabaseSlowSave, ASetOfTheOverlayDuringItsSaveStaysUnsaved) {
    database_->set(F, "k", "1");
    set_during_the_sync(F);
    EXPECT_EQ(0, database_->save_factory());
    EXPECT_EQ("k=1\n", saved_lines(kFactoryFile));
    EXPECT_EQ("F+k=2\n", content_of(kFactoryJournal));
    cut_power();
    EXPECT_EQ("1", def("k"));
}

TEST_F(DatabaseSlowSave, ASetToTheValueThatIsBeingSavedIsNoChange) {
    database_->set(P, "k", "1");
    during_the_sync([this] { EXPECT_EQ(0, database_->set(P, "k", "1")); });
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseSlowSave, AKeyThatIsDeletedDuringTheSaveStaysDeleted) {
    put_file(kPlainFile, "old=1\n");
    restart();
    database_->set(P, "k", "1");
    during_the_sync([this] {
        EXPECT_EQ(0, database_->erase(P, "k"));
        EXPECT_EQ(0, database_->erase(P, "old"));
    });
    EXPECT_EQ(0, database_->save());
    restart();
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(kMissing, plain("old"));
    EXPECT_EQ(0, database_->save());
    cut_power();
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(kMissing, plain("old"));
}

/* After a reset no record of a delete is needed, unless the file that is being written has the key. */
TEST_F(DatabaseSlowSave, AKeyThatIsDeletedDuringTheSaveOfAResetStaysDeleted) {
    put_file(kPlainFile, "old=1\n");
    restart();
    EXPECT_EQ(0, database_->reset());
    database_->set(P, "k", "1");
    during_the_sync([this] { EXPECT_EQ(0, database_->erase(P, "k")); });
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=1\n", saved_lines(kPlainFile));
    restart();
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
}

TEST_F(DatabaseSlowSave, ABatchDuringTheSaveStaysWhole) {
    database_->set(P, "k", "1");
    database_->set(M, "k", "1");
    during_the_sync([this] { EXPECT_EQ(0, batch_of_both("2")); });
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=1\n", saved_lines(kPlainFile));
    EXPECT_EQ("k=1\n", saved_lines(kPermFile));
    restart();
    EXPECT_EQ("2", plain("k"));
    EXPECT_EQ("2", perm("k"));
    cut_power();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ("1", perm("k"));
}

TEST_F(DatabaseSlowSave, AJournalThatGetsTooLongMeanwhileIsShortenedAndLosesNothing) {
    database_->set(P, "before", "1");
    during_the_sync([this] {
        for (uint64_t size = 0; size <= 2 * kJournalSmall; size += 1000) {
            EXPECT_EQ(0, database_->set(P, "k", std::string(1000, static_cast<char>('a' + size / 1000 % 2))));
        }
        EXPECT_LT(content_of(kPlainJournal).size(), kJournalSmall + 2000);
        EXPECT_NE(std::string::npos, content_of(kPlainJournal).find("P+before=1\n"));
    });
    EXPECT_EQ(0, database_->save());
    const std::string last = plain("k");
    restart();
    EXPECT_EQ("1", plain("before"));
    EXPECT_EQ(last, plain("k"));
}

TEST_F(DatabaseSlowSave, AFailureLeavesEveryChangeInTheJournal) {
    put_file(kPlainFile, "k=0\n");
    restart();
    database_->set(P, "k", "1");
    database_->set(P, "other", "1");
    set_during_the_sync(P, EIO);
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ("k=0\n", content_of(kPlainFile));
    EXPECT_EQ("2", plain("k"));
    restart();
    EXPECT_EQ("2", plain("k"));
    EXPECT_EQ("1", plain("other"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=2\nother=1\n", saved_lines(kPlainFile));
}

/* A client that asked for it relies on the answer: what it has set before is on the disk. */
TEST_F(DatabaseSlowSave, ASecondSaveWaitsForTheFirstAndSavesTheRest) {
    database_->set(P, "k", "1");
    std::atomic<bool> first_ended{false};
    during_the_sync([this, &first_ended] {
        EXPECT_EQ(0, database_->set(P, "k", "2"));
        waiting_ = std::thread([this, &first_ended] {
            EXPECT_EQ(0, database_->save());
            EXPECT_TRUE(first_ended);
        });
    });
    const auto rename = [&first_ended](int from, const char *old_path, int to, const char *path) {
        const int result = doubles::libc::renameat.real(from, old_path, to, path);
        first_ended = true;
        return result;
    };
    doubles::libc::renameat.stand_in(rename);
    EXPECT_EQ(0, database_->save());
    waiting_.join();
    EXPECT_EQ("k=2\n", saved_lines(kPlainFile));
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseSlowSave, AResetWaitsForTheSaveAndEmptiesWhatItHasWritten) {
    database_->set(P, "k", "1");
    during_the_sync([this] { waiting_ = std::thread([this] { EXPECT_EQ(0, database_->reset()); }); });
    EXPECT_EQ(0, database_->save());
    waiting_.join();
    EXPECT_EQ(kMissing, plain("k"));
    restart();
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
}

TEST_F(DatabaseSlowSave, GetsAndSetsAreAnsweredWhileAResetIsTried) {
    database_->set(P, "k", "1");
    EXPECT_EQ(0, database_->save());
    set_during_the_sync();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(kMissing, plain("k"));
}

/* It is taken out of what is written, and nobody sees that. */
TEST_F(DatabaseSlowSave, DebugModeIsReadWhileTheLastSaveLeavesItOut) {
    database_->set(P, "k", "1");
    database_->set(P, kDebugKey, "true");
    during_the_sync([this] {
        EXPECT_EQ("true", plain(kDebugKey));
        EXPECT_EQ(0, database_->set(P, "k", "2"));
    });
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("k=1\n", saved_lines(kPlainFile));
    restart();
    EXPECT_EQ("true", plain(kDebugKey));
    EXPECT_EQ("2", plain("k"));
}

/* A client's save makes it permanent; what the file has then is not what was set meanwhile. */
TEST_F(DatabaseSlowSave, DebugModeThatEndsDuringASaveIsTheFilesUntilTheNext) {
    database_->set(P, kDebugKey, "true");
    during_the_sync([this] { EXPECT_EQ(0, database_->set(P, kDebugKey, "false")); });
    EXPECT_EQ(0, database_->save());
    end_faults();
    EXPECT_EQ(0, database_->set(P, kDebugKey, "true"));
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_EQ("device_debug_mode=true\nk=1\n", saved_lines(kPlainFile));
}

/* ---- Kills and power cuts at each step --------------------------------------------------------------- */

/*
 * Before and after each step of a save on the disk and in the journal, photographs all files and sets the key
 * to the number of the photograph.
 */
class DatabaseSaveSteps : public DatabaseSlowSave {
  protected:
    void photograph() {
        const std::string album = std::string(kPhotos) + "/" + std::to_string(++photos_);
        EXPECT_EQ(0, database_->set(P, "k", std::to_string(photos_)));
        EXPECT_EQ(0, batch_of_both_others(std::to_string(photos_)));
        for (const std::string &folder : kFolders) {
            fs::create_directories(folder);
            fs::create_directories(album + folder);
            fs::copy(folder, album + folder, fs::copy_options::recursive);
        }
    }

    int32_t batch_of_both_others(const std::string &value) {
        ZndbBatchItems batch;
        EXPECT_TRUE(batch.add({ItemKind::kSet, P, "both", value}));
        EXPECT_TRUE(batch.add({ItemKind::kSet, M, "both", value}));
        BatchAnswer answer = {-1, 0};
        return database_->apply_batch(batch, answer);
    }

    template <typename Double>
    void photograph_each(Double &step) {
        step.stand_in([this, &step](auto... arguments) {
            if (std::this_thread::get_id() != saver_ || in_a_step_) {
                return step.real(arguments...);
            }
            in_a_step_ = true;
            photograph();
            const auto result = step.real(arguments...);
            photograph();
            in_a_step_ = false;
            return result;
        });
    }

    /* The step in which the journal is shortened is made with the database's lock. */
    void save_in_steps() {
        saver_ = std::this_thread::get_id();
        photograph_each(doubles::libc::fsync);
        photograph_each(doubles::libc::link);
        photograph_each(doubles::libc::rename);
        EXPECT_EQ(0, database_->save());
        end_faults();
    }

    /* The files of a photograph take the place of the present ones. */
    static void go_back_to(unsigned photo) {
        for (const std::string &folder : kFolders) {
            fs::remove_all(folder);
            fs::copy(kPhotos + ("/" + std::to_string(photo)) + folder, folder, fs::copy_options::recursive);
        }
    }

    unsigned photos_ = 0;
    bool in_a_step_ = false;
    std::thread::id saver_;
};

TEST_F(DatabaseSaveSteps, AKillLosesNoSet) {
    put_file(kPlainFile, saved_file("k=old\n", 1));
    restart();
    database_->set(P, "k", "0");
    database_->set(M, "unsaved", "1");
    save_in_steps();
    ASSERT_GE(photos_, 10u);
    for (unsigned photo = 1; photo <= photos_; ++photo) {
        go_back_to(photo);
        restart();
        EXPECT_EQ(std::to_string(photo), plain("k"));
        EXPECT_EQ(std::to_string(photo), plain("both"));
        EXPECT_EQ(std::to_string(photo), perm("both"));
        EXPECT_EQ("1", perm("unsaved"));
        EXPECT_EQ(0, database_->save());
        cut_power();
        EXPECT_EQ(std::to_string(photo), plain("k"));
        EXPECT_EQ("1", perm("unsaved"));
    }
}

TEST_F(DatabaseSaveSteps, APowerCutLeavesTheOldOrTheSavedValues) {
    put_file(kPlainFile, saved_file("a=old\nk=old\n", 1));
    restart();
    database_->set(P, "a", "0");
    database_->set(P, "k", "0");
    save_in_steps();
    for (unsigned photo = 1; photo <= photos_; ++photo) {
        go_back_to(photo);
        cut_power();
        const std::string found = plain("a") + plain("k");
        EXPECT_TRUE(found == "oldold" || found == "00") << photo << ": " << found;
        EXPECT_EQ(kMissing, plain("both"));
    }
}

}  // namespace
