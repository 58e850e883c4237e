#include "preview/preview_thread.h"

#include "app/commands.h"
#include "app/log.h"

namespace {

constexpr DWORD kWaitMs = 200;
constexpr DWORD kNapMs = 16;  // at most some 60 refreshes per second, however fast output frames come
constexpr DWORD kStopMs = 1000;

}  // namespace

static void post_refresh(PreviewThread* thread) {
    if (!thread->active.load() || thread->posted.exchange(true)) return;
    if (!PostMessageA(thread->window, kMsgPreviewRefresh, 0, 0)) thread->posted.store(false);
}

static DWORD WINAPI wait_for_frames(void* parameter) {
    auto* thread = static_cast<PreviewThread*>(parameter);
    // The private event comes first, so that a stop is answered at once.
    const HANDLE wake[3] = {thread->nap_event, thread->wake_output, thread->wake_frame};
    const DWORD count = thread->wake_frame ? 3 : 2;
    while (thread->running.load()) {
        const DWORD reason = WaitForMultipleObjects(count, wake, FALSE, kWaitMs);
        if (!thread->running.load()) break;
        if (reason == WAIT_OBJECT_0 + 1) {
            ResetEvent(thread->wake_output);
            post_refresh(thread);
            WaitForSingleObject(thread->nap_event, kNapMs);
        } else if (reason == WAIT_OBJECT_0 + 2) {
            ResetEvent(thread->wake_frame);
            post_refresh(thread);
        } else if (reason == WAIT_FAILED) {
            WaitForSingleObject(thread->nap_event, kWaitMs);  // never spin on a broken handle
        }
    }
    return 0;
}

int32_t preview_thread_start(PreviewThread* thread, HWND window, const IpcSyncSet* sync) {
    if (thread->thread) return 0;
    if (!sync || !sync->event[kEventNewOutput]) return -1;
    thread->window = window;
    thread->wake_output = sync->event[kEventNewOutput];
    thread->wake_frame = sync->event[kEventNewFrame];
    thread->posted.store(false);
    thread->running.store(true);
    thread->nap_event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (thread->nap_event) thread->thread = CreateThread(nullptr, 0, wait_for_frames, thread, 0, nullptr);
    if (!thread->thread) {
        const DWORD error = GetLastError();
        log_error("preview: cannot start the waiting thread, error=%lu", error);
        preview_thread_stop(thread);
        return -1;
    }
    return 0;
}

void preview_thread_stop(PreviewThread* thread) {
    thread->running.store(false);
    if (thread->thread) {
        SetEvent(thread->nap_event);
        WaitForSingleObject(thread->thread, kStopMs);
        CloseHandle(thread->thread);
        thread->thread = nullptr;
    }
    if (thread->nap_event) {
        CloseHandle(thread->nap_event);
        thread->nap_event = nullptr;
    }
}
