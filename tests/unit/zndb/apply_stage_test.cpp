#include "apply_stage.h"

#include <gtest/gtest.h>

#include "support/wait_until.h"
#include "unit/formats/item_bytes.h"

namespace {

using std::chrono::hours;
using Clock = ApplyStage::Clock;

ApplyRequest page_of(uint32_t number, const std::string &bytes, size_t count) {
    return {ApplyAction::kAdd, number, 0, bytes.data(), bytes.size(), count};
}

class ApplyStageTest : public testing::Test {
  protected:
    uint32_t begin(ApplyStage &stage) {
        uint32_t number = 0;
        EXPECT_EQ(0, stage.begin(number));
        return number;
    }

    std::string taken(ApplyStage &stage, uint32_t number) {
        std::vector<ZndbItem> items;
        const apps_err_e_type result = stage.take(number, bytes_, items);
        std::string text = result == 0 ? "" : "result " + std::to_string(result);
        for (const ZndbItem &item : items) {
            text += std::string(item.key) + "=" + std::string(item.value) + " ";
        }
        return text;
    }

    const std::string one_ = item_bytes(0, 0, "a", "1");
    const std::string two_ = item_bytes(0, 1, "b", "2") + item_bytes(1, 2, "c", "");
    std::string bytes_;
};

}  // namespace

TEST_F(ApplyStageTest, CollectsPagesInOrder) {
    ApplyStage stage(hours(1));
    const uint32_t number = begin(stage);
    EXPECT_EQ(0, stage.add(page_of(number, one_, 1)));
    EXPECT_EQ(0, stage.add(page_of(number, two_, 2)));
    EXPECT_EQ("a=1 b=2 c= ", taken(stage, number));
    EXPECT_EQ("result 2001", taken(stage, number));
}

TEST_F(ApplyStageTest, OnlyOneIsFilledAtATime) {
    ApplyStage stage(hours(1));
    const uint32_t number = begin(stage);
    uint32_t other = 0;
    EXPECT_EQ(E_APPS_ERR_BUSY, stage.begin(other));
    EXPECT_EQ(0u, other);
    EXPECT_EQ(0, stage.abandon(number));
    EXPECT_NE(number, begin(stage));
}

TEST_F(ApplyStageTest, ThatTakesTooLongGivesWayAlthoughSomebodyFillsIt) {
    using std::chrono::milliseconds;
    ApplyStage stage(milliseconds(100));
    const uint32_t slow = begin(stage);
    uint32_t next = 0;
    EXPECT_TRUE(wait_until([&] {
        (void)stage.add(page_of(slow, one_, 1));
        return stage.begin(next) == 0;
    }));
    EXPECT_NE(slow, next);
}

TEST_F(ApplyStageTest, ThatNobodyFillsGivesWay) {
    ApplyStage stage(Clock::duration(0));
    const uint32_t first = begin(stage);
    EXPECT_EQ(E_APPS_ERR_ZNDB_NO_FOUND, stage.add(page_of(first, one_, 1)));
    EXPECT_NE(first, begin(stage));
}

TEST_F(ApplyStageTest, RefusesANumberThatIsNotItsOwn) {
    ApplyStage stage(hours(1));
    EXPECT_EQ(E_APPS_ERR_ZNDB_NO_FOUND, stage.add(page_of(0, one_, 1)));
    const uint32_t number = begin(stage);
    EXPECT_EQ(E_APPS_ERR_ZNDB_NO_FOUND, stage.add(page_of(number + 1, one_, 1)));
    EXPECT_EQ(E_APPS_ERR_ZNDB_NO_FOUND, stage.abandon(number + 1));
    EXPECT_EQ("result 2001", taken(stage, number + 1));
    EXPECT_EQ("", taken(stage, number));
}

TEST_F(ApplyStageTest, WithTooManyItemsIsDropped) {
    ApplyStage stage(hours(1));
    const uint32_t number = begin(stage);
    EXPECT_EQ(0, stage.add(page_of(number, one_, kStagedItemsMax)));
    EXPECT_EQ(E_APPS_ERR_ZNDB_MEM, stage.add(page_of(number, one_, 1)));
    EXPECT_EQ("result 2001", taken(stage, number));
}

TEST_F(ApplyStageTest, WithTooManyBytesIsDropped) {
    ApplyStage stage(hours(1));
    const uint32_t number = begin(stage);
    const std::string bytes(kStagedBytesMax, 'x');
    EXPECT_EQ(0, stage.add(page_of(number, bytes, 1)));
    EXPECT_EQ(E_APPS_ERR_ZNDB_MEM, stage.add(page_of(number, one_, 1)));
    EXPECT_EQ(E_APPS_ERR_ZNDB_NO_FOUND, stage.abandon(number));
}
