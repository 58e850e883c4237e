// The least that a worker does: a detector that detects nothing. It stands in for motion.exe, follows its feed's
// frames and shows every duty of a worker towards the console: attach, register, announce readiness, notice frames,
// report progress, repeat what was zeroed, obey, leave.
//
//   minimal_worker FEED [SETTINGS_FILE]
//
// C++17, nothing but the standard library and Windows:
//   x86_64-w64-mingw32-g++ -std=c++17 -I. -static -o motion.exe minimal_worker.cpp
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"

namespace {

constexpr DWORD kAttachLimitMs = 10'000;
constexpr DWORD kPollMs = 8;          // about as long a frame or a request to leave goes unnoticed
constexpr ULONGLONG kUpkeepMs = 500;  // between two looks at whether our entries still stand

struct Worker {
    ControlBlock* control = nullptr;
    HANDLE mutex[kSyncObjectCount] = {};
    HANDLE event[kSyncObjectCount] = {};
    int32_t feed = 0;
    int32_t pid_slot = -1;
    ULONGLONG next_upkeep_ms = 0;
    const uint8_t* ring = nullptr;  // of the live channel
    int32_t channel = -1;
    uint32_t seen = 0;  // the ring's write counter when last looked at
};

}  // namespace

// Whoever comes first creates an object, so every program creates all of them alike.
static bool create_sync_objects(Worker* worker) {
    char name[64];
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        snprintf(name, sizeof name, "%s%d", kMutexNamePrefix, i);
        worker->mutex[i] = CreateMutexA(nullptr, FALSE, name);
        snprintf(name, sizeof name, "%s%d", kEventNamePrefix, i);
        worker->event[i] = CreateEventA(nullptr, event_is_manual_reset(i), FALSE, name);
        if (!worker->mutex[i] || !worker->event[i]) return false;
    }
    return true;
}

static void* open_region(const char* name) {
    HANDLE mapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name);
    if (!mapping) return nullptr;
    void* view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    CloseHandle(mapping);  // the view keeps the region
    return view;
}

// Never for longer than the limit, and then go on: a hung neighbour must not hang us. Release it in either case.
static void lock(const Worker& worker, int32_t mutex) {
    WaitForSingleObject(worker.mutex[mutex], kLockTimeoutMs);
}
static void unlock(const Worker& worker, int32_t mutex) {
    ReleaseMutex(worker.mutex[mutex]);
}

// A worker that the console terminated left its entry behind, so a dead owner makes an entry free as well.
static bool is_free(uint32_t pid) {
    if (pid == 0 || pid == kPidSlotEmpty) return true;
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, pid);
    if (!process) return GetLastError() == ERROR_INVALID_PARAMETER;  // nobody has this id
    const bool dead = WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
    CloseHandle(process);
    return dead;
}

// So that the next console finds us if this one crashes. Without a free entry we work all the same.
static void claim_pid_slot(Worker* worker) {
    for (int32_t slot = 0; slot < kPidSlotCount && worker->pid_slot < 0; ++slot) {
        lock(*worker, kMutexPidSlot + slot);
        if (is_free(shared_load(worker->control->pid_slot[slot]))) {
            shared_store(worker->control->pid_slot[slot], static_cast<uint32_t>(GetCurrentProcessId()));
            worker->pid_slot = slot;
        }
        unlock(*worker, kMutexPidSlot + slot);
    }
}

static bool attach(Worker* worker) {
    if (!create_sync_objects(worker)) return false;
    const ULONGLONG give_up = GetTickCount64() + kAttachLimitMs;
    while (!(worker->control = static_cast<ControlBlock*>(open_region(kControlBlockName)))) {
        if (GetTickCount64() > give_up) return false;
        Sleep(kPollMs);
    }
    return true;
}

// Claims an entry at first, and again after a console that started later has zeroed the block.
static void keep_pid_slot(Worker* worker) {
    if (GetTickCount64() < worker->next_upkeep_ms) return;
    worker->next_upkeep_ms = GetTickCount64() + kUpkeepMs;
    const int32_t slot = worker->pid_slot;
    if (slot >= 0 && shared_load(worker->control->pid_slot[slot]) != GetCurrentProcessId()) worker->pid_slot = -1;
    claim_pid_slot(worker);
}

static void set_ready(const Worker& worker, int32_t value) {
    shared_store(worker.control->motion_ready[worker.feed], value);
}

// The ring belongs to the frame source and may come later than we do, or with another channel.
static bool follow_live_channel(Worker* worker) {
    lock(*worker, kMutexChannel);
    const int32_t named = shared_load(worker->control->channel);
    unlock(*worker, kMutexChannel);
    const int32_t channel = named < 0 || named >= kChannelCount ? 0 : named;
    if (channel == worker->channel && worker->ring) return true;
    if (worker->ring) UnmapViewOfFile(worker->ring);
    char name[32];
    feed_region_name(name, worker->feed, channel);
    worker->ring = static_cast<const uint8_t*>(open_region(name));
    worker->channel = channel;
    worker->seen = 0;
    return worker->ring != nullptr;
}

// Looks at the newest complete frame, where a detector would look for the jumper.
static void look_at_newest_frame(const Worker& worker) {
    const uint8_t* slot = worker.ring + feed_slot_offset(newest_slot(worker.seen));
    const uint8_t* luma = slot + y_plane_offset();
    const auto* header = reinterpret_cast<const FrameSlotHeader*>(slot);
    printf("frame %lld, brightness of its middle %d\n", static_cast<long long>(shared_load(header->seq)),
           luma[kFeedHeight / 2 * kFrameWidth + kFrameWidth / 2]);
}

// No event tells of a frame: the write counter does.
static void follow_frames(Worker* worker) {
    const int32_t feed = worker->feed;
    lock(*worker, kMutexNw + feed);
    const uint32_t written = shared_load(worker->control->feed[feed][worker->channel].nw);
    unlock(*worker, kMutexNw + feed);
    if (written == worker->seen) return;
    worker->seen = written;
    if (written < 2) return;  // the frame in front of the writer is not read
    if (shared_load(worker->control->motion_paused[feed]) == 0) look_at_newest_frame(*worker);
    lock(*worker, kMutexMotionIdx + feed);
    shared_store(worker->control->motion_idx[feed], written - 1);
    unlock(*worker, kMutexMotionIdx + feed);
}

static void work(Worker* worker) {
    const int32_t wake = kEventMotionWake + worker->feed;
    while (shared_load(worker->control->shutdown) == 0) {
        keep_pid_slot(worker);
        const bool has_ring = follow_live_channel(worker);
        set_ready(*worker, has_ring ? kWorkerReady : kWorkerAttached);  // again and again: it may have been zeroed
        if (has_ring) follow_frames(worker);
        // The console wakes us to leave, and for nothing else.
        if (WaitForSingleObject(worker->event[wake], kPollMs) == WAIT_OBJECT_0) ResetEvent(worker->event[wake]);
    }
    set_ready(*worker, kWorkerNotStarted);
}

static void leave(const Worker& worker) {
    if (worker.pid_slot < 0) return;
    uint32_t& slot = worker.control->pid_slot[worker.pid_slot];
    lock(worker, kMutexPidSlot + worker.pid_slot);
    if (shared_load(slot) == GetCurrentProcessId()) shared_store(slot, 0u);
    unlock(worker, kMutexPidSlot + worker.pid_slot);
}

int main(int argc, char** argv) {
    Worker worker;
    worker.feed = argc > 1 ? atoi(argv[1]) : -1;
    if (worker.feed < 0 || worker.feed >= kFeedCount) {
        fprintf(stderr, "usage: minimal_worker FEED [SETTINGS_FILE]\n");
        return 2;
    }
    if (!attach(&worker)) {
        fprintf(stderr, "no control block: is the console running?\n");
        return 1;
    }
    work(&worker);
    leave(worker);
    return 0;  // the system closes what is open
}
