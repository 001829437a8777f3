/*
 * What the database's next save will do with the stores' files, by what the files hold.
 */
#include "frwk_dbrm/saved_store.h"

#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

constexpr char kJournalFolder[] = "/tmp/m_tmp/zndb";
constexpr char kJournal[] = "/tmp/m_tmp/zndb/journal.perm";

class SavedStore : public DbrmTest {
  protected:
    void SetUp() override {
        DbrmTest::SetUp();
        std::filesystem::remove_all(kJournalFolder);
        std::filesystem::create_directories(kJournalFolder);
    }

    bool is_damaged(const std::string &text) {
        write(kUserData, text);
        return backup::is_damaged(kUserData);
    }

    uint64_t unsaved(StoreId store, const std::string &journal) {
        write(kJournal, journal);
        return backup::unsaved_bytes(store);
    }
};

TEST_F(SavedStore, IsWholeAsTheDatabaseWritesIt) {
    EXPECT_FALSE(is_damaged(""));
    EXPECT_FALSE(is_damaged("a=1\nb=\n"));
    EXPECT_FALSE(is_damaged("# comment\na=1\r\n\nb=2"));
}

TEST_F(SavedStore, IsDamagedByALineThatTheDatabaseSkips) {
    EXPECT_TRUE(is_damaged("a=1\nbad\n"));
    EXPECT_TRUE(is_damaged("\na=1\n"));
    EXPECT_TRUE(is_damaged(std::string("a=1\0\n", 5)));
    EXPECT_TRUE(is_damaged("# a\rb\n"));
    EXPECT_TRUE(is_damaged("# " + std::string(5000, 'c') + "\rb\n"));
    EXPECT_TRUE(is_damaged("a=" + std::string(2000, 'v') + "\n"));
}

TEST_F(SavedStore, ThatCanNotBeReadIsNotKnownToBeDamaged) {
    EXPECT_FALSE(backup::is_damaged("/m_data/usr/missing"));
    EXPECT_FALSE(backup::is_damaged("/m_data/usr"));
}

TEST_F(SavedStore, GrowsByItsRecordsOfTheJournal) {
    EXPECT_EQ(0u, unsaved(StoreId::kPerm, ""));
    EXPECT_EQ(5u, unsaved(StoreId::kPerm, "M+a=2\nP+b=3\n"));
    EXPECT_EQ(8u, unsaved(StoreId::kPerm, "M+a=2\nM-a\nbad\n"));
    EXPECT_EQ(0u, unsaved(StoreId::kPerm, "M+a=" + std::string(2000, 'v') + "\n"));
    std::filesystem::remove(kJournal);
    EXPECT_EQ(0u, backup::unsaved_bytes(StoreId::kPerm));
}

}  // namespace
