// Builds a movie into the output region that nobody shows, frame by frame while the jump is still on: a finished jump
// is older than the rings are long. Every movie frame is feed 1's picture above that of the feed it is paired with.
#pragma once

#include <cstdint>

#include "rig/feed_ring.h"

struct MovieBuilder {
    bool building;
    bool forced;
    uint32_t output;       // region being written
    int64_t start, end;    // feed 1's frame indices; end is -1 until known
    int64_t next;          // next frame to copy
    int64_t last_grow_us;  // when the last frame was copied
    int64_t first_seq, last_seq;
};

// Starts a movie at feed 1's frame `start`, moved to the oldest frame that can still be read. Drops a movie that was
// being built.
void builder_start(MovieBuilder* builder, Worker* worker, FeedRing (&rings)[kFeedCount], int64_t start, int64_t end,
                   bool forced);

// Copies what has arrived, a few frames per call. Returns true when the movie is complete: its end is reached, the
// region is full, or the source has dried up.
bool builder_step(MovieBuilder* builder, Worker* worker, FeedRing (&rings)[kFeedCount],
                  const WorkerRegion (&outputs)[kOutputRegionCount]);

// Frames in the movie so far.
int64_t builder_frames(const MovieBuilder* builder);
