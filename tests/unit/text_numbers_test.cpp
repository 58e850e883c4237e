// Numbers of 64 bits out of text; those of 32 bits are tested where the settings are read.
#include "settings/text_numbers.h"

#include <gtest/gtest.h>

#include <climits>

TEST(TextNumbers, A64BitNumberStopsAtTheFirstOtherCharacter) {
    EXPECT_EQ(text_to_int64("1234567890123x"), 1'234'567'890'123);
    EXPECT_EQ(text_to_int64(" \t-17 8"), -17);
    EXPECT_EQ(text_to_int64("+5"), 5);
}

TEST(TextNumbers, WhatIsNoNumberIsZero) {
    for (const char* text : {"", "-", "+", "x1", "- 1", "--1"}) EXPECT_EQ(text_to_int64(text), 0) << text;
}

TEST(TextNumbers, ATooLarge64BitNumberIsTheNearestThatFits) {
    EXPECT_EQ(text_to_int64("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(text_to_int64("9223372036854775808"), INT64_MAX);
    EXPECT_EQ(text_to_int64("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(text_to_int64("-9223372036854775809"), INT64_MIN);
    EXPECT_EQ(text_to_int64("99999999999999999999999999999999999"), INT64_MAX);
    EXPECT_EQ(text_to_int64("000000000000000000000000000000000000012"), 12);
}
