/*
 * Lists: pages of the stores' own values in the order of their bytes, and of the unsaved changes.
 */
#include <gtest/gtest.h>

#include "unit/zndb/database_fixture.h"

namespace {

const std::string kJournals = "/tmp/m_tmp/zndb/journal"; /* how the names of all of them begin */

class DatabaseList : public DatabaseFixture {
  protected:
    /* One page as text. */
    std::string page(const ListRequest &request, size_t size = 4096) {
        std::string bytes(size, '\0');
        ListPage written(bytes.data(), bytes.size());
        EXPECT_EQ(0, database_->list(request, written));
        ListedPage read(bytes.data(), bytes.size());
        std::string text = read.emptied() ? "emptied " : "";
        ZndbItem item = {};
        while (read.next(item)) {
            text += std::string(item.key) +
                    (item.kind == ItemKind::kDelete ? "!" : "=" + std::string(item.value)) + " ";
        }
        EXPECT_TRUE(read.at_end());
        return text + (read.goes_on() ? "..." : "");
    }

    std::string values(StoreId id, std::string_view prefix = "", std::string_view after = "") {
        return page({id, Listed::kValues, prefix, after});
    }

    std::string unsaved(StoreId id, std::string_view prefix = "", std::string_view after = "") {
        return page({id, Listed::kUnsaved, prefix, after});
    }
};

}  // namespace

TEST_F(DatabaseList, HasTheStoresOwnValuesWithoutFallback) {
    put_file(kDefaultsFile, "image=1\n");
    restart();
    ASSERT_EQ(0, database_->set(P, "p", "1"));
    ASSERT_EQ(0, database_->set(M, "m", "2"));
    ASSERT_EQ(0, database_->set(F, "f", ""));
    EXPECT_EQ("p=1 ", values(P));
    EXPECT_EQ("m=2 ", values(M));
    EXPECT_EQ("f= ", values(F));
}

TEST_F(DatabaseList, IsInTheOrderOfTheKeysBytes) {
    for (const char *key : {"b", "a", "\xC3\xA4", "A", "a1", "~"}) {
        ASSERT_EQ(0, database_->set(P, key, ""));
    }
    EXPECT_EQ("A= a= a1= b= ~= \xC3\xA4= ", values(P));
}

TEST_F(DatabaseList, HasTheKeysThatBeginWithThePrefix) {
    for (const char *key : {"lan", "lan_ip", "lan_mask", "lam", "lao", "LAN"}) {
        ASSERT_EQ(0, database_->set(P, key, ""));
    }
    EXPECT_EQ("lan= lan_ip= lan_mask= ", values(P, "lan"));
    EXPECT_EQ("lan_ip= ", values(P, "lan_ip"));
    EXPECT_EQ("", values(P, "lan_ip_"));
    EXPECT_EQ("", values(P, "zzz"));
}

TEST_F(DatabaseList, BeginsAfterTheKeyWhetherItIsThereOrNot) {
    for (const char *key : {"a1", "a2", "a4", "b"}) {
        ASSERT_EQ(0, database_->set(P, key, ""));
    }
    EXPECT_EQ("a4= ", values(P, "a", "a2"));
    EXPECT_EQ("a4= ", values(P, "a", "a3"));
    EXPECT_EQ("a1= a2= a4= ", values(P, "a", "A"));
    EXPECT_EQ("", values(P, "a", "a4"));
    EXPECT_EQ("", values(P, "a", "c"));
    EXPECT_EQ("b= ", values(P, "", "a4"));
}

TEST_F(DatabaseList, ThatDoesNotFitOnePageGoesOn) {
    const std::string value(1000, 'v');
    std::string all;
    for (int i = 10; i < 20; ++i) {
        ASSERT_EQ(0, database_->set(P, "k" + std::to_string(i), value));
    }
    std::string after;
    std::string text;
    int pages = 0;
    do {
        text = page({P, Listed::kValues, "", after}, 2100);
        all += text;
        after = "k" + std::to_string(11 + 2 * pages++);
    } while (text.size() > 3 && text.substr(text.size() - 3) == "..." && pages < 20);
    EXPECT_EQ(5, pages);
    for (int i = 10; i < 20; ++i) {
        EXPECT_NE(std::string::npos, all.find("k" + std::to_string(i) + "=" + value));
    }
}

TEST_F(DatabaseList, OfChangesHasWhatIsUnsaved) {
    put_file(kPlainFile, "a=1\nb=2\nc=3\n");
    restart();
    EXPECT_EQ("", unsaved(P));
    ASSERT_EQ(0, database_->set(P, "a", "new"));
    ASSERT_EQ(0, database_->erase(P, "b"));
    ASSERT_EQ(0, database_->set(P, "d", "4"));
    ASSERT_EQ(0, database_->set(M, "m", "5"));
    EXPECT_EQ("a=new b! d=4 ", unsaved(P));
    EXPECT_EQ("b! ", unsaved(P, "", "a").substr(0, 3));
    EXPECT_EQ("d=4 ", unsaved(P, "d"));
    EXPECT_EQ("m=5 ", unsaved(M));
    ASSERT_EQ(0, database_->save());
    EXPECT_EQ("", unsaved(P));
    EXPECT_EQ("", unsaved(M));
}

TEST_F(DatabaseList, OfChangesSaysThatTheStoreWasReset) {
    put_file(kPlainFile, "a=1\n");
    restart();
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->set(P, "b", "2"));
    EXPECT_EQ("emptied b=2 ", unsaved(P));
    EXPECT_EQ("b=2 ", values(P));
}

TEST_F(DatabaseList, AnswersFromTheFilesWhileTheJournalCantBeRead) {
    put_file(kPlainFile, "a=1\n");
    fail_opens([](const std::string &path) { return path.rfind(kJournals, 0) == 0 ? EIO : 0; });
    restart();
    EXPECT_EQ("a=1 ", values(P));
}
