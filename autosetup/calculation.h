// The movie timing: how many frames a feed contributes, how many are needed before the first and after the last blob,
// where the scene changes, and the least frames of both movie types.
#pragma once

#include "autosetup/workspace.h"

// Fills the result_ fields, then the motion band and the noise caps. Returns 0, or -1 after an error line when most
// jumps are invalid; then nothing of the run may reach the settings.
int32_t auto_setup_calculate(AutoSetupWorkspace* workspace, const Settings* settings);
