// The metres that every pixel column of a feed shows, from the grid lines the operator anchored.
#pragma once

#include "autosetup/workspace.h"

// Fills meters_at_x and grid_valid. 0 when at least one feed has a table; -1, after an error line, when none has.
int32_t auto_setup_interpolate(AutoSetupWorkspace* workspace, const Settings* settings);
