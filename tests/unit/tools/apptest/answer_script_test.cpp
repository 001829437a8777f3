#include "apptest/answer_script.h"

#include <gtest/gtest.h>

namespace {

std::string shown(const ScriptedAnswer &answer) {
    return std::to_string(answer.result) + " " + std::to_string(answer.delay) +
           (answer.echo ? " echo" : " ") + answer.body;
}

std::string problem_with(const std::string &text) {
    return AnswerScript().parse(text);
}

TEST(AnswerScript, AnswersEachMessageByItsLine) {
    AnswerScript script;
    EXPECT_EQ("", script.parse("5004 0 text=a b \n5005 BUSY\nwlan_set_wps_onoff 7 delay=20 hex=41 42\n"
                               "0x1390 -1 int=0\n6000 0 echo\n"));
    EXPECT_EQ("0 0 a b ", shown(script.next(5004)));
    EXPECT_EQ("17 0 ", shown(script.next(5005)));
    EXPECT_EQ("7 20 AB", shown(script.next(5005)));
    EXPECT_EQ(std::string("-1 0 \0\0\0\0", 9), shown(script.next(5008)));
    EXPECT_EQ("0 0 echo", shown(script.next(6000)));
}

TEST(AnswerScript, SeveralLinesAnswerInTurnAndTheLastOneStays) {
    AnswerScript script;
    EXPECT_EQ("", script.parse("1 1\n2 5\n1 2\n1 3\n"));
    for (const int expected : {1, 2, 3, 3, 3}) {
        EXPECT_EQ(expected, script.next(1).result);
    }
    EXPECT_EQ(5, script.next(2).result);
}

TEST(AnswerScript, AStarAnswersWhatHasNoLineOfItsOwn) {
    AnswerScript script;
    EXPECT_EQ("", script.parse("* unsupported\n7 0\n"));
    EXPECT_EQ(0, script.next(7).result);
    EXPECT_EQ(8, script.next(8).result);
}

TEST(AnswerScript, WithoutALineAMessageIsAnsweredWithSuccess) {
    AnswerScript script;
    EXPECT_EQ("0 0 ", shown(script.next(5004)));
    EXPECT_EQ("", script.parse("# nothing\n\n  \r\n"));
    EXPECT_EQ("0 0 ", shown(script.next(5004)));
}

TEST(AnswerScript, SaysInWhichLineSomethingIsWrong) {
    EXPECT_EQ("2: unknown message 'nonsense'", problem_with("5004 0\nnonsense 0\n"));
    EXPECT_EQ("1: there is no result", problem_with("5004\n"));
    EXPECT_EQ("1: unknown result code 'bsuy'; did you mean 'BUSY'?", problem_with("5004 bsuy"));
    EXPECT_EQ("1: unknown answer 'txt': delay=, text=, hex=, int= or echo", problem_with("5004 0 txt"));
    EXPECT_EQ("1: 'zz' is not a hexadecimal byte", problem_with("5004 0 hex=zz"));
    EXPECT_EQ("1: 'x' is not a 32-bit number", problem_with("5004 0 int=x"));
    EXPECT_EQ("1: '1s' is not a delay in milliseconds of at most an hour", problem_with("5004 0 delay=1s"));
    EXPECT_EQ("1: '3600001' is not a delay in milliseconds of at most an hour",
              problem_with("5004 0 delay=3600001"));
    EXPECT_EQ("1: '' is not a delay in milliseconds of at most an hour", problem_with("5004 0 delay="));
}

TEST(AnswerScript, ABadScriptChangesNothing) {
    AnswerScript script;
    EXPECT_EQ("", script.parse("1 5\n"));
    EXPECT_NE("", script.parse("1 6\nbad\n"));
    EXPECT_EQ(5, script.next(1).result);
}

}  // namespace
