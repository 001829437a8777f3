/*
 * The client's calls against a transport that the test plays: what they send, byte for byte, what they make
 * of each answer, and what they log.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "unit/libappdb/fake_transport.h"
#include "zndb.h"

namespace {

class ZndbRequest : public ClientTest {
  protected:
    static int get(const char *key) {
        char value[64];
        return zndb_get(key, value, sizeof(value));
    }
};

/* A record as it travels: the key at 0, the value at 32, 1056 bytes, zero elsewhere. */
Bytes record(const std::string &key, const std::string &value) {
    Bytes bytes(1056, 0);
    std::copy(key.begin(), key.end(), bytes.begin());
    std::copy(value.begin(), value.end(), bytes.begin() + 32);
    return bytes;
}

const std::string k31(31, 'k');
const std::string k32(32, 'k');
const std::string v1023(1023, 'v');
const std::string v1024(1024, 'v');

}  // namespace

/* ---- What is sent ---------------------------------------------------------------------------------- */

TEST_F(ZndbRequest, SetSendsARecordOf1056Bytes) {
    EXPECT_EQ(0, zndb_set("wan_mode", "4G"));
    expect_request(2001, record("wan_mode", "4G"));
    expect_no_answer_buffer();
    expect_nothing_logged();
}

TEST_F(ZndbRequest, TheRecordsBytesAreThese) {
    EXPECT_EQ(0, zndb_set("ab", "xyz"));
    const Bytes &body = g_transport.body;
    ASSERT_EQ(1056u, body.size());
    for (size_t i = 0; i < body.size(); ++i) {
        const int expected = i == 0    ? 0x61
                             : i == 1  ? 0x62
                             : i == 32 ? 0x78
                             : i == 33 ? 0x79
                             : i == 34 ? 0x7A
                                       : 0;
        ASSERT_EQ(expected, body[i]) << i;
    }
}

TEST_F(ZndbRequest, AnEmptyValueTravelsAsAFieldOfZeros) {
    EXPECT_EQ(0, zndb_set("a", ""));
    expect_request(2001, record("a", ""));
}

TEST_F(ZndbRequest, SetPermSendsTheSameRecord) {
    EXPECT_EQ(0, zndb_set_perm_data("imei", "12"));
    expect_request(2006, record("imei", "12"));
    expect_no_answer_buffer();
}

TEST_F(ZndbRequest, GetSendsTheKeyWithItsNul) {
    char value[40] = "";
    g_transport.value = "4G";
    EXPECT_EQ(0, zndb_get("mode", value, sizeof(value)));
    expect_request(2002, {'m', 'o', 'd', 'e', 0});
    EXPECT_EQ(value, g_transport.answer);
    EXPECT_EQ(40u, g_transport.answer_size);
    EXPECT_STREQ("4G", value);
    expect_nothing_logged();
}

TEST_F(ZndbRequest, GetPermAndGetDefDifferInTheMessageOnly) {
    char value[8];
    EXPECT_EQ(0, zndb_get_perm("k", value, sizeof(value)));
    expect_request(2007, {'k', 0});
    EXPECT_EQ(value, g_transport.answer);

    g_transport = Transport();
    EXPECT_EQ(0, zndb_get_def("k", value, sizeof(value)));
    expect_request(2008, {'k', 0});
    EXPECT_EQ(8u, g_transport.answer_size);
}

TEST_F(ZndbRequest, GetLeavesTheSizeToTheDatabase) {
    char value = 'x';
    g_transport.result = 9;
    EXPECT_EQ(5, zndb_get("k", &value, 0));
    EXPECT_EQ(1, g_transport.requests);
    EXPECT_EQ(0u, g_transport.answer_size);
}

TEST_F(ZndbRequest, GetEndsAnAnswerThatLacksItsNul) {
    char value[8];
    g_transport.value = "12345678";
    EXPECT_EQ(0, zndb_get("k", value, sizeof(value)));
    EXPECT_STREQ("1234567", value);

    char alone = 'x';
    EXPECT_EQ(0, zndb_get("k", &alone, 0));
    EXPECT_EQ('x', alone);
}

TEST_F(ZndbRequest, DelSendsTheKeyWithItsNul) {
    EXPECT_EQ(0, zndb_del("mode"));
    expect_request(2009, {'m', 'o', 'd', 'e', 0});
    expect_no_answer_buffer();

    g_transport = Transport();
    EXPECT_EQ(0, zndb_del_perm("k"));
    expect_request(2010, {'k', 0});
    expect_no_answer_buffer();
}

TEST_F(ZndbRequest, SaveSaveRamAndResetSendNothingButTheMessage) {
    EXPECT_EQ(0, zndb_save());
    expect_request(2003, {});
    expect_no_answer_buffer();

    g_transport = Transport();
    EXPECT_EQ(0, zndb_save_ram());
    expect_request(2011, {});
    expect_no_answer_buffer();

    g_transport = Transport();
    EXPECT_EQ(0, zndb_reset());
    expect_request(2012, {});
    expect_no_answer_buffer();
    expect_nothing_logged();
}

/* ---- Arguments ------------------------------------------------------------------------------------- */

TEST_F(ZndbRequest, AKeyOf31CharactersPasses) {
    EXPECT_EQ(0, zndb_set(k31.c_str(), "v"));
    EXPECT_EQ(record(k31, "v"), g_transport.body);
    EXPECT_EQ(0, get(k31.c_str()));
    EXPECT_EQ(32u, g_transport.body.size());
    EXPECT_EQ(0, zndb_del(k31.c_str()));
    EXPECT_EQ(32u, g_transport.body.size());
    EXPECT_EQ(3, g_transport.requests);
}

TEST_F(ZndbRequest, AKeyOf32CharactersGives4AndSendsNothing) {
    EXPECT_EQ(4, zndb_set(k32.c_str(), "v"));
    expect_logged("zndb_set_value", "KEY len >= 32 error!");
    log_.clear();
    EXPECT_EQ(4, get(k32.c_str()));
    expect_logged("zndb_get_value", "KEY len >= 32 error!");
    log_.clear();
    EXPECT_EQ(4, zndb_del(k32.c_str()));
    expect_logged("zndb_del_value", "KEY len >= 32 error!");
    EXPECT_EQ(0, g_transport.requests);
}

TEST_F(ZndbRequest, AValueOf1023CharactersPasses) {
    EXPECT_EQ(0, zndb_set("k", v1023.c_str()));
    EXPECT_EQ(record("k", v1023), g_transport.body);
    EXPECT_EQ(0, g_transport.body.back());
}

TEST_F(ZndbRequest, AValueOf1024CharactersGives5AndSendsNothing) {
    EXPECT_EQ(5, zndb_set("k", v1024.c_str()));
    EXPECT_EQ(0, g_transport.requests);
    expect_logged("zndb_set_value", "VALUE len >= 1024 error!");
}

TEST_F(ZndbRequest, TheKeysLengthIsJudgedBeforeTheValues) {
    EXPECT_EQ(4, zndb_set(k32.c_str(), v1024.c_str()));
}

TEST_F(ZndbRequest, ANullArgumentGives1AndSendsNothing) {
    char value[8];
    EXPECT_EQ(1, zndb_set(nullptr, "v"));
    expect_logged("zndb_set_value", "Parameter error!");
    EXPECT_EQ(1, zndb_set("k", nullptr));
    EXPECT_EQ(1, zndb_set_perm_data(nullptr, nullptr));
    log_.clear();
    EXPECT_EQ(1, zndb_get(nullptr, value, sizeof(value)));
    expect_logged("zndb_get_value", "Parameter error!");
    log_.clear();
    EXPECT_EQ(1, zndb_del(nullptr));
    expect_logged("zndb_del_value", "Parameter error!");
    EXPECT_EQ(1, zndb_del_perm(nullptr));
    EXPECT_EQ(0, g_transport.requests);
}

TEST_F(ZndbRequest, GetWithANullBufferGives1WithoutARequest) {
    EXPECT_EQ(1, zndb_get("k", nullptr, 64));
    EXPECT_EQ(1, zndb_get_perm("k", nullptr, 64));
    EXPECT_EQ(1, zndb_get_def("k", nullptr, 64));
    EXPECT_EQ(1, zndb_get(k32.c_str(), nullptr, 64));
    EXPECT_EQ(0, g_transport.requests);
}

/* ---- The transport fails --------------------------------------------------------------------------- */

TEST_F(ZndbRequest, WhenTheDatabaseIsNotRunningEveryCallGives2) {
    char value[8];
    g_transport.returns = 1;
    EXPECT_EQ(2, zndb_set("k", "v"));
    EXPECT_EQ(2, zndb_set_perm_data("k", "v"));
    EXPECT_EQ(2, zndb_get("k", value, sizeof(value)));
    EXPECT_EQ(2, zndb_get_perm("k", value, sizeof(value)));
    EXPECT_EQ(2, zndb_get_def("k", value, sizeof(value)));
    EXPECT_EQ(2, zndb_del("k"));
    EXPECT_EQ(2, zndb_del_perm("k"));
    EXPECT_EQ(2, zndb_save());
    EXPECT_EQ(2, zndb_save_ram());
    EXPECT_EQ(2, zndb_reset());
    EXPECT_EQ(10, g_transport.requests);
}

TEST_F(ZndbRequest, AFailedSendIsLoggedByEachCallUnderItsName) {
    g_transport.returns = 19;
    EXPECT_EQ(2, zndb_set("k", "v"));
    expect_logged("zndb_set_value", "IPC error:19!");
    log_.clear();
    EXPECT_EQ(2, get("k"));
    expect_logged("zndb_get_value", "IPC error:19!");
    log_.clear();
    EXPECT_EQ(2, zndb_del("k"));
    expect_logged("zndb_del_value", "IPC error:19!");
    log_.clear();
    EXPECT_EQ(2, zndb_save());
    expect_logged("zndb_save_value", "IPC error:19!");
    log_.clear();
    EXPECT_EQ(2, zndb_save_ram());
    expect_logged("zndb_save_value", "IPC error:19!");
    log_.clear();
    EXPECT_EQ(2, zndb_reset());
    expect_logged("zndb_reset", "IPC error:19!");
}

TEST_F(ZndbRequest, ATransportOutOfBufferIsNotTheDatabasesOutOfBuffer) {
    g_transport.returns = 9;
    EXPECT_EQ(2, get("k"));
    expect_logged("zndb_get_value", "IPC error:9!");
}

/* ---- The database answers -------------------------------------------------------------------------- */

TEST_F(ZndbRequest, GetOfAMissingKeyGives3) {
    g_transport.result = 2001;
    EXPECT_EQ(3, get("nope"));
    expect_logged("zndb_get_value", "can't found key:nope!");
}

TEST_F(ZndbRequest, DelOfAMissingKeyGives3) {
    g_transport.result = 2001;
    EXPECT_EQ(3, zndb_del("nope"));
    expect_logged("zndb_del_value", "can't found key:nope!");
    EXPECT_EQ(3, zndb_del_perm("nope"));
}

TEST_F(ZndbRequest, SetThatTheServiceRefusesWith2001Gives1) {
    g_transport.result = 2001;
    EXPECT_EQ(1, zndb_set("k", "v"));
    expect_logged("zndb_set_value", "IPC module error:2001!");
}

TEST_F(ZndbRequest, GetIntoASmallBufferGives5LoggedWithTheCallersSize) {
    char value[7];
    g_transport.result = 9;
    EXPECT_EQ(5, zndb_get("mode", value, sizeof(value)));
    expect_logged("zndb_get_value", "'mode' VALUE len >= 7 error!");
}

TEST_F(ZndbRequest, OnlyGetKnowsTheAnswerOutOfBuffer) {
    g_transport.result = 9;
    EXPECT_EQ(1, zndb_set("k", "v"));
    expect_logged("zndb_set_value", "IPC module error:9!");
    log_.clear();
    EXPECT_EQ(1, zndb_del("k"));
    expect_logged("zndb_del_value", "IPC module error:9!");
}

TEST_F(ZndbRequest, AnyOtherAnswerGives1LoggedByEachCallUnderItsName) {
    g_transport.result = -1;
    EXPECT_EQ(1, get("k"));
    expect_logged("zndb_get_value", "IPC module error:-1!");
    log_.clear();
    EXPECT_EQ(1, zndb_del("k"));
    expect_logged("zndb_del_value", "IPC module error:-1!");
    log_.clear();
    EXPECT_EQ(1, zndb_save());
    expect_logged("zndb_save_value", "IPC module error:-1!");
    log_.clear();
    EXPECT_EQ(1, zndb_save_ram());
    expect_logged("zndb_save_value", "IPC module error:-1!");
    log_.clear();
    EXPECT_EQ(1, zndb_reset());
    expect_logged("zndb_reset", "IPC module error:-1!");
}

TEST_F(ZndbRequest, SaveAndResetDontKnowAMissingKey) {
    g_transport.result = 2001;
    EXPECT_EQ(1, zndb_save());
    EXPECT_EQ(1, zndb_reset());
}

TEST_F(ZndbRequest, NoLogLineHoldsAValue) {
    g_transport.result = 2007;
    EXPECT_EQ(1, zndb_set("wifi_key", "open sesame"));
    EXPECT_FALSE(log_.contains("open sesame")) << log_.text();
}
