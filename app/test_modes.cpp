#include "app/test_modes.h"

#include "app/commands.h"
#include "app/log.h"
#include "app/timers.h"
#include "app/ui_context.h"
#include "ipc/shared_access.h"

static void press(UiContext* ui, int32_t command) {
    SendMessageA(ui->window, WM_COMMAND, static_cast<WPARAM>(command), 0);
}

// For the modes whose features are still to come: a script must see the failure, and soon.
static void give_up(UiContext* ui, const char* what) {
    log_error("%s: not available in this build", what);
    ui->cli.exit_code = 1;
    PostMessageA(ui->window, WM_CLOSE, 0, 0);
}

void test_mode_schedule(UiContext* ui) {
    const CliState& cli = ui->cli;
    if (cli.mode == kModeInteractive) return;
    log_info("CLI mode active: %s", run_mode_name(cli.mode));
    if (cli.mode == kModePracticeTest) log_info("  --max-movies=%d --max-frames=%d", cli.max_movies, cli.max_frames);
    if (cli.mode == kModeCaptureTest) {
        log_info("  --source=%s --duration=%d --pause-before-start=%d", capture_source_name(cli.source), cli.duration,
                 cli.pause_before_start);
        log_info("CLI mode: scheduling capture kickoff in %d ms", static_cast<int>(kCliKickoffMs));
        SetTimer(ui->window, kTimerCaptureKickoff, kCliKickoffMs, nullptr);
        return;
    }
    log_info("CLI mode: scheduling kickoff in %d ms", static_cast<int>(kCliKickoffMs));
    SetTimer(ui->window, kTimerCliKickoff, kCliKickoffMs, nullptr);
}

static void kick_off_practice_test(UiContext* ui) {
    log_info("CLI: practice-test mode starting (max_movies=%d, max_frames=%d)", ui->cli.max_movies,
             ui->cli.max_frames);
    const ControlBlock* control = ui_control_block(ui);
    if (!ui->preview.log_on) {
        log_info("CLI: enabling Log On");
        press(ui, kCmdLogOn);
    }
    if (control && shared_load(control->blob_circles) == 0) {
        log_info("CLI: enabling Blob Circles");
        press(ui, kCmdCircles);
    }
    log_info("CLI: launching practice");
    press(ui, kCmdLaunchPractice);

    int32_t published = 0;
    int64_t serial = 0;
    if (control) {
        published = static_cast<int32_t>(shared_load(control->movie_published_count));
        serial = shared_load(control->movie_serial);
    }
    practice_monitor_start(&ui->cli.practice, published, serial);
    SetTimer(ui->window, kTimerCliMonitor, kCliMonitorMs, nullptr);
}

void cli_kickoff_tick(UiContext* ui) {
    KillTimer(ui->window, kTimerCliKickoff);
    if (ui->cli.mode == kModePracticeTest) {
        kick_off_practice_test(ui);
    } else if (ui->cli.mode == kModeAutoSetup) {
        log_info("CLI: triggering Auto Setup button");
        give_up(ui, "auto setup");
    }
}

void capture_kickoff_tick(UiContext* ui) {
    KillTimer(ui->window, kTimerCaptureKickoff);
    log_info("CLI capture-test: opening capture panel");
    give_up(ui, "file capture");
}

static PracticeInputs gather_practice(UiContext* ui) {
    PracticeInputs inputs;
    inputs.max_movies = ui->cli.max_movies;
    inputs.max_frames = ui->cli.max_frames;
    inputs.wait_for_active_motion = ui->settings->cli_wait_for_active_motion != 0;
    const ControlBlock* control = ui_control_block(ui);
    if (!control) return inputs;
    inputs.published_count = static_cast<int32_t>(shared_load(control->movie_published_count));
    inputs.serial = shared_load(control->movie_serial);
    inputs.frames = static_cast<int32_t>(shared_load(control->feed_frame_count[1]));
    uint32_t slow[kFeedCount];
    uint32_t active[kFeedCount];
    ipc_lock(&ui->sync, kMutexOutput);
    for (int32_t f = 0; f < kFeedCount; ++f) {
        slow[f] = shared_load(control->motion_slow[f]);
        active[f] = shared_load(control->motion_active[f]);
    }
    ipc_unlock(&ui->sync, kMutexOutput);
    inputs.motion_active = any_motion_is_active(slow, active);
    return inputs;
}

void practice_monitor_tick(UiContext* ui) {
    if (practice_monitor_step(&ui->cli.practice, gather_practice(ui)) != PracticeAnswer::shut_down) return;
    KillTimer(ui->window, kTimerCliMonitor);
    ui->cli.exit_code = 0;
    if (ControlBlock* control = ui_control_block(ui)) shared_store(control->shutdown, 1u);
    PostMessageA(ui->window, WM_CLOSE, 0, 0);
}
