// Builds analysis workspaces by hand, so that a test can say in numbers what the motion detectors saw.
#pragma once

#include <initializer_list>

#include "autosetup/workspace.h"

// Zeroed but for the feed count (3 unless said) and paddings of 60.
WorkspacePtr make_workspace(int32_t feed_count = 3);

// Appends to the feed's blobs; the statistics are left alone. first_y and last_y are y.
void add_blob(AutoSetupWorkspace* workspace, int32_t feed, const MotionBlob& blob);

// One jump of the feed, behind those it has: `count` >= 2 blobs evenly from the first to the last of the given frame
// numbers and columns, ts = 16,667 us a frame, metres from meters_at_x when the feed's grid is valid.
struct JumpPath {
    int64_t first_seq, last_seq;
    int32_t first_x, last_x;
    int32_t count;
};
void add_jump(AutoSetupWorkspace* workspace, int32_t feed, const JumpPath& path);

// meters_at_x = metre_at_0 + column * metres_per_column, and the grid valid.
void set_linear_grid(AutoSetupWorkspace* workspace, int32_t feed, float metre_at_0, float metres_per_column);
