// The unattended runs: they press the operator's buttons, watch the control block and close the window when done, so
// that the ordinary shut-down stops every child.
#pragma once

struct UiContext;

// Starts the kickoff of the mode in ui->cli, half a second from now; nothing in interactive mode.
void test_mode_schedule(UiContext* ui);

// Timers kTimerCliKickoff, kTimerCliMonitor, kTimerCaptureKickoff, kTimerCaptureStart and kTimerCaptureEnd.
void cli_kickoff_tick(UiContext* ui);
void practice_monitor_tick(UiContext* ui);
void capture_kickoff_tick(UiContext* ui);
void capture_start_tick(UiContext* ui);
void capture_end_tick(UiContext* ui);
