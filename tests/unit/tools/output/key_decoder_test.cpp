#include "output/key_decoder.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Keys = std::vector<int>;

Keys keys_of(const std::string &bytes) {
    KeyDecoder decoder;
    decoder.add(bytes.data(), bytes.size());
    Keys keys;
    for (int key = decoder.next(); key != kNoKey; key = decoder.next()) {
        keys.push_back(key);
    }
    EXPECT_FALSE(decoder.has_begun());
    return keys;
}

TEST(KeyDecoder, CharactersAreKeys) {
    EXPECT_EQ(Keys({'s', 'r', 0xC3, 0xA4}), keys_of("sr\xC3\xA4"));
    EXPECT_EQ(Keys({kEnter, kEnter, kBackspace, kBackspace}), keys_of("\r\n\b\177"));
}

TEST(KeyDecoder, KnowsTheArrowsAndTheirNeighbours) {
    EXPECT_EQ(Keys({kUp, kDown, kUp, kDown}), keys_of("\033[A\033[B\033OA\033OB"));
    EXPECT_EQ(Keys({kPageUp, kPageDown}), keys_of("\033[5~\033[6~"));
    EXPECT_EQ(Keys({kHome, kHome, kHome, kHome}), keys_of("\033[H\033OH\033[1~\033[7~"));
    EXPECT_EQ(Keys({kEnd, kEnd, kEnd, kEnd}), keys_of("\033[F\033OF\033[4~\033[8~"));
}

TEST(KeyDecoder, OtherSequencesAreOneKey) {
    EXPECT_EQ(Keys({kOtherKey, 'q'}), keys_of("\033[1;5Cq"));
    EXPECT_EQ(Keys({kOtherKey, 'q'}), keys_of("\033OPq"));
}

TEST(KeyDecoder, EscapeBeforeAnotherKeyIsEscape) {
    EXPECT_EQ(Keys({kEscape, 'q'}), keys_of("\033q"));
}

TEST(KeyDecoder, ABeginningWaitsForItsEnd) {
    KeyDecoder decoder;
    EXPECT_EQ(kNoKey, decoder.next());
    for (const char *piece : {"\033", "[", "5"}) {
        decoder.add(piece, 1);
        EXPECT_EQ(kNoKey, decoder.next());
        EXPECT_TRUE(decoder.has_begun());
    }
    decoder.add("~q", 2);
    EXPECT_EQ(kPageUp, decoder.next());
    EXPECT_EQ('q', decoder.next());
}

TEST(KeyDecoder, ABeginningWithoutAnEndIsEscape) {
    KeyDecoder decoder;
    decoder.add("\033", 1);
    EXPECT_EQ(kNoKey, decoder.next());
    EXPECT_EQ(kEscape, decoder.give_up());
    EXPECT_FALSE(decoder.has_begun());
}

}  // namespace
