// What grows while a program runs: a straight line through samples, many lives of the program taken together.
#pragma once

#include <cstdint>
#include <span>

struct GrowthSample {
    int32_t life;  // each begins at a level of its own
    double hours;  // since the beginning of the run
    double amount;
};

// The slope common to all lives, in amount per hour: each life's samples are compared with that life's means only.
// 0 when no life has two samples at different times.
double growth_per_hour(std::span<const GrowthSample> samples);

// The largest difference between a life's last and first sample.
double largest_growth(std::span<const GrowthSample> samples);
