// See feed_ring.h.
#include "rig/feed_ring.h"

FeedRing feed_ring_make(int32_t feed) {
    return {feed, -1, {}};
}

bool feed_ring_follow(Worker* worker, FeedRing* ring, bool* changed) {
    if (changed != nullptr) *changed = false;
    const int32_t channel = worker_live_channel(worker);
    if (ring->region.view != nullptr && channel == ring->channel) return true;
    WorkerRegion region;
    char name[32];
    feed_region_name(name, ring->feed, channel);
    if (worker_open_region(name, &region) != 0) return false;
    worker_close_region(&ring->region);
    ring->region = region;
    ring->channel = channel;
    if (changed != nullptr) *changed = true;
    worker_log(worker, "attached to %s", name);
    return true;
}

uint32_t feed_ring_written(Worker* worker, const FeedRing* ring) {
    return worker_read_nw(worker, ring->feed, ring->channel);
}

FrameSlotHeader* feed_ring_slot(const FeedRing* ring, uint32_t index) {
    return reinterpret_cast<FrameSlotHeader*>(ring->region.view + feed_slot_offset(index % kRingSlots));
}

static const uint8_t* plane(const FrameSlotHeader* slot, uint32_t offset) {
    return reinterpret_cast<const uint8_t*>(slot) + offset;
}

const uint8_t* feed_slot_y(const FrameSlotHeader* slot) {
    return plane(slot, y_plane_offset());
}

const uint8_t* feed_slot_u(const FrameSlotHeader* slot) {
    return plane(slot, u_plane_offset(kFeedHeight));
}

const uint8_t* feed_slot_v(const FrameSlotHeader* slot) {
    return plane(slot, v_plane_offset(kFeedHeight));
}

void feed_ring_close(FeedRing* ring) {
    worker_close_region(&ring->region);
    ring->channel = -1;
}
