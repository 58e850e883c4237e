// The preview's waiter: the controller's only thread beside the main one. It turns the workers' new-frame events into
// one posted message and touches nothing else, so that no drawing and no shared data ever needs a lock of ours.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

#include "ipc/sync_set.h"

struct PreviewThread {
    HANDLE thread;              // null when none runs
    HANDLE nap_event;           // private, auto-reset: sleeping that a stop can cut short
    HWND window;                // receives kMsgPreviewRefresh
    HANDLE wake_output;         // event 14
    HANDLE wake_frame;          // event 36, null where it does not exist
    std::atomic<bool> running;  // main thread writes, waiter reads
    std::atomic<bool> active;   // main thread writes, waiter reads: post at all
    std::atomic<bool> posted;   // a message is on its way and not answered yet: do not queue a second
};

// Starts the waiter, if none runs and the sync set has its events. Returns 0, or -1 when no thread is running after
// it.
int32_t preview_thread_start(PreviewThread* thread, HWND window, const IpcSyncSet* sync);

// Ends the waiter, waiting at most a second, and closes its handles. Harmless when none runs.
void preview_thread_stop(PreviewThread* thread);
