// rig.txt: what a test or a person may change about the simulated rig. Same form as settings.txt, in the working
// directory, every key optional:
//   seed, jumpers (0: endless), lead_in_frames, pause_seconds, speed (m/s), feed_offset[0..2], loop (1: as
//   jumpers=0), end_early (frames after which the practice player ends, 0: when the scene or the videos end)
#pragma once

#include "rig/common/rig_settings.h"
#include "rig/common/scene.h"

struct RigOptions {
    SceneConfig scene;
    int64_t end_early;
};

RigOptions rig_options_from(const RigSettings* settings);
// From `path`; the defaults where it cannot be read.
RigOptions rig_options_load(const char* path);
