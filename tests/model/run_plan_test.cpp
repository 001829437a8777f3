/*
 * The operations of a run: drawn from the seed alone, and of every kind.
 */
#include "model/run_plan.h"

#include <gtest/gtest.h>

#include <set>

#include "model/packed.h"
#include "model/shrink.h"

namespace model {
namespace {

std::string text_of(const std::vector<Operation> &operations) {
    std::string text;
    for (const Operation &operation : operations) {
        text += describe(operation) + "\n";
    }
    return text;
}

TEST(RunPlan, IsTheSameForTheSameSeedAndNotForAnother) {
    EXPECT_EQ(text_of(plan_of(7)), text_of(plan_of(7)));
    EXPECT_NE(text_of(plan_of(7)), text_of(plan_of(8)));
}

TEST(RunPlan, TwoHundredRunsHaveEveryKindOfOperationAndOfTrouble) {
    std::set<Kind> kinds;
    std::set<Trouble::Way> ways;
    std::set<uint32_t> clients;
    for (uint64_t seed = 1; seed <= 200; ++seed) {
        for (const Operation &operation : plan_of(seed)) {
            kinds.insert(operation.kind);
            ways.insert(operation.trouble.way);
            clients.insert(operation.client);
        }
    }
    EXPECT_EQ(static_cast<size_t>(Kind::kAllowWrites) + 1, kinds.size());
    EXPECT_EQ(3u, ways.size());
    EXPECT_EQ(kClients, clients.size());
}

TEST(Packed, GivesBackWhatWasPacked) {
    const Outcome given = {-5, {"", std::string("a\0b", 3), "c"}};
    const Outcome found = unpack(pack(given));
    EXPECT_EQ(given.result, found.result);
    EXPECT_EQ(given.words, found.words);
}

TEST(Shrink, LeavesTheOperationsThatBreakAPromiseTogether) {
    const std::vector<Operation> operations = plan_of(3);
    const std::string first = describe(operations[5]);
    const std::string second = describe(operations[30]);
    const auto breaks = [&](const std::vector<Operation> &some) {
        const std::string text = text_of(some);
        const size_t at = text.find(first);
        return at != std::string::npos && text.find(second, at + first.size()) != std::string::npos;
    };
    EXPECT_EQ(first + "\n" + second + "\n", text_of(shrink(operations, breaks, 1000)));
}

}  // namespace
}  // namespace model
