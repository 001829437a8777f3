/*
 * Shell commands: what is unchanged, what is quoted, and how a shell parses them.
 */
#include "internal/shell_command.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "internal/unique_pipe.h"

namespace {

std::string quoted(const std::string &word) {
    ShellCommand<512> command;
    command.add_word(word.c_str());
    EXPECT_TRUE(command.complete());
    return command.text();
}

/* The argument that a shell makes of the word. */
std::string as_a_shell_sees_it(const std::string &word) {
    ShellCommand<4096> command;
    command.add("printf '%%s|' ").add_word(word.c_str());
    EXPECT_TRUE(command.complete());

    const UniquePipe output(os_popen(command.text(), "r"));
    char text[1024];
    const size_t length = fread(text, 1, sizeof(text), output.get());
    return {text, length};
}

}  // namespace

TEST(ShellCommand, PutsItsPiecesTogether) {
    ShellCommand<64> command;
    command.add("apps_init ").add_word("wlan").add(" %d", 17);
    EXPECT_STREQ("apps_init wlan 17", command.text());
    EXPECT_TRUE(command.complete());
}

TEST(ShellCommand, IsEmptyAtFirst) {
    const ShellCommand<4> command;
    EXPECT_STREQ("", command.text());
    EXPECT_TRUE(command.complete());
}

TEST(ShellCommand, LeavesSafeWordsAsTheyAre) {
    for (const char *word : {"8.8.8.8", "fe80::1", "host-1.example.org", "rmnet0",
                             "/m_data/usr_permanent/a_b.txt", "a@b", "k=v", "1,2", "100%", "+x", "-n"}) {
        EXPECT_EQ(word, quoted(word));
    }
}

TEST(ShellCommand, QuotesEveryOtherCharacter) {
    const std::string safe = kShellSafe;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string word = std::string("a") + static_cast<char>(byte);
        if (byte != '\'' && safe.find(static_cast<char>(byte)) == std::string::npos) {
            EXPECT_EQ("'" + word + "'", quoted(word)) << byte;
        }
    }
    EXPECT_EQ("'it'\\''s'", quoted("it's"));
    EXPECT_EQ("''\\'''", quoted("'"));
    EXPECT_EQ("''", quoted(""));
}

TEST(ShellCommand, AShellSeesEveryWordAsOneArgument) {
    for (const char *word :
         {"",   " ",    "a b", "'",  "''",  "a'b'c", "$(id)", "`id`", "$HOME", "*", "[a-z]", "?",       "~",
          "#x", "a\nb", "\\",  "\"", "a;b", "a&",    "a|b",   ">x",   "<x",    "!", "{a,b}", "\xc3\xa9"}) {
        EXPECT_EQ(word + std::string("|"), as_a_shell_sees_it(word));
    }
}

TEST(ShellCommand, AShellSeesRandomWordsUnchanged) {
    std::mt19937 random(20);
    for (int round = 0; round < 100; ++round) {
        std::string word(random() % 64, '\0');
        for (char &byte : word) {
            byte = static_cast<char>(1 + random() % 255);
        }
        EXPECT_EQ(word + "|", as_a_shell_sees_it(word));
    }
}

TEST(ShellCommand, TakesWhatFitsToTheLastByte) {
    ShellCommand<8> command;
    command.add("ab ").add_word("cdef");
    EXPECT_TRUE(command.complete());
    EXPECT_STREQ("ab cdef", command.text());
    EXPECT_FALSE(command.add("g").complete());

    ShellCommand<6> words;
    EXPECT_TRUE(words.add_word("a b").complete());
    EXPECT_STREQ("'a b'", words.text());
}

TEST(ShellCommand, LeavesAPieceOutThatDoesNotFitAndSaysSo) {
    ShellCommand<8> safe;
    EXPECT_FALSE(safe.add("ab ").add_word("cdefg").complete());
    EXPECT_STREQ("ab ", safe.text());

    ShellCommand<8> quoted_word;
    EXPECT_FALSE(quoted_word.add("ab ").add_word("c d").complete());
    EXPECT_STREQ("ab ", quoted_word.text());

    ShellCommand<8> text;
    EXPECT_FALSE(text.add("%s", "12345678").complete());
    EXPECT_STREQ("", text.text());
}

TEST(ShellCommand, StaysIncompleteWhateverFollows) {
    ShellCommand<8> command;
    command.add_word("123456789").add("a").add_word("b");
    EXPECT_FALSE(command.complete());
    EXPECT_STREQ("", command.text());
}
