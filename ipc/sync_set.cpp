#include "ipc/sync_set.h"

#include <cstdio>

#include <windows.h>

#include "app/log.h"
#include "ipc/shared_access.h"

// The handle at `index`, null where there is none.
static HANDLE mutex_at(const IpcSyncSet* set, int32_t index) {
    return set && index >= 0 && index < kSyncObjectCount ? set->mutex[index] : nullptr;
}

static HANDLE event_at(const IpcSyncSet* set, int32_t index) {
    return set && index >= 0 && index < kSyncObjectCount ? set->event[index] : nullptr;
}

static bool create_pair(IpcSyncSet* set, int32_t index) {
    char name[64];
    snprintf(name, sizeof name, "%s%d", kMutexNamePrefix, index);
    set->mutex[index] = CreateMutexA(nullptr, FALSE, name);
    if (!set->mutex[index]) {
        const DWORD error = GetLastError();
        log_error("ipc: CreateMutex failed for '%s', error=%lu", name, error);
        return false;
    }
    snprintf(name, sizeof name, "%s%d", kEventNamePrefix, index);
    set->event[index] = CreateEventA(nullptr, event_is_manual_reset(index), FALSE, name);
    if (!set->event[index]) {
        const DWORD error = GetLastError();
        log_error("ipc: CreateEvent failed for '%s', error=%lu", name, error);
        return false;
    }
    return true;
}

int32_t ipc_init(IpcSyncSet* set) {
    if (!set) return -1;
    *set = {};
    for (int32_t index = 0; index < kSyncObjectCount; ++index) {
        if (create_pair(set, index)) continue;
        ipc_close(set);
        return -1;
    }
    log_info("ipc: initialized %d mutexes and %d events", kSyncObjectCount, kSyncObjectCount);
    return 0;
}

bool ipc_is_open(const IpcSyncSet* set) {
    return mutex_at(set, 0) != nullptr;
}

// A mutex that hangs is waited for sixty times a minute: the beginning and the end of it make a line each.
static void log_wait(IpcSyncSet* set, int32_t index, DWORD result) {
    const bool in_vain = result == WAIT_TIMEOUT;
    const bool before = shared_load(set->given_up[index]) != 0;
    if (result == WAIT_ABANDONED) log_warn("ipc: mutex %d was left by a process that died holding it", index);
    if (in_vain == before) return;
    shared_store(set->given_up[index], static_cast<uint8_t>(in_vain ? 1 : 0));
    if (in_vain) {
        log_warn("ipc: mutex %d is held for more than %u ms — going ahead without it", index, kLockTimeoutMs);
    } else {
        log_info("ipc: mutex %d is to be had again", index);
    }
}

int32_t ipc_lock(IpcSyncSet* set, int32_t index) {
    const HANDLE mutex = mutex_at(set, index);
    if (!mutex) return -1;
    const DWORD result = WaitForSingleObject(mutex, kLockTimeoutMs);
    log_wait(set, index, result);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED ? 0 : -1;
}

void ipc_unlock(IpcSyncSet* set, int32_t index) {
    if (const HANDLE mutex = mutex_at(set, index)) ReleaseMutex(mutex);
}

void ipc_signal(IpcSyncSet* set, int32_t index) {
    if (const HANDLE event = event_at(set, index)) SetEvent(event);
}

void ipc_reset_event(IpcSyncSet* set, int32_t index) {
    if (const HANDLE event = event_at(set, index)) ResetEvent(event);
}

void ipc_reset_all_events(IpcSyncSet* set) {
    if (!set) return;
    for (int32_t index = 0; index < kSyncObjectCount; ++index) ipc_reset_event(set, index);
    log_info("ipc: reset %d events to non-signaled state", kSyncObjectCount);
}

static void close_and_null(void** handle) {
    if (*handle) CloseHandle(*handle);
    *handle = nullptr;
}

void ipc_close(IpcSyncSet* set) {
    if (!set) return;
    for (int32_t index = 0; index < kSyncObjectCount; ++index) {
        close_and_null(&set->event[index]);
        close_and_null(&set->mutex[index]);
    }
}
