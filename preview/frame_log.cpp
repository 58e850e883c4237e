#include "preview/frame_log.h"

#include <cstdio>

static constexpr char kHeader[] =
    "time_ms,channel,f0_nw,f0_idx,f0_seq,f0_pts,f1_nw,f1_idx,f1_seq,f1_pts,f2_nw,f2_idx,f2_seq,f2_pts,"
    "f1_display_type,f1_motion_flags\n";

// Written out whole, so that a time of any length fits: 10 numbers of up to 11 characters, 6 of up to 20, and a time
// of up to 320.
static constexpr size_t kRowRoom = 640;

bool frame_log_wants_open(const FrameLog* log, int32_t setting) {
    return setting != 0 && !log->open && !log->stopped;
}

const char* frame_log_opened(FrameLog* log, int64_t counter_frequency, int64_t counter_start) {
    log->open = true;
    log->counter_frequency = counter_frequency;
    log->counter_start = counter_start;
    return kHeader;
}

static int32_t format_row(double time_ms, const FrameLogValues& values, char (&row)[kRowRoom]) {
    const FrameLogFeed& f0 = values.feed[0];
    const FrameLogFeed& f1 = values.feed[1];
    const FrameLogFeed& f2 = values.feed[2];
    const int length = snprintf(
        row, sizeof row, "%.1f,%d,%d,%d,%lld,%lld,%d,%d,%lld,%lld,%d,%d,%lld,%lld,%d,%d\n", time_ms, values.channel,
        static_cast<int32_t>(f0.nw), static_cast<int32_t>(f0.slot), static_cast<long long>(f0.seq),
        static_cast<long long>(f0.pts), static_cast<int32_t>(f1.nw), static_cast<int32_t>(f1.slot),
        static_cast<long long>(f1.seq), static_cast<long long>(f1.pts), static_cast<int32_t>(f2.nw),
        static_cast<int32_t>(f2.slot), static_cast<long long>(f2.seq), static_cast<long long>(f2.pts),
        static_cast<int32_t>(values.display_type), static_cast<int32_t>(values.motion_flags));
    return length > 0 ? length : 0;
}

void frame_log_row(FrameLog* log, int64_t counter_now, const FrameLogValues& values, std::string* out) {
    if (!log->open || log->stopped) return;
    const auto ticks = static_cast<double>(counter_now - log->counter_start);
    const double time_ms =
        log->counter_frequency > 0 ? ticks * 1000.0 / static_cast<double>(log->counter_frequency) : 0.0;
    char text[kRowRoom];
    log->bytes_written += format_row(time_ms, values, text);
    *out += text;
    if (log->bytes_written < kFrameLogLimit) return;
    snprintf(text, sizeof text, "# LOG STOPPED — reached %ld bytes\n", static_cast<long>(log->bytes_written));
    *out += text;
    log->open = false;
    log->stopped = true;
}
