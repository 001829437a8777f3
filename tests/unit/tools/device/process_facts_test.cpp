#include "device/process_facts.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "support/wait_until.h"

namespace {

TEST(ProcessFacts, AreReadFromTheLineOfStatus) {
    const auto status = parse_process_status(
        "812 (wlan) S 1 812 812 0 -1 4194304 310 0 2 0 150 50 7 8 20 0 3 0 4711 9000000 420 "
        "18446744073709551615 "
        "1 1 0 0");
    ASSERT_TRUE(status);
    EXPECT_EQ(200u, status->ticks);
    EXPECT_EQ(3u, status->threads);
    EXPECT_EQ(4711u, status->start_ticks);
    EXPECT_EQ(420u, status->resident_pages);
}

TEST(ProcessFacts, ANameMayHoldAnything) {
    const auto status =
        parse_process_status("812 (a) S 1 (b c) R 1 1 1 0 -1 4 0 0 0 0 1 2 0 0 20 0 5 0 6 0 7 0\n");
    ASSERT_TRUE(status);
    EXPECT_EQ(3u, status->ticks);
    EXPECT_EQ(5u, status->threads);
}

TEST(ProcessFacts, OtherTextsAreNotRead) {
    for (const char *text :
         {"", "812", "812 (wlan)", "812 (wlan) S 1 812 812 0 -1 4194304 310 0 2 0 150 50 7 8 20",
          "812 (wlan) S 1 812 812 0 -1 4194304 310 0 2 0 x 50 7 8 20 0 3 0 4711 9 420"}) {
        EXPECT_FALSE(parse_process_status(text)) << text;
    }
}

TEST(ProcessFacts, OfThisProcessAreTrue) {
    const auto facts = process_facts(::getpid());
    ASSERT_TRUE(facts);
    EXPECT_GE(facts->threads, 1u);
    EXPECT_GT(facts->resident_bytes, 100u * 1024);
    EXPECT_LE(facts->started, seconds_since_boot());
    EXPECT_GT(facts->started, 0);
    std::thread([&] { EXPECT_EQ(facts->threads + 1, process_facts(::getpid())->threads); }).join();
}

TEST(ProcessFacts, TheProcessorsTimeGrows) {
    const double before = process_facts(::getpid())->processor_seconds;
    EXPECT_TRUE(wait_until([&] { return process_facts(::getpid())->processor_seconds > before; },
                           std::chrono::seconds(50)));
}

TEST(ProcessFacts, OfNoProcessAreNone) {
    EXPECT_FALSE(process_facts(0));
    EXPECT_FALSE(process_facts(-1));
    EXPECT_FALSE(process_facts(0x7FFFFFFF));
}

TEST(ProcessFacts, TheShareIsThatOfOneProcessor) {
    const ProcessFacts facts = {5, 100, 1, 0};
    EXPECT_DOUBLE_EQ(50, processor_percent(facts, 110));
    EXPECT_DOUBLE_EQ(250, processor_percent(facts, 102));
    EXPECT_DOUBLE_EQ(0, processor_percent(facts, 100)) << "started just now";
    EXPECT_DOUBLE_EQ(0, processor_percent(facts, 99));
}

}  // namespace
