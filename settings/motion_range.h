// *saved_motion_range: the motion regions of all feeds as twelve numbers in one text, the backup that a measuring run
// restores when it ends.
#pragma once

#include "settings/settings.h"

// Writes the regions of feeds 0, 1, 2 into saved_motion_range, each as start x, start y, end x, end y.
void save_motion_range(Settings* settings);
// The way back. -1, after an error line and with the regions untouched, when the text does not begin with twelve
// numbers.
int32_t restore_motion_range(Settings* settings);
