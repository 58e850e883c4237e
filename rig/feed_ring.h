// A reader's view of one feed's frame ring: follows the live channel and finds slots by frame index.
#pragma once

#include <cstdint>

#include "rig/common/worker_runtime.h"

struct FeedRing {
    int32_t feed, channel;
    WorkerRegion region;
};

// Nothing mapped yet.
FeedRing feed_ring_make(int32_t feed);

// Maps the live channel's ring when it is not mapped or the channel changed. Returns true when a ring is mapped;
// poll. `changed`, unless null, tells whether it is another one than before.
bool feed_ring_follow(Worker* worker, FeedRing* ring, bool* changed);

// The frames written so far; those up to and including the returned value minus 2 may be read.
uint32_t feed_ring_written(Worker* worker, const FeedRing* ring);

// The slot of frame `index`. The ring must be mapped.
FrameSlotHeader* feed_ring_slot(const FeedRing* ring, uint32_t index);
const uint8_t* feed_slot_y(const FrameSlotHeader* slot);
const uint8_t* feed_slot_u(const FrameSlotHeader* slot);
const uint8_t* feed_slot_v(const FrameSlotHeader* slot);

void feed_ring_close(FeedRing* ring);
