// Frames per second of each feed, measured whenever somebody looks and enough time has passed. The Feeds tab's own:
// the title's monitor only runs while the preview does.
#pragma once

#include <cstdint>

struct FeedRates {
    bool started = false;
    uint32_t last_tick_ms = 0;
    uint32_t last_count[3] = {};
    double fps[3] = {};  // of the last full period; 0 before the first one
};

// One look at the running frame counters at `tick_ms`, a millisecond counter that may wrap around. Rates change once
// at least kFeedRatePeriodMs have passed since they last did; a counter that went backwards counts as no frames.
inline constexpr uint32_t kFeedRatePeriodMs = 900;
void feed_rates_step(FeedRates* rates, uint32_t tick_ms, const uint32_t count[3]);
