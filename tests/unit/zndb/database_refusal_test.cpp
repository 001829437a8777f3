/*
 * What the database refuses: texts that a file can't hold, keys without room, answers that don't fit.
 */
#include "database.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "unit/zndb/database_fixture.h"

namespace {

class Refused : public DatabaseFixture {
  protected:
    void expect_refused(StoreId id, const std::string &key, const std::string &value,
                        const std::string &why) {
        log_.clear();
        EXPECT_EQ(2004, database_->set(id, key, value)) << key;
        EXPECT_EQ((std::vector<std::string>{"'" + key + "' refused: " + why}), warnings(log_));
        EXPECT_EQ("", journals());
        EXPECT_EQ(kMissing, get(id, key));
    }
};

TEST_F(Refused, KeysThatAFileCantHold) {
    for (const StoreId id : kStoreIds) {
        expect_refused(id, "", "v", "the key is empty");
        expect_refused(id, "#k", "v", "the key begins with '#' or a blank");
        expect_refused(id, " k", "v", "the key begins with '#' or a blank");
        expect_refused(id, "\tk", "v", "the key begins with '#' or a blank");
        expect_refused(id, "a=b", "v", "the key holds '='");
        expect_refused(id, "a\nb", "v", "the key holds a CR, LF or NUL");
        expect_refused(id, "a\rb", "v", "the key holds a CR, LF or NUL");
        expect_refused(id, std::string(32, 'k'), "v", "the key is too long");
    }
}

TEST_F(Refused, ValuesThatAFileCantHold) {
    for (const StoreId id : kStoreIds) {
        expect_refused(id, "k", "sec\nret", "the value holds a CR, LF or NUL");
        expect_refused(id, "k", "secret\r", "the value holds a CR, LF or NUL");
        expect_refused(id, "k", std::string(1024, 'v'), "the value is too long");
        EXPECT_FALSE(log_.contains("sec\nret"));
    }
}

TEST_F(Refused, ARefusedSetKeepsTheOldValue) {
    EXPECT_EQ(0, database_->set(P, "k", "old"));
    EXPECT_EQ(2004, database_->set(P, "k", "new\n"));
    EXPECT_EQ("old", plain("k"));
    restart();
    EXPECT_EQ("old", plain("k"));
}

TEST_F(Refused, AKeyThatNoStoreCanHoldIsMissing) {
    EXPECT_EQ(kMissing, plain("a=b"));
    EXPECT_EQ(2001, database_->erase(P, "a=b"));
}

TEST_F(Refused, NewKeysOfAFullStore) {
    put_file(kPlainFile, full_file());
    restart();
    EXPECT_EQ(2003, database_->set(P, "one more", "v"));
    EXPECT_EQ((std::vector<std::string>{"'one more' refused: the store is full"}), warnings(log_));
    EXPECT_EQ("", journals());
    EXPECT_EQ(0, database_->set(P, "7", "v"));
    EXPECT_EQ(0, database_->set(M, "one more", "v"));
}

TEST_F(Refused, AValueAndItsNulMustFit) {
    database_->set(P, "k", "1234");
    char buffer[] = "xxxxxxx";
    EXPECT_EQ(9, database_->get(P, "k", buffer, 4));
    EXPECT_STREQ("xxxxxxx", buffer);
    EXPECT_EQ(0, database_->get(P, "k", buffer, 5));
    EXPECT_STREQ("1234", buffer);
    EXPECT_EQ('x', buffer[5]);
}

TEST_F(Refused, NoBufferIsTooSmallForAnyValue) {
    database_->set(P, "k", "");
    EXPECT_EQ(9, database_->get(P, "k", nullptr, 0));
    EXPECT_EQ((std::vector<std::string>{"'k' refused: 0 characters don't fit 0 bytes"}), warnings(log_));
}

}  // namespace
