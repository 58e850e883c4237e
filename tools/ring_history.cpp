#include "tools/ring_history.h"

#include <algorithm>

// Time stamps come from other programs and may hold anything: the difference wraps around instead of overflowing.
static int64_t difference(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

static double per_second(int64_t frames, int64_t us) {
    return static_cast<double>(frames) * 1e6 / static_cast<double>(us);
}

static void take_sample(RingRate* rate, double now) {
    rate->minimum = rate->known ? std::min(rate->minimum, now) : now;
    rate->maximum = rate->known ? std::max(rate->maximum, now) : now;
    rate->now = now;
    rate->known = rate->has_now = true;
}

FrameRange ring_history_look(RingHistory* history, uint32_t nw) {
    if (history->started && nw < history->nw) *history = {};
    // The newest frame may still be in the making.
    const uint32_t end = nw > 0 ? nw - 1 : 0;
    uint32_t first = history->started && history->nw > 0 ? history->nw - 1 : 0;
    if (end - first > kReadableFrames) {
        first = end - kReadableFrames;
        history->chained = false;
    }
    history->started = true;
    history->nw = nw;
    return {first, end};
}

static void begin_chain(RingHistory* history, int64_t pts, int64_t seq) {
    history->chained = true;
    history->pts = pts;
    history->seq = seq;
    history->window_start_us = pts;
    history->window_frames = 0;
}

void ring_history_add(RingHistory* history, int64_t pts, int64_t seq) {
    const int64_t interval = difference(pts, history->pts);
    const bool follows = history->chained && interval > 0 && interval <= kRateWindowUs;
    if (!follows) {
        if (history->chained) ++history->interruptions;
        begin_chain(history, pts, seq);
        return;
    }
    const int64_t step = difference(seq, history->seq);
    if (step > 1 && step <= int64_t{1} << 32) history->lost += step - 1;
    history->pts = pts;
    history->seq = seq;
    ++history->frames;
    history->us += interval;
    history->longest_us = std::max(history->longest_us, interval);
    ++history->window_frames;
    const int64_t window_us = difference(pts, history->window_start_us);
    if (window_us < kRateWindowUs) return;
    take_sample(&history->rate, per_second(history->window_frames, window_us));
    history->window_start_us = pts;
    history->window_frames = 0;
}

RingRate ring_history_rate(const RingHistory& history, bool fresh) {
    RingRate rate = history.rate;
    rate.has_now = rate.known && fresh;
    if (rate.known) rate.mean = per_second(history.frames, history.us);
    return rate;
}

void clock_history_step(ClockHistory* history, int32_t ring, int64_t frame, int64_t time_us) {
    const int64_t elapsed_us = difference(time_us, history->time_us);
    const bool follows = history->started && ring == history->ring && history->frame >= 0 && frame >= history->frame;
    if (follows && elapsed_us < kShortestLookUs) return;
    if (follows) {
        const int64_t frames = frame - history->frame;
        history->frames += frames;
        history->us += elapsed_us;
        take_sample(&history->rate, per_second(frames, elapsed_us));
        history->rate.mean = per_second(history->frames, history->us);
    }
    history->started = true;
    history->ring = ring;
    history->frame = frame;
    history->time_us = time_us;
}

bool frame_age(int64_t now_us, int64_t epoch_us, int64_t pts, int64_t* age_us) {
    constexpr int64_t kYearUs = int64_t{366} * 24 * 3600 * 1'000'000;
    const int64_t age = difference(difference(now_us, epoch_us), pts);
    if (age < -1'000'000 || age > kYearUs) return false;
    *age_us = age;
    return true;
}
