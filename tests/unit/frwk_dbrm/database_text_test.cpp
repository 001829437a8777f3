/*
 * The lines of a database's text.
 */
#include "frwk_dbrm/database_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using database_text::Found;
using database_text::Line;

using Lines = std::vector<std::string>;

/* The lines of a text up to its end, "key|value" or "other: line". */
Lines lines_of(std::string text) {
    Lines lines;
    char *at = text.data();
    Line line;
    for (;;) {
        switch (database_text::next_line(&at, &line)) {
            case Found::kPair:
                lines.push_back(std::string(line.key) + "|" + line.value);
                break;
            case Found::kOther:
                lines.push_back(std::string("other: ") + line.key);
                break;
            case Found::kEnd:
                return lines;
        }
    }
}

TEST(DatabaseText, AnEmptyTextHasNoLine) {
    EXPECT_EQ(Lines(), lines_of(""));
}

TEST(DatabaseText, BlanksAloneAreNoLine) {
    EXPECT_EQ(Lines(), lines_of(" \t "));
}

TEST(DatabaseText, ALineIsAKeyAndAValue) {
    EXPECT_EQ((Lines{"a|1", "b|2"}), lines_of("a=1\nb=2\n"));
}

TEST(DatabaseText, TheLastLineNeedsNoEnd) {
    EXPECT_EQ((Lines{"a|1", "b|2"}), lines_of("a=1\nb=2"));
}

TEST(DatabaseText, AnyRunOfCrAndLfEndsALine) {
    EXPECT_EQ((Lines{"a|1", "b|2", "c|3", "d|4"}), lines_of("a=1\r\nb=2\n\n\r\rc=3\rd=4\n\n"));
}

TEST(DatabaseText, LeadingBlanksAreSkippedAllOthersKept) {
    EXPECT_EQ((Lines{"a | 1 "}), lines_of(" \ta = 1 \n"));
}

TEST(DatabaseText, TheFirstEqualsEndsTheKey) {
    EXPECT_EQ((Lines{"c|x=y", "d|=", "e|"}), lines_of("c=x=y\nd==\ne=\n"));
}

TEST(DatabaseText, AKeyMayBeEmpty) {
    EXPECT_EQ((Lines{"|v"}), lines_of("=v\n"));
}

TEST(DatabaseText, CommentsAreSkipped) {
    EXPECT_EQ((Lines{"a|1"}), lines_of("#x=1\n  # y=2\na=1\n#"));
}

TEST(DatabaseText, ALineWithoutEqualsIsTold) {
    EXPECT_EQ((Lines{"other: bad", "d|4"}), lines_of("bad\nd=4\n"));
}

TEST(DatabaseText, ALineOfBlanksBehindAnotherIsOneWithoutEquals) {
    EXPECT_EQ((Lines{"a|1", "other: ", "b|2"}), lines_of("a=1\n  \nb=2\n"));
}

TEST(DatabaseText, ATextThatBeginsWithALineEndBeginsWithALineWithoutEquals) {
    EXPECT_EQ((Lines{"other: ", "a|1"}), lines_of("\na=1\n"));
}

TEST(DatabaseText, ANulEndsTheText) {
    EXPECT_EQ((Lines{"a|1"}), lines_of(std::string("a=1\0\nb=2\n", 9)));
}

}  // namespace
