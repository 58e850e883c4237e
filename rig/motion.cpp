// motion.exe FEED SETTINGS_PATH: the simulated motion worker of one feed. It looks at every frame of the feed's ring
// in place, marks those with motion, tells the console and the movie builder about the jumper, and under diagnostic
// logging writes the motion log from which Auto Setup computes the rig's timing.
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "rig/blob_mark.h"
#include "rig/common/rig_options.h"
#include "rig/common/rig_settings.h"
#include "rig/common/worker_runtime.h"
#include "rig/detection.h"
#include "rig/feed_ring.h"
#include "rig/motion_line.h"
#include "rig/motion_settings.h"
#include "rig/motion_share.h"
#include "rig/passage.h"
#include "rig/settings_reload.h"

namespace {

constexpr uint32_t kPollMs = 4;
constexpr uint32_t kLargestLag = 200;    // frames behind the source before the worker skips ahead
constexpr int32_t kSlowWindow = 120;     // frames over which slowness is judged
constexpr int32_t kSlowShare = 4;        // slow when more than a quarter of them were
constexpr int32_t kReferenceFeed = 1;    // its log carries the scene triggers of all feeds
constexpr uint32_t kMotionFoundBit = 1;  // of motion_flags

struct Motion {
    Worker worker;
    int32_t feed;
    const char* settings_path;
    uint32_t settings_generation;
    MotionSettings settings;
    int32_t slow_above_width;  // of rig.txt
    FeedRing ring;
    uint32_t next;  // index of the next frame to look at
    bool paused;
    Detector detector;
    PassageTracker passage;
    TriggerLines triggers;
    FILE* log;  // null while diagnostic logging is off
    int32_t window_frames, window_slow;
};

}  // namespace

static bool same_box(const PixelBox& a, const PixelBox& b) {
    return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}

static void load_settings(Motion* motion) {
    RigSettings file;
    motion->settings_generation = shared_load(motion->worker.control->settings_generation);
    if (settings_reload(&file, motion->settings_path) != 0) {
        worker_log(&motion->worker, "cannot read %s, settings stay as they are", motion->settings_path);
        return;
    }
    const PixelBox before = motion->settings.detection.region;
    motion->settings = motion_settings_for(file, motion->feed);
    const PixelBox& region = motion->settings.detection.region;
    if (!same_box(before, region)) detector_forget(&motion->detector);  // what lies outside was not kept up to date
    worker_log(&motion->worker, "settings generation %u: region (%d,%d)-(%d,%d), smallest blob %d",
               motion->settings_generation, region.x0, region.y0, region.x1, region.y1,
               motion->settings.detection.min_blob_size);
}

// A log belongs to one run: it is made anew each time logging is switched on.
static void follow_logging(Motion* motion) {
    const bool wanted = shared_load(motion->worker.control->diag_logging) != 0;
    if (wanted == (motion->log != nullptr)) return;
    if (!wanted) {
        fclose(motion->log);
        motion->log = nullptr;
        return;
    }
    char name[32];
    snprintf(name, sizeof name, "motion_debug_%d.log", motion->feed);
    motion->log = fopen(name, "w");
}

static void write_log_line(Motion* motion, const char* text) {
    if (motion->log == nullptr) return;
    fprintf(motion->log, "%s\n", text);
    fflush(motion->log);
}

static void publish_passage(Motion* motion) {
    ControlBlock* control = motion->worker.control;
    const MotionShare& share = motion->passage.share;
    const bool changed = shared_load(control->motion_active[motion->feed]) != share.active;
    worker_lock(&motion->worker, kMutexOutput);
    motion_share_write(control, motion->feed, share);
    shared_store(control->motion_active[motion->feed], share.active);
    worker_unlock(&motion->worker, kMutexOutput);
    if (changed)
        worker_log(&motion->worker, "passage %u %s, seq %lld..%lld", share.passages, share.active ? "begins" : "ends",
                   static_cast<long long>(share.first_seq), static_cast<long long>(share.last_seq));
}

static void write_trigger_lines(Motion* motion, int64_t seq, int64_t pts) {
    TriggerFrame frame{seq, pts, {}};
    worker_lock(&motion->worker, kMutexOutput);
    for (int32_t feed = 0; feed < kFeedCount; ++feed)
        frame.share[feed] = motion_share_read(motion->worker.control, feed);
    worker_unlock(&motion->worker, kMutexOutput);
    const TriggerAnswer answer = trigger_step(&motion->triggers, frame);
    char text[128];
    if (answer.movie_cut) write_log_line(motion, "movie_active 1->0");
    if (answer.movie_started) write_log_line(motion, "movie_active 0->1");
    if (answer.f1) {
        snprintf(text, sizeof text, "SCENE TRIGGER (f1) first sight fire_seq=%lld",
                 static_cast<long long>(answer.f1_seq));
        write_log_line(motion, text);
    }
    if (answer.f2) {
        snprintf(text, sizeof text, "SCENE TRIGGER (f2) first sight fire_seq=%lld",
                 static_cast<long long>(answer.f2_seq));
        write_log_line(motion, text);
    }
    if (answer.f0_override) {
        snprintf(text, sizeof text, "SCENE TRIGGER OVERRIDE (f0) trigger column passed fire_seq=%lld",
                 static_cast<long long>(answer.f0_seq));
        write_log_line(motion, text);
    }
    if (answer.movie_ended) write_log_line(motion, "movie_active 1->0");
}

static void count_trial(Motion* motion, bool slow) {
    ControlBlock* control = motion->worker.control;
    // Added in one step: the console clears these at each trial's start, and a load and a store would undo that.
    std::atomic_ref(control->motion_trial_frames[motion->feed]).fetch_add(1, std::memory_order_relaxed);
    if (slow) std::atomic_ref(control->motion_slow_frames[motion->feed]).fetch_add(1, std::memory_order_relaxed);
    motion->window_slow += slow;
    if (++motion->window_frames < kSlowWindow) return;
    const bool runs_slow = motion->window_slow * kSlowShare > motion->window_frames;
    shared_store(control->motion_slow[motion->feed], runs_slow ? 1u : 0u);
    motion->window_frames = motion->window_slow = 0;
}

static void set_motion_idx(Motion* motion) {
    worker_lock(&motion->worker, kMutexMotionIdx + motion->feed);
    shared_store(motion->worker.control->motion_idx[motion->feed], motion->next);
    worker_unlock(&motion->worker, kMutexMotionIdx + motion->feed);
}

static void look_at_frame(Motion* motion, uint32_t index) {
    FrameSlotHeader* slot = feed_ring_slot(&motion->ring, index);
    const int64_t seq = shared_load(slot->seq);
    const int64_t pts = shared_load(slot->pts);
    const int64_t before_us = worker_now_us();
    const Detection found = detector_step(&motion->detector, motion->settings.detection, feed_slot_y(slot),
                                          feed_slot_u(slot), feed_slot_v(slot));
    const int64_t forced_us = forced_frame_us(motion->settings, motion->slow_above_width);
    const int64_t left_us = forced_us - (worker_now_us() - before_us);
    if (left_us > 0) worker_sleep_ms(static_cast<uint32_t>((left_us + 999) / 1000));
    const int64_t took_us = worker_now_us() - before_us;
    count_trial(motion, frame_is_slow(motion->settings, motion->slow_above_width, took_us));

    const uint32_t flags = shared_load(slot->motion_flags) & ~kMotionFoundBit;
    shared_store(slot->motion_flags, found.type != 0 ? flags | kMotionFoundBit : flags);
    BlobMark* mark = blob_mark(slot);
    shared_store(mark->x, found.x);
    shared_store(mark->y, found.y);
    shared_store(mark->size, found.type != 0 ? found.size : 0);
    shared_store(mark->frame, static_cast<uint32_t>(seq));
    const PassageFrame frame{seq, pts, found.type != 0, found.x, found.y};
    if (passage_step(&motion->passage, motion->settings.passage, frame)) publish_passage(motion);
    if (motion->log != nullptr) {
        char text[512];
        format_motion_line(text, sizeof text, motion->feed, seq, pts, found);
        write_log_line(motion, text);
        if (motion->feed == kReferenceFeed) write_trigger_lines(motion, seq, pts);
    }
}

// Puts the reader where the source is: at its start, after a restart of its counter, and when hopelessly behind.
static void keep_up(Motion* motion, uint32_t written) {
    const uint32_t readable = written >= 1 ? written - 1 : 0;  // frames 0 .. written - 2
    if (motion->next > readable) {
        worker_log(&motion->worker, "the source starts again: frame %u after %u", readable, motion->next);
        motion->next = readable;
        detector_forget(&motion->detector);
    } else if (readable - motion->next > kLargestLag) {
        worker_log(&motion->worker, "skips %u frames", readable - motion->next);
        motion->next = readable;
    }
}

// While detection is paused or switched off the source may be swapped: move along, and take the next picture as a new
// scene.
static bool move_along_paused(Motion* motion, uint32_t written) {
    const bool asked = shared_load(motion->worker.control->motion_paused[motion->feed]) != 0;
    const bool paused = asked || !motion->settings.motion_on;
    if (paused != motion->paused) worker_log(&motion->worker, paused ? "detection paused" : "detection resumed");
    motion->paused = paused;
    if (!paused) return false;
    if (motion->passage.share.active != 0) {
        motion->passage.share.active = 0;
        publish_passage(motion);
    }
    motion->next = written >= 1 ? written - 1 : 0;
    detector_forget(&motion->detector);
    set_motion_idx(motion);
    return true;
}

static bool settings_changed(const Motion* motion) {
    return shared_load(motion->worker.control->settings_generation) != motion->settings_generation;
}

// All frames that wait, as long as the settings stay: with a narrower region the backlog goes faster. Returns false
// when there was none.
static bool work_off(Motion* motion) {
    bool changed = false;
    if (!feed_ring_follow(&motion->worker, &motion->ring, &changed)) return false;
    const uint32_t written = feed_ring_written(&motion->worker, &motion->ring);
    if (changed) {
        motion->next = written >= 1 ? written - 1 : 0;
        detector_forget(&motion->detector);
        worker_set_ready(&motion->worker, kWorkerReady);
    }
    if (move_along_paused(motion, written)) return false;
    keep_up(motion, written);
    bool any = false;
    for (; motion->next + 2 <= written && !settings_changed(motion); any = true) {
        look_at_frame(motion, motion->next);
        ++motion->next;
        set_motion_idx(motion);
    }
    return any;
}

static void run(Motion* motion) {
    Worker* worker = &motion->worker;
    const int32_t wake = kEventMotionWake + motion->feed;
    while (!worker_should_exit(worker)) {
        if (settings_changed(motion)) load_settings(motion);
        follow_logging(motion);
        if (work_off(motion)) continue;
        if (worker_wait(worker, wake, kPollMs) && !worker_should_exit(worker)) worker_reset_event(worker, wake);
    }
}

int main(int argc, char** argv) {
    const int32_t feed = argc > 2 ? atoi(argv[1]) : -1;
    if (feed < 0 || feed >= kFeedCount) {
        fprintf(stderr, "usage: motion FEED SETTINGS_PATH\n");
        return 2;
    }
    Motion motion{};
    if (worker_start(&motion.worker, "motion", feed) != 0) return 1;
    motion.feed = feed;
    motion.settings_path = argv[2];
    motion.ring = feed_ring_make(feed);
    detector_init(&motion.detector);
    motion.passage.share = motion_share_read(motion.worker.control, feed);  // a restarted worker counts on
    motion.passage.share.active = 0;
    worker_answers_for(&motion.worker, &motion.worker.control->motion_ready[feed]);
    worker_set_ready(&motion.worker, kWorkerStarting);
    motion.slow_above_width = rig_options_load("rig.txt").slow_above_width;
    motion.settings = motion_settings_for(RigSettings{}, feed);
    load_settings(&motion);
    worker_set_ready(&motion.worker, kWorkerAttached);
    run(&motion);
    if (motion.log != nullptr) fclose(motion.log);
    shared_store(motion.worker.control->motion_active[feed], 0u);
    feed_ring_close(&motion.ring);
    worker_stop(&motion.worker, 0);
    return 0;
}
