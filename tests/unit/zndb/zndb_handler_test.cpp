#include "zndb_handler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "unit/formats/item_bytes.h"
#include "unit/zndb/database_fixture.h"

namespace {

/* A record as it travels: the key at 0, the value at 32, 1056 bytes, zero elsewhere. */
std::string record(const std::string &key, const std::string &value) {
    std::string bytes(1056, '\0');
    std::copy(key.begin(), key.end(), bytes.begin());
    std::copy(value.begin(), value.end(), bytes.begin() + 32);
    return bytes;
}

/* A key as it travels. */
std::string key_bytes(const std::string &key) {
    return key + std::string(1, '\0');
}

class ZndbHandler : public DatabaseFixture {
  protected:
    int32_t send(int32_t msgid, const std::string &body, void *rsp = nullptr, uint32_t rsp_size = 0) {
        const void *data = body.empty() ? nullptr : body.data();
        return zndb_handle(*database_, {3, msgid, data, static_cast<int32_t>(body.size()), rsp, rsp_size});
    }
    std::string fetch(int32_t msgid, const std::string &key) {
        char value[1024] = "";
        const int32_t result = send(msgid, key_bytes(key), value, sizeof(value));
        return result == 0 ? value : "result " + std::to_string(result);
    }
    void expect_refused(int32_t msgid, const std::string &body) {
        log_.clear();
        char rsp[] = "untouched";
        EXPECT_EQ(2004, send(msgid, body, rsp, sizeof(rsp))) << msgid << " " << body.size();
        EXPECT_STREQ("untouched", rsp);
        EXPECT_EQ((std::vector<std::string>{"message " + std::to_string(msgid) +
                                            " of module 3 refused: its body of " +
                                            std::to_string(body.size()) + " bytes is malformed"}),
                  warnings(log_));
        EXPECT_EQ("", journals());
    }
};

TEST_F(ZndbHandler, SetAndGetUseThePlainStore) {
    EXPECT_EQ(0, send(2001, record("k", "v")));
    EXPECT_EQ("v", fetch(2002, "k"));
    EXPECT_EQ("result 2001", fetch(2007, "k"));
    EXPECT_EQ("P+k=v\n", journals());
}

TEST_F(ZndbHandler, SetPermAndGetPermUseThePermStore) {
    EXPECT_EQ(0, send(2006, record("k", "v")));
    EXPECT_EQ("v", fetch(2007, "k"));
    EXPECT_EQ("result 2001", fetch(2002, "k"));
}

TEST_F(ZndbHandler, FactorSetAndGetDefUseTheOverlay) {
    EXPECT_EQ(0, send(2004, record("k", "v")));
    EXPECT_EQ("v", fetch(2008, "k"));
    EXPECT_EQ("v", fetch(2002, "k"));
}

TEST_F(ZndbHandler, DelAndDelPermDeleteInTheirOwnStore) {
    send(2001, record("k", "v"));
    send(2006, record("k", "v"));
    EXPECT_EQ(0, send(2009, key_bytes("k")));
    EXPECT_EQ(2001, send(2009, key_bytes("k")));
    EXPECT_EQ("v", fetch(2007, "k"));
    EXPECT_EQ(0, send(2010, key_bytes("k")));
    EXPECT_EQ(2001, send(2010, key_bytes("k")));
}

TEST_F(ZndbHandler, SaveWritesPlainAndPerm) {
    send(2001, record("k", "v"));
    send(2006, record("p", "v"));
    send(2004, record("f", "v"));
    EXPECT_EQ(0, send(2003, ""));
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    EXPECT_EQ("p=v\n", saved_lines(kPermFile));
    EXPECT_FALSE(exists(kFactoryFile));
}

TEST_F(ZndbHandler, ASaveTellsWhatBecameOfEachStoreWhereThereIsRoom) {
    send(2001, record("k", "v"));
    send(2006, record("p", "v"));
    fail_open(kPermFile + ".tmp", EROFS);
    int32_t each[] = {-1, -1, -1};
    EXPECT_EQ(0, send(2003, "", each, 7));
    EXPECT_EQ(-1, each[0]);
    EXPECT_EQ(2006, send(2003, "", each, 8)) << "the perm store alone has changes";
    EXPECT_EQ(0, each[0]);
    EXPECT_EQ(2006, each[1]);
    EXPECT_EQ(-1, each[2]);
    EXPECT_EQ(2006, send(2003, "", nullptr, 8));
    end_faults();
    EXPECT_EQ(0, send(2003, "", each, sizeof(each)));
    EXPECT_EQ(0, each[1]);
}

TEST_F(ZndbHandler, FactorSaveWritesTheOverlay) {
    send(2001, record("k", "v"));
    send(2004, record("f", "v"));
    EXPECT_EQ(0, send(2005, ""));
    EXPECT_EQ("f=v\n", saved_lines(kFactoryFile));
    EXPECT_FALSE(exists(kPlainFile));
}

TEST_F(ZndbHandler, ThePowerOffNoticeSavesEveryStoreWhateverItCarries) {
    for (const std::string &body : {std::string(), std::string(4, '\0')}) {
        const std::string value = std::to_string(body.size());
        send(2001, record("k", value));
        send(2006, record("p", value));
        send(2004, record("f", value));
        EXPECT_EQ(0, send(1009, body));
        EXPECT_EQ("k=" + value + "\n", saved_lines(kPlainFile));
        EXPECT_EQ("p=" + value + "\n", saved_lines(kPermFile));
        EXPECT_EQ("f=" + value + "\n", saved_lines(kFactoryFile));
    }
}

TEST_F(ZndbHandler, APowerOffNoticeThatCantBeFollowedIsAnsweredWithTheCause) {
    send(2006, record("p", "v"));
    fail_open(kPermFile + ".tmp", ENOSPC);
    EXPECT_EQ(6, send(1009, ""));
}

TEST_F(ZndbHandler, SaveRamShortensTheJournal) {
    send(2001, record("k", "1"));
    send(2001, record("k", "2"));
    EXPECT_EQ(0, send(2011, ""));
    EXPECT_EQ("P+k=2\n", journals());
}

TEST_F(ZndbHandler, ResetEmptiesThePlainStore) {
    send(2001, record("k", "v"));
    EXPECT_EQ(0, send(2012, ""));
    EXPECT_EQ("result 2001", fetch(2002, "k"));
}

TEST_F(ZndbHandler, TheLongestTextsPass) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    EXPECT_EQ(0, send(2001, record(key, value)));
    EXPECT_EQ(value, fetch(2002, key));
}

TEST_F(ZndbHandler, AnEmptyValueIsStored) {
    EXPECT_EQ(0, send(2001, record("a", "")));
    EXPECT_EQ("", fetch(2002, "a"));
}

TEST_F(ZndbHandler, AnAnswerThatDoesNotFitIsNotWritten) {
    send(2001, record("k", "1234"));
    char rsp[] = "untouched";
    EXPECT_EQ(9, send(2002, key_bytes("k"), rsp, 4));
    EXPECT_STREQ("untouched", rsp);
    EXPECT_EQ(0, send(2002, key_bytes("k"), rsp, 5));
    EXPECT_STREQ("1234", rsp);
    EXPECT_EQ(9, send(2002, key_bytes("k"), nullptr, 0));
    EXPECT_EQ(9, send(2002, key_bytes("k"), nullptr, 100));
}

TEST_F(ZndbHandler, RefusesRecordsOfTheWrongLength) {
    for (const int32_t msgid : {2001, 2004, 2006}) {
        expect_refused(msgid, "");
        expect_refused(msgid, record("k", "v").substr(0, 1055));
        expect_refused(msgid, record("k", "v") + "x");
        expect_refused(msgid, key_bytes("k"));
    }
}

TEST_F(ZndbHandler, RefusesFieldsWithoutANul) {
    expect_refused(2001, record(std::string(32, 'k'), "v"));
    expect_refused(2001, record("k", std::string(1024, 'v')));
}

TEST_F(ZndbHandler, IgnoresWhatFollowsAFieldsNul) {
    std::string body = record("k", "v");
    body[5] = 'x';
    body[1055] = 'x';
    EXPECT_EQ(0, send(2001, body));
    EXPECT_EQ("v", fetch(2002, "k"));
}

TEST_F(ZndbHandler, RefusesKeysOfTheWrongForm) {
    for (const int32_t msgid : {2002, 2007, 2008, 2009, 2010}) {
        expect_refused(msgid, "");
        expect_refused(msgid, key_bytes(""));
        expect_refused(msgid, "k");
        expect_refused(msgid, "key");
        expect_refused(msgid, key_bytes("k") + "x");
        expect_refused(msgid, key_bytes(key_bytes("k")));
        expect_refused(msgid, std::string(32, 'k'));
        expect_refused(msgid, key_bytes(std::string(32, 'k')));
        expect_refused(msgid, std::string(5000, 'k'));
    }
}

TEST_F(ZndbHandler, RefusesABodyWhereNoneBelongs) {
    for (const int32_t msgid : {2003, 2005, 2011, 2012}) {
        expect_refused(msgid, "x");
    }
}

TEST_F(ZndbHandler, RefusesADataPointerOfNull) {
    for (const int32_t msgid : {2001, 2002, 2004, 2006, 2007, 2008, 2009, 2010}) {
        for (const int32_t length : {1056, 2, 0, -1, INT32_MIN}) {
            EXPECT_EQ(2004, zndb_handle(*database_, {3, msgid, nullptr, length, nullptr, 0}));
        }
    }
}

TEST_F(ZndbHandler, ANegativeLengthIsNoBody) {
    for (const int32_t msgid : {2003, 2005, 2011, 2012}) {
        EXPECT_EQ(0, zndb_handle(*database_, {3, msgid, nullptr, -1, nullptr, 0}));
    }
}

TEST_F(ZndbHandler, RefusesTextsThatAFileCantHold) {
    EXPECT_EQ(2004, send(2001, record("a=b", "v")));
    EXPECT_EQ(2004, send(2001, record("", "v")));
    EXPECT_EQ(2004, send(2001, record("k", "v\n")));
    EXPECT_EQ(3u, warnings(log_).size()) << log_.text();
}

TEST_F(ZndbHandler, UnknownMessagesAreUnsupported) {
    for (const int32_t msgid : {0, -1, 9, 1001, 2000, 2013, 3001, INT32_MAX, INT32_MIN}) {
        log_.clear();
        EXPECT_EQ(8, send(msgid, record("k", "v"))) << msgid;
        EXPECT_EQ((std::vector<std::string>{"message " + std::to_string(msgid) +
                                            " of module 3 refused: it is unknown"}),
                  warnings(log_));
    }
    EXPECT_EQ("", journals());
}

/* ---- who may change the overlay ---- */

int g_asked = 0;

bool nobody_may(const ZndbMessage &) {
    ++g_asked;
    return false;
}

bool everybody_may(const ZndbMessage &) {
    ++g_asked;
    return true;
}

class ZndbHandlerOverlay : public ZndbHandler {
  protected:
    ZndbHandlerOverlay() { g_asked = 0; }

    int32_t send_as(bool (*rule)(const ZndbMessage &), int32_t msgid, const std::string &body,
                    void *rsp = nullptr, uint32_t rsp_size = 0) {
        const void *data = body.empty() ? nullptr : body.data();
        return zndb_handle(*database_,
                           {3, msgid, data, static_cast<int32_t>(body.size()), rsp, rsp_size, rule});
    }
};

TEST_F(ZndbHandlerOverlay, IsSetAndSavedByThoseWhoMay) {
    EXPECT_EQ(0, send_as(everybody_may, 2004, record("f", "v")));
    EXPECT_EQ(0, send_as(everybody_may, 2005, ""));
    EXPECT_EQ(0, send_as(everybody_may, 2100, item_bytes(0, 2, "b", "v")));
    EXPECT_EQ(3, g_asked);
    EXPECT_EQ("v", fetch(2008, "b"));
}

TEST_F(ZndbHandlerOverlay, IsReadOnlyForOthers) {
    send(2004, record("f", "v"));
    EXPECT_EQ(2006, send_as(nobody_may, 2004, record("f", "new")));
    EXPECT_EQ(2006, send_as(nobody_may, 2005, ""));
    EXPECT_EQ("v", fetch(2008, "f"));
    EXPECT_FALSE(exists(kFactoryFile));
    EXPECT_EQ(2, g_asked);
}

TEST_F(ZndbHandlerOverlay, RefusesABatchWithAChangeOfItAsAWhole) {
    const std::string plain = item_bytes(0, 0, "k", "v");
    for (const int kind : {0, 1}) {
        uint32_t answer[] = {9, 9};
        EXPECT_EQ(2006, send_as(nobody_may, 2100, plain + item_bytes(kind, 2, "f", kind == 0 ? "v" : ""),
                                answer, sizeof(answer)));
        EXPECT_EQ(7u, answer[0]);
        EXPECT_EQ(1u, answer[1]);
    }
    EXPECT_EQ("", journals());
}

TEST_F(ZndbHandlerOverlay, IsReadListedAndExpectedByEverybody) {
    send(2004, record("f", "v"));
    char value[1024] = "";
    EXPECT_EQ(0, send_as(nobody_may, 2008, key_bytes("f"), value, sizeof(value)));
    std::string page(2000, '\0');
    EXPECT_EQ(0, send_as(nobody_may, 2101, word(2) + std::string(68, '\0'), page.data(), 2000));
    EXPECT_EQ(0, send_as(nobody_may, 2100, item_bytes(2, 2, "f", "v") + item_bytes(0, 0, "k", "v")));
    EXPECT_EQ(0, g_asked);
}

TEST_F(ZndbHandlerOverlay, DoesNotMatterToChangesOfOtherStores) {
    EXPECT_EQ(0, send_as(nobody_may, 2001, record("k", "v")));
    EXPECT_EQ(0, send_as(nobody_may, 2006, record("k", "v")));
    EXPECT_EQ(0, send_as(nobody_may, 2003, ""));
    EXPECT_EQ(0, g_asked);
}

TEST_F(ZndbHandlerOverlay, MalformedBodiesAreRefusedAsSuch) {
    EXPECT_EQ(2004, send_as(nobody_may, 2004, "x"));
    EXPECT_EQ(2004, send_as(nobody_may, 2005, "x"));
    EXPECT_EQ(0, g_asked);
}

/* ---- batches and lists ---- */

TEST_F(ZndbHandler, ABatchIsAnsweredWithItsVerdict) {
    uint32_t answer[] = {9, 9};
    EXPECT_EQ(0, send(2100, item_bytes(0, 0, "k", "v") + item_bytes(0, 1, "k", "w"), answer, sizeof(answer)));
    EXPECT_EQ(0u, answer[0]);
    EXPECT_EQ(UINT32_MAX, answer[1]);
    EXPECT_EQ("v", fetch(2002, "k"));
    EXPECT_EQ("w", fetch(2007, "k"));
    EXPECT_EQ(2002, send(2100, item_bytes(3, 0, "k", ""), answer, sizeof(answer)));
    EXPECT_EQ(6u, answer[0]);
    EXPECT_EQ(0u, answer[1]);
}

TEST_F(ZndbHandler, ABatchNeedsNoRoomForItsVerdict) {
    char answer[] = "1234567";
    EXPECT_EQ(0, send(2100, item_bytes(0, 0, "k", "v"), answer, 7));
    EXPECT_STREQ("1234567", answer);
    EXPECT_EQ(0, send(2100, item_bytes(0, 0, "k", "w")));
    EXPECT_EQ("w", fetch(2002, "k"));
}

TEST_F(ZndbHandler, AMalformedBatchIsRefused) {
    expect_refused(2100, "");
    expect_refused(2100, item_bytes(0, 0, "k", "v") + "x");
    expect_refused(2100, item_bytes(0, 3, "k", "v"));
    std::string many;
    for (int i = 0; i < 65; ++i) {
        many += item_bytes(0, 0, "k", "v");
    }
    expect_refused(2100, many);
}

TEST_F(ZndbHandler, AListIsAnsweredWithAPage) {
    send(2001, record("k", "v"));
    std::string page(2000, '\0');
    EXPECT_EQ(0, send(2101, std::string(72, '\0'), page.data(), static_cast<uint32_t>(page.size())));
    const std::string expected = word(1) + word(0) + item_bytes(0, 0, "k", "v");
    EXPECT_EQ(expected, page.substr(0, expected.size()));
}

TEST_F(ZndbHandler, AListNeedsRoomForTheLongestEntry) {
    std::string page(1069, '#');
    EXPECT_EQ(9, send(2101, std::string(72, '\0'), page.data(), 1069));
    EXPECT_EQ(std::string(1069, '#'), page);
    EXPECT_EQ(9, send(2101, std::string(72, '\0')));
    page += '#';
    EXPECT_EQ(0, send(2101, std::string(72, '\0'), page.data(), 1070));
}

TEST_F(ZndbHandler, AMalformedListIsRefused) {
    expect_refused(2101, "");
    expect_refused(2101, std::string(71, '\0'));
    expect_refused(2101, word(3) + std::string(68, '\0'));
}

}  // namespace
