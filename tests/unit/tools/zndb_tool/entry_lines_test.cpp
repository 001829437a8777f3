#include "zndb_tool/entry_lines.h"

#include <gtest/gtest.h>

namespace {

std::string shown(const std::string &text) {
    std::string all;
    for (const EntryLine &line : parse_entry_lines(text)) {
        all += std::to_string(line.number) + ":" + line.key + "=" + line.value + line.problem + ";";
    }
    return all;
}

TEST(EntryLines, TakesTheFirstEqualsSignAsTheEndOfTheKey) {
    EXPECT_EQ("1:a=1;2:b=c=d;3:e=;", shown("a=1\nb=c=d\ne="));
}

TEST(EntryLines, PassesOverCommentsAndEmptyLines) {
    EXPECT_EQ("4:a=1;", shown("# comment\n\n\r\na=1\r\n"));
}

TEST(EntryLines, KeepsBlanksOfKeyAndValue) {
    EXPECT_EQ("1:a = 1 ;", shown("a = 1 \n"));
}

TEST(EntryLines, SaysWhyALineIsNoEntry) {
    EXPECT_EQ("1:=there is no '=';2:=vthe key is empty;", shown("nothing\n=v\n"));
    const std::string key(32, 'k');
    EXPECT_EQ("1:" + key + "=the key has more than 31 characters;", shown(key + "="));
    const std::string value(1024, 'v');
    EXPECT_EQ("1:k=" + value + "the value has more than 1023 characters;", shown("k=" + value));
    EXPECT_EQ(std::string("1:k=a\0bthe value holds a NUL;", 29), shown(std::string("k=a\0b", 5)));
    EXPECT_EQ(std::string("1:k\0=1the key holds a NUL;", 26), shown(std::string("k\0=1", 4)));
}

TEST(EntryLines, WritesWhatItReads) {
    const Entries entries = {{"b", "2"}, {"a", "1=1"}};
    EXPECT_EQ("a=1=1\nb=2\n", format_entries(entries));
}

}  // namespace
