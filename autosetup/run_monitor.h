// What an Auto Setup run decides, once a second and without a clock or a window: how wide the motion detectors may
// look before they fall behind, when enough was seen, and when the practice video has ended. The caller reads the
// control block, hands over what it read and carries out the answers; the decisions log themselves.
#pragma once

#include <cstdint>

#include "app/command_line.h"
#include "autosetup/workspace.h"
#include "settings/settings.h"

struct MotionRegions {
    int32_t start_x[kSettingsFeeds], start_y[kSettingsFeeds], end_x[kSettingsFeeds], end_y[kSettingsFeeds];
};
MotionRegions motion_regions_of(const Settings& settings);
void put_motion_regions(const MotionRegions& regions, Settings* settings);

// Looks at a write counter that should rise.
struct StallDetector {
    bool armed = false;
    int64_t last_nw = -1;
    int32_t unchanged = 0;  // looks in a row
};

struct RunMonitor {
    int32_t start_jumpers = 0;
    bool waiting = false;  // a limit is reached, motion is still active, and the log has said so
    StallDetector stall;
    bool trial_done = true;
    int32_t width_pct = 100;  // of the picture, what the motion regions span now
};

// The last column that `width_pct` percent of the picture reach, 0..1919.
int32_t width_end_column(int32_t width_pct);
// The least width that the setting auto_setup_adaptive_width_min_pct stands for.
int32_t trial_floor_pct(int32_t min_pct);
// The limits of a run; without a sensible one the defaults.
RunLimits auto_setup_limits(RunLimits limits);

// Begins a run: backs the motion regions up in saved_motion_range and, for a width trial, widens them over the whole
// picture. True when a trial runs: the caller clears the trial counters. Either way the caller then saves the
// settings.
bool run_monitor_start(RunMonitor* monitor, Settings* settings, bool has_control_block, int32_t jumpers);

struct TrialCounters {
    uint32_t frames[kSettingsFeeds];  // motion_trial_frames
    uint32_t slow[kSettingsFeeds];    // motion_slow_frames
};
enum class TrialAnswer { nothing = 1, narrowed, committed };
// One look at the width trial; nothing once it has ended. After narrowed (the regions in `settings` are the new ones)
// the caller clears the trial counters, saves, tells the workers and calls run_monitor_log_narrowed. Committed: the
// end column stands in the workspace.
TrialAnswer run_monitor_trial(RunMonitor* monitor, Settings* settings, AutoSetupWorkspace* workspace,
                              const TrialCounters& counters);
void run_monitor_log_narrowed(const RunMonitor& monitor);

struct RunInputs {
    RunLimits limits = {0, 0};
    int32_t jumpers = 0;  // in the start list now
    int32_t frames = 0;   // feed_frame_count of feed 1
    uint32_t nw = 0;      // of feed 1 in the live channel
    bool wait_for_active_motion = false;
    bool motion_active = false;  // of any feed
};
enum class RunAnswer { keep_running = 1, finish };
// One look at limits and frames, after the trial's.
RunAnswer run_monitor_limits(RunMonitor* monitor, const RunInputs& inputs);

// Ends the monitoring; a trial that has not come to its end commits the width it was at.
void run_monitor_finish(RunMonitor* monitor, const Settings& settings, AutoSetupWorkspace* workspace);
