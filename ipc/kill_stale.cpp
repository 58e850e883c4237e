#include "ipc/kill_stale.h"

#include <utility>

#include <windows.h>

#include "app/log.h"
#include "ipc/control_block.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_access.h"
#include "ipc/shared_region.h"
#include "ipc/worker_names.h"

static constexpr uint32_t kExitTimeoutMs = 5000;
static constexpr DWORD kTeardownMs = 100;  // for the system to take the last holder's mapping down
static constexpr UINT kOrphanExitCode = 1;

// Ends the process of one slot if it is provably ours. Returns its handle, or nothing.
static ScopedHandle end_orphan(int32_t slot, DWORD pid) {
    ScopedHandle process(
        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_TERMINATE, FALSE, pid));
    if (!process.valid()) {
        const DWORD error = GetLastError();
        log_info("kill_stale: slot %d PID %lu not running (error=%lu) — skipping", slot, pid, error);
        return ScopedHandle();
    }
    char path[260] = "";
    DWORD length = sizeof path;
    if (!QueryFullProcessImageNameA(process.get(), 0, path, &length)) {
        const DWORD error = GetLastError();
        log_warn("kill_stale: slot %d PID %lu — cannot query exe path (error=%lu), skipping for safety", slot, pid,
                 error);
        return ScopedHandle();
    }
    if (!is_worker_image(path)) {
        log_warn("kill_stale: slot %d PID %lu is '%s' (not ours), skipping — PID may have been recycled", slot, pid,
                 path);
        return ScopedHandle();
    }
    log_info("kill_stale: terminating orphan slot %d '%s' (PID %lu)", slot, path, pid);
    if (!TerminateProcess(process.get(), kOrphanExitCode)) {
        const DWORD error = GetLastError();
        log_warn("kill_stale: TerminateProcess failed for PID %lu, error=%lu — shmem mapping may stay alive", pid,
                 error);
        return ScopedHandle();
    }
    return process;
}

void kill_stale_await_exit(int32_t position, void* process, uint32_t timeout_ms) {
    const DWORD result = WaitForSingleObject(process, timeout_ms);
    if (result == WAIT_OBJECT_0) return;
    log_warn("kill_stale: orphan handle %d did not exit within 5s (wait result=%lu) — continuing anyway", position,
             result);
}

void kill_stale() {
    SharedRegion region;
    if (shmem_open(kControlBlockName, kControlBlockSize, &region) != 0) {
        log_info("kill_stale: no existing shm_control region — clean startup");
        return;
    }
    log_info("kill_stale: found existing shm_control from prior session, scanning %d PID slots for orphans",
             kPidSlotCount);
    const auto* const block = static_cast<const ControlBlock*>(region.view);
    ScopedHandle ended[kPidSlotCount];
    int32_t ended_count = 0;
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot) {
        const uint32_t pid = shared_load(block->pid_slot[slot]);
        if (pid_slot_is_empty(pid)) continue;
        ScopedHandle orphan = end_orphan(slot, pid);
        if (orphan.valid()) ended[ended_count++] = std::move(orphan);
    }
    for (int32_t i = 0; i < ended_count; ++i) {
        kill_stale_await_exit(i, ended[i].get(), kExitTimeoutMs);
        ended[i].reset();
    }
    shmem_close(&region);
    Sleep(kTeardownMs);
    log_info("kill_stale: %d orphan(s) terminated, shmem region released", ended_count);
}
