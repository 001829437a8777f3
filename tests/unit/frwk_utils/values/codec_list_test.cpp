/*
 * Codec lists: escaping, the rules of free bytes, and taking items off a list in place.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/values/codec_lists.h"

namespace {

constexpr char kFill = 'U'; /* what storage holds before the call, where a test wants to see each write */

/* What the rules say that adding an item does to a storage full of kFill. */
struct Expected {
    apps_err_e_type ret;
    uint32_t len;
    std::string bytes;
};

Expected expected_add(uint32_t size, uint32_t len, const std::string &item, bool first) {
    Expected result = {E_APPS_ERR_SUCCESS, len, std::string(size, kFill)};
    result.bytes.replace(0, std::min(len, size), std::min(len, size), 'x');
    std::vector<std::string> pieces(first ? 0 : 1, ",");
    for (const char character : item) {
        pieces.push_back(character == '&' ? "&amp;" : character == ',' ? "&#39;" : std::string(1, character));
    }
    for (const std::string &piece : pieces) {
        if (result.len > size || size - result.len < piece.size() + 1) {
            result.ret = E_APPS_ERR_OUTOFBUF;
            return result;
        }
        result.bytes.replace(result.len, piece.size(), piece);
        result.len += static_cast<uint32_t>(piece.size());
        if (piece.size() > 1) {
            result.bytes.replace(result.len, size - result.len, size - result.len, '\0');
        }
    }
    return result;
}

}  // namespace

TEST(CodecListAdd, EscapesTheItemsAndSeparatesThem) {
    List list(64);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("a&b", true));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("c,d", false));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add_int(5, false));
    EXPECT_STREQ("a&amp;b,c&#39;d,5", list.buf()->data);
    EXPECT_EQ(std::strlen("a&amp;b,c&#39;d,5"), list.len());
}

TEST(CodecListAdd, WritesNoCommaBeforeTheFirstItem) {
    List list(8);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("a", true));
    EXPECT_EQ("a", list.text());
}

TEST(CodecListAdd, TakesAnyNumberButZeroForFirst) {
    List list(8);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_add_value(list.buf(), FRWK_DATA_TYPE_STRING, "a", -7));
    EXPECT_EQ("a", list.text());
}

TEST(CodecListAdd, AppendsNothingForANullFirstText) {
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        List list(0);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_add_value(list.buf(), type, nullptr, 1));
        EXPECT_EQ(0u, list.len());
    }
}

TEST(CodecListAdd, AppendsAnEmptyItemForALaterNullText) {
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        List list(8);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("a", true));
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_add_value(list.buf(), type, nullptr, 0));
        EXPECT_EQ("a,", list.text());
    }
}

TEST(CodecListAdd, AppendsNothingForAnEmptyFirstText) {
    List list(0);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("", true));
    EXPECT_EQ(0u, list.len());
}

TEST(CodecListAdd, FormatsEachType) {
    List list(256);
    const uint8_t yes = 1;
    const uint8_t byte = 255;
    const int16_t number16 = -32767;
    const uint16_t unsigned16 = 65535;
    const uint32_t unsigned32 = 4294967295u;
    const int32_t number32 = -2147483647;
    const int64_t number64 = INT64_MIN;
    const uint64_t unsigned64 = UINT64_MAX;
    const float real32 = 0.5f;
    const double real64 = -1.5;
    const std::vector<std::pair<int32_t, const void *>> values = {
        {FRWK_DATA_TYPE_BOOL, &yes},          {FRWK_DATA_TYPE_BYTE, &byte},
        {FRWK_DATA_TYPE_UCHAR, &byte},        {FRWK_DATA_TYPE_SHORT, &number16},
        {FRWK_DATA_TYPE_USHORT, &unsigned16}, {FRWK_DATA_TYPE_INT, &number32},
        {FRWK_DATA_TYPE_UINT, &unsigned32},   {FRWK_DATA_TYPE_LONG, &number32},
        {FRWK_DATA_TYPE_ULONG, &unsigned32},  {FRWK_DATA_TYPE_LLONG, &number64},
        {FRWK_DATA_TYPE_ULLONG, &unsigned64}, {FRWK_DATA_TYPE_STRING, "text"},
        {FRWK_DATA_TYPE_STRING_EX, "text"},   {FRWK_DATA_TYPE_FLOAT, &real32},
        {FRWK_DATA_TYPE_DOUBLE, &real64}};
    int32_t first = 1;
    for (const auto &value : values) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_add_value(list.buf(), value.first, value.second, first));
        first = 0;
    }
    EXPECT_EQ(
        "true,255,255,-32767,65535,-2147483647,4294967295,-2147483647,4294967295,-9223372036854775808,"
        "18446744073709551615,text,text,0.500000,-1.500000",
        list.text());
}

TEST(CodecListAdd, RefusesATypeWithoutAText) {
    for (const int32_t type : {-1, 0, 2, 5, 18, 19, 20, 9999}) {
        List list(64);
        const LogCapture log;
        const int64_t value = 1;
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_add_value(list.buf(), type, &value, 0)) << type;
        EXPECT_EQ(0u, list.len());
        EXPECT_TRUE(
            logged_once(log, kWarningLevel, "frwk_zndb_add_value", assertion("E_APPS_ERR_SUCCESS == ret")));
        EXPECT_EQ(0u, log.assertions());
    }
}

TEST(CodecListAdd, RefusesAnAmpersandInABufferOfSixThatHoldsFour) {
    List list(6);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("abcd", true));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, list.add("&", true));
    EXPECT_EQ("abcd", list.text());
}

TEST(CodecListAdd, NeedsSixFreeBytesForEachEntity) {
    for (const char *item : {"&", ","}) {
        List exact(6);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, exact.add(item, true));
        EXPECT_EQ(5u, exact.len());
        List short_by_one(5);
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, short_by_one.add(item, true));
        EXPECT_EQ(0u, short_by_one.len());
    }
}

TEST(CodecListAdd, NeedsTwoFreeBytesForAnyOtherCharacter) {
    List exact(2);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, exact.add("a", true));
    List short_by_one(1);
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, short_by_one.add("a", true));
}

TEST(CodecListAdd, NeedsTwoFreeBytesForTheComma) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, List(4).holding(2).add("", false));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, List(4).holding(3).add("", false));
}

TEST(CodecListAdd, NamesTheStepThatHasNoRoomForTheComma) {
    const LogCapture log;
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, List(1).add("a", false));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_add_value", "buf not big enough!"));
    EXPECT_FALSE(log.contains("add codec value failed!"));
}

TEST(CodecListAdd, NamesTheStepThatHasNoRoomForACharacter) {
    for (const char *item : {"aaaaa", "&", ","}) {
        const LogCapture log;
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, List(5).add(item, true));
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_add_codec_value", "buf not big enough!"));
        EXPECT_TRUE(logged_once(log, kWarningLevel, "add codec value failed!"));
    }
}

TEST(CodecListAdd, KeepsWhatWasAppendedBeforeTheRoomRanOut) {
    List list(9);
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, list.add("ab&cd", true));
    EXPECT_STREQ("ab&amp;c", list.buf()->data);
}

TEST(CodecListAdd, HasNoRoomWhenTheLengthIsAboveTheSize) {
    for (const char *item : {"a", "&", ","}) {
        List list(8, kFill);
        list.buf()->len = 9;
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, list.add(item, true));
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, list.add(item, false));
        list.buf()->len = UINT32_MAX;
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, list.add(item, false));
        EXPECT_EQ(std::string(8, kFill), list.bytes());
    }
}

TEST(CodecListAdd, HasNoRoomInABufferThatIsNotThere) {
    frwk_codec_buf_t no_storage = {64, 0, nullptr};
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_add_value(&no_storage, FRWK_DATA_TYPE_STRING, "a", 1));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_add_value(nullptr, FRWK_DATA_TYPE_STRING, "a", 1));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_add_value(nullptr, FRWK_DATA_TYPE_STRING, "a", 0));
}

TEST(CodecListAdd, FollowsTheRulesForEverySizeAndLength) {
    const std::vector<std::string> items = {"", "a", "&", ",", "ab", "a&", "&a", ",,", "&,b", "a,b&c"};
    for (uint32_t size = 0; size <= 20; ++size) {
        for (uint32_t len = 0; len <= size + 2; ++len) {
            for (size_t i = 0; i < items.size() * 2; ++i) {
                const bool first = i % 2 == 0;
                const Expected expected = expected_add(size, len, items[i / 2], first);
                List list(size, kFill);
                ASSERT_EQ(expected.ret, list.holding(len).add(items[i / 2], first));
                ASSERT_EQ(expected.len, list.len());
                ASSERT_EQ(expected.bytes, list.bytes()) << size << " " << len << " " << items[i / 2];
            }
        }
    }
}

TEST(CodecListGet, TakesTheItemsInTurn) {
    Reader reader("a&amp;b,c&#39;d,5");
    EXPECT_EQ("a&b", reader.take());
    EXPECT_EQ("c,d", reader.take());
    EXPECT_EQ(5, reader.take_int());
}

TEST(CodecListGet, PointsBehindTheCommaAndAtTheEndAtTheNul) {
    Reader reader("a&amp;b,cd");
    EXPECT_EQ("a&b", reader.take());
    EXPECT_EQ(8, reader.offset());
    EXPECT_EQ("cd", reader.take());
    EXPECT_EQ(10, reader.offset());
    EXPECT_EQ("", reader.take());
    EXPECT_EQ(10, reader.offset());
}

TEST(CodecListGet, DecodesOverTheTextItself) {
    Reader reader("&amp;x&#39;,rest");
    EXPECT_EQ("&x,", reader.take());
    EXPECT_STREQ("&x,", reader.text());
    EXPECT_STREQ("rest", reader.next());
}

TEST(CodecListGet, NeedsNoNext) {
    char list[] = "7,8";
    int32_t value = 0;
    EXPECT_EQ(E_APPS_ERR_SUCCESS,
              frwk_zndb_get_value(list, FRWK_DATA_TYPE_INT, &value, sizeof(value), nullptr));
    EXPECT_EQ(7, value);
}

TEST(CodecListGet, ReadsAnEmptyListAsEmptyItems) {
    Reader reader("");
    EXPECT_EQ("", reader.take());
    EXPECT_EQ(0, reader.take_int());
    EXPECT_EQ(0, reader.offset());
}

TEST(CodecListGet, ReadsAnEmptyItemBehindAFinalComma) {
    Reader reader("a,");
    EXPECT_EQ("a", reader.take());
    EXPECT_EQ(2, reader.offset());
    EXPECT_EQ("", reader.take());
    EXPECT_EQ(2, reader.offset());
}

TEST(CodecListGet, ReadsEmptyItemsBetweenCommas) {
    Reader reader(",,b");
    EXPECT_EQ("", reader.take());
    EXPECT_EQ("", reader.take());
    EXPECT_EQ("b", reader.take());
}

TEST(CodecListGet, KeepsAnyOtherEntity) {
    for (const char *item :
         {"&lt;", "&", "&&", "&;", "&AMP;", "&#38;", "&#039;", "&#39 ;", "& amp;", "a&b"}) {
        EXPECT_EQ(item, first_item(item));
    }
}

TEST(CodecListGet, KeepsAnEntityThatIsCutOffAtTheEnd) {
    for (const std::string entity : {"&amp;", "&#39;"}) {
        for (size_t length = 1; length < entity.size(); ++length) {
            EXPECT_EQ("x" + entity.substr(0, length), first_item("x" + entity.substr(0, length)));
        }
    }
}

TEST(CodecListGet, KeepsAnEntityThatIsCutOffByAComma) {
    Reader reader("&am,&#39");
    EXPECT_EQ("&am", reader.take());
    EXPECT_EQ("&#39", reader.take());
}

TEST(CodecListGet, DecodesOnlyOnce) {
    EXPECT_EQ("&amp;", first_item("&amp;amp;"));
    EXPECT_EQ("&#39;", first_item("&amp;#39;"));
    EXPECT_EQ("&&amp", first_item("&&amp"));
}

TEST(CodecListGet, RefusesANullText) {
    const LogCapture log;
    char out[8] = "before";
    char *next = out;
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_value(nullptr, FRWK_DATA_TYPE_STRING, out, sizeof(out), &next));
    EXPECT_STREQ("before", out);
    EXPECT_EQ(out, next);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_codec_value", "parameter is null!"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_value", "get zndb codec value failed!"));
}

TEST(CodecListGet, LeavesTheVariableAloneWhenTheItemDoesNotFit) {
    Reader reader("abc,d");
    char out[4] = {'1', '2', '3', '4'};
    char *next = nullptr;
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_value(reader.text(), FRWK_DATA_TYPE_STRING, out, 3, &next));
    EXPECT_EQ("1234", std::string(out, sizeof(out)));
    EXPECT_STREQ("d", next);
}

TEST(CodecListGet, LeavesTheVariableAloneWhenTheNumberIsOutOfRange) {
    char list[] = "256,1";
    uint8_t out = 77;
    char *next = nullptr;
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_value(list, FRWK_DATA_TYPE_BYTE, &out, sizeof(out), &next));
    EXPECT_EQ(77, out);
    EXPECT_STREQ("1", next);
}

TEST(CodecListGet, RefusesATypeThatIsNone) {
    for (const int32_t type : {-1, 0, 2, 5, 18, 19, 20}) {
        char list[] = "1";
        uint64_t out = 77;
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_value(list, type, &out, sizeof(out), nullptr)) << type;
        EXPECT_EQ(77u, out);
    }
}

TEST(CodecListGet, ShowsAnItemThatCanNotBeReadAtTheDebugLevelOnly) {
    const LogCapture log;
    char list[] = "p&amp;ss,x";
    char out[3] = {};
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_value(list, FRWK_DATA_TYPE_STRING, out, 3, nullptr));
    EXPECT_TRUE(logged_once(log, kDebugLevel, "frwk_zndb_get_value", "convert zndb value(p&ss) failed!"));
    EXPECT_EQ(1u, log.count("p&ss")) << log.text();
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_value",
                            "an item of a list can't be read as type 14!"));
}
