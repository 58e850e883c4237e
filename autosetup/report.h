// auto_setup_report.html: what a run measured, from which jumps, what was thrown out and why, and what changed. One
// file that needs nothing beside it.
#pragma once

#include <string>

#include "autosetup/analyze.h"

// Replaces `html`. `before` are the settings as the analysis found them with the operator's own motion regions,
// `after` what was saved; `date` stands in the heading as given.
void auto_setup_report(const AutoSetupWorkspace* workspace, const Settings* before, const Settings* after,
                       AnalysisEnd end, const char* date, std::string* html);

// Writes it beside `settings_path` as auto_setup_report.html, whole or not at all. -1 after a log line on failure.
int32_t auto_setup_write_report(const char* settings_path, const std::string& html);
