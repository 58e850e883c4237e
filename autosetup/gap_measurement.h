// How many frames pass between one camera losing the jumper and the next one taking over, from the scene triggers in
// feed 1's log and from the feed alignment.
#pragma once

#include "autosetup/workspace.h"

// Fills gap_frames, gap_valid, gap_samples and gap_mad. Returns 0, also when a gap could not be measured, or -1 when
// feed 1's log cannot be opened.
int32_t auto_setup_measure_inter_feed_gaps(AutoSetupWorkspace* workspace);
