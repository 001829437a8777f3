#include "formats/check_line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

uint32_t crc_of(std::string_view bytes) {
    Crc32 crc;
    crc.add(bytes);
    return crc.value();
}

/* Byte by byte: other services and tools read it. */
TEST(CheckLine, CoversAllBytesBeforeTheChecksum) {
    Crc32 crc;
    EXPECT_EQ("#zndb format=1 generation=1 check=3211c52a\n", check_line(1, crc));
    crc.add("a=1\n");
    EXPECT_EQ("#zndb format=1 generation=17 check=2a98c6a9\n", check_line(17, crc));
}

TEST(CheckLine, IsReadAsItIsWritten) {
    const std::string line = check_line(18446744073709551615u, Crc32());
    EXPECT_EQ(kCheckLineRoom, line.size());
    CheckLine read;
    ASSERT_TRUE(read_check_line(line.substr(0, line.size() - 1), read));
    EXPECT_EQ(kStoreFormat, read.format);
    EXPECT_EQ(18446744073709551615u, read.generation);
    EXPECT_EQ(line.find("check="), read.covered);
    EXPECT_EQ(crc_of(line.substr(0, read.covered)), read.check);
}

TEST(CheckLine, OfANewerFormatMayHaveMoreFields) {
    CheckLine read;
    ASSERT_TRUE(read_check_line("#zndb format=2 generation=3 new=x y check=0123ABCD", read));
    EXPECT_EQ(2u, read.format);
    EXPECT_EQ(3u, read.generation);
    EXPECT_EQ(0x0123ABCDu, read.check);
    EXPECT_EQ(36u, read.covered);
}

TEST(CheckLine, ThatIsDamagedIsNotRead) {
    CheckLine read;
    read.generation = 7;
    const std::string whole = "#zndb format=1 generation=3 check=0123abcd";
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(read_check_line(whole.substr(0, length), read)) << length;
    }
    for (const char *line :
         {"#zndb format=1 generation=3 check=0123abcg", "#zndb format=1 generation=3 check=0123abcd ",
          "#zndb format=x generation=3 check=0123abcd", "#zndb format=1 generation=-3 check=0123abcd",
          "#zndb format=1 generation=3x check=0123abcd", "#zndb format=1 generation=3 Check=0123abcd",
          "#zndb format=1 generation=99999999999999999999 check=0123abcd",
          "#zndb format=99999999999 generation=3 check=0123abcd",
          " #zndb format=1 generation=3 check=0123abcd"}) {
        EXPECT_FALSE(read_check_line(line, read)) << line;
    }
    EXPECT_FALSE(read_check_line(
        "#zndb format=1 generation=3 " + std::string(kCheckLineMax, 'x') + " check=0123abcd", read));
    EXPECT_EQ(7u, read.generation) << "it is unchanged";
}

TEST(CheckLine, IsKnownByItsBeginning) {
    EXPECT_TRUE(begins_check_line("#zndb format="));
    EXPECT_FALSE(begins_check_line("#zndb line x"));
    EXPECT_TRUE(is_zndb_comment("#zndb line x"));
    EXPECT_FALSE(is_zndb_comment("#zndbx"));
}

TEST(CheckLine, ALineIsCarriedAsAComment) {
    for (const char *line : {"no sign", "=v", "a key that is far too long for this service=1", ""}) {
        EXPECT_EQ(std::string("#zndb line ") + line, carried_line(line));
        EXPECT_EQ(line, carried_text(carried_line(line)));
    }
    for (const char *line : {"# a comment", "#zndb line x", "#zndb new"}) {
        EXPECT_EQ(line, carried_line(line));
    }
    EXPECT_EQ("# a comment", carried_text("# a comment"));
}

}  // namespace
