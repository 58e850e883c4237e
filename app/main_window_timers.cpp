#include "app/keep_awake.h"
#include "app/main_window_parts.h"
#include "app/test_modes.h"
#include "app/timers.h"
#include "app/ui_context.h"
#include "procs/feed_orchestration.h"
#include "procs/feeds_running.h"
#include "procs/force_video.h"

static void on_process_poll(UiContext* ui) {
    procmgr_poll(ui->processes);
    keep_awake(&ui->kept_awake, feeds_running(*ui->processes));
    if (ui->current_tab == kTabProcesses) ui_rebuild_processes(ui);
    if (ui->current_tab == kTabFeeds) main_window_refresh_feeds_tab(ui);
}

static void on_preview(UiContext* ui) {
    preview_reconnect(&ui->preview);
}

static void on_save_window_state(UiContext* ui) {
    KillTimer(ui->window, kTimerSaveWindowState);
    main_window_save_state(ui);
}

namespace {

struct TimerEntry {
    uintptr_t id;
    void (*handle)(UiContext*);
};

constexpr TimerEntry kTimers[] = {
    {kTimerProcessPoll, on_process_poll},
    {kTimerPreview, on_preview},
    {kTimerAutoSetupMonitor, auto_setup_monitor_tick},
    {kTimerAutoSetupLaunch, auto_setup_launch_tick},
    {kTimerReadinessWait, readiness_tick},
    {kTimerCliKickoff, cli_kickoff_tick},
    {kTimerCliMonitor, practice_monitor_tick},
    {kTimerCaptureKickoff, capture_kickoff_tick},
    {kTimerCaptureStart, capture_start_tick},
    {kTimerCaptureEnd, capture_end_tick},
    {kTimerMotionResume, motion_resume_tick},
    {kTimerForceVideoWait, force_video_wait_tick},
    {kTimerSaveWindowState, on_save_window_state},
};

}  // namespace

void main_window_timer(UiContext* ui, uintptr_t id) {
    for (const TimerEntry& entry : kTimers)
        if (entry.id == id) return entry.handle(ui);
}
