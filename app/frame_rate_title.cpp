#include "app/frame_rate_title.h"

#include <algorithm>
#include <cstdio>

#include "ipc/frame_ring.h"
#include "procs/worker_commands.h"

namespace {

constexpr int32_t kPositions = static_cast<int32_t>(kRingSlots);

// How far the active feeds are apart: largest minus smallest.
struct Spread {
    int32_t nw, motion, lag;
};

}  // namespace

static int32_t position(uint32_t counter) {
    return static_cast<int32_t>(counter % kRingSlots);
}

// How many frames the motion worker is behind the writer, within a ring. A worker that is ahead for a moment, because
// the two counters are not read at once, shows as almost a whole ring behind.
static int32_t lag_position(uint32_t nw, uint32_t motion_idx) {
    const int32_t lag = static_cast<int32_t>(nw - motion_idx) % kPositions;
    return lag < 0 ? lag + kPositions : lag;
}

// The write counters are compared by their distance from the first active feed's, which survives their wrap-around.
static Spread spread_of(const FeedSlots& active, const FrameRateInputs& inputs) {
    int64_t nw_least = INT64_MAX, nw_most = INT64_MIN;
    int32_t motion_least = kPositions, motion_most = 0, lag_least = kPositions, lag_most = 0;
    for (int32_t i = 0; i < active.count; ++i) {
        const int32_t feed = active.feed[i];
        const int64_t nw = static_cast<int32_t>(inputs.nw[feed] - inputs.nw[active.feed[0]]);
        nw_least = std::min(nw_least, nw);
        nw_most = std::max(nw_most, nw);
        const int32_t motion = position(inputs.motion_idx[feed]);
        motion_least = std::min(motion_least, motion);
        motion_most = std::max(motion_most, motion);
        const int32_t lag = lag_position(inputs.nw[feed], inputs.motion_idx[feed]);
        lag_least = std::min(lag_least, lag);
        lag_most = std::max(lag_most, lag);
    }
    return {static_cast<int32_t>(std::min<int64_t>(nw_most - nw_least, INT32_MAX)), motion_most - motion_least,
            lag_most - lag_least};
}

static void measure_rates(FrameRateMonitor* monitor, const FeedSlots& active, const FrameRateInputs& inputs) {
    const uint32_t elapsed_ms = inputs.tick_ms - monitor->last_tick_ms;
    if (monitor->started && elapsed_ms < kRatePeriodMs) return;
    double fastest = 0;
    for (int32_t feed = 0; feed < 3; ++feed) {
        const int32_t frames = static_cast<int32_t>(inputs.feed_frame_count[feed] - monitor->last_count[feed]);
        monitor->fps[feed] = monitor->started && frames > 0 ? frames * 1000.0 / elapsed_ms : 0.0;
        monitor->last_count[feed] = inputs.feed_frame_count[feed];
        monitor->dropping[feed] = false;
    }
    for (int32_t i = 0; i < active.count; ++i) fastest = std::max(fastest, monitor->fps[active.feed[i]]);
    for (int32_t i = 0; i < active.count; ++i) {
        const int32_t feed = active.feed[i];
        monitor->dropping[feed] = fastest >= kFullRateFps && monitor->fps[feed] < kFullRateFps;
    }
    monitor->started = true;
    monitor->last_tick_ms = inputs.tick_ms;
}

static void append_slow_workers(const uint32_t motion_slow[3], std::string* title) {
    if (motion_slow[0] == 0 && motion_slow[1] == 0 && motion_slow[2] == 0) return;
    char text[64];
    snprintf(text, sizeof text, "  %s%s%s", motion_slow[0] != 0 ? " M0:SLOW" : "",
             motion_slow[1] != 0 ? " M1:SLOW" : "", motion_slow[2] != 0 ? " M2:SLOW" : "");
    *title += text;
}

static void append_dropping_feeds(const bool dropping[3], std::string* title) {
    std::string feeds;
    for (int32_t feed = 0; feed < 3; ++feed) {
        if (!dropping[feed]) continue;
        char text[32];
        snprintf(text, sizeof text, "%sFeed %d", feeds.empty() ? "" : ", ", feed);
        feeds += text;
    }
    if (!feeds.empty()) *title += "  DROPPING FRAMES: " + feeds;
}

std::string frame_rate_title_step(FrameRateMonitor* monitor, const FrameRateInputs& inputs) {
    const FeedSlots active = active_feed_slots(inputs.feed_count);
    measure_rates(monitor, active, inputs);

    const Spread spread = spread_of(active, inputs);
    const int32_t output = std::max(inputs.output_frame_idx, 0) % kPositions;
    int32_t at[3][2];
    for (int32_t feed = 0; feed < 3; ++feed) {
        at[feed][0] = position(inputs.nw[feed]);
        at[feed][1] = position(inputs.motion_idx[feed]);
    }
    char text[160];
    snprintf(text, sizeof text, "[CH %d]  0(%03d,%03d,%03d) 1(%03d,%03d,%03d) 2(%03d,%03d,%03d)  Δ(%5d,%03d,%03d)",
             inputs.channel, at[0][0], at[0][1], output, at[1][0], at[1][1], output, at[2][0], at[2][1], output,
             spread.nw, spread.motion, spread.lag);
    std::string title = text;
    append_slow_workers(inputs.motion_slow, &title);
    append_dropping_feeds(monitor->dropping, &title);
    return title;
}
