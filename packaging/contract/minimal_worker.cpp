// The least that a worker does: a detector that detects nothing. It stands in for motion.exe, follows its feed's
// frames and shows every duty of a worker towards the console: attach, register, announce readiness, wake for frames,
// report progress, obey, leave.
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
constexpr DWORD kPollMs = 50;  // how long a request to leave may go unnoticed at most

struct Worker {
    ControlBlock* control = nullptr;
    HANDLE mutex[kSyncObjectCount] = {};
    HANDLE event[kSyncObjectCount] = {};
    int32_t feed = 0;
    int32_t pid_slot = -1;
    const uint8_t* ring = nullptr;  // of the live channel
    int32_t channel = -1;
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

// So that the next console finds us if this one crashes.
static void claim_pid_slot(Worker* worker) {
    for (int32_t slot = 0; slot < kPidSlotCount && worker->pid_slot < 0; ++slot) {
        lock(*worker, kMutexPidSlot + slot);
        const uint32_t pid = shared_load(worker->control->pid_slot[slot]);
        if (pid == 0 || pid == kPidSlotEmpty) {
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
    claim_pid_slot(worker);
    return true;
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
    return worker->ring != nullptr;
}

// Looks at the newest complete frame, where a detector would look for the jumper, and says how far it has come.
static void look_at_newest_frame(const Worker& worker) {
    const int32_t feed = worker.feed;
    lock(worker, kMutexNw + feed);
    const uint32_t written = shared_load(worker.control->feed[feed][worker.channel].nw);
    unlock(worker, kMutexNw + feed);
    const uint8_t* slot = worker.ring + feed_slot_offset(newest_slot(written));
    const uint8_t* luma = slot + y_plane_offset();
    const auto* header = reinterpret_cast<const FrameSlotHeader*>(slot);
    printf("frame %lld, brightness of its middle %d\n", static_cast<long long>(shared_load(header->seq)),
           luma[kFeedHeight / 2 * kFrameWidth + kFrameWidth / 2]);
    lock(worker, kMutexMotionIdx + feed);
    shared_store(worker.control->motion_idx[feed], written);
    unlock(worker, kMutexMotionIdx + feed);
}

static void work(Worker* worker) {
    const int32_t wake = kEventMotionWake + worker->feed;
    set_ready(*worker, kWorkerAttached);
    while (shared_load(worker->control->shutdown) == 0) {
        const bool woken = WaitForSingleObject(worker->event[wake], kPollMs) == WAIT_OBJECT_0;
        if (woken) ResetEvent(worker->event[wake]);
        if (!follow_live_channel(worker)) continue;
        set_ready(*worker, kWorkerReady);
        if (woken && shared_load(worker->control->motion_paused[worker->feed]) == 0) look_at_newest_frame(*worker);
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
