// Aligning the feeds: how many frames feeds 0 and 2 are ahead of feed 1, the reference, as their write counters
// stand now.
#pragma once

#include <cstdint>

struct FeedSyncOffsets {
    int32_t offset[3];  // [1] is 0
};

// The counters may wrap around; the offsets are the short way between them.
FeedSyncOffsets feed_sync_offsets(const uint32_t nw[3]);
