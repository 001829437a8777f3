/*
 * Refused allocations that once caused errors. Not for builds in which a sanitizer replaces the
 * allocator.
 */
#include <gtest/gtest.h>

#include "faults/injector.h"
#include "json.h"

namespace faults {

namespace {

/* Parses a text while the nth block, from 0, is refused. */
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
