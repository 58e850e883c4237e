// What every worker program does with the console, in one place: attach, register, announce readiness, obey, leave.
// Read together with the headers of ipc/ this is how a real worker is to behave.
//
// A worker outlives a console that dies: the next console ends it through its pid slot. Test runs bound that with the
// environment variable ORVEK_RIG_MAX_SECONDS, after which every worker leaves by itself.
#pragma once

#include <cstdint>
#include <cstdio>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"

inline constexpr int64_t kFramesPerSecond = 60;

// A named mapping of this worker's. Freed by the end of the process or worker_close_region.
struct WorkerRegion {
    void* mapping;
    uint8_t* view;
    uint64_t size;
    bool created;  // this process made it, so it holds zeros
};

struct Worker {
    ControlBlock* control;
    WorkerRegion control_region;
    void* mutex[kSyncObjectCount];
    void* event[kSyncObjectCount];
    FILE* log;
    char name[32];
    int32_t feed;             // -1: a worker for all feeds
    int32_t pid_slot;         // -1: none claimed
    int32_t* ready_field[3];  // the readiness fields this worker answers for; null = unused
    int32_t ready_value;      // what it last announced
    int64_t leave_us;         // worker_now_us at which a bounded run ends; 0 = never
    int64_t next_upkeep_us;
};

// Opens the log `<name>_<feed>.log` (`<name>.log` for feed -1) in the working directory, creates or opens the sync
// objects, waits up to 10 s for the control block and claims a pid slot. Returns 0; -1, everything undone and the
// reason logged, when there is no control block.
int32_t worker_start(Worker* worker, const char* name, int32_t feed);

// Logs the exit, withdraws readiness, frees the pid slot, closes everything but mapped regions.
void worker_stop(Worker* worker, int32_t exit_code);

// One line: time of day, text.
void worker_log(Worker* worker, const char* format, ...) __attribute__((format(gnu_printf, 2, 3)));

// Registers a readiness field (source_ready[f], motion_ready[f], videogen_state, viewer_state); at most three.
void worker_answers_for(Worker* worker, int32_t* ready_field);

// Announces kWorkerStarting, kWorkerAttached or kWorkerReady in all registered fields.
void worker_set_ready(Worker* worker, int32_t value);

// True once the console asked everybody to leave, or the bounded run is over. Call it at least every 200 ms: it also
// repeats what a console started later has zeroed (pid slot, readiness).
bool worker_should_exit(Worker* worker);
// The same for a recorder, which the console asks to leave through capfile_shutdown alone: only whether the bounded
// run is over.
bool worker_time_is_over(Worker* worker);

bool worker_is_paused(const Worker* worker);

// At most kLockTimeoutMs; go ahead either way, then unlock.
bool worker_lock(Worker* worker, int32_t mutex_index);
void worker_unlock(Worker* worker, int32_t mutex_index);
void worker_signal(Worker* worker, int32_t event_index);
void worker_reset_event(Worker* worker, int32_t event_index);
// True when the event was signalled within `timeout_ms`.
bool worker_wait(Worker* worker, int32_t event_index, uint32_t timeout_ms);

// Field access under the field's mutex.
int32_t worker_live_channel(Worker* worker);  // clamped to 0..2
uint32_t worker_read_nw(Worker* worker, int32_t feed, int32_t channel);
int32_t worker_feed_sync_offset(Worker* worker, int32_t feed);

// Creates the region, or attaches to it where it exists, contents untouched. Returns 0 or -1, logged.
int32_t worker_create_region(Worker* worker, const char* name, uint64_t size, WorkerRegion* region);
// Opens an existing region. Returns 0, or -1 without a log line: callers poll.
int32_t worker_open_region(const char* name, WorkerRegion* region);
void worker_close_region(WorkerRegion* region);

// Writes what belongs to a finished feed frame in slot nw % kRingSlots: counts it in frame_seq, feed_frame_count and
// nw and wakes the readers. The caller has filled header and picture before. Only the one source of a feed calls
// this.
void worker_publish_feed_frame(Worker* worker, int32_t feed, int32_t channel, uint32_t nw, int64_t seq);

// Microseconds of the performance counter.
int64_t worker_now_us();
// The same against the console's common origin: a frame's pts.
int64_t worker_pts_us(const Worker* worker);
void worker_sleep_ms(uint32_t ms);

// 60 frames per second without drift. A pacer that falls further behind than `max_lag_us` gives up the lost time.
struct Pacer {
    int64_t base_us;  // when frame 0 was due
    int64_t frame;    // frames waited for so far
    int64_t max_lag_us;
    int64_t lost_frames;  // given up so far
};
void pacer_start(Pacer* pacer, int64_t max_lag_us);
// Sleeps until the next frame is due and returns how many frame times have passed since the last call: 1, or more
// after time was given up.
int64_t pacer_wait(Pacer* pacer);
// When the pacer's current frame was due, in worker_now_us time: evenly spaced, unlike the moment we woke up.
int64_t pacer_due_us(const Pacer* pacer);
