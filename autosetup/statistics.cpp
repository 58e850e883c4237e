#include "autosetup/statistics.h"

#include <algorithm>
#include <cstdlib>

int32_t integer_median(const int32_t* sorted, int32_t count) {
    const int32_t middle = count / 2;
    if (count % 2 != 0) return sorted[middle];
    return static_cast<int32_t>((int64_t{sorted[middle - 1]} + sorted[middle]) / 2);
}

int32_t median_abs_deviation(const int32_t* values, int32_t count, int32_t center) {
    const int32_t used = std::min(count, kStatisticsLimit);
    int32_t deviations[kStatisticsLimit];
    for (int32_t i = 0; i < used; ++i) {
        const int64_t distance = std::abs(int64_t{values[i]} - center);
        deviations[i] = static_cast<int32_t>(std::min<int64_t>(distance, INT32_MAX));
    }
    std::sort(deviations, deviations + used);
    return integer_median(deviations, used);
}

RobustMedian robust_median(const int32_t* samples, int32_t count, int32_t minimum) {
    RobustMedian result = {};
    if (count < minimum || count < 1) {
        result.outcome = kRobustTooFew;
        return result;
    }
    const int32_t used = std::min(count, kStatisticsLimit);
    int32_t sorted[kStatisticsLimit];
    std::copy_n(samples, used, sorted);
    std::sort(sorted, sorted + used);
    result.initial_median = integer_median(sorted, used);
    result.deviation = median_abs_deviation(samples, used, result.initial_median);

    const int64_t bound = 3 * int64_t{result.deviation};
    const auto is_far = [&](int32_t sample) { return std::abs(int64_t{sample} - result.initial_median) > bound; };
    // Without any deviation to measure by, every sample counts as clean.
    int32_t* const clean_end = result.deviation == 0 ? sorted + used : std::remove_if(sorted, sorted + used, is_far);
    result.clean = static_cast<int32_t>(clean_end - sorted);
    result.outcome = result.clean < minimum ? kRobustTooFewClean : kRobustMeasured;
    if (result.outcome == kRobustMeasured) result.median = integer_median(sorted, result.clean);
    return result;
}
