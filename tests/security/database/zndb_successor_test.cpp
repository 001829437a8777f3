/*
 * Two databases at once, since somebody removed the lock of the first one: the first one must not change
 * files of its successor.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "frwk_common.h"
#include "support/checked_file.h"
#include "support/wait_until.h"
#include "system/messaging/raw_peer.h"
#include "system/zndb/zndb_process.h"

namespace {

namespace fs = std::filesystem;

const std::string kPlainFile = "/m_data/usr/db/user_data.txt";
const std::string kPermFile = "/m_data/usr_permanent/db/perm_data.txt";
const std::string kFactoryFile = "/m_data/factor/factor_data.txt";
const std::string kJournals[] = {"/tmp/m_tmp/zndb/journal.plain", "/tmp/m_tmp/zndb/journal.perm",
                                 "/tmp/m_tmp/zndb/journal.factory"};

std::string journals() {
    std::string all;
    for (const std::string &journal : kJournals) {
        all += file_text(journal);
    }
    return all;
}
const std::string kWords = " is not the one of this process any more: ending, nothing is saved\n";

ino_t number_of(const char *path) {
    struct stat info = {};
    return ::stat(path, &info) == 0 ? info.st_ino : 0;
}

class ZndbSuccessor : public ZndbTest {
  protected:
    ZndbSuccessor() { fs::remove(kFirstSocket); }

    /* A first one with unsaved changes of each store. Its socket keeps a second name, since it loses the
     * first. */
    void start_first() {
        start();
        EXPECT_EQ(0, zndb_set("k", "first"));
        EXPECT_EQ(0, zndb_set_perm_data("k", "first"));
        EXPECT_EQ(0, ask_zndb(E_APPS_MSG_ZNDB_FACTOR_SET, set_body("k", "first")));
        ASSERT_EQ(0, ::link(paths::kZndbSocket, kFirstSocket));
        first_ = std::move(zndb_);
    }

    void start_second() {
        const ino_t before = number_of(paths::kZndbSocket);
        fs::remove(paths::kZndbLock);
        zndb_ = std::make_unique<ChildProcess>(std::vector<std::string>{ZNDB_PROGRAM});
        ASSERT_TRUE(wait_until([before] { return number_of(paths::kZndbSocket) != before; }));
        ASSERT_TRUE(wait_until([] { return frwk_get_module_status(E_APPS_MODULE_ZNDB) == 1; }));
    }

    /* Asks the first one, and returns what it answered, in bytes. */
    static std::string ask_first(uint32_t msgid, const std::string &body = "") {
        RawConnection connection = RawConnection::to("zndb.first");
        RawRequest request = RawRequest::of(msgid);
        request.data_len = static_cast<uint32_t>(body.size());
        (void)connection.send(request.bytes() + body);
        return connection.receive_rest();
    }

    /* Expects that the first one ends instead of an answer, and says why. */
    void expect_end(uint32_t msgid, const std::string &body = "") {
        EXPECT_EQ("", ask_first(msgid, body)) << msgid;
        EXPECT_EQ(1, first_->exit_status()) << msgid;
        EXPECT_NE(std::string::npos, first_->errors().find(paths::kZndbLock + kWords)) << first_->errors();
    }

    static constexpr char kFirstSocket[] = "/tmp/m_tmp/ipc/zndb.first";
    std::unique_ptr<ChildProcess> first_;
};

TEST_F(ZndbSuccessor, HasWhatTheFirstHadNotSaved) {
    start_first();
    start_second();
    EXPECT_EQ("first", plain("k"));
    EXPECT_EQ("first", perm("k"));
    EXPECT_EQ("first", def("k"));
}

TEST_F(ZndbSuccessor, ItsFilesAreNotOverwrittenByASaveOfTheFirst) {
    start_first();
    start_second();
    EXPECT_EQ(0, zndb_set("k", "second"));
    EXPECT_EQ(0, zndb_save());
    expect_end(E_APPS_MSG_ZNDB_SAVE);
    EXPECT_EQ("k=second\n", checked_lines(file_text(kPlainFile)));
    EXPECT_EQ("F+k=first\n", journals());
}

TEST_F(ZndbSuccessor, NothingIsSavedByTheFirstBeforeIt) {
    start_first();
    start_second();
    EXPECT_EQ(0, zndb_set("k", "second"));
    const std::string journal = journals();
    expect_end(E_APPS_MSG_ZNDB_SAVE);
    EXPECT_FALSE(fs::exists(kPlainFile));
    EXPECT_EQ(journal, journals());
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("k=second\n", checked_lines(file_text(kPlainFile)));
    EXPECT_EQ("k=first\n", checked_lines(file_text(kPermFile)));
    EXPECT_EQ("second", plain("k"));
}

TEST_F(ZndbSuccessor, NoRequestToTheFirstChangesItsJournalOrItsFiles) {
    const struct {
        uint32_t msgid;
        std::string body;
    } requests[] = {
        {E_APPS_MSG_ZNDB_SET, set_body("k", "late")},
        {E_APPS_MSG_ZNDB_SET_PERM, set_body("k", "late")},
        {E_APPS_MSG_ZNDB_FACTOR_SET, set_body("k", "late")},
        {E_APPS_MSG_ZNDB_DEL, std::string("k\0", 2)},
        {E_APPS_MSG_ZNDB_DEL_PERM, std::string("k\0", 2)},
        {E_APPS_MSG_ZNDB_RESET, ""},
        {E_APPS_MSG_ZNDB_FACTOR_SAVE, ""},
        {E_APPS_MSG_ZNDB_SAVE_RAM, ""},
        {E_APPS_MSG_MONITOR_FPWROFF_NOTIFY, ""},
    };
    for (const auto &request : requests) {
        start_first();
        start_second();
        EXPECT_EQ(0, zndb_set("k", "second"));
        const std::string journal = journals();
        expect_end(request.msgid, request.body);
        EXPECT_EQ(journal, journals()) << request.msgid;
        EXPECT_FALSE(fs::exists(kPlainFile) || fs::exists(kPermFile) || fs::exists(kFactoryFile));
        zndb_->kill();
        for (const std::string &each : kJournals) {
            fs::remove(each);
        }
        fs::remove(kFirstSocket);
    }
}

TEST_F(ZndbSuccessor, ARebootEndsTheFirstWithoutASave) {
    start_first();
    start_second();
    EXPECT_EQ("", ask_first(E_APPS_MSG_SYS_REBOOT));
    EXPECT_EQ(0, first_->exit_status());
    EXPECT_NE(std::string::npos, first_->errors().find(paths::kZndbLock + kWords)) << first_->errors();
    EXPECT_FALSE(fs::exists(kPlainFile));
    EXPECT_EQ("first", plain("k"));
}

/* They change nothing, so that not each of them is worth a look. */
TEST_F(ZndbSuccessor, AFirstThatIsOnlyReadEndsSoon) {
    start_first();
    start_second();
    EXPECT_TRUE(wait_until([this] {
        (void)ask_first(E_APPS_MSG_ZNDB_GET, std::string("k\0", 2));
        return !first_->running();
    }));
    EXPECT_EQ(1, first_->exit_status());
}

TEST_F(ZndbSuccessor, AFirstThatNobodyAsksEndsByItself) {
    start_first();
    start_second();
    EXPECT_EQ(1, first_->exit_status());
    EXPECT_NE(std::string::npos, first_->errors().find(paths::kZndbLock + kWords)) << first_->errors();
    EXPECT_EQ("first", plain("k"));
}

TEST_F(ZndbSuccessor, ASocketThatSomebodyRemovedEndsItToo) {
    start_first();
    fs::remove(paths::kZndbSocket);
    EXPECT_EQ("", ask_first(E_APPS_MSG_ZNDB_SAVE));
    EXPECT_EQ(1, first_->exit_status());
    EXPECT_NE(std::string::npos, first_->errors().find(paths::kZndbSocket + kWords)) << first_->errors();
    start();
    EXPECT_EQ("first", plain("k"));
}

}  // namespace
