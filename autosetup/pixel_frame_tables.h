// For every pixel column of every feed: frames to the movie's start, to its scene change and to its end, averaged
// over the jumpers that all three cameras saw.
#pragma once

#include <cstddef>
#include <cstdlib>

#include "autosetup/workspace.h"

// Zeroed memory for free(), null when there is none.
using ZeroedAllocator = void* (*)(size_t count, size_t size);

// Needs only parsed blobs and jump spans. Fills the three tables and the populated flags of `settings` when at least
// one jumper contributed, else leaves them. Returns 0, or -1 after an error line when memory runs out.
int32_t populate_pixel_frames_v2(AutoSetupWorkspace* workspace, Settings* settings,
                                 ZeroedAllocator allocate = calloc);
