// The title bar doubles as the frame-rate monitor that an operator sees from across the hill: per feed where its
// writer, its motion worker and the movie output stand, how far the feeds are apart, who is slow and who loses
// frames.
#pragma once

#include <cstdint>
#include <string>

inline constexpr uint32_t kRatePeriodMs = 500;  // shortest time a rate is measured over
inline constexpr double kFullRateFps = 55.0;    // below it a feed counts as losing frames, if another one manages

struct FrameRateMonitor {
    bool started = false;
    uint32_t last_tick_ms = 0;
    uint32_t last_count[3] = {};
    double fps[3] = {};     // of the last full period; 0 before the first one
    bool dropping[3] = {};  // active, below the full rate, and some active feed is not
};

struct FrameRateInputs {
    uint32_t tick_ms = 0;  // a millisecond counter that may wrap around
    int32_t channel = 0;
    uint32_t nw[3] = {};  // of the live channel
    uint32_t motion_idx[3] = {};
    int32_t output_frame_idx = 0;  // negative: nothing shown yet
    uint32_t feed_frame_count[3] = {};
    uint32_t motion_slow[3] = {};
    int32_t feed_count = 3;  // the setting: tells which feeds are active
};

// Takes one look at the counters and returns the title (UTF-8) to show now. Rates and the dropping flags change only
// when at least kRatePeriodMs have passed since they last did. A counter that went backwards (a restarted worker)
// counts as no frames for that period.
std::string frame_rate_title_step(FrameRateMonitor* monitor, const FrameRateInputs& inputs);
