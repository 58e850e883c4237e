// The practice player's side jobs that need no console: truth, sample settings and videos of the scene.
#pragma once

#include <cstdint>

#include "rig/common/scene.h"

// Writes frames of one feed's full picture to a video, or raw to standard output. `seconds` 0: the whole scene.
// Returns the exit code.
int32_t export_video(const SceneConfig& config, int32_t feed, const char* video, int32_t seconds);
int32_t export_raw(const SceneConfig& config, int32_t feed, int32_t seconds);
