#include "procs/feed_orchestration.h"

#include <cstdio>
#include <string>

#include "app/log.h"
#include "app/timers.h"
#include "app/ui_context.h"
#include "ipc/control_block_reset.h"
#include "ipc/shared_access.h"
#include "procs/capture_sync.h"
#include "procs/feed_sync.h"
#include "procs/file_capture.h"
#include "procs/live_counters.h"
#include "procs/worker_commands.h"

static bool is_running(const UiContext* ui, uint32_t kind, int32_t feed) {
    return procmgr_find_running(ui->processes, kind, worker_slot_index(kind, feed)) >= 0;
}

static const char* worker_argument(const UiContext* ui, uint32_t kind, int32_t feed) {
    if (kind == kKindCapture) return ui->settings->camera_device_path[feed];
    if (kind == kKindFileplayer) return ui->cli.practice_dir;
    return ui->settings_path;
}

static int32_t spawn(UiContext* ui, uint32_t kind, int32_t feed) {
    char command_line[kCommandTextSize];
    if (worker_command_line(kind, ui->exe_dir, feed, worker_argument(ui, kind, feed), command_line) != 0) return -1;
    return procmgr_spawn(ui->processes, kind, worker_slot_index(kind, feed), command_line,
                         worker_kind(kind)->auto_restart);
}

// Ends the child if it runs; whether it did.
static bool stop_running(UiContext* ui, uint32_t kind, int32_t feed) {
    const int32_t slot = procmgr_find_running(ui->processes, kind, worker_slot_index(kind, feed));
    if (slot < 0) return false;
    procmgr_stop(ui->processes, slot, kStopTimeoutMs);
    return true;
}

static void stop_practice_programs(UiContext* ui) {
    for (const uint32_t kind : {kKindFileplayer, kKindVideogen, kKindViewer})
        procmgr_stop_kind(ui->processes, static_cast<int32_t>(kind), kStopTimeoutMs);
    if (ControlBlock* control = ui_control_block(ui)) {
        shared_store(control->videogen_state, int32_t{0});
        shared_store(control->viewer_state, int32_t{0});
    }
}

static void run_reset(UiContext* ui) {
    if (ControlBlock* control = ui_control_block(ui)) control_block_reset_run(control);
}

// Captures and motion of all active feeds, whatever may be running already.
static int32_t spawn_active_feeds(UiContext* ui) {
    const FeedSlots slots = active_feed_slots(ui->settings->feed_count);
    for (int32_t i = 0; i < slots.count; ++i) {
        spawn(ui, kKindCapture, slots.feed[i]);
        spawn(ui, kKindMotion, slots.feed[i]);
    }
    return slots.count;
}

static void start_readiness_wait(UiContext* ui) {
    readiness_start(&ui->readiness);
    SetTimer(ui->window, kTimerReadinessWait, kReadinessTickMs, nullptr);
}

bool is_practice_active(const UiContext* ui) {
    return is_kind_running(ui, kKindFileplayer);
}

bool is_kind_running(const UiContext* ui, uint32_t kind) {
    return procmgr_find_running(ui->processes, kind, kNoIndex) >= 0;
}

void start_worker(UiContext* ui, uint32_t kind, int32_t feed) {
    spawn(ui, kind, feed);
    ui_rebuild_processes(ui);
}

void stop_worker(UiContext* ui, uint32_t kind, int32_t feed) {
    stop_running(ui, kind, feed);
    ui_rebuild_processes(ui);
}

void start_all(UiContext* ui) {
    run_reset(ui);
    const int32_t spawned = spawn_active_feeds(ui);
    log_info("START_ALL: spawned %d feed(s) for feed_count=%d", spawned, ui->settings->feed_count);
    spawn(ui, kKindVideogen, -1);
    ui_set_status(ui, "All processes started");
    ui_rebuild_processes(ui);
}

void go_live(UiContext* ui) {
    stop_practice_programs(ui);
    motion_pause(ui, true);
    run_reset(ui);
    const int32_t spawned = spawn_active_feeds(ui);
    log_info("GO_LIVE: spawned %d feed(s) for feed_count=%d", spawned, ui->settings->feed_count);
    spawn(ui, kKindVideogen, -1);
    ui_set_status(ui, "Going live...");
    start_readiness_wait(ui);
    ui_rebuild_processes(ui);
}

void stop_all_live_captures(UiContext* ui) {
    int32_t stopped = 0;
    for (int32_t f = 0; f < kFeedCount; ++f)
        if (stop_running(ui, kKindCapture, f)) ++stopped;
    if (stopped > 0) {
        log_info("stop_all_live_captures: stopped %d capture process(es) (motion left running across transition)",
                 stopped);
    }
    ui_rebuild_processes(ui);
}

void launch_practice(UiContext* ui) {
    stop_all_live_captures(ui);
    motion_pause(ui, false);
    run_reset(ui);
    spawn(ui, kKindFileplayer, -1);

    const int32_t feed_count = ui->settings->feed_count;
    const FeedSlots slots = active_feed_slots(feed_count);
    int32_t spawned = 0;
    int32_t kept = 0;
    for (int32_t i = 0; i < slots.count; ++i) {
        const int32_t feed = slots.feed[i];
        if (is_running(ui, kKindMotion, feed)) {
            log_info("Practice: motion[%d] already running — left alone for seamless transition", feed);
            ++kept;
        } else {
            spawn(ui, kKindMotion, feed);
            ++spawned;
        }
    }
    log_info("PRACTICE: feed_count=%d active=%d, spawned %d motion(s), kept %d running", feed_count, slots.count,
             spawned, kept);
    spawn(ui, kKindVideogen, -1);
    ui_set_status(ui, "Practice: launching, waiting for processes...");
    start_readiness_wait(ui);
    ui_rebuild_processes(ui);
}

static ReadinessInputs gather_readiness(UiContext* ui) {
    ReadinessInputs inputs;
    inputs.feed_count = ui->settings->feed_count;
    const ControlBlock* control = ui_control_block(ui);
    if (!control) return inputs;
    inputs.has_control_block = true;
    for (int32_t f = 0; f < kFeedCount; ++f) {
        inputs.source_ready[f] = static_cast<uint32_t>(shared_load(control->source_ready[f]));
        inputs.motion_ready[f] = static_cast<uint32_t>(shared_load(control->motion_ready[f]));
    }
    inputs.videogen_state = shared_load(control->videogen_state);
    return inputs;
}

static void launch_viewer_and_play(UiContext* ui) {
    spawn(ui, kKindViewer, -1);
    ControlBlock* control = ui_control_block(ui);
    if (control && shared_load(control->paused) != 0) {
        shared_store(control->paused, 0u);
        ipc_signal(&ui->sync, kEventResume);
        preview_set_play_text(&ui->preview, "Pause");
    }
    ui_rebuild_processes(ui);
}

void readiness_tick(UiContext* ui) {
    const ReadinessAnswer answer = readiness_step(&ui->readiness, gather_readiness(ui));
    if (answer != ReadinessAnswer::waiting) KillTimer(ui->window, kTimerReadinessWait);
    if (answer == ReadinessAnswer::idle) return;
    if (answer == ReadinessAnswer::ready) launch_viewer_and_play(ui);
    ui_set_status(ui, readiness_status_text(answer, ui->readiness.countdown).c_str());
    readiness_log(answer);
}

static void stop_all_in_practice(UiContext* ui) {
    log_info("Stop All: practice mode exit — targeted stop of practice processes, leaving motion alive");
    stop_practice_programs(ui);
    ui_rebuild_processes(ui);
    motion_pause(ui, true);
    log_info("Stop All: re-syncing live captures (motion left running across transition)");
    sync_captures(ui);
    ui_set_status(ui, "Practice ended — captures resumed; motion stayed alive");
}

void wake_workers_to_shut_down(UiContext* ui) {
    ipc_signal(&ui->sync, kEventResume);
    ipc_signal(&ui->sync, kEventNewOutput);
    for (int32_t f = 0; f < kFeedCount; ++f) ipc_signal(&ui->sync, kEventMotionWake + f);
}

static void clear_readiness_block(ControlBlock* control) {
    for (int32_t f = 0; f < kFeedCount; ++f) {
        shared_store(control->source_ready[f], int32_t{0});
        shared_store(control->motion_ready[f], int32_t{0});
    }
    shared_store(control->videogen_state, int32_t{0});
    shared_store(control->viewer_state, int32_t{0});
}

static void stop_all_live(UiContext* ui) {
    recordings_finish(ui);
    ControlBlock* control = ui_control_block(ui);
    if (control) shared_store(control->shutdown, 1u);
    wake_workers_to_shut_down(ui);
    procmgr_stop_kind(ui->processes, -1, kStopTimeoutMs);
    if (control) clear_readiness_block(control);
    ui_rebuild_processes(ui);
    ui_set_status(ui, "All processes stopped");
}

void stop_all(UiContext* ui) {
    if (is_practice_active(ui)) {
        stop_all_in_practice(ui);
    } else {
        stop_all_live(ui);
    }
}

static void carry_out(UiContext* ui, const SyncAction& action) {
    log_info(
        "%s",
        capture_sync_text(action, ui->settings->feed_count, ui->settings->camera_device_path[action.feed]).c_str());
    switch (action.step) {
        case SyncStep::spawn_capture:
            spawn(ui, kKindCapture, action.feed);
            break;
        case SyncStep::stop_capture:
            stop_running(ui, kKindCapture, action.feed);
            break;
        case SyncStep::spawn_motion:
            spawn(ui, kKindMotion, action.feed);
            break;
        case SyncStep::stop_motion:
            stop_running(ui, kKindMotion, action.feed);
            break;
    }
}

void sync_captures(UiContext* ui) {
    if (is_practice_active(ui)) {
        log_info("%s", kCaptureSyncSkipped);
        return;
    }
    CaptureSyncInputs inputs;
    inputs.feed_count = ui->settings->feed_count;
    for (int32_t f = 0; f < kFeedCount; ++f) {
        inputs.camera_assigned[f] = ui->settings->camera_device_path[f][0] != '\0';
        inputs.capture_running[f] = is_running(ui, kKindCapture, f);
        inputs.motion_running[f] = is_running(ui, kKindMotion, f);
    }
    const CaptureSyncPlan plan = plan_capture_sync(inputs);
    for (int32_t i = 0; i < plan.count; ++i) carry_out(ui, plan.action[i]);
    ui_rebuild_processes(ui);
}

static void set_motion_paused(UiContext* ui, uint32_t paused) {
    if (ControlBlock* control = ui_control_block(ui))
        for (uint32_t& entry : control->motion_paused) shared_store(entry, paused);
}

void motion_pause(UiContext* ui, bool auto_sync_on_resume) {
    set_motion_paused(ui, 1);
    ui->auto_sync_on_resume = auto_sync_on_resume;
    SetTimer(ui->window, kTimerMotionResume, kMotionPauseMs, nullptr);
    log_info("motion: paused for %d ms (auto_sync_on_resume=%d)", static_cast<int>(kMotionPauseMs),
             auto_sync_on_resume ? 1 : 0);
}

static void sync_feeds_now(UiContext* ui) {
    ControlBlock* control = ui_control_block(ui);
    if (!control) {
        log_warn("sync_feeds_now (auto): shm_ctrl unavailable, skipping");
        return;
    }
    uint32_t nw[kFeedCount];
    const FeedSyncOffsets offsets = align_feeds(control, &ui->sync, nw);
    log_info("sync feeds (auto): nw[0]=%d nw[1]=%d nw[2]=%d → offsets[0]=%d offsets[1]=%d offsets[2]=%d",
             static_cast<int32_t>(nw[0]), static_cast<int32_t>(nw[1]), static_cast<int32_t>(nw[2]), offsets.offset[0],
             offsets.offset[1], offsets.offset[2]);
}

void motion_resume_tick(UiContext* ui) {
    KillTimer(ui->window, kTimerMotionResume);
    set_motion_paused(ui, 0);
    log_info("motion: resume timer fired — paused flags cleared");
    if (!ui->auto_sync_on_resume) return;
    log_info("motion: auto-sync feeds now (practice→live transition)");
    sync_feeds_now(ui);
    ui->auto_sync_on_resume = false;
}

void toggle_feed_motion(UiContext* ui, int32_t feed) {
    int32_t& on = ui->settings->feed_motion_on[feed];
    on = on ? 0 : 1;
    log_info("feed %d: motion detection switched %s", feed, on ? "on" : "off");
    feeds_tab_show_settings(&ui->feeds, ui->settings);
}
