#include "app/feed_rates.h"

#include <gtest/gtest.h>

TEST(FeedRates, TheFirstLookOnlyRemembersTheCounters) {
    FeedRates rates;
    const uint32_t count[3] = {1000, 2000, 3000};
    feed_rates_step(&rates, 5000, count);
    for (const double fps : rates.fps) EXPECT_EQ(fps, 0.0);
}

TEST(FeedRates, ARateIsFramesOverTheTimeThatReallyPassed) {
    FeedRates rates;
    const uint32_t before[3] = {0, 100, 0};
    const uint32_t after[3] = {60, 160, 0};
    feed_rates_step(&rates, 0, before);
    feed_rates_step(&rates, 1200, after);
    EXPECT_DOUBLE_EQ(rates.fps[0], 50.0);
    EXPECT_DOUBLE_EQ(rates.fps[1], 50.0);
    EXPECT_DOUBLE_EQ(rates.fps[2], 0.0);
}

TEST(FeedRates, AnEarlyLookChangesNothingAndLosesNoFrames) {
    FeedRates rates;
    const uint32_t none[3] = {};
    const uint32_t some[3] = {30, 30, 30};
    const uint32_t all[3] = {60, 60, 60};
    feed_rates_step(&rates, 0, none);
    feed_rates_step(&rates, kFeedRatePeriodMs - 1, some);
    EXPECT_DOUBLE_EQ(rates.fps[0], 0.0);
    feed_rates_step(&rates, 1000, all);
    EXPECT_DOUBLE_EQ(rates.fps[0], 60.0);
}

TEST(FeedRates, ARestartedWorkersCounterCountsAsNoFrames) {
    FeedRates rates;
    const uint32_t before[3] = {5000, 5000, 5000};
    const uint32_t after[3] = {10, 5060, 5060};
    feed_rates_step(&rates, 0, before);
    feed_rates_step(&rates, 1000, after);
    EXPECT_DOUBLE_EQ(rates.fps[0], 0.0);
    EXPECT_DOUBLE_EQ(rates.fps[1], 60.0);
}

TEST(FeedRates, ClockAndCountersMayWrapAround) {
    FeedRates rates;
    const uint32_t before[3] = {0xFFFFFFF0u, 0, 0};
    const uint32_t after[3] = {44, 0, 0};
    feed_rates_step(&rates, 0xFFFFFF00u, before);
    feed_rates_step(&rates, 0xFFFFFF00u + 1000u, after);
    EXPECT_DOUBLE_EQ(rates.fps[0], 60.0);
}
