// From the values of many jumps to one setting each: leaving out the jumps that look unlike the others, then mean,
// median or percentile, a margin, and bounds.
#pragma once

#include "autosetup/jump_timing.h"

struct CalculatedJump {
    bool invalid, outlier;
    JumpTiming timing;  // zero for an invalid jump
};

struct Calculation {
    int32_t jumps;
    CalculatedJump jump[kJumpLimit];
    MetreTrigger trigger;
    TriggerColumns columns;
    SmallestSample type1, type2;
};

// The element at half of `count` spans, which get sorted; 0 for none.
int32_t usual_span(int32_t* spans, int32_t count);

// The first rule by which a valid jump is an outlier, or an accepted trace. `usual_2` is the usual span in feed 2.
JumpTrace judge_jump(const JumpView& view, int32_t jump, int32_t usual_2, const TriggerColumns& columns);

// Marks the outliers in `calculation` and in the workspace's trace, and logs them. When no jump would remain, all do.
void filter_outliers(AutoSetupWorkspace* workspace, Calculation* calculation);

// Each reduces `count` values, which it may reorder; its default for none stands behind it.
int32_t aggregate_crossing(const int32_t* values, int32_t count);  // 100, positive values only
int32_t aggregate_before(int32_t* values, int32_t count);          // 16
int32_t aggregate_after(int32_t* values, int32_t count);           // 15
int32_t aggregate_type1(const SmallestSample& samples);            // 200
// Of feed 2's crossing frames, the positive ones; of the samples when there is none; 80 without either.
int32_t aggregate_type2(const int32_t* crossing_2, int32_t count, const SmallestSample& samples);

struct SceneTrigger {
    int32_t column;
    const char* source;  // for the log, a static text
};
SceneTrigger aggregate_trigger(const MetreTrigger& trigger, const TriggerColumns& columns);

// Fills the result_ fields from the jumps that are neither invalid nor outliers, and logs them.
void aggregate_jumps(AutoSetupWorkspace* workspace, const Calculation* calculation);
