#include "tools/orvekctl_status.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <windows.h>

#include "ipc/control_block_reset.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_access.h"
#include "ipc/worker_names.h"
#include "tools/nt_query.h"
#include "tools/orvekctl.h"
#include "tools/status_screen.h"

static constexpr DWORD kWatchPeriodMs = 1000;

// The first `size` bytes of a region; invalid when it does not exist or is smaller. The view alone keeps the region.
static ScopedView view_region(const char* name, uint64_t size) {
    const ScopedHandle mapping(OpenFileMappingA(FILE_MAP_READ, FALSE, name));
    return ScopedView(mapping.valid() ? MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, size) : nullptr);
}

static ScopedView view_region(int32_t region) {
    char name[32];
    region_name(name, region);
    return view_region(name, region_expected_size(region));
}

// The performance counter in microseconds.
static int64_t clock_us() {
    LARGE_INTEGER counter = {};
    LARGE_INTEGER frequency = {};
    if (!QueryPerformanceCounter(&counter) || !QueryPerformanceFrequency(&frequency)) return 0;
    return performance_counter_us(counter.QuadPart, frequency.QuadPart);
}

// Copies word by word: every field lies within one of these words, so none is torn.
static bool copy_control_block(ControlBlock* block) {
    constexpr size_t kWords = kControlBlockSize / sizeof(uint64_t);
    static_assert(kWords * sizeof(uint64_t) == kControlBlockSize);
    const ScopedView view = view_region(kRegionControl);
    if (!view.valid()) return false;
    const auto* const words = static_cast<const uint64_t*>(view.get());
    uint64_t copy[kWords] = {};
    for (size_t i = 0; i < kWords; ++i) copy[i] = shared_load(words[i]);
    memcpy(block, copy, sizeof copy);
    return true;
}

static void look_at_regions(StatusSnapshot* status) {
    char name[32];
    for (int32_t i = 0; i < kRegionCount; ++i) {
        region_name(name, i);
        status->region[i] = query_region(name);
    }
    const ScopedView jumpers = status->region[kRegionJumpers].present ? view_region(kRegionJumpers) : ScopedView();
    status->has_jumpers = jumpers.valid();
    if (jumpers.valid()) status->jumper_count = shared_load(static_cast<const JumperRegion*>(jumpers.get())->count);
}

static void look_at_sync_objects(StatusWatch* watch, StatusSnapshot* status) {
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        status->mutex[i] = query_mutex((kMutexNamePrefix + std::to_string(i)).c_str());
        int32_t& looks = watch->mutex_held_looks[i];
        looks = status->mutex[i] == MutexState::held ? looks + 1 : 0;
        status->mutex_held_looks[i] = looks;
        bool manual_reset = event_is_manual_reset(i);
        status->event[i] = query_event((kEventNamePrefix + std::to_string(i)).c_str(), &manual_reset);
        if (manual_reset != event_is_manual_reset(i)) status->odd_events |= uint64_t{1} << i;
    }
}

static const FrameSlotHeader* slot_header(const ScopedView& ring, uint64_t offset) {
    return reinterpret_cast<const FrameSlotHeader*>(static_cast<const uint8_t*>(ring.get()) + offset);
}

// Adds the headers of `frames` to the history. A slot nobody has written yet is a page nobody has touched yet: a ring
// that was made anew under an old counter is left alone.
static void read_frames(int32_t region, FrameRange frames, RingHistory* history) {
    if (frames.first == frames.end) return;
    const ScopedView view = view_region(region);
    if (!view.valid()) return;
    const FrameSlotHeader* const newest = slot_header(view, feed_slot_offset((frames.end - 1) % kRingSlots));
    if (shared_load(newest->pts) == 0 && shared_load(newest->seq) == 0) return;
    for (uint32_t frame = frames.first; frame != frames.end; ++frame) {
        const FrameSlotHeader* const slot = slot_header(view, feed_slot_offset(frame % kRingSlots));
        ring_history_add(history, shared_load(slot->pts), shared_load(slot->seq));
    }
}

static void show_newest(const ControlBlock& block, int64_t now_us, int64_t pts, int64_t seq, StatusRing* ring) {
    ring->has_newest = true;
    ring->newest_seq = seq;
    ring->has_age = frame_age(now_us, block.sync_epoch_us, pts, &ring->newest_age_us);
}

static void look_at_feed_ring(int32_t f, int32_t c, int64_t now_us, StatusWatch* watch, StatusSnapshot* status) {
    const int32_t region = feed_region_number(f, c);
    RingHistory& history = watch->feed_ring[f][c];
    ClockHistory& clock = watch->feed_clock[f][c];
    if (!status->region[region].present) {
        history = {};
        clock = {};
        return;
    }
    const uint32_t nw = status->block.feed[f][c].nw;
    StatusRing& ring = status->feed_ring[f][c];
    clock_history_step(&clock, region, nw, now_us);
    read_frames(region, ring_history_look(&history, nw), &history);
    if (history.chained) show_newest(status->block, now_us, history.pts, history.seq, &ring);
    ring.stamp_rate = ring_history_rate(history, ring.has_age && ring.newest_age_us <= kRateWindowUs);
    ring.clock_rate = clock.rate;
    ring.longest_us = history.longest_us;
    ring.lost = history.lost;
    ring.interruptions = history.interruptions;
}

static void look_at_output_ring(int64_t now_us, ClockHistory* clock, StatusSnapshot* status) {
    const int32_t shown = status->block.output_active == 0 ? 1 : 0;
    const int32_t frame = status->block.output_frame_idx;
    StatusRing& ring = status->output_ring[shown];
    clock_history_step(clock, shown, frame, now_us);
    ring.clock_rate = clock->rate;
    if (frame < 0 || !status->region[kRegionOutputs + shown].present) return;
    const ScopedView view = view_region(kRegionOutputs + shown);
    if (!view.valid()) return;
    const FrameSlotHeader* const slot = slot_header(view, output_slot_offset(static_cast<uint32_t>(frame)));
    show_newest(status->block, now_us, shared_load(slot->pts), shared_load(slot->seq), &ring);
}

static void look_at_rings(StatusWatch* watch, StatusSnapshot* status) {
    const int64_t now_us = clock_us();
    for (int32_t f = 0; f < kFeedCount; ++f)
        for (int32_t c = 0; c < kChannelCount; ++c) look_at_feed_ring(f, c, now_us, watch, status);
    look_at_output_ring(now_us, &watch->output_clock, status);
}

static void look_at_rates(StatusWatch* watch, StatusSnapshot* status) {
    status->has_rates = watch->frames.started;
    const DWORD now_ms = GetTickCount();
    feed_rates_step(&watch->frames, now_ms, status->block.feed_frame_count);
    feed_rates_step(&watch->motion, now_ms, status->block.motion_idx);
    for (int32_t f = 0; f < kFeedCount; ++f) {
        status->rates.frames[f] = watch->frames.fps[f];
        status->rates.motion[f] = watch->motion.fps[f];
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

bool status_read(StatusWatch* watch, StatusSnapshot* status) {
    StatusSnapshot seen;
    if (!copy_control_block(&seen.block)) return false;
    look_at_regions(&seen);
    look_at_rings(watch, &seen);
    look_at_rates(watch, &seen);
    look_at_sync_objects(watch, &seen);
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot)
        seen.worker[slot] = look_at_worker(seen.block.pid_slot[slot]);
    *status = std::move(seen);
    return true;
}

static void say_that_there_is_nothing() {
    const StatusRegion region = query_region(kControlBlockName);
    if (!region.present) {
        fputs("orvekctl: there is no control block: no controller and no worker is running\n", stderr);
    } else if (region.size_known) {
        fprintf(stderr, "orvekctl: the control block has %llu bytes instead of %u: made by another program\n",
                static_cast<unsigned long long>(region.size), kControlBlockSize);
    } else {
        fputs("orvekctl: the control block may not be read: try as the user who runs the controller\n", stderr);
    }
}

static bool print(const StatusSnapshot& status, bool json, bool watch, bool first) {
    if (watch && !json && screen_is_console()) return screen_paint(status_as_text(status), first);
    fputs((json ? status_as_json(status) : status_as_text(status)).c_str(), stdout);
    if (watch && !json) fputc('\n', stdout);
    return fflush(stdout) == 0;
}

// Looks and prints, once a second when watching, until `stop` is signalled or the control block is gone.
static int32_t report(bool json, bool watch, HANDLE stop) {
    auto memory = std::make_unique<StatusWatch>();
    auto status = std::make_unique<StatusSnapshot>();
    for (bool first = true;; first = false) {
        if (!status_read(memory.get(), status.get())) {
            say_that_there_is_nothing();
            return kSaysNo;
        }
        if (!print(*status, json, watch, first)) return kFailed;
        if (!watch || WaitForSingleObject(stop, kWatchPeriodMs) == WAIT_OBJECT_0) return kDone;
    }
}

// The handler runs in a thread of its own and gets no argument, so what it signals has to lie here.
static HANDLE stop_watching;

static BOOL WINAPI on_console_event(DWORD what) {
    if (what != CTRL_C_EVENT && what != CTRL_BREAK_EVENT) return FALSE;
    return SetEvent(stop_watching);
}

static int32_t watch_until_stopped(bool json) {
    const ScopedHandle stop(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    stop_watching = stop.get();
    SetConsoleCtrlHandler(on_console_event, TRUE);
    const int32_t result = report(json, true, stop.get());
    SetConsoleCtrlHandler(on_console_event, FALSE);
    if (!json && screen_is_console()) fputc('\n', stdout);
    return result;
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
    return watch ? watch_until_stopped(json) : report(json, false, nullptr);
}
