#include "tests/soak/growth.h"

#include <gtest/gtest.h>

#include <vector>

TEST(Growth, AStraightLineGivesItsSlope) {
    const std::vector<GrowthSample> samples = {{0, 0.0, 10}, {0, 0.5, 12}, {0, 1.0, 14}};
    EXPECT_DOUBLE_EQ(growth_per_hour(samples), 4.0);
    EXPECT_DOUBLE_EQ(largest_growth(samples), 4.0);
}

TEST(Growth, LivesThatBeginAtOtherLevelsAreNoGrowth) {
    const std::vector<GrowthSample> samples = {{0, 0.0, 10}, {0, 1.0, 10}, {1, 2.0, 50}, {1, 3.0, 50}};
    EXPECT_DOUBLE_EQ(growth_per_hour(samples), 0.0);
    EXPECT_DOUBLE_EQ(largest_growth(samples), 0.0);
}

TEST(Growth, TooFewSamplesTellNothing) {
    EXPECT_DOUBLE_EQ(growth_per_hour({}), 0.0);
    const std::vector<GrowthSample> samples = {{0, 0.0, 10}, {1, 1.0, 90}};
    EXPECT_DOUBLE_EQ(growth_per_hour(samples), 0.0);
    EXPECT_DOUBLE_EQ(largest_growth(samples), 0.0);
}

TEST(Growth, WhatShrinksIsNegativeAndNoLeak) {
    const std::vector<GrowthSample> samples = {{0, 0.0, 10}, {0, 1.0, 7}};
    EXPECT_DOUBLE_EQ(growth_per_hour(samples), -3.0);
    EXPECT_DOUBLE_EQ(largest_growth(samples), 0.0);
}
