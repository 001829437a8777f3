#include "view_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "formats/zndb_view_reader.h"
#include "support/unique_fd.h"
#include "support/wait_until.h"
#include "unit/zndb/database_fixture.h"

namespace {

const std::string kViewFile = "/tmp/m_tmp/zndb/view";

/* A view as a client maps it. */
class Client {
  public:
    explicit Client(const std::string &path) {
        const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat found = {};
        if (fd && ::fstat(fd.get(), &found) == 0 && found.st_size > 0 &&
            memory_.map(fd.get(), static_cast<size_t>(found.st_size), PROT_READ)) {
            if (const auto block = view::Block::open(memory_.data(), memory_.size())) {
                reader_.emplace(*block);
            }
        }
    }

    bool is_fresh() const { return reader_ && reader_->is_fresh(); }
    uint32_t serial() const { return reader_ ? reader_->serial() : 0; }
    std::string get(const std::string &key) const {
        char value[ZNDB_VALUE_LEN];
        const bool found =
            is_fresh() && reader_->get(StoreId::kPlain, key, value, sizeof(value)) == view::Found::kYes;
        return found ? value : "none";
    }

    MappedFile memory_;
    std::optional<view::Reader> reader_;
};

class ViewFileTest : public DatabaseFixture {
  protected:
    ~ViewFileTest() override {
        doubles::libc::fallocate.restore();
        doubles::libc::mmap.restore();
        doubles::libc::fchmod.restore();
        doubles::libc::fchown.restore();
        doubles::libc::fstat.restore();
        doubles::libc::write.restore();
    }

    static void let_the_view_fill_the_disk() {
        doubles::libc::write.stand_in([](int fd, const void *data, size_t size) -> ssize_t {
            if (::access(kViewFile.c_str(), F_OK) == 0) {
                errno = ENOSPC;
                return -1;
            }
            return doubles::libc::write.real(fd, data, size);
        });
    }

    void show() {
        view_ = std::make_unique<ViewFile>(kViewFile, access_, nullptr);
        database_->observe(*view_);
    }

    /* So long that it needs a larger file. */
    void set_long(const std::string &key) { EXPECT_EQ(0, database_->set(P, key, std::string(1000, 'l'))); }

    void fill_memory() {
        doubles::libc::fallocate.stand_in([](int, int, off_t, off_t) {
            errno = ENOSPC;
            return -1;
        });
    }

    std::string viewed(const std::string &key) const { return Client(kViewFile).get(key); }

    ViewAccess access_;
    std::unique_ptr<ViewFile> view_;
};

TEST_F(ViewFileTest, HasTheContentAndEachChange) {
    EXPECT_EQ(0, database_->set(P, "before", "1"));
    show();
    EXPECT_EQ("1", viewed("before"));
    EXPECT_EQ(0, database_->set(P, "after", "2"));
    EXPECT_EQ("2", viewed("after"));
    EXPECT_EQ(0, database_->erase(P, "before"));
    EXPECT_EQ("none", viewed("before"));
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ("none", viewed("after"));
}

TEST_F(ViewFileTest, ReplacesItsPredecessorAndTellsItsReaders) {
    show();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    const Client old(kViewFile);
    EXPECT_TRUE(old.is_fresh());
    const uint32_t serial = old.serial();
    restart();
    show();
    EXPECT_FALSE(old.is_fresh());
    EXPECT_EQ("1", viewed("k"));
    EXPECT_LT(serial, Client(kViewFile).serial());
}

TEST_F(ViewFileTest, APredecessorThatIsNoViewIsReplaced) {
    for (const std::string &content : {std::string(), std::string("garbage"), std::string(8192, 'g')}) {
        put_file(kViewFile, content);
        restart();
        show();
        EXPECT_TRUE(Client(kViewFile).is_fresh());
        view_.reset();
    }
    std::filesystem::remove(kViewFile);
    std::filesystem::create_directory(kViewFile);
    show();
    EXPECT_FALSE(Client(kViewFile).is_fresh());
    EXPECT_TRUE(log_.contains("no view for readers")) << log_.text();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
}

TEST_F(ViewFileTest, AFileWithASecondNameIsSetAside) {
    put_file("/tmp/m_tmp/zndb/other", "x");
    std::filesystem::create_hard_link("/tmp/m_tmp/zndb/other", kViewFile);
    show();
    EXPECT_TRUE(Client(kViewFile).is_fresh());
    EXPECT_EQ("x", content_of("/tmp/m_tmp/zndb/other"));
    EXPECT_TRUE(log_.contains("set aside as")) << log_.text();
}

TEST_F(ViewFileTest, WhereTheKernelNotesNoEndOfAProcessThereIsNoView) {
    show();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    const Client old(kViewFile);
    restart();
    OwnerMark unavailable;
    ViewFile none(kViewFile, access_, &unavailable);
    log_.clear();
    database_->observe(none);
    EXPECT_FALSE(old.is_fresh());
    EXPECT_FALSE(exists(kViewFile));
    EXPECT_EQ(0, database_->set(P, "k", "2"));
    EXPECT_FALSE(exists(kViewFile));
    EXPECT_EQ(1u, warnings(log_).size()) << log_.text();
    EXPECT_TRUE(log_.contains("no view for readers: can't write " + kViewFile)) << log_.text();
    EXPECT_FALSE(none.free_room());
    database_.reset();
}

TEST_F(ViewFileTest, WithoutMemoryThereIsNoView) {
    fill_memory();
    show();
    EXPECT_FALSE(exists(kViewFile));
    EXPECT_FALSE(exists(kViewFile + ".tmp"));
    EXPECT_TRUE(log_.contains("no view for readers: can't write " + kViewFile)) << log_.text();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    EXPECT_EQ("1", plain("k"));
}

TEST_F(ViewFileTest, WithoutMemoryForALargerOneItIsRemovedAndComesBack) {
    show();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    const Client old(kViewFile);
    fill_memory();
    for (int i = 0; i < 10; ++i) {
        set_long("long" + std::to_string(i));
    }
    EXPECT_FALSE(exists(kViewFile));
    EXPECT_FALSE(old.is_fresh());
    const uint32_t serial = old.serial();
    doubles::libc::fallocate.restore();
    EXPECT_TRUE(wait_until([this] {
        EXPECT_EQ(0, database_->set(P, "k", plain("k") == "2" ? "3" : "2"));
        return exists(kViewFile);
    }));
    EXPECT_EQ(plain("k"), viewed("k"));
    EXPECT_EQ(std::string(1000, 'l'), viewed("long9"));
    EXPECT_LT(serial, Client(kViewFile).serial());
}

TEST_F(ViewFileTest, AJournalOnAFullDiskTakesItsRoom) {
    show();
    let_the_view_fill_the_disk();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ("P+k=1\n", content_of("/tmp/m_tmp/zndb/journal.plain"));
    EXPECT_TRUE(log_.contains("no view for readers: can't write " + kViewFile)) << log_.text();
}

TEST_F(ViewFileTest, ComesBackWithoutAFurtherChange) {
    show();
    fill_memory();
    for (char key = 'a'; key <= 'j'; ++key) {
        set_long(std::string(1, key));
    }
    EXPECT_EQ("none", viewed("j"));
    doubles::libc::fallocate.restore();
    EXPECT_TRUE(wait_until([this] {
        database_->retry_observer();
        return viewed("j") == std::string(1000, 'l');
    }));
}

TEST_F(ViewFileTest, ItsSerialGrowsAlsoWhereTheFileWasRemovedWithTheService) {
    show();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    const uint32_t serial = Client(kViewFile).serial();
    view_.reset();
    EXPECT_EQ(0, ::unlink(kViewFile.c_str()));
    ::usleep(10000); /* the start of a service takes as long */
    restart();
    show();
    EXPECT_LT(serial, Client(kViewFile).serial());
}

TEST_F(ViewFileTest, ABatchOnAFullDiskTakesItsRoom) {
    show();
    let_the_view_fill_the_disk();
    ZndbBatchItems batch;
    EXPECT_TRUE(batch.add({ItemKind::kSet, P, "a", "1"}));
    EXPECT_TRUE(batch.add({ItemKind::kSet, StoreId::kPerm, "b", "2"}));
    BatchAnswer answer = {};
    EXPECT_EQ(0, database_->apply_batch(batch, answer));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("2", perm("b"));
}

TEST_F(ViewFileTest, EachFailedStepRemovesWhatItMade) {
    const auto expect_no_view = [this] {
        show();
        EXPECT_FALSE(exists(kViewFile));
        EXPECT_FALSE(exists(kViewFile + ".tmp"));
        EXPECT_TRUE(log_.contains("no view for readers")) << log_.text();
        log_.clear();
    };
    doubles::libc::mmap.stand_in([](void *, size_t, int, int, int, off_t) {
        errno = ENOMEM;
        return MAP_FAILED;
    });
    expect_no_view();
    doubles::libc::mmap.restore();
    doubles::libc::fchmod.stand_in([](int, mode_t) {
        errno = EPERM;
        return -1;
    });
    expect_no_view();
    doubles::libc::fchmod.restore();
    fail_rename(EIO);
    expect_no_view();
    end_faults();
    fail_open(kViewFile + ".tmp", EMFILE);
    expect_no_view();
    end_faults();
    put_file("/tmp/m_tmp/file", "");
    view_ = std::make_unique<ViewFile>("/tmp/m_tmp/file/view", access_, nullptr);
    database_->observe(*view_);
    EXPECT_TRUE(log_.contains("no view for readers")) << log_.text();
}

TEST_F(ViewFileTest, AnInterruptedReservationIsRepeated) {
    int interruptions = 2;
    doubles::libc::fallocate.stand_in([&interruptions](int fd, int mode, off_t from, off_t size) {
        if (interruptions-- > 0) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::fallocate.real(fd, mode, from, size);
    });
    show();
    EXPECT_TRUE(Client(kViewFile).is_fresh());
}

TEST_F(ViewFileTest, HasItsModeAndItsGroup) {
    access_ = {0604, ::getegid()};
    show();
    EXPECT_EQ(0604u, mode_of(kViewFile));
    doubles::libc::fchown.stand_in([](int, uid_t, gid_t) {
        errno = EPERM;
        return -1;
    });
    show();
    EXPECT_TRUE(Client(kViewFile).is_fresh());
    EXPECT_TRUE(log_.contains("can't give " + kViewFile + " to its group")) << log_.text();
}

/* Writes over the records of the file, as nobody else should. */
void damage_records() {
    const UniqueFd fd(::open(kViewFile.c_str(), O_RDWR | O_CLOEXEC));
    struct stat found = {};
    ASSERT_EQ(0, ::fstat(fd.get(), &found));
    const std::string garbage(static_cast<size_t>(found.st_size) - 128 - 4, 'g');
    ASSERT_EQ(static_cast<ssize_t>(garbage.size()), ::pwrite(fd.get(), garbage.data(), garbage.size(), 128));
}

TEST_F(ViewFileTest, RecordsThatSomebodyHasDamagedAreWrittenAgain) {
    show();
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    EXPECT_EQ(0, database_->set(P, "other", "1"));
    damage_records();
    for (int i = 0; i < 10; ++i) {
        set_long("long" + std::to_string(i));
    }
    EXPECT_EQ("1", viewed("k"));
    EXPECT_EQ(std::string(1000, 'l'), viewed("long9"));
    damage_records();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->set(P, "k", "2"));
    EXPECT_EQ("2", viewed("k"));
    EXPECT_EQ("none", viewed("long9"));
}

TEST_F(ViewFileTest, BecomesSmallerAfterAReset) {
    show();
    const uintmax_t size = std::filesystem::file_size(kViewFile);
    for (int i = 0; i < 50; ++i) {
        set_long("long" + std::to_string(i));
    }
    EXPECT_LT(50000u, std::filesystem::file_size(kViewFile));
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(size, std::filesystem::file_size(kViewFile));
}

TEST_F(ViewFileTest, ABatchIsOneChange) {
    show();
    EXPECT_EQ(0, database_->set(P, "a", "1"));
    EXPECT_EQ(0, database_->set(P, "b", "1"));
    const Client reader(kViewFile);
    const uint32_t before = reader.serial();
    const JournalRecord records[] = {{P, JournalRecord::Change::kSet, "a", "2"},
                                     {P, JournalRecord::Change::kErase, "b", ""}};
    view_->changed({records, 2});
    EXPECT_EQ("2", reader.get("a"));
    EXPECT_EQ("none", reader.get("b"));
    EXPECT_EQ(before + 2, reader.serial());
}

}  // namespace
