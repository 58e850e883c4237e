// Reads motion_debug_0.log .. motion_debug_2.log, what the motion workers wrote during a practice run, into blob
// records. The logs may be huge, damaged or still being written; whatever is no blob line is passed over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "autosetup/byte_scan.h"
#include "autosetup/workspace.h"

// The path of a feed's log in workspace->log_dir. `path` holds `size` bytes; cut when it does not fit.
void motion_log_path(const AutoSetupWorkspace* workspace, int32_t feed, char* path, size_t size);

// Fills the blob arrays and the per-feed log statistics; needs meters_at_x. A missing log leaves its feed empty.
// Returns 0, or -1 after an error line when no feed has a blob or memory runs out; what was read stays in the
// workspace.
int32_t auto_setup_parse_logs(AutoSetupWorkspace* workspace, const Settings* settings);

// The same with other tools, for tests in which memory runs out and for those of each instruction set.
using ResizeMemory = void* (*)(void* memory, size_t size);
struct ParseTools {
    ResizeMemory resize = realloc;
    const ByteScan* scan = &best_byte_scan();
};
int32_t parse_motion_logs(AutoSetupWorkspace* workspace, const Settings* settings, const ParseTools& tools);
