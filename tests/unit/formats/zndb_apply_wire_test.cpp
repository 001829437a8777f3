#include "formats/zndb_apply_wire.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "unit/formats/apply_bytes.h"

namespace {

bool reads(const std::string &body, ApplyRequest &request) {
    return read_apply_body(body.data(), static_cast<int32_t>(body.size()), request);
}

bool reads(const std::string &body) {
    ApplyRequest request = {};
    return reads(body, request);
}

const std::string kItem = item_bytes(0, 0, "a", "1");

}  // namespace

TEST(ZndbApplyWire, TheMessageIs2102) {
    EXPECT_EQ(2102, kZndbApplyMessage);
}

TEST(ZndbApplyWire, ABodyIsItsHeadAndAPage) {
    ApplyRequest request = {};
    const std::string body = apply_bytes(2, 7, 0, kItem + kItem); /* the request's page points into it */
    ASSERT_TRUE(reads(body, request));
    EXPECT_EQ(ApplyAction::kAdd, request.action);
    EXPECT_EQ(7u, request.number);
    EXPECT_EQ(2u, request.page_count);
    EXPECT_EQ(kItem + kItem, std::string(static_cast<const char *>(request.page), request.page_size));
    ASSERT_TRUE(reads(apply_bytes(3, 7, 86400), request));
    EXPECT_EQ(ApplyAction::kCommit, request.action);
    EXPECT_EQ(86400u, request.seconds);
}

TEST(ZndbApplyWire, EachActionHasItsHead) {
    for (uint32_t action = 0; action <= 9; ++action) {
        EXPECT_TRUE(reads(apply_bytes(action, 0, 0, action == 2 ? kItem : ""))) << action;
    }
}

TEST(ZndbApplyWire, AMalformedHeadIsRefused) {
    EXPECT_FALSE(read_apply_body(nullptr, 16, *std::make_unique<ApplyRequest>()));
    EXPECT_FALSE(reads(""));
    EXPECT_FALSE(reads(apply_bytes(0).substr(0, 15)));
    EXPECT_FALSE(reads(apply_bytes(10)));
    EXPECT_FALSE(reads(apply_bytes(UINT32_MAX)));
    EXPECT_FALSE(reads(apply_bytes(0, 1)));    /* a number that belongs to nothing */
    EXPECT_FALSE(reads(apply_bytes(5, 0, 1))); /* seconds that belong to nothing */
    EXPECT_FALSE(reads(apply_bytes(3, 1, 86401)));
    EXPECT_FALSE(reads(word(0) + word(0) + word(0) + word(1)));
}

TEST(ZndbApplyWire, APageOnlyBelongsToAdd) {
    EXPECT_FALSE(reads(apply_bytes(2, 1)));
    EXPECT_FALSE(reads(apply_bytes(2, 1, 0, kItem.substr(1))));
    EXPECT_FALSE(reads(apply_bytes(2, 1, 0, kItem + "x")));
    EXPECT_FALSE(reads(apply_bytes(3, 1, 0, kItem)));
    std::string many;
    for (int i = 0; i < 65; ++i) {
        many += kItem;
    }
    EXPECT_FALSE(reads(apply_bytes(2, 1, 0, many)));
}
