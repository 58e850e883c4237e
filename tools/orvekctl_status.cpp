#include "tools/orvekctl_status.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <windows.h>

#include "app/feed_rates.h"
#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/jumper_region.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"
#include "ipc/worker_names.h"
#include "tools/orvekctl.h"
#include "tools/status_text.h"

static constexpr DWORD kWatchPeriodMs = 1000;

static bool region_exists(const char* name) {
    return ScopedHandle(OpenFileMappingA(FILE_MAP_READ, FALSE, name)).valid();
}

// The first `size` bytes of a region; invalid when it does not exist or is smaller. The view alone keeps the region.
static ScopedView view_region(const char* name, uint32_t size) {
    const ScopedHandle mapping(OpenFileMappingA(FILE_MAP_READ, FALSE, name));
    return ScopedView(mapping.valid() ? MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, size) : nullptr);
}

// Copies word by word: every field lies within one of these words, so none is torn.
static bool copy_control_block(ControlBlock* block) {
    constexpr size_t kWords = kControlBlockSize / sizeof(uint64_t);
    static_assert(kWords * sizeof(uint64_t) == kControlBlockSize);
    const ScopedView view = view_region(kControlBlockName, kControlBlockSize);
    if (!view.valid()) return false;
    const auto* const words = static_cast<const uint64_t*>(view.get());
    uint64_t copy[kWords] = {};
    for (size_t i = 0; i < kWords; ++i) copy[i] = shared_load(words[i]);
    memcpy(block, copy, sizeof copy);
    return true;
}

static void look_at_regions(StatusSnapshot* status) {
    char name[32];
    for (int32_t f = 0; f < kFeedCount; ++f)
        for (int32_t c = 0; c < kChannelCount; ++c) {
            feed_region_name(name, f, c);
            status->feed_ring[f][c] = region_exists(name);
        }
    for (int32_t output = 0; output < kOutputRegionCount; ++output) {
        output_region_name(name, output);
        status->output_ring[output] = region_exists(name);
    }
    const ScopedView jumpers = view_region(kJumperRegionName, kJumperRegionSize);
    status->has_jumpers = jumpers.valid();
    if (jumpers.valid()) status->jumper_count = shared_load(static_cast<const JumperRegion*>(jumpers.get())->count);
}

static void look_at_sync_objects(StatusSnapshot* status) {
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        const std::string mutex = kMutexNamePrefix + std::to_string(i);
        const std::string event = kEventNamePrefix + std::to_string(i);
        if (ScopedHandle(OpenMutexA(SYNCHRONIZE, FALSE, mutex.c_str())).valid()) status->mutexes |= uint64_t{1} << i;
        if (ScopedHandle(OpenEventA(SYNCHRONIZE, FALSE, event.c_str())).valid()) status->events |= uint64_t{1} << i;
    }
}

static StatusWorker look_at_worker(uint32_t pid) {
    StatusWorker worker;
    worker.pid = pid;
    if (pid_slot_is_empty(pid)) return worker;
    worker.presence = WorkerPresence::gone;
    const ScopedHandle process(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, pid));
    if (!process.valid()) {
        // Refused means that somebody is there.
        if (GetLastError() == ERROR_ACCESS_DENIED) worker.presence = WorkerPresence::running;
        return worker;
    }
    // A process that ended can still be opened while anyone holds a handle to it.
    if (WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0) return worker;
    worker.presence = WorkerPresence::running;
    char path[1024] = "";
    DWORD length = sizeof path;
    if (QueryFullProcessImageNameA(process.get(), 0, path, &length)) worker.image = image_base_name(path);
    return worker;
}

bool status_read(StatusSnapshot* status) {
    StatusSnapshot seen;
    if (!copy_control_block(&seen.block)) return false;
    look_at_regions(&seen);
    look_at_sync_objects(&seen);
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot)
        seen.worker[slot] = look_at_worker(seen.block.pid_slot[slot]);
    *status = std::move(seen);
    return true;
}

// Looks and prints, once a second when watching, until Ctrl+C ends the program or the control block is gone.
static int32_t report(bool json, bool watch) {
    FeedRates frames;
    FeedRates motion;
    auto status = std::make_unique<StatusSnapshot>();
    for (;;) {
        if (!status_read(status.get())) {
            fputs("orvekctl: there is no control block: no controller and no worker is running\n", stderr);
            return kSaysNo;
        }
        status->has_rates = frames.started;
        const DWORD now_ms = GetTickCount();
        feed_rates_step(&frames, now_ms, status->block.feed_frame_count);
        feed_rates_step(&motion, now_ms, status->block.motion_idx);
        for (int32_t f = 0; f < kFeedCount; ++f) {
            status->rates.frames[f] = frames.fps[f];
            status->rates.motion[f] = motion.fps[f];
        }
        fputs((json ? status_as_json(*status) : status_as_text(*status)).c_str(), stdout);
        if (watch && !json) fputc('\n', stdout);
        if (fflush(stdout) != 0) return kFailed;
        if (!watch) return kDone;
        Sleep(kWatchPeriodMs);
    }
}

int32_t orvekctl_status(int argc, char** argv) {
    bool json = false;
    bool watch = false;
    for (int i = 0; i < argc; ++i) {
        if (strcmp(argv[i], "--json") == 0) {
            json = true;
        } else if (strcmp(argv[i], "--watch") == 0) {
            watch = true;
        } else {
            fputs("orvekctl: status knows only --json and --watch\n", stderr);
            return kFailed;
        }
    }
    return report(json, watch);
}
