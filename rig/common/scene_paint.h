// The painter's half of the scene: landscape and figures. Nothing here moves; scene.cpp does that.
#pragma once

#include "rig/common/scene.h"

// Row of the snow's upper edge; the jumpers pass well below it, so that bright snow is always behind them.
int32_t scene_snow_line(int32_t feed, int32_t column);

// The feed's view without noise.
ScenePicture scene_paint_landscape(int32_t feed, uint64_t seed);
// A copy of it under the noise of a camera's sensor.
ScenePicture scene_add_noise(const ScenePicture& clean, uint64_t seed);
// A jumper as this feed sees him: small in flight in feed 0, larger in flight in feed 1, landed in feed 2.
SceneSprite scene_paint_jumper(int32_t feed, int32_t suit);
