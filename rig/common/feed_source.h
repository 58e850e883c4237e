// The writing end of a feed ring, as every frame source uses it.
#pragma once

#include "rig/common/worker_runtime.h"

struct FeedSource {
    Worker* worker;
    WorkerRegion region;
    int32_t feed, channel;
    uint32_t nw;  // the next frame's number; its slot is nw % kRingSlots
};

struct FeedPlanes {
    uint8_t *y, *u, *v;
};

// Creates or attaches to the ring of the feed's channel and takes over its write counter. Returns 0 or -1, logged.
int32_t feed_source_open(Worker* worker, int32_t feed, int32_t channel, FeedSource* source);
void feed_source_close(FeedSource* source);

// First row of the picture to show: the console's live overlay offset, clamped to 0..540.
int32_t feed_source_first_row(const FeedSource* source);

// Writes the header of the next frame and says where its picture goes; fill that, then finish.
FeedPlanes feed_source_begin(FeedSource* source, int64_t pts_us, uint32_t display_type);
void feed_source_finish(FeedSource* source);
