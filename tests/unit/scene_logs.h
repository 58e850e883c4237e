// Motion logs as a perfect detector would write them: from the scene's truth, without a picture.
#pragma once

#include <string>

#include "rig/common/scene.h"

// The picture's first row per feed in the settings that come with the scene.
inline constexpr int32_t kSceneOverlay[kSceneFeeds] = {120, 150, 180};
// Rows above and below a jumper's centroid that his blob takes.
inline constexpr int32_t kSceneBlobReach = 20;
inline constexpr int32_t kSceneBlobSize = 900;
// Where feed 0's scene trigger lies before the first run.
inline constexpr int32_t kSceneTriggerColumn = 1728;

// Writes motion_debug_0.log to motion_debug_2.log into `directory`, the scene triggers in feed 1's. The scene ends.
void write_scene_logs(const Scene& scene, const std::string& directory);
