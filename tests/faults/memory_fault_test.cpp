/*
 * Single lacks of memory that once did harm. Not for builds in which a sanitizer stands in front of the
 * allocator.
 */
#include <gtest/gtest.h>

#include "faults/injector.h"
#include "json.h"

namespace faults {

namespace {

/* What becomes of a text when the nth block is refused, counted from 0. */
json_item *parse_without_block(size_t nth) {
    watch_kind(Who::kCaller, Call::malloc, nth, 0);
    json_item *root = json_parse("{\"key\": 17}");
    EXPECT_TRUE(end().struck);
    return root;
}

}  // namespace

TEST(MemoryFault, ATextThatCannotBeParsedIsNotTheValueNull) {
    for (const size_t nth : {0, 1}) {
        json_item *root = parse_without_block(nth);
        EXPECT_TRUE(root == nullptr || json_get_object_item(root, "key") != nullptr) << nth;
        json_free(root);
    }
}

}  // namespace faults
