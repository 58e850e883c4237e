// Cuts each feed's blob array into jumps: one span of consecutive records per jumper.
#pragma once

#include "autosetup/workspace.h"

// Fills jumps and jump_count from the blobs. Returns 0.
int32_t auto_setup_segment_jumps(AutoSetupWorkspace* workspace);
