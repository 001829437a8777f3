/*
 * Random numbers: the bounds, and that every call seeds the process's generator.
 */
#include <climits>
#include <cstdlib>
#include <set>

#include "doubles/base_doubles.h"
#include "doubles/faults_test_fixture.h"
#include "frwk_common.h"

namespace {

class RandomNumber : public FaultsTest {
  protected:
    static void stop_clock(long seconds, long microseconds) {
        doubles::base::os_gettimeofday.stand_in([seconds, microseconds](timeval *now) {
            now->tv_sec = seconds;
            now->tv_usec = microseconds;
            return 0;
        });
    }

    static uint32_t draw(unsigned seed) {
        std::srand(seed);
        return static_cast<uint32_t>(std::rand());
    }
};

}  // namespace

TEST_F(RandomNumber, OfOneIsAlwaysOne) {
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(1u, frwk_random(1));
    }
}

TEST_F(RandomNumber, OfZeroIsAtMostTheLargestBound) {
    for (long i = 0; i < 1000; ++i) {
        stop_clock(1700000000 + i, i * 997);
        const uint32_t number = frwk_random(0);
        EXPECT_GE(number, 1u);
        EXPECT_LE(number, 0x7FFFFFFFu);
    }
}

TEST_F(RandomNumber, LiesBetween1AndMax) {
    std::set<uint32_t> seen;
    for (long i = 0; i < 1000; ++i) {
        stop_clock(5, i);
        const uint32_t number = frwk_random(6);
        EXPECT_GE(number, 1u);
        EXPECT_LE(number, 6u);
        seen.insert(number);
    }
    EXPECT_EQ(6u, seen.size());
}

TEST_F(RandomNumber, ComesFromTheGeneratorSeededWithTheMicroseconds) {
    for (const long microseconds : {0L, 1L, 123456L, 999999L}) {
        stop_clock(77, microseconds);
        EXPECT_EQ(draw(static_cast<unsigned>(microseconds)) % 1000 + 1, frwk_random(1000));
    }
}

TEST_F(RandomNumber, WithinAMicrosecondTheNumberIsTheSame) {
    stop_clock(77, 4711);
    const uint32_t number = frwk_random(1000000);
    EXPECT_EQ(number, frwk_random(1000000));
    std::rand();
    EXPECT_EQ(number, frwk_random(1000000));
}

TEST_F(RandomNumber, OfZeroTakesItsBoundFromTheSeconds) {
    constexpr uint32_t kBounds[] = {0xFF, 0xFFFF, 0xFFFFFF, 0x7FFFFFFF};
    std::set<uint32_t> used;
    for (long seconds = 1700000000; seconds < 1700000040; ++seconds) {
        stop_clock(seconds, 31337);
        const uint32_t bound = kBounds[draw(static_cast<unsigned>(seconds)) % 4];
        used.insert(bound);
        EXPECT_EQ(draw(31337) % bound + 1, frwk_random(0)) << seconds;
    }
    EXPECT_EQ(4u, used.size());
}

TEST_F(RandomNumber, ABoundThatIsNegativeWithASignIsTheLargest) {
    stop_clock(1, 2);
    const uint32_t expected = draw(2) % 0x7FFFFFFF + 1;
    EXPECT_EQ(expected, frwk_random(0x7FFFFFFF));
    EXPECT_EQ(expected, frwk_random(0x80000000));
    EXPECT_EQ(expected, frwk_random(UINT32_MAX));
}

TEST_F(RandomNumber, AfterTheYear2038TheSecondsStillSeed) {
    stop_clock(LONG_MAX, 0);
    const uint32_t number = frwk_random(0);
    EXPECT_GE(number, 1u);
    EXPECT_LE(number, 0x7FFFFFFFu);
}

TEST_F(RandomNumber, WithoutATimeOfDayItStaysInItsBounds) {
    doubles::base::os_gettimeofday.stand_in([](timeval *) { return -1; });
    EXPECT_EQ(draw(0) % 10 + 1, frwk_random(10));
}
