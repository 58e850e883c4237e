// A tighter vertical motion band per camera and the motion detector's noise caps, from the blobs that were seen.
#pragma once

#include "autosetup/workspace.h"

// Fills region_y0, region_y1 and the four caps.
void auto_setup_motion_regions(AutoSetupWorkspace* workspace, const Settings* settings);
void auto_setup_noise_caps(AutoSetupWorkspace* workspace);
