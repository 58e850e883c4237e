// The recorder's decisions: which frames of the ring belong into a file, at which place, under what name and where.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "rig/common/rig_settings.h"

// A file has 60 pictures per second, whatever the frames' true distances are. So that its time stays true, a frame's
// place in the file follows from its time stamp: where frames are missing (the source stumbled, or the recorder was
// overrun), the last picture is repeated up to the next frame's place, and a frame whose place is taken already is
// dropped. All three recorders reckon with the same clock, so their files stay in step.
struct FramePlacer {
    int64_t next;     // the first place that is still free
    int64_t zero_us;  // the time stamp that belongs to place 0
    bool follows;     // the next frame goes to `next`, whatever its time stamp says
};

struct FramePlace {
    bool dropped;
    int64_t repeats;  // of the last picture, before this one
};

// A longer hole is no stumbling: the source was changed or its clock set. Filling it would also keep the recorder
// busy for longer than the ring can wait.
inline constexpr int64_t kLongestHole = 520;

FramePlacer placer_begin_file();
// What comes next follows what is there without a hole: the time between is cut out.
void placer_cut(FramePlacer* placer);
FramePlace placer_place(FramePlacer* placer, int64_t pts_us);

// The frames between two pauses, by number; one that still goes on has no end yet.
struct RecordingStretch {
    int64_t next;  // still to be written
    int64_t end;   // the first that does not belong to it; -1: open
};

// What is to be recorded. The operator's wishes are noted as soon as they are seen, so that a recorder that is behind
// still cuts where he wished.
struct RecordingPlan {
    std::deque<RecordingStretch> stretches;  // in order, only the last can be open
    int64_t lost;                            // frames that the ring no longer held
};

enum class PlanStep : int32_t { kWait, kFrame, kStretchOver };

// `readable` is the number of the first frame that cannot be read yet.
void plan_observe(RecordingPlan* plan, bool recording, int64_t readable);
// The next thing to do. kFrame sets `frame`; kStretchOver comes once per stretch, after its last frame. `oldest` is
// the lowest frame that the ring still holds.
PlanStep plan_next(RecordingPlan* plan, int64_t readable, int64_t oldest, int64_t* frame);
// The frame numbers have started anew.
void plan_forget(RecordingPlan* plan);

struct RecordingSettings {
    std::string folder;  // as the operator named it, or "CapturedVideos" in the working directory
    int32_t quality;     // 15 (best) .. 40
    bool stitch;         // one file across pauses
};
RecordingSettings recording_settings_from(const RigSettings* settings);

struct LocalMoment {
    int32_t year, month, day, hour, minute, second;
};
// "<folder>\cap_1_20260131_170509.mp4". `attempt` 1, 2, ... tells names of the same second apart.
std::string recording_path(const std::string& folder, int32_t feed, const LocalMoment& moment, int32_t attempt,
                           const char* ending);
