// From single detections to passages: when a jumper entered and left one camera's picture, and, in feed 1's timeline,
// the moments at which a movie would change from one camera to the next.
#pragma once

#include <cstdint>

#include "rig/motion_share.h"

inline constexpr int64_t kTicksPerSecond = 60;

// One camera: a few detections in a row open a passage, a longer silence closes it.
struct PassageTracker {
    int32_t seen_in_row, missed_in_row;
    int64_t run_seq, run_pts;  // first frame of the present row of detections
    bool triggered;            // the scene-trigger column was passed in this passage
    MotionShare share;         // what is to be told
};

struct PassageLimits {
    int32_t begin_frames;    // detections in a row that open a passage
    int32_t end_frames;      // frames without one that close it
    int32_t trigger_column;  // he passes this column once per passage, going right
};

struct PassageFrame {
    int64_t seq, pts;
    bool detected;
    int32_t x, y;
};

// True when `share` changed and is to be written.
bool passage_step(PassageTracker* tracker, const PassageLimits& limits, const PassageFrame& frame);

// The scene-trigger lines of feed 1's log. Feed 1's worker looks at all feeds once per frame.
struct TriggerLines {
    bool movie_active;
    int32_t quiet_frames;
    uint32_t passages[kFeedCount];
    uint32_t triggers;  // of feed 0
    bool f1_fired, f2_fired;
    bool override_pending;
    int64_t override_pts;
};

struct TriggerFrame {  // feed 1's frame and what the feeds tell
    int64_t seq, pts;
    MotionShare share[kFeedCount];
};

struct TriggerAnswer {  // lines to write, in this order
    bool movie_cut;     // the movie that was on ends here, as the next jumper has come before the hill was quiet
    bool movie_started;
    bool f1, f2, f0_override;
    int64_t f1_seq, f2_seq, f0_seq;  // in feed 1's frame numbers
    bool movie_ended;
};

// Feed 1's trigger is the first frame that shows the jumper there, feed 2's likewise; the override is the moment he
// passes feed 0's trigger column. It is held back until feed 1 has fired, so that each jump seen by both gives one
// difference, of either sign.
TriggerAnswer trigger_step(TriggerLines* lines, const TriggerFrame& frame);

// Feed 1's frame number at the time `pts`, given one of its frames.
int64_t feed1_seq_at(int64_t seq, int64_t seq_pts, int64_t pts);
