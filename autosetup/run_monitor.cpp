#include "autosetup/run_monitor.h"

#include <algorithm>

#include "app/log.h"
#include "procs/worker_commands.h"
#include "settings/motion_range.h"

namespace {

constexpr int32_t kLastColumn = kPixelColumns - 1;
constexpr int32_t kFullWidthPct = 100;
constexpr int32_t kWidthStepPct = 25;
constexpr int32_t kLeastFloorPct = 10;
constexpr int32_t kDefaultTrialFrames = 300;
constexpr int32_t kDefaultSlowPct = 5;
constexpr int32_t kReferenceFeed = 1;
constexpr int32_t kStalledLooks = 3;

struct TrialVerdict {
    int32_t pct[kSettingsFeeds];
    int32_t worst_feed, worst_pct;
};

}  // namespace

MotionRegions motion_regions_of(const Settings& settings) {
    MotionRegions regions = {};
    for (int32_t f = 0; f < kSettingsFeeds; ++f) {
        regions.start_x[f] = settings.motion_start_x[f];
        regions.start_y[f] = settings.motion_start_y[f];
        regions.end_x[f] = settings.motion_end_x[f];
        regions.end_y[f] = settings.motion_end_y[f];
    }
    return regions;
}

void put_motion_regions(const MotionRegions& regions, Settings* settings) {
    for (int32_t f = 0; f < kSettingsFeeds; ++f) {
        settings->motion_start_x[f] = regions.start_x[f];
        settings->motion_start_y[f] = regions.start_y[f];
        settings->motion_end_x[f] = regions.end_x[f];
        settings->motion_end_y[f] = regions.end_y[f];
    }
}

int32_t width_end_column(int32_t width_pct) {
    const int64_t column = int64_t{width_pct} * kPixelColumns / 100 - 1;
    return static_cast<int32_t>(std::clamp<int64_t>(column, 0, kLastColumn));
}

int32_t trial_floor_pct(int32_t min_pct) {
    return std::clamp(min_pct, kLeastFloorPct, kFullWidthPct);
}

RunLimits auto_setup_limits(RunLimits limits) {
    return {limits.max_movies < 1 ? kDefaultMaxMovies : limits.max_movies,
            limits.max_frames < 1 ? kDefaultMaxFrames : limits.max_frames};
}

static void span_width(Settings* settings, int32_t width_pct) {
    for (int32_t f = 0; f < kSettingsFeeds; ++f) {
        settings->motion_start_x[f] = 0;
        settings->motion_end_x[f] = width_end_column(width_pct);
    }
}

bool run_monitor_start(RunMonitor* monitor, Settings* settings, bool has_control_block, int32_t jumpers) {
    *monitor = {};
    monitor->start_jumpers = jumpers;
    save_motion_range(settings);
    log_info("auto setup: saved motion range: %s", settings->saved_motion_range);
    // Nobody would count the trial's frames without a control block.
    if (settings->auto_setup_adaptive_width_enable == 0 || !has_control_block) return false;
    monitor->trial_done = false;
    span_width(settings, kFullWidthPct);
    log_info(
        "auto setup: adaptive-width trial starting at 100%% (motion_start_x=0, motion_end_x=%d, threshold=%dus, "
        "trial_frames=%d, slow_pct=%d, min_pct=%d)",
        width_end_column(kFullWidthPct), settings->auto_setup_adaptive_width_threshold_us,
        settings->auto_setup_adaptive_width_trial_frames, settings->auto_setup_adaptive_width_slow_pct,
        settings->auto_setup_adaptive_width_min_pct);
    return true;
}

static void commit_width(RunMonitor* monitor, AutoSetupWorkspace* workspace) {
    monitor->trial_done = true;
    for (int32_t f = 0; f < kAnalysisFeeds; ++f)
        if (feed_is_active(workspace->feed_count, f))
            workspace->region_end_x[f] = width_end_column(monitor->width_pct);
}

static TrialVerdict judge(const TrialCounters& counters) {
    TrialVerdict verdict = {};
    for (int32_t f = 0; f < kSettingsFeeds; ++f) {
        if (counters.frames[f] == 0) continue;
        const int64_t pct = int64_t{counters.slow[f]} * 100 / counters.frames[f];
        verdict.pct[f] = static_cast<int32_t>(std::min<int64_t>(pct, INT32_MAX));
        if (verdict.pct[f] > verdict.worst_pct) {
            verdict.worst_feed = f;
            verdict.worst_pct = verdict.pct[f];
        }
    }
    return verdict;
}

static void log_verdict(int32_t width_pct, const TrialCounters& counters, const TrialVerdict& verdict, int32_t cap) {
    log_info(
        "auto setup: adaptive-width trial at %d%%: feed0 %u/%u (%d%%), feed1 %u/%u (%d%%), feed2 %u/%u (%d%%), "
        "worst=feed%d=%d%% (cap=%d%%)",
        width_pct, counters.slow[0], counters.frames[0], verdict.pct[0], counters.slow[1], counters.frames[1],
        verdict.pct[1], counters.slow[2], counters.frames[2], verdict.pct[2], verdict.worst_feed, verdict.worst_pct,
        cap);
}

TrialAnswer run_monitor_trial(RunMonitor* monitor, Settings* settings, AutoSetupWorkspace* workspace,
                              const TrialCounters& counters) {
    if (monitor->trial_done || settings->auto_setup_adaptive_width_enable == 0) return TrialAnswer::nothing;
    const int32_t wanted = settings->auto_setup_adaptive_width_trial_frames;
    const auto trial_frames = static_cast<uint32_t>(wanted < 1 ? kDefaultTrialFrames : wanted);
    if (counters.frames[kReferenceFeed] < trial_frames) return TrialAnswer::nothing;

    const int32_t slow_pct = settings->auto_setup_adaptive_width_slow_pct;
    const int32_t cap = slow_pct < 1 ? kDefaultSlowPct : slow_pct;
    const int32_t floor = trial_floor_pct(settings->auto_setup_adaptive_width_min_pct);
    const TrialVerdict verdict = judge(counters);
    log_verdict(monitor->width_pct, counters, verdict, cap);
    if (verdict.worst_pct <= cap) {
        log_info("auto setup: adaptive-width trial PASSED at %d%% (worst=%d%% ≤ cap=%d%%) — committing width",
                 monitor->width_pct, verdict.worst_pct, cap);
        commit_width(monitor, workspace);
        return TrialAnswer::committed;
    }
    const int32_t narrower = std::max(monitor->width_pct - kWidthStepPct, floor);
    if (narrower < monitor->width_pct) {
        monitor->width_pct = narrower;
        span_width(settings, narrower);
        return TrialAnswer::narrowed;
    }
    log_info("auto setup: adaptive-width already at floor %d%% and still slow (%d%%) — accepting %d%% as final width",
             floor, verdict.worst_pct, monitor->width_pct);
    commit_width(monitor, workspace);
    return TrialAnswer::committed;
}

void run_monitor_log_narrowed(const RunMonitor& monitor) {
    log_info("auto setup: narrowing motion width to %d%% (motion_end_x=%d) — retrying trial", monitor.width_pct,
             width_end_column(monitor.width_pct));
}

// At a limit: whether the jumper in flight is still to land. `told` is set the first time, when the caller logs.
static bool must_wait(RunMonitor* monitor, const RunInputs& inputs, bool* told) {
    if (!inputs.wait_for_active_motion || !inputs.motion_active) return false;
    *told = !monitor->waiting;
    monitor->waiting = true;
    return true;
}

static RunAnswer jumper_limit_reached(RunMonitor* monitor, const RunInputs& inputs, int32_t target) {
    bool told = false;
    const bool wait = must_wait(monitor, inputs, &told);
    if (!wait || told) {
        log_info("auto setup: jumper limit reached (target=%d, start=%d, current=%d)%s", target,
                 monitor->start_jumpers, inputs.jumpers, wait ? " — waiting for active motion to complete" : "");
    }
    return wait ? RunAnswer::keep_running : RunAnswer::finish;
}

static RunAnswer frame_limit_reached(RunMonitor* monitor, const RunInputs& inputs, int32_t target) {
    bool told = false;
    const bool wait = must_wait(monitor, inputs, &told);
    if (!wait || told) {
        log_info("auto setup: frame limit reached (target=%d, current=%d)%s", target, inputs.frames,
                 wait ? " — waiting for active motion to complete" : "");
    }
    return wait ? RunAnswer::keep_running : RunAnswer::finish;
}

// Looks without a new frame mean that the practice video has ended.
static RunAnswer watch_for_stall(StallDetector* stall, uint32_t nw) {
    if (!stall->armed) {
        if (nw == 0) return RunAnswer::keep_running;
        *stall = {true, int64_t{nw}, 0};
        log_info("auto setup: stall detector armed (first frame observed, nw=%d)", static_cast<int32_t>(nw));
        return RunAnswer::keep_running;
    }
    if (stall->last_nw != int64_t{nw}) {
        stall->last_nw = int64_t{nw};
        stall->unchanged = 0;
        return RunAnswer::keep_running;
    }
    if (++stall->unchanged < kStalledLooks) return RunAnswer::keep_running;
    log_info("auto setup: frames stopped advancing (stall_count=%d, nw=%d)", stall->unchanged,
             static_cast<int32_t>(nw));
    stall->armed = false;
    return RunAnswer::finish;
}

RunAnswer run_monitor_limits(RunMonitor* monitor, const RunInputs& inputs) {
    const RunLimits target = auto_setup_limits(inputs.limits);
    if (inputs.jumpers >= int64_t{monitor->start_jumpers} + target.max_movies)
        return jumper_limit_reached(monitor, inputs, target.max_movies);
    if (inputs.frames < target.max_frames) return watch_for_stall(&monitor->stall, inputs.nw);
    return frame_limit_reached(monitor, inputs, target.max_frames);
}

void run_monitor_finish(RunMonitor* monitor, const Settings& settings, AutoSetupWorkspace* workspace) {
    log_info("auto setup: monitoring complete, running analysis...");
    if (monitor->trial_done || settings.auto_setup_adaptive_width_enable == 0) return;
    if (monitor->width_pct <= 0) monitor->width_pct = kFullWidthPct;
    commit_width(monitor, workspace);
    log_info("auto setup: trial did not complete — accepting current width %d%% (motion_end_x=%d) as final",
             monitor->width_pct, width_end_column(monitor->width_pct));
}
