// How many frames pass between one camera losing the jumper and the next one taking over, from the scene triggers in
// feed 1's log and from the feed alignment.
#pragma once

#include <string_view>

#include "autosetup/workspace.h"

// The frames at which feeds 1 and 2 last asked for a scene change in the movie that is being scanned; below 0: none.
struct TriggerScan {
    int64_t f1 = -1, f2 = -1;
};

// Takes one line, or piece of a line, of feed 1's log. Where feed 0 overrides a pending trigger, the frames between
// the two join the samples of `gaps`.
void trigger_scan_line(TriggerScan* scan, std::string_view line, GapTrace* gaps);

// Fills gap_frames, gap_valid, gap_samples and gap_mad. Returns 0, also when a gap could not be measured, or -1 when
// feed 1's log cannot be opened.
int32_t auto_setup_measure_inter_feed_gaps(AutoSetupWorkspace* workspace);
