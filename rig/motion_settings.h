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

// Keys that are not there take the console's defaults.
MotionSettings motion_settings_for(const RigSettings& file, int32_t feed);
