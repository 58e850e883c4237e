// The report's account of the settings: which ones an Auto Setup run is there to measure, which of them it could not
// and why, and what changed in the whole record.
#pragma once

#include <string>
#include <vector>

#include "autosetup/analyze.h"

// A setting that Auto Setup writes.
struct ReportTarget {
    std::string key;
    const char* kept;  // why it was left alone, a static text; null when it was measured
    bool missed;       // left alone because a measurement failed, not because the rig does without
};
std::vector<ReportTarget> report_targets(const AutoSetupWorkspace* workspace, const Settings* before,
                                         const AnalysisEnd& end);

// Why an analysis that failed did so.
const char* report_failure(const AutoSetupWorkspace* workspace);

// Rows of the settings table whose values differ, plus one for each feed whose pixel-frame table differs.
int32_t report_change_count(const Settings* before, const Settings* after);
void report_changed_settings(const Settings* before, const Settings* after, std::string* html);
void report_kept_settings(const std::vector<ReportTarget>& targets, const Settings* before, const Settings* after,
                          std::string* html);
