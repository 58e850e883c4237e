#include "procs/live_counters.h"

#include "app/practice_monitor.h"
#include "ipc/shared_access.h"

int32_t read_live_channel(const ControlBlock* control, IpcSyncSet* sync) {
    ipc_lock(sync, kMutexChannel);
    const int32_t channel = shared_load(control->channel);
    ipc_unlock(sync, kMutexChannel);
    return channel >= 0 && channel < kChannelCount ? channel : 0;
}

int32_t read_live_nw(const ControlBlock* control, IpcSyncSet* sync, uint32_t nw[kFeedCount]) {
    const int32_t channel = read_live_channel(control, sync);
    for (int32_t f = 0; f < kFeedCount; ++f) {
        ipc_lock(sync, kMutexNw + f);
        nw[f] = shared_load(control->feed[f][channel].nw);
        ipc_unlock(sync, kMutexNw + f);
    }
    return channel;
}

FeedSyncOffsets align_feeds(ControlBlock* control, IpcSyncSet* sync, uint32_t nw[kFeedCount]) {
    read_live_nw(control, sync, nw);
    const FeedSyncOffsets offsets = feed_sync_offsets(nw);
    ipc_lock(sync, kMutexOutput);
    for (int32_t f = 0; f < kFeedCount; ++f) shared_store(control->feed_sync_offset[f], offsets.offset[f]);
    ipc_unlock(sync, kMutexOutput);
    return offsets;
}

bool read_motion_active(const ControlBlock* control, IpcSyncSet* sync) {
    uint32_t slow[kFeedCount];
    uint32_t active[kFeedCount];
    ipc_lock(sync, kMutexOutput);
    for (int32_t f = 0; f < kFeedCount; ++f) {
        slow[f] = shared_load(control->motion_slow[f]);
        active[f] = shared_load(control->motion_active[f]);
    }
    ipc_unlock(sync, kMutexOutput);
    return any_motion_is_active(slow, active);
}

void read_motion_idx(const ControlBlock* control, IpcSyncSet* sync, uint32_t motion_idx[kFeedCount]) {
    for (int32_t f = 0; f < kFeedCount; ++f) {
        ipc_lock(sync, kMutexMotionIdx + f);
        motion_idx[f] = shared_load(control->motion_idx[f]);
        ipc_unlock(sync, kMutexMotionIdx + f);
    }
}
