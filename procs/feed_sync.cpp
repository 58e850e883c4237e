#include "procs/feed_sync.h"

FeedSyncOffsets feed_sync_offsets(const uint32_t nw[3]) {
    return {{static_cast<int32_t>(nw[0] - nw[1]), 0, static_cast<int32_t>(nw[2] - nw[1])}};
}
