/*
 * The translation of the client's results.
 */
#include <gtest/gtest.h>

#include <climits>

#include "zndb.h"

TEST(ZndbErrorConvert, SuccessStaysSuccess) {
    EXPECT_EQ(0, frwk_zndb_error_convert(0));
}

TEST(ZndbErrorConvert, FailureIsFailure) {
    EXPECT_EQ(-1, frwk_zndb_error_convert(1));
}

TEST(ZndbErrorConvert, AnUnreachableDatabaseIsBusy) {
    EXPECT_EQ(17, frwk_zndb_error_convert(2));
}

TEST(ZndbErrorConvert, AMissingKeyIsNotFound) {
    EXPECT_EQ(7, frwk_zndb_error_convert(3));
}

TEST(ZndbErrorConvert, LengthErrorsAreOutOfBuffer) {
    EXPECT_EQ(9, frwk_zndb_error_convert(4));
    EXPECT_EQ(9, frwk_zndb_error_convert(5));
}

TEST(ZndbErrorConvert, CodesAboveTheLastAreFailure) {
    EXPECT_EQ(-1, frwk_zndb_error_convert(6));
    EXPECT_EQ(-1, frwk_zndb_error_convert(INT_MAX));
}

TEST(ZndbErrorConvert, NegativeCodesAreFailure) {
    EXPECT_EQ(-1, frwk_zndb_error_convert(-1));
    EXPECT_EQ(-1, frwk_zndb_error_convert(-5));
    EXPECT_EQ(-1, frwk_zndb_error_convert(INT_MIN));
}
