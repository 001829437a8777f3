/*
 * The reader of key=value lines, with the rules of both of its users.
 */
#include "frwk_utils/values/key_value_line.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "support/open_descriptors.h"
#include "support/random_bytes.h"

using namespace std::string_literals;

namespace {

constexpr char kPath[] = "/m_data/usr/pairs.txt";

/* As product data are read, and as operator files are. */
constexpr KeyValueRules kPlain = {"plain_reader", CommentPlace::kFirstByte, "passed over", nullptr, nullptr};
constexpr KeyValueRules kStrict = {"strict_reader", CommentPlace::kFirstText, nullptr, "begins with NUL",
                                   "at its end"};
constexpr const KeyValueRules *kBoth[] = {&kPlain, &kStrict};

using Pairs = std::vector<std::string>;

class KeyValueLine : public testing::Test {
  protected:
    ~KeyValueLine() override {
        doubles::restore_all();
        remove_node(kPath);
    }

    /* The pairs of a file, "key|value" each. */
    static Pairs pairs_of(const std::string &content, const KeyValueRules &rules) {
        write_file(kPath, content);
        Pairs pairs;
        KeyValueFile file(rules);
        EXPECT_TRUE(file.open(kPath));
        for (KeyValue pair = {}; file.next(&pair);) {
            pairs.push_back(std::string(pair.key) + "|" + pair.value);
        }
        return pairs;
    }

    static void expect_both(const Pairs &expected, const std::string &content) {
        for (const KeyValueRules *rules : kBoth) {
            EXPECT_EQ(expected, pairs_of(content, *rules))
                << rules->caller.function() << ": " << content.substr(0, 60);
        }
    }
};

/* A line of some length without its end, such as "kkkk=vvvv". */
std::string line_of(size_t length) {
    return "key=" + std::string(length - 4, 'v');
}

std::string too_long(const std::string &text) {
    return "buf is " + text + " too long\n";
}

}  // namespace

TEST_F(KeyValueLine, SplitsAtTheFirstEqualsSign) {
    expect_both({"k|v=w", "k|", "|v", "|", "a|="}, "k=v=w\nk=\n=v\n=\na==\n");
}

TEST_F(KeyValueLine, KeepsBlanksAroundTheEqualsSign) {
    expect_both({"k | v"}, " \tk = v \t \n");
}

TEST_F(KeyValueLine, EndsLinesAtLfOrCrLfAndNeedsNoLastLineEnd) {
    expect_both({"a|1", "b|2", "c|3"}, "a=1\r\nb=2\nc=3");
    expect_both({"a|1\rb=2"}, "a=1\rb=2\r");
}

TEST_F(KeyValueLine, AnEmptyFileHasNoPair) {
    expect_both({}, "");
}

TEST_F(KeyValueLine, ALineEndsAtANul) {
    expect_both({"a|1", "b|"}, "a=1\0junk=2\nb=\0\n"s);
}

TEST_F(KeyValueLine, SkipsALineWithoutAnEqualsSignAndSaysSo) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        EXPECT_EQ(Pairs{"a|1"}, pairs_of("no pair\na=1\n", *rules));
        EXPECT_TRUE(logged_once(log, kWarningLevel, rules->caller.function(), "not found '='\n"));
        EXPECT_TRUE(logged_once(log, kWarningLevel, rules->caller.function(),
                                std::string(kPath) + " line 1 skipped: it has no equals sign"));
        EXPECT_FALSE(log.contains("no pair"));
    }
}

TEST_F(KeyValueLine, TakesALineOf1055Characters) {
    const LogCapture log;
    expect_both({"key|" + std::string(1051, 'v'), "a|1"}, line_of(1055) + "\na=1\n");
    expect_both({"key|" + std::string(1051, 'v')}, line_of(1055));
    EXPECT_FALSE(log.contains("too long"));
}

TEST_F(KeyValueLine, SkipsALineOf1056Characters) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        EXPECT_EQ(Pairs{"a|1"}, pairs_of(line_of(1056) + "\na=1\n", *rules));
        EXPECT_TRUE(logged_once(log, kDebugLevel, rules->caller.function(), too_long(line_of(1056))));
        EXPECT_FALSE(log.contains("not found"));
    }
}

TEST_F(KeyValueLine, LooksAtTheLengthBeforeTheEqualsSign) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        const std::string line(1056, 'x');
        EXPECT_EQ(Pairs{"a|1"}, pairs_of(line + "\na=1\n", *rules));
        EXPECT_TRUE(logged_once(log, kDebugLevel, rules->caller.function(), too_long(line)));
        EXPECT_FALSE(log.contains("not found"));
    }
}

TEST_F(KeyValueLine, NamesFileAndLineOfALineThatIsTooLongWithoutItsText) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        const std::string long_line = line_of(1057 + 1056) + "\n"; /* in three pieces, two of them too long */
        pairs_of("#\na=1\0junk\n"s + long_line + long_line, *rules);
        for (const char *line : {"3", "4"}) {
            const std::string text = std::string(kPath) + " line " + line + " skipped: it is too long";
            EXPECT_EQ(2u, count_lines(log.system_lines(), kWarningLevel, text)) << log.text();
        }
        for (const LogLine &line : log.system_lines()) {
            EXPECT_TRUE(line.level == kDebugLevel || line.text.find("vvv") == std::string::npos) << line.text;
        }
    }
}

TEST_F(KeyValueLine, LooksForACommentBeforeTheLength) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        EXPECT_EQ(Pairs{"a|1"}, pairs_of("#" + std::string(1055, 'x') + "\na=1\n", *rules));
        EXPECT_FALSE(log.contains("too long"));
        EXPECT_FALSE(log.contains("not found"));
    }
}

TEST_F(KeyValueLine, ReadsALineOf1057CharactersAsTwo) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        EXPECT_EQ(Pairs{"a|1"}, pairs_of(line_of(1057) + "\na=1\n", *rules));
        EXPECT_TRUE(logged_once(log, kDebugLevel, rules->caller.function(), too_long(line_of(1056))));
        EXPECT_TRUE(logged_once(log, kWarningLevel, rules->caller.function(), "not found '='\n"));
    }
}

TEST_F(KeyValueLine, APieceOfALongLineMayBeAPair) {
    expect_both({"b|2"}, line_of(1056) + "b=2\n");
    expect_both({"b|2", "c|3"}, std::string(1056, 'x') + "b=2\nc=3\n");
}

TEST_F(KeyValueLine, TheLengthCountsWithoutTheBlanksAtBothEnds) {
    expect_both({"key|" + std::string(1051, 'v')}, " " + line_of(1055) + "\n");
    expect_both({"key|" + std::string(1051, 'v')}, line_of(1055) + " \n");
    expect_both({"a|1", "b|2"}, "a=1" + std::string(1053, ' ') + "b=2\n");
}

TEST_F(KeyValueLine, ReadsTenMegabytesInConstantMemory) {
    const std::string one_line(10u << 20, 'x');
    expect_both({}, one_line);
    std::string many_lines;
    while (many_lines.size() < (10u << 20)) {
        many_lines += line_of(1000) + "\n";
    }
    for (const KeyValueRules *rules : kBoth) {
        EXPECT_EQ(many_lines.size() / 1001, pairs_of(many_lines, *rules).size());
    }
}

TEST_F(KeyValueLine, SurvivesAnyBytes) {
    const std::string bytes = random_bytes(200000);
    for (const KeyValueRules *rules : kBoth) {
        for (const std::string &pair : pairs_of(bytes, *rules)) {
            EXPECT_LE(pair.size(), 1055u);
        }
    }
}

TEST_F(KeyValueLine, AMissingFileIsNotOpened) {
    for (const KeyValueRules *rules : kBoth) {
        const LogCapture log;
        KeyValueFile file(*rules);
        EXPECT_FALSE(file.open("/m_data/usr/missing.txt"));
        EXPECT_TRUE(logged_once(log, kWarningLevel, rules->caller.function(),
                                "file(/m_data/usr/missing.txt) not find\n"));
    }
}

TEST_F(KeyValueLine, AFolderHasNoPair) {
    for (const KeyValueRules *rules : kBoth) {
        KeyValueFile file(*rules);
        KeyValue pair = {};
        EXPECT_TRUE(file.open("/m_data/usr"));
        EXPECT_FALSE(file.next(&pair));
    }
}

TEST_F(KeyValueLine, ClosesItsFile) {
    const size_t before = open_descriptors();
    expect_both({"a|1"}, "a=1\n");
    EXPECT_EQ(before, open_descriptors());
}

/* ---- The differences ------------------------------------------------------------------------------- */

TEST_F(KeyValueLine, ACommentIsJudgedByTheFirstByteOrByTheFirstText) {
    const std::string content = "#a=1\n #b=2\n\t#c=3\nd=#\n";
    EXPECT_EQ((Pairs{"#b|2", "#c|3", "d|#"}), pairs_of(content, kPlain));
    EXPECT_EQ(Pairs{"d|#"}, pairs_of(content, kStrict));
}

TEST_F(KeyValueLine, OfAnOperatorFileBlanksGoEvenWhereTheBaseLibraryTakesTheLineEndAlone) {
    doubles::base::strdern.stand_in([](char *text, size_t length) {
        text[std::string(text, length).find_last_not_of("\r\n") + 1] = '\0';
        return text;
    });
    EXPECT_EQ(Pairs({"a|1", "b|"}), pairs_of("a=1 \t\r\n  \t\nb= ", kStrict));
    EXPECT_EQ(Pairs({"a|1 \t"}), pairs_of("a=1 \t\r\n", kPlain));
}

TEST_F(KeyValueLine, ALineOfBlanksIsNoPairOrEmpty) {
    const LogCapture log;
    EXPECT_EQ(Pairs{}, pairs_of("  \t \r\n", kPlain));
    EXPECT_EQ(1u, log.count("not found '='"));
    EXPECT_FALSE(log.contains("passed over"));
    EXPECT_EQ(Pairs{}, pairs_of("  \t \r\n", kStrict));
    EXPECT_EQ(1u, log.count("not found '='"));
}

TEST_F(KeyValueLine, CommentsAndEmptyLinesAreNotedOrPassedOverInSilence) {
    const std::string content = "#a=1\n\n\r\n#\nb=2\n";
    const LogCapture log;
    EXPECT_EQ(Pairs{"b|2"}, pairs_of(content, kStrict));
    EXPECT_EQ(1u, log.debug_lines().size()) << log.text();
    EXPECT_EQ(Pairs{"b|2"}, pairs_of(content, kPlain));
    EXPECT_EQ(4u, count_lines(log.debug_lines(), kDebugLevel, "passed over"));
}

TEST_F(KeyValueLine, ANulAtTheBeginningIsAnEmptyLineOrEndsTheFile) {
    const std::string content = "a=1\n\0b=2\nc=3\n"s;
    const LogCapture log;
    EXPECT_EQ((Pairs{"a|1", "c|3"}), pairs_of(content, kPlain));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kPlain.caller.function(), "passed over"));
    EXPECT_EQ(Pairs{"a|1"}, pairs_of(content, kStrict));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kStrict.caller.function(), "begins with NUL"));
    EXPECT_FALSE(log.contains("at its end"));
}

TEST_F(KeyValueLine, ANulBehindBlanksDoesNotEndTheFile) {
    const std::string content = " \0b=2\nc=3\n"s;
    expect_both({"c|3"}, content);
}

TEST_F(KeyValueLine, TheEndOfTheFileIsNotedOrNot) {
    const LogCapture log;
    EXPECT_EQ(Pairs{"a|1"}, pairs_of("a=1", kPlain));
    EXPECT_EQ("", log.text());
    EXPECT_EQ(Pairs{"a|1"}, pairs_of("a=1", kStrict));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kStrict.caller.function(), "at its end"));
}
