#include "app/one_controller.h"

#include <windows.h>

#include <cstdio>
#include <cstring>

#include "app/main_window_parts.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_access.h"

namespace {

constexpr char kMutexName[] = "Local\\SkiJumpController";
constexpr char kRecordName[] = "Local\\SkiJumpControllerRecord";
constexpr DWORD kSliceMs = 250;  // of waiting, before the next look at who is waited for

struct Claim {
    HANDLE mutex = nullptr;  // owned by the main thread
    HANDLE mapping = nullptr;
    RunningController* record = nullptr;
};
Claim g_claim;

}  // namespace

static void introduce(const char* folder) {
    g_claim.mapping =
        CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(RunningController), kRecordName);
    if (!g_claim.mapping) return;
    g_claim.record = static_cast<RunningController*>(
        MapViewOfFile(g_claim.mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(RunningController)));
    if (!g_claim.record) return;
    RunningController& record = *g_claim.record;
    shared_store(record.pid, 0u);  // a predecessor's, if somebody is just reading it
    snprintf(record.folder, sizeof record.folder, "%s", folder);
    shared_store(record.state, static_cast<uint32_t>(kControllerRunning));
    shared_store(record.pid, static_cast<uint32_t>(GetCurrentProcessId()));
}

// All zero while nobody has introduced himself, or somebody is just doing so.
static RunningController read_record() {
    RunningController copy = {};
    const ScopedHandle mapping(OpenFileMappingA(FILE_MAP_READ, FALSE, kRecordName));
    if (!mapping.valid()) return copy;
    const ScopedView view(MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, sizeof(RunningController)));
    if (!view.valid()) return copy;
    const auto* record = static_cast<const RunningController*>(view.get());
    copy.pid = shared_load(record->pid);
    copy.state = shared_load(record->state);
    memcpy(copy.folder, record->folder, sizeof copy.folder);
    copy.folder[sizeof copy.folder - 1] = '\0';
    return shared_load(record->pid) == copy.pid ? copy : RunningController{};
}

// Abandoned: its owner died, and its workers are orphans.
static bool becomes_ours(HANDLE mutex, DWORD patience_ms) {
    const DWORD result = WaitForSingleObject(mutex, patience_ms);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

// Whoever closes is waited for, and whoever has not said yet who he is.
static bool wait_for(HANDLE mutex, RunningController* running) {
    StartWait wait = {};
    for (DWORD patience_ms = 0; !becomes_ours(mutex, patience_ms); patience_ms = kSliceMs) {
        *running = read_record();
        if (!start_waits(&wait, *running, kSliceMs)) return false;
    }
    return true;
}

ControllerClaim one_controller_claim(const char* folder, RunningController* running) {
    *running = {};
    ScopedHandle mutex(CreateMutexA(nullptr, FALSE, kMutexName));
    if (!mutex.valid()) {
        // One that was started with higher rights hides its mutex from us, but is there.
        if (GetLastError() != ERROR_ACCESS_DENIED) return ControllerClaim::unguarded;
        *running = read_record();
        return ControllerClaim::taken;
    }
    if (!wait_for(mutex.get(), running)) return ControllerClaim::taken;
    g_claim.mutex = mutex.release();
    introduce(folder);
    return ControllerClaim::ours;
}

static void tell(ControllerState state) {
    if (g_claim.record) shared_store(g_claim.record->state, static_cast<uint32_t>(state));
}

void one_controller_closing() {
    tell(kControllerClosing);
}

void one_controller_crashed() {
    tell(kControllerCrashed);
}

void one_controller_release() {
    if (g_claim.record) UnmapViewOfFile(g_claim.record);
    if (g_claim.mapping) CloseHandle(g_claim.mapping);
    if (g_claim.mutex) {
        ReleaseMutex(g_claim.mutex);
        CloseHandle(g_claim.mutex);
    }
    g_claim = {};
}

namespace {

struct Windows {
    DWORD pid;
    HWND main;
    HWND box;
};

}  // namespace

static BOOL CALLBACK note_window(HWND window, LPARAM param) {
    auto* windows = reinterpret_cast<Windows*>(param);
    DWORD pid = 0;
    GetWindowThreadProcessId(window, &pid);
    if (pid != windows->pid || !IsWindowVisible(window)) return TRUE;
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    if (lstrcmpA(name, kMainWindowClass) == 0) windows->main = window;
    if (lstrcmpA(name, "#32770") == 0 && !windows->box) windows->box = window;
    return TRUE;
}

void one_controller_bring_forward(const RunningController& running) {
    Windows windows = {running.pid, nullptr, nullptr};
    if (running.pid != 0) EnumWindows(note_window, reinterpret_cast<LPARAM>(&windows));
    // It may hang, so nothing here waits for its answer.
    if (windows.main && IsIconic(windows.main)) ShowWindowAsync(windows.main, SW_RESTORE);
    if (HWND front = windows.box ? windows.box : windows.main) SetForegroundWindow(front);
}
