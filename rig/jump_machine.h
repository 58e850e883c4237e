// When a jump is on and which frames its movie takes, decided from what the motion workers report. Frames are feed
// 1's frame indices (its write counter), the one timeline that every rig has.
#pragma once

#include <cstdint>

#include "ipc/control_block.h"

struct JumpLimits {
    int32_t frames_before, frames_after;  // padding around the first and the last sight of the jumper
    int32_t last_feed;                    // the feed he leaves the hill through: 2, or 1 with one camera
};

struct JumpMachine {
    bool recording;
    bool waits_for_quiet;  // a movie ended with something still moving: that is not a new jump
    bool seen_last_feed;
    int32_t active_frames;  // frames with a jumper in any feed
    int64_t start, last_active, next_frame;
};

enum class JumpEvent {
    none,
    started,    // copy from `start` on
    finished,   // the movie is start..end, at most a ring long
    abandoned,  // too short for a jumper: a bird, a flag
};

struct JumpAnswer {
    JumpEvent event;
    int64_t start, end;  // inclusive
};

// Looks at feed 1's newest frame. Frames may be skipped; a frame seen before changes nothing.
JumpAnswer jump_step(JumpMachine* machine, const JumpLimits& limits, int64_t frame, const bool (&active)[kFeedCount]);
