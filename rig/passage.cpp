// See passage.h.
#include "rig/passage.h"

namespace {
constexpr int32_t kQuietFramesEndMovie = 90;  // longer than any stretch between two cameras that nobody covers
}

bool passage_step(PassageTracker* tracker, const PassageLimits& limits, const PassageFrame& frame) {
    MotionShare& share = tracker->share;
    if (!frame.detected) {
        tracker->seen_in_row = 0;
        if (share.active == 0 || ++tracker->missed_in_row < limits.end_frames) return false;
        share.active = 0;
        return true;
    }

    tracker->missed_in_row = 0;
    if (tracker->seen_in_row++ == 0) {
        tracker->run_seq = frame.seq;
        tracker->run_pts = frame.pts;
    }
    if (share.active == 0) {
        if (tracker->seen_in_row < limits.begin_frames) return false;
        share.active = 1;
        ++share.passages;
        share.first_seq = tracker->run_seq;
        share.first_pts = tracker->run_pts;
        tracker->triggered = false;
    }
    share.last_seq = frame.seq;
    share.last_pts = frame.pts;
    share.last_x = frame.x;
    share.last_y = frame.y;
    if (!tracker->triggered && frame.x >= limits.trigger_column) {
        tracker->triggered = true;
        share.trigger_pts = frame.pts;
        ++share.triggers;
    }
    return true;
}

int64_t feed1_seq_at(int64_t seq, int64_t seq_pts, int64_t pts) {
    const int64_t scaled = (pts - seq_pts) * kTicksPerSecond;
    const int64_t half = scaled < 0 ? -500'000 : 500'000;
    return seq + (scaled + half) / 1'000'000;
}

TriggerAnswer trigger_step(TriggerLines* lines, const TriggerFrame& frame) {
    TriggerAnswer answer{};
    bool began[kFeedCount];
    bool any_began = false;
    bool any_active = false;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const MotionShare& share = frame.share[feed];
        began[feed] = share.passages != lines->passages[feed];
        lines->passages[feed] = share.passages;
        any_began |= began[feed];
        any_active |= share.active != 0;
    }
    const bool passed_column = frame.share[0].triggers != lines->triggers;
    lines->triggers = frame.share[0].triggers;

    if (lines->movie_active && lines->f2_fired && began[0]) {
        lines->movie_active = false;
        answer.movie_cut = true;
    }
    if (!lines->movie_active && any_began) {
        lines->movie_active = true;
        lines->quiet_frames = 0;
        lines->f1_fired = lines->f2_fired = false;
        lines->override_pending = false;
        answer.movie_started = true;
    }
    if (!lines->movie_active) return answer;

    if (began[1] && !lines->f1_fired) {
        lines->f1_fired = true;
        answer.f1 = true;
        answer.f1_seq = frame.share[1].first_seq;
    }
    if (began[2]) {
        lines->f2_fired = true;
        answer.f2 = true;
        answer.f2_seq = feed1_seq_at(frame.seq, frame.pts, frame.share[2].first_pts);
    }
    if (passed_column) {
        lines->override_pending = true;
        lines->override_pts = frame.share[0].trigger_pts;
    }
    if (lines->override_pending && lines->f1_fired) {
        lines->override_pending = false;
        answer.f0_override = true;
        answer.f0_seq = feed1_seq_at(frame.seq, frame.pts, lines->override_pts);
    }

    lines->quiet_frames = any_active ? 0 : lines->quiet_frames + 1;
    if (lines->quiet_frames >= kQuietFramesEndMovie) {
        lines->movie_active = false;
        lines->quiet_frames = 0;
        answer.movie_ended = true;
    }
    return answer;
}
