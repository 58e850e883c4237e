// How fast a ring fills, told in two ways. By the time stamps in its slots: a feed ring remembers eight seconds, so
// that even a single look has a mean and extremes, and a watch reads only what has come since. By the clock, from one
// look to the next: a player that falls behind stamps its frames as evenly as ever, and only the clock shows it.
#pragma once

#include <cstdint>

// How far back a look may go: the writer keeps some room in front of it, so that what is read is not overwritten
// meanwhile.
inline constexpr uint32_t kReadableFrames = 480;
inline constexpr int64_t kRateWindowUs = 1'000'000;

struct RingRate {  // frames per second; each value but the mean over a second, or from one look to the next
    bool known = false;
    bool has_now = false;
    double now = 0.0;
    double mean = 0.0, minimum = 0.0, maximum = 0.0;
};

struct RingHistory {
    bool started = false;  // a look was taken
    uint32_t nw = 0;       // the write counter then
    bool chained = false;  // pts and seq are those of the last frame added
    int64_t pts = 0, seq = 0;
    int64_t window_start_us = 0, window_frames = 0;
    int64_t frames = 0, us = 0;  // all intervals without the interruptions
    int64_t longest_us = 0;      // of those
    int64_t lost = 0;            // frame numbers left out
    int64_t interruptions = 0;   // time stamps that stood still, went back or left out more than a second
    RingRate rate;
};

struct FrameRange {  // frame numbers as the write counter counts them: first <= frame < end
    uint32_t first = 0;
    uint32_t end = 0;
};

// Begins a look at a ring whose write counter reads `nw` and tells which frames are to be added, oldest first: the
// complete ones not yet seen, as far as the ring still has them. A counter that went back begins a new history.
FrameRange ring_history_look(RingHistory* history, uint32_t nw);

// Adds one frame. `pts` in microseconds.
void ring_history_add(RingHistory* history, int64_t pts, int64_t seq);

// The rates so far; unknown until a second's worth of frames was seen. The stamps are those of now only when `fresh`:
// the newest frame is known to be young. Old stamps are those of a ring that has stopped or of one that lags.
RingRate ring_history_rate(const RingHistory& history, bool fresh);

// The rate by the clock.
inline constexpr int64_t kShortestLookUs = 500'000;
struct ClockHistory {
    bool started = false;
    int32_t ring = 0;
    int64_t frame = 0;
    int64_t time_us = 0;
    int64_t frames = 0, us = 0;
    RingRate rate;
};

// One look: ring `ring` has come to frame `frame` at `time_us`. Another ring, a frame further back or none at all
// (negative) begins anew, but keeps what was added up. A look that follows too soon is left out.
void clock_history_step(ClockHistory* history, int32_t ring, int64_t frame, int64_t time_us);

// Microseconds from a frame's time stamp to the performance counter's `now_us`, both sides taken from `epoch_us` on.
// False when that cannot be: more than a second ahead of the clock, or a year behind it.
bool frame_age(int64_t now_us, int64_t epoch_us, int64_t pts, int64_t* age_us);
