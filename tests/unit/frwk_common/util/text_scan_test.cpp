/*
 * The text scanner: skipping, picking and file names.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <string>

#include "doubles/log_capture.h"
#include "frwk_common.h"

namespace {

/* A buffer full of marks, to see what is written and what is not. */
struct Marked {
    char text[64];
    Marked() { std::fill(std::begin(text), std::end(text), '#'); }
    bool untouched_from(size_t index) const {
        return std::all_of(text + index, std::end(text), [](char c) { return c == '#'; });
    }
};

TEST(SkipSpace, NullStaysNull) {
    EXPECT_EQ(nullptr, frwk_skip_space(nullptr));
}

TEST(SkipSpace, MovesOverBlanksAndTabs) {
    const char text[] = " \t \tword";
    EXPECT_EQ(text + 4, frwk_skip_space(text));
}

TEST(SkipSpace, StaysAtAWordAndAtALineEnd) {
    const char word[] = "word ";
    const char line_end[] = "\n word";
    EXPECT_EQ(word, frwk_skip_space(word));
    EXPECT_EQ(line_end, frwk_skip_space(line_end));
}

TEST(SkipSpace, StopsAtTheEndOfTheText) {
    const char empty[] = "";
    const char blanks[] = " \t ";
    EXPECT_EQ(empty, frwk_skip_space(empty));
    EXPECT_EQ(blanks + 3, frwk_skip_space(blanks));
}

TEST(SkipNextSpace, NullStaysNull) {
    EXPECT_EQ(nullptr, frwk_skip_next_space(nullptr));
}

TEST(SkipNextSpace, ASingleWordGivesNull) {
    EXPECT_EQ(nullptr, frwk_skip_next_space("word"));
    EXPECT_EQ(nullptr, frwk_skip_next_space(""));
}

TEST(SkipNextSpace, AWordFollowedOnlyByBlanksGivesTheEmptyTextAtTheEnd) {
    const char text[] = "word   ";
    EXPECT_EQ(text + 7, frwk_skip_next_space(text));
}

TEST(SkipNextSpace, TwoWordsGiveTheSecond) {
    EXPECT_STREQ("two", frwk_skip_next_space("one   two"));
    EXPECT_STREQ("two three", frwk_skip_next_space("one two three"));
}

TEST(SkipNextSpace, ATabEndsATokenToo) {
    EXPECT_STREQ("two", frwk_skip_next_space("one\t \ttwo"));
}

TEST(SkipNextSpace, ALineEndBelongsToTheToken) {
    EXPECT_STREQ("three", frwk_skip_next_space("one\ntwo three"));
}

TEST(SkipNextSpace, ATextThatBeginsWithBlanksGivesItsFirstWord) {
    EXPECT_STREQ("one two", frwk_skip_next_space("  one two"));
}

TEST(StrPick, CopiesTheTextBetweenTheMarkers) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick("temp=<41>C", "<", ">", out, sizeof(out)));
    EXPECT_STREQ("41", out);
}

TEST(StrPick, AnEmptyBeginStandsForTheStart) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick("abc,def", "", ",", out, sizeof(out)));
    EXPECT_STREQ("abc", out);
    EXPECT_EQ(1, frwk_str_pick("abc,def", nullptr, ",", out, sizeof(out)));
    EXPECT_STREQ("abc", out);
}

TEST(StrPick, AnEmptyEndStandsForTheEnd) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick("key=value", "=", "", out, sizeof(out)));
    EXPECT_STREQ("value", out);
    EXPECT_EQ(1, frwk_str_pick("key=value", "=", nullptr, out, sizeof(out)));
    EXPECT_STREQ("value", out);
}

TEST(StrPick, TheEndIsLookedForBehindTheBegin) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick("'a' 'b'", "'a' '", "'", out, sizeof(out)));
    EXPECT_STREQ("b", out);
    EXPECT_EQ(1, frwk_str_pick(";x=1;y=2;", "x=", ";", out, sizeof(out)));
    EXPECT_STREQ("1", out);
}

TEST(StrPick, TheTextBetweenMarkersMayBeEmpty) {
    char out[16] = "before";
    EXPECT_EQ(1, frwk_str_pick("<>", "<", ">", out, sizeof(out)));
    EXPECT_STREQ("", out);
}

TEST(StrPick, AMissingMarkerGives0AndAnEmptyText) {
    char out[16] = "before";
    EXPECT_EQ(0, frwk_str_pick("key=value", "[", "]", out, sizeof(out)));
    EXPECT_STREQ("", out);

    (void)std::snprintf(out, sizeof(out), "before");
    EXPECT_EQ(0, frwk_str_pick("key=[value", "[", "]", out, sizeof(out)));
    EXPECT_STREQ("", out);
}

TEST(StrPick, ATextAsLongAsTheBufferDoesNotFit) {
    LogCapture log;
    Marked out;
    EXPECT_EQ(0, frwk_str_pick("<12345>", "<", ">", out.text, 5));
    EXPECT_STREQ("", out.text);
    EXPECT_TRUE(out.untouched_from(1));
    EXPECT_EQ(1u, log.count("buffer not big enough(5/5)!")) << log.text();
}

TEST(StrPick, ATextOneShorterThanTheBufferFits) {
    Marked out;
    EXPECT_EQ(1, frwk_str_pick("<1234>", "<", ">", out.text, 5));
    EXPECT_STREQ("1234", out.text);
    EXPECT_TRUE(out.untouched_from(5));
}

TEST(StrPick, WritesNothingIntoABufferWithoutBytes) {
    LogCapture log;
    Marked out;
    EXPECT_EQ(0, frwk_str_pick("<1>", "<", ">", out.text, 0));
    EXPECT_EQ(0, frwk_str_pick("<1>", "<", ">", out.text, -1));
    EXPECT_EQ(0, frwk_str_pick("<1>", "<", ">", out.text, INT_MIN));
    EXPECT_TRUE(out.untouched_from(0));
    EXPECT_TRUE(log.contains("buffer not big enough(1/-1)!")) << log.text();
}

TEST(StrPick, NullTextsGive0) {
    char out[] = "old";
    EXPECT_EQ(0, frwk_str_pick(nullptr, "<", ">", out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_EQ(0, frwk_str_pick("<1>", "<", ">", nullptr, 4));
}

TEST(StrPickValue, AQuotedValueEndsAtTheSameQuote) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick_value("name=\"two words\",k=2", "name=", out, sizeof(out)));
    EXPECT_STREQ("two words", out);
    EXPECT_EQ(1, frwk_str_pick_value("name='va,l\"ue',name2=value2", "name=", out, sizeof(out)));
    EXPECT_STREQ("va,l\"ue", out);
}

TEST(StrPickValue, AnUnquotedValueEndsAtTheNextComma) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick_value("a=1,b=2", "a=", out, sizeof(out)));
    EXPECT_STREQ("1", out);
}

TEST(StrPickValue, AValueEndsAtTheEndOfTheText) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick_value("a=1,b=2", "b=", out, sizeof(out)));
    EXPECT_STREQ("2", out);
    EXPECT_EQ(1, frwk_str_pick_value("a='open, b=2", "a=", out, sizeof(out)));
    EXPECT_STREQ("open, b=2", out);
}

TEST(StrPickValue, AValueMayBeEmpty) {
    char out[16] = "before";
    EXPECT_EQ(1, frwk_str_pick_value("a=,b=2", "a=", out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_EQ(1, frwk_str_pick_value("a='',b=2", "a=", out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_EQ(1, frwk_str_pick_value("b=2,a=", "a=", out, sizeof(out)));
    EXPECT_STREQ("", out);
}

TEST(StrPickValue, TheNameIsFoundAnywhereInTheText) {
    char out[16];
    EXPECT_EQ(1, frwk_str_pick_value("data=1,a=2", "a=", out, sizeof(out)));
    EXPECT_STREQ("1", out);
}

TEST(StrPickValue, AMissingNameIsLoggedAndLeavesAnEmptyText) {
    LogCapture log;
    char out[16] = "before";
    EXPECT_EQ(0, frwk_str_pick_value("a=1", "b=", out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_EQ(1u, log.count("can't found tag 'b='!")) << log.text();
}

TEST(StrPickValue, AValueThatDoesNotFitIsAsserted) {
    LogCapture log;
    Marked out;
    EXPECT_EQ(0, frwk_str_pick_value("a=12345,b=2", "a=", out.text, 5));
    EXPECT_STREQ("", out.text);
    EXPECT_TRUE(out.untouched_from(1));
    EXPECT_EQ(1u, log.count("ASSERT(len < size) OUT OF BUFF!")) << log.text();
    EXPECT_EQ(0u, log.assertions());
}

TEST(StrPickValue, AValueOneShorterThanTheBufferFits) {
    Marked out;
    EXPECT_EQ(1, frwk_str_pick_value("a='1234'", "a=", out.text, 5));
    EXPECT_STREQ("1234", out.text);
    EXPECT_TRUE(out.untouched_from(5));
}

TEST(StrPickValue, WritesNothingIntoABufferWithoutBytes) {
    LogCapture log;
    Marked out;
    EXPECT_EQ(0, frwk_str_pick_value("a=", "a=", out.text, 0));
    EXPECT_EQ(0, frwk_str_pick_value("a=1", "a=", out.text, -5));
    EXPECT_TRUE(out.untouched_from(0));
}

TEST(StrPickValue, ANullArgumentIsAsserted) {
    LogCapture log;
    char out[16] = "before";
    EXPECT_EQ(0, frwk_str_pick_value(nullptr, "a=", out, sizeof(out)));
    EXPECT_EQ(0, frwk_str_pick_value("a=1", nullptr, out, sizeof(out)));
    EXPECT_EQ(0, frwk_str_pick_value("a=1", "a=", nullptr, 16));
    EXPECT_STREQ("before", out);
    EXPECT_EQ(3u, log.count("ASSERT(src && name && out) parameter is null")) << log.text();
}

TEST(GetFilename, IsThePartBehindTheLastSeparator) {
    EXPECT_STREQ("f.txt", frwk_get_filename("/dir/f.txt"));
    EXPECT_STREQ("f.txt", frwk_get_filename("c:\\dir\\f.txt"));
    EXPECT_STREQ("f.txt", frwk_get_filename("/dir\\sub/f.txt"));
    EXPECT_STREQ("f.txt", frwk_get_filename("\\dir/sub\\f.txt"));
}

TEST(GetFilename, APathThatEndsInASeparatorGivesTheEmptyTextAtItsEnd) {
    const char path[] = "/dir/";
    EXPECT_EQ(path + 5, frwk_get_filename(path));
    const char backslash[] = "c:\\";
    EXPECT_EQ(backslash + 3, frwk_get_filename(backslash));
}

TEST(GetFilename, APathWithoutASeparatorIsTheNameItself) {
    const char path[] = "f.txt";
    EXPECT_EQ(path, frwk_get_filename(path));
}

TEST(GetFilename, NullAndAnEmptyPathGiveAnEmptyText) {
    EXPECT_STREQ("", frwk_get_filename(nullptr));
    EXPECT_STREQ("", frwk_get_filename(""));
}

}  // namespace
