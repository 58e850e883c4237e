// What one jump says about the timing: how long each feed takes to be crossed, how much film is needed around it, and
// how short a movie of either type could be.
#pragma once

#include "autosetup/scene_trigger.h"

inline constexpr int32_t kPadFrames = 15;  // the least and the usual value before and after a jump

struct JumpTiming {
    int32_t feed_frames[kAnalysisFeeds];  // to cross the whole picture width; 0: not measured
    int32_t before[kAnalysisFeeds];       // frames before the first blob
    int32_t after[kAnalysisFeeds];        // frames after the last one
};

// Frames to cross the whole picture at the pace between first and last record; 0 below 100 columns to the right or 10
// frames, or when the feed lacks the jump.
int32_t crossing_frames(const JumpRecords& records);

// The mean of values seen so far; `otherwise` before the first.
struct RunningMean {
    int64_t sum;
    int32_t count;
};
int32_t running_mean(const RunningMean& mean, int32_t otherwise);

// Fills `before` where all three feeds or feeds 1 and 2 are in use. `crossing_0` are the frames feed 0 is usually
// seen for: they stand in where feed 0 or feed 1 missed the jump.
void frames_before(const JumpView& view, int32_t crossing_0, int32_t before[kAnalysisFeeds]);
// Fills `after`, likewise.
void frames_after(const JumpView& view, int32_t after[kAnalysisFeeds]);

// The smallest of the positive samples.
struct SmallestSample {
    int32_t value;  // meaningless without samples
    int32_t count;
};
void add_sample(SmallestSample* smallest, int32_t sample);

// Frames from feed 0's first record to the scene change; needs feed 0 present. 0 or less is no sample.
int32_t type1_sample(const JumpView& view, const MetreTrigger& trigger);
// Frames of a movie that begins at the scene change and goes on in feed 2; needs feed 2 present. `crossing_2`
// (crossing_frames of feed 2) serves without a bridge. Logs what it measured. 0 is no sample.
int32_t type2_sample(const JumpView& view, const MetreTrigger& trigger, int32_t crossing_2, int32_t jump);
