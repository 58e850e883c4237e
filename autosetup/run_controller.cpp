#include "autosetup/run_controller.h"

#include <cstdio>
#include <memory>
#include <string>

#include "app/commands.h"
#include "app/log.h"
#include "app/timers.h"
#include "app/ui_context.h"
#include "autosetup/analyze.h"
#include "autosetup/report.h"
#include "ipc/shared_access.h"
#include "procs/live_counters.h"
#include "settings/settings_file.h"

static constexpr int32_t kReferenceFeed = 1;

static void end_run(UiContext* ui) {
    AutoSetupRun& run = ui->auto_setup;
    workspace_destroy(run.workspace);
    run.workspace = nullptr;
    run.active = false;
    preview_set_auto_setup_text(&ui->preview, "Auto Setup");
}

static void clear_trial_counters(ControlBlock* control) {
    for (int32_t f = 0; f < kFeedCount; ++f) {
        shared_store(control->motion_trial_frames[f], 0u);
        shared_store(control->motion_slow_frames[f], 0u);
    }
}

// Saves, and has the running workers read the file again.
static void save_for_workers(UiContext* ui) {
    settings_save(ui->settings, ui->settings_path);
    if (ControlBlock* control = ui_control_block(ui))
        shared_store(control->settings_generation, shared_load(control->settings_generation) + 1u);
}

static void switch_diagnostics_on(UiContext* ui) {
    if (!ui->preview.log_on) ui_press(ui, kCmdLogOn);
    const ControlBlock* control = ui_control_block(ui);
    if (control && shared_load(control->blob_circles) == 0) ui_press(ui, kCmdCircles);
}

static void start_run(UiContext* ui) {
    AutoSetupRun& run = ui->auto_setup;
    run.active = true;
    preview_set_auto_setup_text(&ui->preview, "Abort");
    run.workspace = workspace_create(ui->settings);
    if (!run.workspace) {
        log_error("auto setup: failed to allocate context");
        end_run(ui);
        return;
    }
    run.regions = motion_regions_of(*ui->settings);
    ControlBlock* control = ui_control_block(ui);
    if (run_monitor_start(&run.monitor, ui->settings, control != nullptr, jumper_panel_count(&ui->jumpers)))
        clear_trial_counters(control);
    save_for_workers(ui);
    switch_diagnostics_on(ui);
    log_info("auto setup: started, launching practice in 1 second");
    SetTimer(ui->window, kTimerAutoSetupLaunch, kAutoSetupLaunchMs, nullptr);
}

// The monitor cleans up at its next look.
static void cancel_run(UiContext* ui) {
    ui->auto_setup.workspace->phase = kPhaseCancelled;
}

static bool is_cancelled(const AutoSetupRun& run) {
    return run.workspace->phase == kPhaseCancelled;
}

void auto_setup_button(UiContext* ui) {
    if (!ui->auto_setup.active) {
        start_run(ui);
        return;
    }
    cancel_run(ui);
    log_info("auto setup: ABORTED by user — no settings saved, settings.txt unchanged");
}

void auto_setup_launch_tick(UiContext* ui) {
    KillTimer(ui->window, kTimerAutoSetupLaunch);
    if (!ui->auto_setup.active) return;
    // Aborted within this first second: no practice starts that nobody wants any more.
    if (!is_cancelled(ui->auto_setup)) {
        log_info("auto setup: launching practice now");
        ui_press(ui, kCmdLaunchPractice);
        const RunLimits limits = auto_setup_limits({ui->cli.max_movies, ui->cli.max_frames});
        log_info("auto setup: waiting for %d jumpers (or %d feed-1 frames, whichever first)", limits.max_movies,
                 limits.max_frames);
    }
    SetTimer(ui->window, kTimerAutoSetupMonitor, kAutoSetupMonitorMs, nullptr);
}

static void watch_trial(UiContext* ui) {
    ControlBlock* control = ui_control_block(ui);
    if (!control) return;
    AutoSetupRun& run = ui->auto_setup;
    TrialCounters counters = {};
    for (int32_t f = 0; f < kFeedCount; ++f) {
        counters.frames[f] = shared_load(control->motion_trial_frames[f]);
        counters.slow[f] = shared_load(control->motion_slow_frames[f]);
    }
    if (run_monitor_trial(&run.monitor, ui->settings, run.workspace, counters) != TrialAnswer::narrowed) return;
    clear_trial_counters(control);
    save_for_workers(ui);
    run_monitor_log_narrowed(run.monitor);
}

static RunInputs gather_run(UiContext* ui) {
    RunInputs inputs;
    inputs.limits = {ui->cli.max_movies, ui->cli.max_frames};
    inputs.jumpers = jumper_panel_count(&ui->jumpers);
    inputs.wait_for_active_motion = ui->settings->cli_wait_for_active_motion != 0;
    const ControlBlock* control = ui_control_block(ui);
    if (!control) return inputs;
    inputs.frames = static_cast<int32_t>(shared_load(control->feed_frame_count[kReferenceFeed]));
    uint32_t nw[kFeedCount];
    read_live_nw(control, &ui->sync, nw);
    inputs.nw = nw[kReferenceFeed];
    inputs.motion_active = read_motion_active(control, &ui->sync);
    return inputs;
}

// What failed has been logged; nothing depends on the report.
static void write_report(const UiContext* ui, const Settings& before, AnalysisEnd end) {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    char date[32];
    snprintf(date, sizeof date, "%04d-%02d-%02d %02d:%02d", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute);
    std::string html;
    auto_setup_report(ui->auto_setup.workspace, &before, ui->settings, end, date, &html);
    auto_setup_write_report(ui->settings_path, html);
}

// The workers are to start again with the new settings, so a run that went to its end closes the program.
static void close_program(UiContext* ui) {
    if (ControlBlock* control = ui_control_block(ui)) shared_store(control->shutdown, 1u);
    PostMessageA(ui->window, WM_CLOSE, 0, 0);
}

static void analyse_and_save(UiContext* ui) {
    const AutoSetupRun& run = ui->auto_setup;
    const auto before = std::make_unique<Settings>(*ui->settings);
    put_motion_regions(run.regions, before.get());
    const AnalysisEnd end = auto_setup_conclude(run.workspace, ui->settings, true);
    const bool to_save = end.outcome != kAnalysisNothing;
    const bool failed = !to_save || settings_save(ui->settings, ui->settings_path) != 0;
    // A save that failed has said so itself; "settings saved" would be untrue.
    if (!to_save || !failed) auto_setup_log_end(end);
    if (failed && ui->cli.mode == kModeAutoSetup) ui->cli.exit_code = 1;
    write_report(ui, *before, end);
}

void auto_setup_monitor_tick(UiContext* ui) {
    AutoSetupRun& run = ui->auto_setup;
    if (!run.active) {
        KillTimer(ui->window, kTimerAutoSetupMonitor);
        return;
    }
    if (is_cancelled(run)) {
        log_info("auto setup: cancel — cleaning up");
        end_run(ui);
        KillTimer(ui->window, kTimerAutoSetupMonitor);
        return;
    }
    watch_trial(ui);
    if (run_monitor_limits(&run.monitor, gather_run(ui)) == RunAnswer::keep_running) return;
    KillTimer(ui->window, kTimerAutoSetupMonitor);
    run_monitor_finish(&run.monitor, *ui->settings, run.workspace);
    analyse_and_save(ui);
    end_run(ui);
    close_program(ui);
}

bool auto_setup_abort_for_close(UiContext* ui) {
    if (!ui->auto_setup.active) return false;
    log_info("window close during auto setup — ABORTING, no settings saved");
    cancel_run(ui);
    return true;
}

void auto_setup_destroy(UiContext* ui) {
    KillTimer(ui->window, kTimerAutoSetupLaunch);
    KillTimer(ui->window, kTimerAutoSetupMonitor);
    if (ui->auto_setup.active) end_run(ui);
}
