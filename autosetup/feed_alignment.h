// The cameras number their frames independently. Where two neighbouring feeds show the jumper at the same distance in
// metres, the difference of the frame numbers is the offset between them.
#pragma once

#include "autosetup/workspace.h"

// Fills `record` for jump `jump` between an earlier feed and a later one, 0..2; invalid when either lacks the jump.
void align_jump(const AutoSetupWorkspace* workspace, int32_t feed_a, int32_t feed_b, int32_t jump,
                AlignRecord* record);

// Fills align_01, align_12, sync_offset and sync_valid. Whatever cannot be measured stays invalid and is warned
// about. Returns 0.
int32_t auto_setup_align_feeds(AutoSetupWorkspace* workspace);
