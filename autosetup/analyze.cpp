#include "autosetup/analyze.h"

#include "app/log.h"
#include "autosetup/apply_results.h"
#include "autosetup/calculation.h"
#include "autosetup/feed_alignment.h"
#include "autosetup/gap_measurement.h"
#include "autosetup/grid_interpolation.h"
#include "autosetup/motion_log.h"
#include "autosetup/pixel_frame_tables.h"
#include "autosetup/segmentation.h"
#include "settings/motion_range.h"

namespace {
using Step = int32_t (*)(AutoSetupWorkspace* workspace, const Settings* settings);

struct AnalysisStep {
    int32_t phase;  // as the log and the monitor know it; there is no 2
    Step run;
};
}  // namespace

static int32_t segment(AutoSetupWorkspace* workspace, const Settings* /*settings*/) {
    return auto_setup_segment_jumps(workspace);
}

static int32_t align(AutoSetupWorkspace* workspace, const Settings* /*settings*/) {
    return auto_setup_align_feeds(workspace);
}

// The gaps are a bonus: without them their settings stay, and the run is as good as before.
static int32_t measure_gaps(AutoSetupWorkspace* workspace, const Settings* /*settings*/) {
    auto_setup_measure_inter_feed_gaps(workspace);
    return 0;
}

static constexpr AnalysisStep kSteps[] = {
    {1, auto_setup_interpolate}, {3, auto_setup_parse_logs}, {4, segment}, {5, align},
    {6, auto_setup_calculate},   {7, measure_gaps},
};
static constexpr int32_t kPhaseDone = 8;

int32_t auto_setup_analyze(AutoSetupWorkspace* workspace, const Settings* settings) {
    for (const AnalysisStep& step : kSteps) {
        workspace->phase = step.phase;
        const int32_t result = step.run(workspace, settings);
        if (result != 0) return result;
    }
    workspace->phase = kPhaseDone;
    return 0;
}

static bool any_table_populated(const Settings* settings) {
    for (const int32_t populated : settings->pixel_frames_populated)
        if (populated != 0) return true;
    return false;
}

AnalysisEnd auto_setup_conclude(AutoSetupWorkspace* workspace, Settings* settings, bool restore_regions) {
    const int32_t result = auto_setup_analyze(workspace, settings);
    if (result != 0) {
        log_warn("auto setup: phase-11 analysis failed (rc=%d) — attempting Phase 12 pixel_frames populate",
                 static_cast<int>(result));
    }
    if (restore_regions) restore_motion_range(settings);  // a failure has had its own line
    if (result == 0) apply_auto_setup_results(workspace, settings);
    populate_pixel_frames_v2(workspace, settings);
    if (result == 0) return {kAnalysisApplied, result};
    return {any_table_populated(settings) ? kAnalysisTablesOnly : kAnalysisNothing, result};
}

void auto_setup_log_end(AnalysisEnd end) {
    switch (end.outcome) {
        case kAnalysisApplied:
            log_info("auto setup: settings saved");
            break;
        case kAnalysisTablesOnly:
            log_info("auto setup: settings saved (pixel_frames populated despite phase-11 failure)");
            break;
        case kAnalysisNothing:
            log_error("auto setup: analysis failed (rc=%d), pixel_frames also empty — no settings written",
                      static_cast<int>(end.result));
            break;
    }
}
