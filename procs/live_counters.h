// The feeds' counters as the control block holds them now, each read under its own mutex, one mutex at a time.
#pragma once

#include <cstdint>

#include "ipc/control_block.h"
#include "ipc/sync_set.h"
#include "procs/feed_sync.h"

// The live channel, kept within its three values: it becomes an array index.
int32_t read_live_channel(const ControlBlock* control, IpcSyncSet* sync);

// Reads the write counters of the live channel, feeds in order; returns the channel.
int32_t read_live_nw(const ControlBlock* control, IpcSyncSet* sync, uint32_t nw[kFeedCount]);

// Reads the same counters and stores the offsets between them as feed_sync_offset.
FeedSyncOffsets align_feeds(ControlBlock* control, IpcSyncSet* sync, uint32_t nw[kFeedCount]);

// Whether a jumper is in front of any camera, as far as the motion workers have told.
bool read_motion_active(const ControlBlock* control, IpcSyncSet* sync);

// The frame counters of the motion workers.
void read_motion_idx(const ControlBlock* control, IpcSyncSet* sync, uint32_t motion_idx[kFeedCount]);
