#include "log/line_splitter.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr size_t kLongest = size_t{64} * 1024;

std::vector<std::string> lines_after(LineSplitter &splitter, const std::string &piece) {
    splitter.add(piece.data(), piece.size());
    std::vector<std::string> lines;
    for (std::string line; splitter.next(&line);) {
        lines.push_back(line);
    }
    return lines;
}

using Lines = std::vector<std::string>;

TEST(LineSplitter, PutsPiecesTogether) {
    LineSplitter splitter;
    EXPECT_EQ(Lines(), lines_after(splitter, "on"));
    EXPECT_EQ(Lines({"one", "", "two"}), lines_after(splitter, "e\n\ntwo\nthr"));
    EXPECT_EQ("thr", splitter.rest());
    EXPECT_EQ("", splitter.rest());
}

TEST(LineSplitter, CutsLinesThatNeverEnd) {
    LineSplitter splitter;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Lines(), lines_after(splitter, std::string(kLongest, 'x')));
    }
    EXPECT_EQ(Lines({std::string(kLongest, 'x'), "next"}), lines_after(splitter, "\nnext\n"));
}

TEST(LineSplitter, KeepsWholeLinesHoweverManyWait) {
    LineSplitter splitter;
    const std::string line(kLongest, 'x');
    splitter.add((line + "\nnext").data(), line.size() + 5);
    EXPECT_EQ(Lines({line, "next"}), lines_after(splitter, "\n"));
}

}  // namespace
