/*
 * The database's part of the way back: what a batch would change, what it was, and the last save.
 */
#include <gtest/gtest.h>

#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseWayBack : public DatabaseFixture {
  protected:
    uint32_t undo() {
        uint32_t dropped = 0;
        EXPECT_EQ(0, database_->undo_unsaved(dropped));
        return dropped;
    }

    int32_t undo_result() {
        uint32_t dropped = 77;
        const int32_t result = database_->undo_unsaved(dropped);
        EXPECT_EQ(77u, dropped);
        return result;
    }

    WayBack preview(const std::vector<ZndbItem> &items) {
        WayBack way_back;
        BatchAnswer answer = {};
        EXPECT_EQ(0, database_->preview_batch({items.data(), items.size()}, answer, way_back.changes));
        return way_back;
    }

    int32_t apply(const std::vector<ZndbItem> &items) {
        BatchAnswer answer = {};
        return database_->apply_batch({items.data(), items.size()}, answer);
    }

    bool is_unsaved(StoreId id) {
        std::string bytes(4096, '\0');
        ListPage page(bytes.data(), bytes.size());
        EXPECT_EQ(0, database_->list({id, Listed::kUnsaved, "", ""}, page));
        ListedPage listed(bytes.data(), bytes.size());
        ZndbItem item = {};
        return listed.next(item) || listed.emptied();
    }

    const std::vector<ZndbItem> items_ = {{ItemKind::kSet, P, "a", "2"},
                                          {ItemKind::kSet, M, "new", "2"},
                                          {ItemKind::kDelete, F, "gone", ""},
                                          {ItemKind::kSet, P, "same", "1"}};
};

}  // namespace

/* ---- before a batch ---- */

TEST_F(DatabaseWayBack, APreviewHasWhatABatchWouldChangeAndChangesNothing) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->set(P, "same", "1"));
    ASSERT_EQ(0, database_->set(F, "gone", "1"));
    const std::string before = journals();
    WayBack way_back = preview(items_);
    EXPECT_EQ(before, journals());
    EXPECT_EQ("zndb way-back 1\n<P+a=1\n>P+a=2\n<M-new\n>M+new=2\n<F+gone=1\n>F-gone\n=7\n",
              format_way_back(way_back));
}

TEST_F(DatabaseWayBack, PutBackIsWhatWas) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->set(F, "gone", "1"));
    const WayBack way_back = preview(items_);
    ASSERT_EQ(0, apply(items_));
    ASSERT_EQ(0, database_->set(P, "a", "3"));
    ASSERT_EQ(0, database_->set(P, "other", "stays"));
    EXPECT_EQ(0, database_->put_back(way_back));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ(kMissing, perm("new"));
    EXPECT_EQ("1", def("gone"));
    EXPECT_EQ("stays", plain("other"));
    restart();
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("1", def("gone"));
}

TEST_F(DatabaseWayBack, AfterAResetOnlyKeysThatStillHaveTheNewValueGoBack) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->set(P, "b", "1"));
    const std::vector<ZndbItem> items = {{ItemKind::kSet, P, "a", "2"},
                                         {ItemKind::kSet, P, "b", "2"},
                                         {ItemKind::kSet, M, "m", "2"},
                                         {ItemKind::kSet, P, "c", "2"}};
    WayBack way_back = preview(items);
    way_back.plain_was_reset = true;
    ASSERT_EQ(0, apply(items));
    ASSERT_EQ(0, database_->erase(P, "a"));
    ASSERT_EQ(0, database_->set(P, "c", "3"));
    EXPECT_EQ(0, database_->put_back(way_back));
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ("1", plain("b"));
    EXPECT_EQ("3", plain("c"));
    EXPECT_EQ(kMissing, perm("m"));
}

TEST_F(DatabaseWayBack, AWholeStoreLosesAllOtherKeys) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->set(P, "b", "1"));
    StoreValues values;
    EXPECT_EQ(0, database_->copy_values(P, values));
    EXPECT_EQ((StoreValues{{"a", "1"}, {"b", "1"}}), values);
    WayBack way_back;
    way_back.is_whole = true;
    for (const auto &[key, value] : values) {
        way_back.changes.push_back({P, key, value, std::nullopt});
    }
    ASSERT_EQ(0, database_->reset());
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    ASSERT_EQ(0, database_->set(P, "new", "2"));
    ASSERT_EQ(0, database_->set(M, "perm", "stays"));
    EXPECT_EQ(0, database_->put_back(way_back));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("1", plain("b"));
    EXPECT_EQ(kMissing, plain("new"));
    EXPECT_EQ("stays", perm("perm"));
}

TEST_F(DatabaseWayBack, WithoutAJournalNothingIsCopiedOrPutBack) {
    fail_open(kPermJournal, EACCES);
    restart();
    StoreValues values;
    EXPECT_NE(0, database_->copy_values(M, values));
    EXPECT_NE(0, database_->put_back(WayBack()));
    EXPECT_NE(0, undo_result());
}

/* ---- the last save ---- */

TEST_F(DatabaseWayBack, UndoIsTheLastSaveInAllStores) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->set(P, "gone", "1"));
    ASSERT_EQ(0, database_->set(M, "m", "1"));
    ASSERT_EQ(0, database_->save());
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    ASSERT_EQ(0, database_->erase(P, "gone"));
    ASSERT_EQ(0, database_->set(P, "new", "2"));
    ASSERT_EQ(0, database_->set(M, "m", "2"));
    ASSERT_EQ(0, database_->set(F, "f", "2"));
    EXPECT_EQ(5u, undo());
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("1", plain("gone"));
    EXPECT_EQ(kMissing, plain("new"));
    EXPECT_EQ("1", perm("m"));
    EXPECT_EQ(kMissing, def("f"));
    EXPECT_EQ("", journals());
    for (const StoreId id : kStoreIds) {
        EXPECT_FALSE(is_unsaved(id));
    }
    EXPECT_EQ(0u, undo());
}

TEST_F(DatabaseWayBack, UndoBringsBackWhatAResetHasDiscarded) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->save());
    ASSERT_EQ(0, database_->reset());
    EXPECT_EQ(1u, undo());
    EXPECT_EQ("1", plain("a"));
    EXPECT_FALSE(is_unsaved(P));
}

TEST_F(DatabaseWayBack, UndoOfADeviceThatWasNeverSavedLeavesNothing) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    EXPECT_EQ(1u, undo());
    EXPECT_EQ(kMissing, plain("a"));
}

TEST_F(DatabaseWayBack, WithoutTheFileThereIsNoLastSave) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->save());
    ASSERT_EQ(0, database_->set(P, "b", "2"));
    std::filesystem::remove(kPlainFile);
    log_.clear();
    EXPECT_EQ(2007, undo_result());
    EXPECT_EQ("2", plain("b"));
    EXPECT_EQ((std::vector<std::string>{"no way back to the last save: " + kPlainFile +
                                        " can't be read, or was removed"}),
              warnings(log_));
}

TEST_F(DatabaseWayBack, WithAnUnreadableFileThereIsNoLastSave) {
    start_with_broken(kPlainFile, "a=1\n");
    ASSERT_EQ(0, database_->set(P, "b", "2"));
    EXPECT_EQ(2007, undo_result());
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseWayBack, ADamagedFileIsNoLastSave) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->save());
    ASSERT_EQ(0, database_->set(P, "b", "2"));
    const std::string sound = content_of(kPlainFile);
    put_file(kPlainFile, "a=3" + sound.substr(3));
    EXPECT_EQ(2007, undo_result());
    put_file(kPlainFile, sound.substr(0, 2));
    EXPECT_EQ(2007, undo_result());
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseWayBack, AFileThatBecameUnreadableIsNoLastSave) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->save());
    ASSERT_EQ(0, database_->set(P, "b", "2"));
    fail_open(kPlainFile, EACCES);
    EXPECT_EQ(2006, undo_result());
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseWayBack, AFileThatMayNotBeOnTheDiskGoesOnCountingAsUnsaved) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->save());
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    fail_folder_sync();
    EXPECT_EQ(1u, undo());
    end_faults();
    EXPECT_EQ("1", plain("a"));
    EXPECT_TRUE(is_unsaved(P));
    ASSERT_EQ(0, database_->set(P, "a", "2"));
    fail_open(kPlainFile, EACCES);
    end_faults();
    EXPECT_EQ(1u, undo());
    EXPECT_FALSE(is_unsaved(P));
}

TEST_F(DatabaseWayBack, AnUndoThatTheJournalCanNotTakeChangesNothing) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->set(P, "b", "1"));
    limit_disk(0);
    EXPECT_EQ(6, undo_result());
    end_faults();
    EXPECT_EQ("1", plain("a"));
}

TEST_F(DatabaseWayBack, ABatchOfAllKeysOfAFullStoreIsWhole) {
    std::vector<std::string> keys(kStoreKeysMax);
    std::vector<ZndbItem> items;
    for (size_t i = 0; i < keys.size(); ++i) {
        keys[i] = "k" + std::to_string(i);
        items.push_back({ItemKind::kSet, P, keys[i], "v"});
    }
    limit_disk(kStoreKeysMax * 6);
    EXPECT_EQ(6, apply(items));
    end_faults();
    EXPECT_EQ(kMissing, plain("k0"));
    EXPECT_EQ(0, apply(items));
    restart();
    EXPECT_EQ("v", plain("k0"));
    EXPECT_EQ("v", plain(keys.back()));
}
