// The settings a motion worker obeys, from settings.txt.
#pragma once

#include <cstdint>

#include "rig/common/rig_settings.h"
#include "rig/detection.h"
#include "rig/passage.h"

struct MotionSettings {
    DetectionSettings detection;
    PassageLimits passage;
    bool motion_on;             // the operator's switch per feed
    int32_t slow_threshold_us;  // a frame that takes longer counts as slow
};

// How long a frame is made to take under the rig's slow_above_width, in microseconds: a little more than the
// threshold when the region is wider, else 0.
int64_t forced_frame_us(const MotionSettings& settings, int32_t slow_above_width);

// Whether a frame that took so long counts as slow. A given slow_above_width decides alone, so that a width trial
// comes out the same on a busy machine.
bool frame_is_slow(const MotionSettings& settings, int32_t slow_above_width, int64_t took_us);

// Keys that are not there take the console's defaults.
MotionSettings motion_settings_for(const RigSettings& file, int32_t feed);
