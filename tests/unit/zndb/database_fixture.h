/*
 * A database on files that are fresh for each test, with the faults of libc at hand.
 */
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "database.h"
#include "unit/zndb/zndb_files.h"

inline const std::string kPlainFile = "/m_data/usr/db/user_data.txt";
inline const std::string kPermFile = "/m_data/usr_permanent/db/perm_data.txt";
inline const std::string kDefaultsFile = "/m_webui/usr/db/default_data.txt";
inline const std::string kFactoryFile = "/m_data/factor/factor_data.txt";
inline const std::string kPlainPrevious = kPlainFile + ".previous";
inline const std::string kPlainJournal = "/tmp/m_tmp/zndb/journal.plain";
inline const std::string kPermJournal = "/tmp/m_tmp/zndb/journal.perm";
inline const std::string kFactoryJournal = "/tmp/m_tmp/zndb/journal.factory";
inline const std::string kOldJournal = "/tmp/m_tmp/zndb/journal";

/* The content of the journals, store by store. */
inline std::string journals() {
    return content_of(kPlainJournal) + content_of(kPermJournal) + content_of(kFactoryJournal);
}

/* The stores by the letters that the journal knows them by, and the answer of a key that is in none. */
inline constexpr StoreId P = StoreId::kPlain;
inline constexpr StoreId M = StoreId::kPerm;
inline constexpr StoreId F = StoreId::kFactory;
inline const std::string kMissing = "result 2001";

/* A file with as many keys, 0 and so on, as a store holds. */
inline std::string full_file() {
    std::string content;
    for (size_t i = 0; i < kStoreKeysMax; ++i) {
        content += std::to_string(i) + "=\n";
    }
    return content;
}

class DatabaseFixture : public DiskTest {
  protected:
    void SetUp() override {
        for (const std::string &path : {kPlainFile, kPermFile, kDefaultsFile, kFactoryFile}) {
            std::filesystem::remove_all(path);
            std::filesystem::remove_all(path + ".tmp");
            std::filesystem::remove_all(path + ".previous");
        }
        std::filesystem::remove_all("/tmp/m_tmp/zndb");
        restart();
    }

    /* As after SIGKILL: nothing is left but the files and the journal. */
    void restart() {
        database_ = std::make_unique<Database>();
        database_->load();
    }

    /* As after a power cut: tmpfs is gone too. */
    void cut_power() {
        std::filesystem::remove_all("/tmp/m_tmp/zndb");
        restart();
    }

    /* Starts on a file that can not be opened. */
    void start_with_broken(const std::string &path, const std::string &content) {
        put_file(path, content);
        fail_open(path, EIO);
        log_.clear();
        restart();
        end_faults();
    }

    /*
     * Saves, where the files may be on the disk already, as after an earlier save whose folder was not
     * synced: they must be written and synced all the same.
     */
    void expect_saved_again() {
        doubles::libc::fsync.forget_calls();
        EXPECT_EQ(0, database_->save());
        EXPECT_GE(doubles::libc::fsync.calls(), 2u);
    }

    /* The value, or "result N". */
    std::string get(StoreId id, std::string_view key) {
        char value[1024];
        const int32_t result = database_->get(id, key, value, sizeof(value));
        return result == 0 ? value : "result " + std::to_string(result);
    }
    std::string plain(std::string_view key) { return get(StoreId::kPlain, key); }
    std::string perm(std::string_view key) { return get(StoreId::kPerm, key); }
    std::string def(std::string_view key) { return get(StoreId::kFactory, key); }

    std::unique_ptr<Database> database_;
};
