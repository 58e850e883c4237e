// The analysis from logs to results, and the end of a run: what of it reaches the settings. The console and orvekctl
// share both, so that a run can be repeated offline to the byte.
#pragma once

#include "autosetup/workspace.h"

// Runs the steps in their fixed order and notes each in workspace->phase. 0, or the non-zero result of the first step
// that failed. Changes no setting.
int32_t auto_setup_analyze(AutoSetupWorkspace* workspace, const Settings* settings);

enum AnalysisOutcome : int32_t {
    kAnalysisApplied,     // everything that was measured is in the settings: save them
    kAnalysisTablesOnly,  // the analysis failed, but there are pixel-frame tables: save them
    kAnalysisNothing,     // it failed and there are none: save nothing
};
struct AnalysisEnd {
    AnalysisOutcome outcome;
    int32_t result;  // of the analysis, 0 = success
};
// Analyses, then restores the motion regions from saved_motion_range when `restore_regions`, and fills the
// settings from the workspace. The caller saves, then reports it through auto_setup_log_end.
AnalysisEnd auto_setup_conclude(AutoSetupWorkspace* workspace, Settings* settings, bool restore_regions);
// The closing log line that belongs to `end`.
void auto_setup_log_end(AnalysisEnd end);
