// The small statistics that turn many noisy per-jump measurements into one setting. Integer arithmetic throughout;
// divisions truncate toward zero.
#pragma once

#include <cstdint>

inline constexpr int32_t kStatisticsLimit = 256;  // values looked at; more are ignored

// Of `count` >= 1 values in ascending order; the mean of the middle two for an even count.
int32_t integer_median(const int32_t* sorted, int32_t count);

// Median of |value - center| over the first kStatisticsLimit of `count` >= 1 values.
int32_t median_abs_deviation(const int32_t* values, int32_t count, int32_t center);

enum RobustOutcome : int32_t { kRobustMeasured, kRobustTooFew, kRobustTooFewClean };
struct RobustMedian {
    RobustOutcome outcome;
    int32_t median;          // of the clean samples; only when measured
    int32_t initial_median;  // of all samples
    int32_t deviation;       // median absolute deviation of all samples from it
    int32_t clean;           // samples kept
};
// Median after dropping the samples farther than three deviations from the plain median. With fewer than `minimum`
// samples, or clean samples, nothing is measured. At most kStatisticsLimit samples.
RobustMedian robust_median(const int32_t* samples, int32_t count, int32_t minimum);
