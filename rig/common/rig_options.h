// rig.txt: what a test or a person may change about the simulated rig. Same form as settings.txt, in the working
// directory, every key optional:
//   seed, jumpers (0: endless), lead_in_frames, pause_seconds, speed (m/s), feed_offset[0..2], loop (1: as
//   jumpers=0), end_early (frames after which the practice player ends, 0: when the scene or the videos end),
//   slow_above_width (columns of the motion region from which on a detector is too slow, whatever the machine; 0: the
//   clock alone tells. As wide as the picture or wider, no frame counts as slow), unplug_after[0..2] (frames after
//   which that camera's cable is pulled, 0: never), capfile_ignores_shutdown (1: the
//   recorders do not leave when asked to), capfile_dies_after (frames after which a recorder dies, 0: never)
#pragma once

#include "rig/common/rig_settings.h"
#include "rig/common/scene.h"

struct RigOptions {
    SceneConfig scene;
    int64_t end_early;
    int32_t slow_above_width;
    int64_t unplug_after[kSceneFeeds];  // by camera, not by feed
    bool capfile_ignores_shutdown;
    int64_t capfile_dies_after;
};

RigOptions rig_options_from(const RigSettings* settings);
// From `path`; the defaults where it cannot be read.
RigOptions rig_options_load(const char* path);
