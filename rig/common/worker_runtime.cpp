#include "rig/common/worker_runtime.h"

#include <windows.h>

#include <timeapi.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>

static constexpr int64_t kAttachLimitUs = 10'000'000;
static constexpr int64_t kUpkeepUs = 500'000;
static constexpr int64_t kMicrosecondsPerSecond = 1'000'000;

void worker_log(Worker* worker, const char* format, ...) {
    if (worker->log == nullptr) return;
    SYSTEMTIME now;
    GetLocalTime(&now);
    fprintf(worker->log, "%02d:%02d:%02d.%03d ", now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    va_list arguments;
    va_start(arguments, format);
    vfprintf(worker->log, format, arguments);
    va_end(arguments);
    fputc('\n', worker->log);
    fflush(worker->log);
}

static bool create_sync_objects(Worker* worker) {
    char name[64];
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        snprintf(name, sizeof name, "%s%d", kMutexNamePrefix, i);
        worker->mutex[i] = CreateMutexA(nullptr, FALSE, name);
        snprintf(name, sizeof name, "%s%d", kEventNamePrefix, i);
        worker->event[i] = CreateEventA(nullptr, event_is_manual_reset(i) ? TRUE : FALSE, FALSE, name);
        if (worker->mutex[i] == nullptr || worker->event[i] == nullptr) return false;
    }
    return true;
}

static void close_sync_objects(Worker* worker) {
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        if (worker->mutex[i] != nullptr) CloseHandle(worker->mutex[i]);
        if (worker->event[i] != nullptr) CloseHandle(worker->event[i]);
        worker->mutex[i] = nullptr;
        worker->event[i] = nullptr;
    }
}

// The control block is the console's to create. A worker that is faster than the console waits for it.
static bool attach_control_block(Worker* worker) {
    const int64_t give_up_us = worker_now_us() + kAttachLimitUs;
    while (worker_open_region(kControlBlockName, &worker->control_region) != 0) {
        if (worker_now_us() >= give_up_us) return false;
        worker_sleep_ms(50);
    }
    worker->control = reinterpret_cast<ControlBlock*>(worker->control_region.view);
    return true;
}

// A worker that the console terminated could not free its slot, so a dead owner makes a slot free as well.
static bool slot_is_free(uint32_t pid) {
    if (pid == 0 || pid == kPidSlotEmpty) return true;
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, pid);
    if (process == nullptr) return GetLastError() == ERROR_INVALID_PARAMETER;
    const bool dead = WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
    CloseHandle(process);
    return dead;
}

static void claim_pid_slot(Worker* worker) {
    for (int32_t k = 0; k < kPidSlotCount && worker->pid_slot < 0; ++k) {
        worker_lock(worker, kMutexPidSlot + k);
        if (slot_is_free(shared_load(worker->control->pid_slot[k]))) {
            shared_store(worker->control->pid_slot[k], static_cast<uint32_t>(GetCurrentProcessId()));
            worker->pid_slot = k;
        }
        worker_unlock(worker, kMutexPidSlot + k);
    }
}

static void free_pid_slot(Worker* worker) {
    if (worker->pid_slot < 0) return;
    uint32_t& slot = worker->control->pid_slot[worker->pid_slot];
    worker_lock(worker, kMutexPidSlot + worker->pid_slot);
    if (shared_load(slot) == GetCurrentProcessId()) shared_store(slot, 0u);
    worker_unlock(worker, kMutexPidSlot + worker->pid_slot);
    worker->pid_slot = -1;
}

int32_t worker_start(Worker* worker, const char* name, int32_t feed) {
    *worker = Worker{};
    worker->feed = feed;
    worker->pid_slot = -1;
    snprintf(worker->name, sizeof worker->name, "%s", name);
    char log_name[64];
    if (feed >= 0)
        snprintf(log_name, sizeof log_name, "%s_%d.log", name, feed);
    else
        snprintf(log_name, sizeof log_name, "%s.log", name);
    worker->log = fopen(log_name, "w");
    timeBeginPeriod(1);
    worker_log(worker, "%s feed %d started, process %lu", name, feed, GetCurrentProcessId());
    const char* limit = getenv("ORVEK_RIG_MAX_SECONDS");
    const int64_t seconds = limit != nullptr ? strtoll(limit, nullptr, 10) : 0;
    if (seconds > 0) worker->leave_us = worker_now_us() + seconds * kMicrosecondsPerSecond;
    if (!create_sync_objects(worker)) {
        worker_log(worker, "cannot create the sync objects, error %lu", GetLastError());
        worker_stop(worker, 1);
        return -1;
    }
    if (!attach_control_block(worker)) {
        worker_log(worker, "no control block: is the console running?");
        worker_stop(worker, 1);
        return -1;
    }
    claim_pid_slot(worker);
    worker_log(worker, "attached to the control block, pid slot %d", worker->pid_slot);
    return 0;
}

void worker_stop(Worker* worker, int32_t exit_code) {
    if (worker->control != nullptr) {
        worker_set_ready(worker, kWorkerNotStarted);
        free_pid_slot(worker);
        worker_close_region(&worker->control_region);
        worker->control = nullptr;
    }
    close_sync_objects(worker);
    timeEndPeriod(1);
    worker_log(worker, "exit %d", exit_code);
    if (worker->log != nullptr) fclose(worker->log);
    worker->log = nullptr;
}

void worker_answers_for(Worker* worker, int32_t* ready_field) {
    for (int32_t*& field : worker->ready_field) {
        if (field != nullptr) continue;
        field = ready_field;
        return;
    }
}

void worker_set_ready(Worker* worker, int32_t value) {
    worker->ready_value = value;
    for (int32_t* field : worker->ready_field)
        if (field != nullptr) shared_store(*field, value);
}

// A console that starts after us zeroes the whole block, and an invalidated pid slot of a shut-down that we outlived
// would hide us from the clean-up of the next console.
static void upkeep(Worker* worker) {
    const int64_t now_us = worker_now_us();
    if (now_us < worker->next_upkeep_us) return;
    worker->next_upkeep_us = now_us + kUpkeepUs;
    const int32_t slot = worker->pid_slot;
    if (slot >= 0 && shared_load(worker->control->pid_slot[slot]) != GetCurrentProcessId()) worker->pid_slot = -1;
    if (worker->pid_slot < 0) claim_pid_slot(worker);
    for (int32_t* field : worker->ready_field)
        if (field != nullptr && shared_load(*field) != worker->ready_value) shared_store(*field, worker->ready_value);
}

bool worker_time_is_over(Worker* worker) {
    if (worker->leave_us != 0 && worker_now_us() >= worker->leave_us) {
        worker_log(worker, "the time allowed by ORVEK_RIG_MAX_SECONDS is over");
        return true;
    }
    upkeep(worker);
    return false;
}

bool worker_should_exit(Worker* worker) {
    return shared_load(worker->control->shutdown) == 1 || worker_time_is_over(worker);
}

bool worker_is_paused(const Worker* worker) {
    return shared_load(worker->control->paused) == 1;
}

bool worker_lock(Worker* worker, int32_t mutex_index) {
    const DWORD result = WaitForSingleObject(worker->mutex[mutex_index], kLockTimeoutMs);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

void worker_unlock(Worker* worker, int32_t mutex_index) {
    ReleaseMutex(worker->mutex[mutex_index]);
}

void worker_signal(Worker* worker, int32_t event_index) {
    SetEvent(worker->event[event_index]);
}

void worker_reset_event(Worker* worker, int32_t event_index) {
    ResetEvent(worker->event[event_index]);
}

bool worker_wait(Worker* worker, int32_t event_index, uint32_t timeout_ms) {
    return WaitForSingleObject(worker->event[event_index], timeout_ms) == WAIT_OBJECT_0;
}

int32_t worker_live_channel(Worker* worker) {
    worker_lock(worker, kMutexChannel);
    const int32_t channel = shared_load(worker->control->channel);
    worker_unlock(worker, kMutexChannel);
    return channel < 0 || channel >= kChannelCount ? 0 : channel;
}

uint32_t worker_read_nw(Worker* worker, int32_t feed, int32_t channel) {
    worker_lock(worker, kMutexNw + feed);
    const uint32_t nw = shared_load(worker->control->feed[feed][channel].nw);
    worker_unlock(worker, kMutexNw + feed);
    return nw;
}

int32_t worker_feed_sync_offset(Worker* worker, int32_t feed) {
    worker_lock(worker, kMutexOutput);
    const int32_t offset = shared_load(worker->control->feed_sync_offset[feed]);
    worker_unlock(worker, kMutexOutput);
    return offset;
}

int32_t worker_create_region(Worker* worker, const char* name, uint64_t size, WorkerRegion* region) {
    *region = WorkerRegion{};
    HANDLE mapping = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, static_cast<DWORD>(size >> 32),
                                        static_cast<DWORD>(size), name);
    const DWORD error = GetLastError();
    if (mapping == nullptr) {
        worker_log(worker, "cannot create region %s, error %lu", name, error);
        return -1;
    }
    void* view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    if (view == nullptr) {
        worker_log(worker, "cannot map region %s, error %lu", name, GetLastError());
        CloseHandle(mapping);
        return -1;
    }
    // Fresh pages of the page file are zero already; touching all of them here would only cost a second at start-up.
    *region = WorkerRegion{mapping, static_cast<uint8_t*>(view), size, error != ERROR_ALREADY_EXISTS};
    worker_log(worker, "%s region %s", region->created ? "created" : "attached to", name);
    return 0;
}

int32_t worker_open_region(const char* name, WorkerRegion* region) {
    *region = WorkerRegion{};
    HANDLE mapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name);
    if (mapping == nullptr) return -1;
    void* view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    if (view == nullptr) {
        CloseHandle(mapping);
        return -1;
    }
    MEMORY_BASIC_INFORMATION information;
    const SIZE_T got = VirtualQuery(view, &information, sizeof information);
    *region = WorkerRegion{mapping, static_cast<uint8_t*>(view), got != 0 ? information.RegionSize : 0, false};
    return 0;
}

void worker_close_region(WorkerRegion* region) {
    if (region->view != nullptr) UnmapViewOfFile(region->view);
    if (region->mapping != nullptr) CloseHandle(region->mapping);
    *region = WorkerRegion{};
}

void worker_publish_feed_frame(Worker* worker, int32_t feed, int32_t channel, uint32_t nw, int64_t seq) {
    FeedChannelBlock& block = worker->control->feed[feed][channel];
    shared_store<int64_t>(block.frame_seq, seq + 1);
    worker_lock(worker, kMutexNw + feed);
    shared_store(block.nw, nw + 1);
    worker_unlock(worker, kMutexNw + feed);
    uint32_t& count = worker->control->feed_frame_count[feed];
    shared_store(count, shared_load(count) + 1);
    worker_signal(worker, kEventNewFrame);
}

int64_t worker_now_us() {
    LARGE_INTEGER counter;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    const int64_t seconds = counter.QuadPart / frequency.QuadPart;
    const int64_t rest = counter.QuadPart % frequency.QuadPart;
    return seconds * kMicrosecondsPerSecond + rest * kMicrosecondsPerSecond / frequency.QuadPart;
}

int64_t worker_pts_us(const Worker* worker) {
    return worker_now_us() - shared_load(worker->control->sync_epoch_us);
}

void worker_sleep_ms(uint32_t ms) {
    Sleep(ms);
}

void pacer_start(Pacer* pacer, int64_t max_lag_us) {
    *pacer = Pacer{worker_now_us(), 0, max_lag_us, 0};
}

int64_t pacer_due_us(const Pacer* pacer) {
    return pacer->base_us + pacer->frame * kMicrosecondsPerSecond / kFramesPerSecond;
}

int64_t pacer_wait(Pacer* pacer) {
    ++pacer->frame;
    const int64_t ahead_us = pacer_due_us(pacer) - worker_now_us();
    if (ahead_us > 0) {
        Sleep(static_cast<DWORD>((ahead_us + 999) / 1000));
        return 1;
    }
    if (-ahead_us <= pacer->max_lag_us) return 1;
    const int64_t lost = -ahead_us * kFramesPerSecond / kMicrosecondsPerSecond;
    pacer->frame += lost;
    pacer->lost_frames += lost;
    return 1 + lost;
}
