/*
 * Lines of a store's file.
 */
#include "formats/store_line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/* "key|value" of a whole line, or why it is damage. */
std::string read(const std::string &text, uint64_t number = 2, bool fits = true, bool is_broken = false) {
    Entry entry;
    const char *problem = read_store_line({text, number, text.size(), fits, is_broken, true}, entry);
    return problem != nullptr ? problem : std::string(entry.key) + "|" + std::string(entry.value);
}

TEST(StoreLine, IsAKeyAndItsValue) {
    EXPECT_EQ("a|1", read("a=1"));
    EXPECT_EQ("a|x=y", read("a=x=y\r"));
    EXPECT_EQ("a|", read("a="));
}

TEST(StoreLine, HasNoEntryIfItIsACommentOrEmpty) {
    EXPECT_EQ("|", read("# comment"));
    EXPECT_EQ("|", read(""));
    EXPECT_EQ("|", read("#" + std::string(kLineMax - 1, 'c'), 2, false));
}

TEST(StoreLine, IsDamageIfARestoreWouldReadItDifferently) {
    EXPECT_EQ("the file begins with an empty line", read("", 1));
    EXPECT_EQ(kBrokenComment, read("# a\rb"));
    EXPECT_EQ(kBrokenComment, read("#" + std::string(kLineMax - 1, 'c'), 2, false, true));
}

TEST(StoreLine, IsDamageIfItCanNotBeAnEntry) {
    EXPECT_EQ("it is too long", read(std::string(kLineMax, 'a'), 2, false));
    for (const char *text : {"no equals", "=1", " a=1"}) {
        EXPECT_EQ(std::string::npos, read(text).find('|')) << text;
    }
}

}  // namespace
