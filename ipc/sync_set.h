// The named mutexes and events of sync_objects.h as one set of handles. Any thread may lock and signal.
#pragma once

#include <cstdint>

#include "ipc/sync_objects.h"

struct IpcSyncSet {
    void* mutex[kSyncObjectCount];
    void* event[kSyncObjectCount];
    uint8_t given_up[kSyncObjectCount];  // 1: the last wait for the mutex was in vain, and the log says so
};

// Creates or opens all objects. Returns 0; on a failure, which it logs, closes what it has and returns -1.
int32_t ipc_init(IpcSyncSet* set);

// Whether the set holds its objects: ipc_init makes all of them or none.
bool ipc_is_open(const IpcSyncSet* set);

// Takes mutex `index`, waiting kLockTimeoutMs at most. Returns 0 when it is owned now, also when a dead process left
// it; -1 on time-out, bad index or null. Callers go ahead either way: a hung worker must never freeze the console.
// What a worker did wrong is logged: the first wait in vain, the mutex had again after it, a dead owner.
int32_t ipc_lock(IpcSyncSet* set, int32_t index);
void ipc_unlock(IpcSyncSet* set, int32_t index);

void ipc_signal(IpcSyncSet* set, int32_t index);
void ipc_reset_event(IpcSyncSet* set, int32_t index);
void ipc_reset_all_events(IpcSyncSet* set);

// Closes and nulls every handle; harmless on a closed set.
void ipc_close(IpcSyncSet* set);
