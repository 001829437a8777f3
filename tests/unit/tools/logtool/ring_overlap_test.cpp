#include "logtool/ring_overlap.h"

#include <gtest/gtest.h>

namespace {

RingOverlap with(const std::vector<std::string> &lines) {
    RingOverlap overlap;
    for (const std::string &line : lines) {
        overlap.add(line);
    }
    return overlap;
}

/* The follower's lines that are new. */
std::string news(RingOverlap overlap, const std::vector<std::string> &lines) {
    std::string all;
    for (const std::string &line : lines) {
        all += overlap.repeats(line) ? "" : line;
    }
    return all;
}

TEST(RingOverlap, AFollowerThatPrintsOnlyNewLinesRepeatsNone) {
    EXPECT_EQ("cd", news(with({"a", "b"}), {"c", "d"}));
    EXPECT_EQ("cd", news(with({}), {"c", "d"}));
}

TEST(RingOverlap, LinesThatCameWhileTheBufferWasReadAreRepeated) {
    EXPECT_EQ("cd", news(with({"a", "b"}), {"b", "c", "d"}));
}

TEST(RingOverlap, AFollowerMayPrintTheWholeBufferFirst) {
    EXPECT_EQ("d", news(with({"a", "b", "c"}), {"a", "b", "c", "d"}));
}

TEST(RingOverlap, EqualLinesOfTheBufferDontConfuseIt) {
    EXPECT_EQ("ab", news(with({"a", "a", "b", "a"}), {"a", "b", "a", "a", "b"}));
    EXPECT_EQ("aa", news(with({"a", "a"}), {"a", "a", "a", "a"}));
}

TEST(RingOverlap, ANewLineMayEqualAnOldOne) {
    EXPECT_EQ("ba", news(with({"a", "c"}), {"c", "b", "a"}));
}

}  // namespace
