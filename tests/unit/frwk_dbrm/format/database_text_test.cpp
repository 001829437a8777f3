/*
 * The lines of a database's text.
 */
#include "frwk_dbrm/format/database_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/entry_line.h"

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

TEST(DatabaseText, EveryLineHasItsNumber) {
    std::string text = "a=1\r\n#b=2\n\n\nc=3\rd=4\n  bad\n";
    char *at = text.data();
    Line line;
    std::vector<unsigned> numbers;
    while (database_text::next_line(&at, &line) != Found::kEnd) {
        numbers.push_back(line.number);
    }
    EXPECT_EQ((std::vector<unsigned>{1, 5, 5, 6}), numbers);
    EXPECT_EQ(7u, line.next);
}

/* Where a restore of a text would stop: "line at byte: reason"; "" when it reads all of it. */
std::string stop_of(std::string text) {
    const database_text::Stop stop = database_text::find_stop(text.data(), text.size());
    return stop.reason == nullptr
               ? ""
               : std::to_string(stop.line) + " at " + std::to_string(stop.bytes) + ": " + stop.reason;
}

TEST(DatabaseTextStop, IsNoneInWhatTheDatabaseWrites) {
    const std::string longest = std::string(31, 'k') + "=" + std::string(1023, 'v') + "\n";
    for (const std::string &text :
         {std::string(), std::string("a=1\nb=\nc=x=y\n"), std::string("a=1\n#comment\n"),
          std::string("a=1\n \t"), longest, std::string("a=1")}) {
        EXPECT_EQ("", stop_of(text)) << text;
    }
}

TEST(DatabaseTextStop, IsALineWithoutEquals) {
    EXPECT_EQ("3 at 11: there is no '='", stop_of("a=1\n#b=2\n \tbad\nc=3\n"));
    EXPECT_EQ("1 at 0: there is no '='", stop_of("\na=1\n"));
}

TEST(DatabaseTextStop, IsANul) {
    EXPECT_EQ("2 at 7: a NUL ends the text", stop_of(std::string("a=1\nb=2\0\nc=3\n", 12)));
    EXPECT_EQ("1 at 0: a NUL ends the text", stop_of(std::string(1, '\0')));
    EXPECT_EQ("2 at 5: a NUL ends the text", stop_of(std::string("a=1\n \0", 6)));
}

/* The line at which a restore would stop, "line: reason"; "" if it reads the whole text. */
std::string difference_of(const std::string &text) {
    const database_text::Difference found = database_text::find_difference(text);
    return found.reason == nullptr ? "" : std::to_string(found.line) + ": " + found.reason;
}

TEST(DatabaseTextDifference, IsNoneInWhatTheDatabaseReads) {
    for (const char *text :
         {"", "a=1\r\nb=2\r\n", "a= 1 \n#c\r\nb=2\r", "a=1\n\n\r\nb=2\n \t", " #a=1\n \r\n \t\na=1\n"}) {
        EXPECT_EQ("", difference_of(text)) << text;
    }
}

TEST(DatabaseTextDifference, IsACrThatEndsALineForARestoreOnly) {
    EXPECT_EQ("2: there is a CR within the line", difference_of("a=1\n#c\rb=2\n"));
    EXPECT_EQ("1: there is a CR within the line", difference_of("a=1\r\r\n"));
    EXPECT_EQ("3: there is a CR within the line", difference_of("a=1\nb=2\r\n\rc=3"));
    EXPECT_EQ("1: there is a CR within the line", difference_of("#" + std::string(5000, 'x') + "\rb=2\n"));
}

TEST(DatabaseTextDifference, IsABlankBeforeAKey) {
    EXPECT_EQ("2: there is a blank before the key", difference_of("a=1\n b=2\nc=3\n"));
    EXPECT_EQ("1: there is a blank before the key", difference_of("\tb=2"));
}

TEST(DatabaseTextDifference, IsNotSoughtWhereARestoreDoesNotCome) {
    EXPECT_EQ("", difference_of(std::string("a=1\0\n b=2\n", 11)));
    std::string text = "a=1\nbad\n b=2\n";
    const database_text::Losses losses = database_text::find_losses(text.data(), text.size());
    EXPECT_EQ(nullptr, losses.difference.reason);
    EXPECT_EQ(2u, losses.stop.line);
}

TEST(DatabaseTextDifference, IsReportedBesideAStopAfterIt) {
    std::string text = "a=1\n b=2\nbad\n";
    const database_text::Losses losses = database_text::find_losses(text.data(), text.size());
    EXPECT_EQ(2u, losses.difference.line);
    EXPECT_EQ(3u, losses.stop.line);
}

TEST(DatabaseTextStop, IsTheFirstKeyThatAStoreHasNoPlaceFor) {
    std::string text = "# comment\n";
    for (size_t i = 0; i < kStoreKeysMax; ++i) {
        text += "k" + std::to_string(i) + "=\n";
    }
    EXPECT_EQ("", stop_of(text));
    EXPECT_EQ("16386 at " + std::to_string(text.size()) + ": there are more keys than a store holds",
              stop_of(text + "one=more\n"));
}

TEST(DatabaseTextStop, IsWhatTheDatabaseDoesNotTake) {
    EXPECT_EQ("2 at 4: the key is empty", stop_of("a=1\n=v\nb=2\n"));
    EXPECT_EQ("2 at 4: the key is too long", stop_of("a=1\n" + std::string(32, 'k') + "=v\n"));
    EXPECT_EQ("2 at 4: the value is too long", stop_of("a=1\nk=" + std::string(1024, 'v') + "\n"));
}

}  // namespace
