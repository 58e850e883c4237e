// The medians behind every measured setting.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "autosetup/statistics.h"

static int32_t median_of(std::vector<int32_t> values) {
    std::sort(values.begin(), values.end());
    return integer_median(values.data(), static_cast<int32_t>(values.size()));
}

static RobustMedian robust_of(const std::vector<int32_t>& values) {
    return robust_median(values.data(), static_cast<int32_t>(values.size()), 3);
}

TEST(IntegerMedian, OfFourIsTheMeanOfTheMiddleTwo) {
    EXPECT_EQ(median_of({7, 1, 4, 10}), 5);
}

TEST(IntegerMedian, OfAnOddNumberIsTheMiddleOne) {
    EXPECT_EQ(median_of({9}), 9);
    EXPECT_EQ(median_of({5, -3, 100}), 5);
}

TEST(IntegerMedian, TheMeanIsCutTowardZero) {
    EXPECT_EQ(median_of({3, 6}), 4);
    EXPECT_EQ(median_of({-3, -6}), -4);
    EXPECT_EQ(median_of({-1, 0}), 0);
}

TEST(IntegerMedian, TheLargestNumbersDoNotOverflow) {
    EXPECT_EQ(median_of({INT_MAX, INT_MAX}), INT_MAX);
    EXPECT_EQ(median_of({INT_MIN, INT_MIN}), INT_MIN);
}

TEST(MedianAbsDeviation, IsTheMedianDistanceFromTheCentre) {
    const int32_t values[] = {10, 11, 12, 11, 60};
    EXPECT_EQ(median_abs_deviation(values, 5, 11), 1);
    EXPECT_EQ(median_abs_deviation(values, 2, 0), 10);  // 10 and 11
    EXPECT_EQ(median_abs_deviation(values, 1, -5), 15);
}

TEST(MedianAbsDeviation, ValuesPastThe256thAreIgnored) {
    std::vector<int32_t> values(256, 4);
    values.insert(values.end(), 1000, 500);
    EXPECT_EQ(median_abs_deviation(values.data(), static_cast<int32_t>(values.size()), 1), 3);
}

TEST(MedianAbsDeviation, ADistanceTooLargeForTheResultIsTheLargestNumber) {
    const int32_t value = INT_MIN;
    EXPECT_EQ(median_abs_deviation(&value, 1, INT_MAX), INT_MAX);
}

TEST(RobustMedian, DropsASampleBeyondThreeDeviations) {
    const RobustMedian result = robust_of({10, 11, 12, 11, 60});
    EXPECT_EQ(result.outcome, kRobustMeasured);
    EXPECT_EQ(result.median, 11);
    EXPECT_EQ(result.initial_median, 11);
    EXPECT_EQ(result.deviation, 1);
    EXPECT_EQ(result.clean, 4);
}

TEST(RobustMedian, WithoutDeviationNothingIsDropped) {
    const RobustMedian result = robust_of({5, 5, 5, 40});
    EXPECT_EQ(result.outcome, kRobustMeasured);
    EXPECT_EQ(result.median, 5);
    EXPECT_EQ(result.deviation, 0);
    EXPECT_EQ(result.clean, 4);
}

TEST(RobustMedian, ASampleExactlyThreeDeviationsAwayStays) {
    const RobustMedian result = robust_of({10, 10, 11, 12, 14, 15});  // median 11, deviations 1 1 0 1 3 4: d = 1
    EXPECT_EQ(result.initial_median, 11);
    EXPECT_EQ(result.deviation, 1);
    EXPECT_EQ(result.clean, 5);
    EXPECT_EQ(result.median, 11);
}

TEST(RobustMedian, FewerSamplesThanTheMinimumMeasureNothing) {
    EXPECT_EQ(robust_of({4, 5}).outcome, kRobustTooFew);
    EXPECT_EQ(robust_of({}).outcome, kRobustTooFew);
    EXPECT_EQ(robust_of({4, 5, 6}).outcome, kRobustMeasured);
}

TEST(RobustMedian, FewerCleanSamplesThanTheMinimumMeasureNothing) {
    const int32_t samples[] = {10, 11, 12, 11, 60};
    const RobustMedian result = robust_median(samples, 5, 5);
    EXPECT_EQ(result.outcome, kRobustTooFewClean);
    EXPECT_EQ(result.clean, 4);
    EXPECT_EQ(result.initial_median, 11);
    EXPECT_EQ(result.deviation, 1);
}

TEST(RobustMedian, TheLargestNumbersDoNotOverflow) {
    const RobustMedian result = robust_of({INT_MIN, INT_MAX, INT_MAX, INT_MIN});
    EXPECT_EQ(result.outcome, kRobustMeasured);
    EXPECT_EQ(result.median, 0);
    EXPECT_EQ(result.deviation, INT_MAX);
}
