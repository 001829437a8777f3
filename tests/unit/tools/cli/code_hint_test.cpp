#include "cli/code_hint.h"

#include <gtest/gtest.h>

namespace {

TEST(CodeHint, SaysWhatACodeMeansForTheUser) {
    EXPECT_EQ("; the module doesn't know this message", code_hint(E_APPS_ERR_UNSUPPORTED));
    EXPECT_EQ("; try again later", code_hint(E_APPS_ERR_BUSY));
}

TEST(CodeHint, IsEmptyForCodesThatSayItAll) {
    EXPECT_EQ("", code_hint(E_APPS_ERR_NOTFOUND));
    EXPECT_EQ("", code_hint(777));
}

}  // namespace
