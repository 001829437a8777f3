#include "output/field_list.h"

#include <gtest/gtest.h>

namespace {

template <typename Print>
std::string printed_by(Print print) {
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

}  // namespace

TEST(FieldList, ATitleIsALine) {
    EXPECT_EQ("Memory\n", printed_by([] { print_title("Memory"); }));
}

TEST(FieldList, AnEmptyTitleIsAnEmptyLine) {
    EXPECT_EQ("\n", printed_by([] { print_title(""); }));
}

TEST(FieldList, AFieldWithoutAValueHasADash) {
    EXPECT_EQ("  name              -\n", printed_by([] { print_field("name", ""); }));
}
