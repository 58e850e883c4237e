#include "app/feed_rates.h"

void feed_rates_step(FeedRates* rates, uint32_t tick_ms, const uint32_t count[3]) {
    const uint32_t elapsed_ms = tick_ms - rates->last_tick_ms;
    if (rates->started && elapsed_ms < kFeedRatePeriodMs) return;
    for (int32_t f = 0; f < 3; ++f) {
        const auto frames = static_cast<int32_t>(count[f] - rates->last_count[f]);
        rates->fps[f] = rates->started && frames > 0 ? frames * 1000.0 / elapsed_ms : 0.0;
        rates->last_count[f] = count[f];
    }
    rates->started = true;
    rates->last_tick_ms = tick_ms;
}
