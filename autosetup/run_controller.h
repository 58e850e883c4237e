// The Auto Setup run: a practice run that plays by itself while the motion workers log, then the analysis, and then
// the end of the program, so that everything starts again with what was measured. One button starts and aborts it.
//
// settings.txt is written at the start, with the motion regions widened, because the workers read it from there;
// saved_motion_range in the same file holds what the regions were.
#pragma once

#include "autosetup/run_monitor.h"

struct UiContext;

struct AutoSetupRun {
    bool active = false;
    AutoSetupWorkspace* workspace = nullptr;  // owned while active
    MotionRegions regions = {};               // the operator's own, as the run found them
    RunMonitor monitor = {};
};

// The button (kCmdAutoSetup): starts a run, or aborts the one that is under way.
void auto_setup_button(UiContext* ui);

// Timers kTimerAutoSetupLaunch and kTimerAutoSetupMonitor.
void auto_setup_launch_tick(UiContext* ui);
void auto_setup_monitor_tick(UiContext* ui);

// The window is about to close: aborts a run. True when there was one; then the settings are not to be saved, for
// they hold the widened regions.
bool auto_setup_abort_for_close(UiContext* ui);

// Stops the timers and releases what an unfinished run holds; harmless without one.
void auto_setup_destroy(UiContext* ui);
