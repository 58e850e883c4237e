// Reading settings.txt while the console may be replacing it.
#pragma once

#include "rig/common/rig_settings.h"

// Loads `path`, trying for a tenth of a second: during a replacement the file cannot be opened for a moment. Returns
// 0; -1, the contents untouched, when it stays unreadable.
int32_t settings_reload(RigSettings* settings, const char* path);
