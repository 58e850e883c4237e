// The last word of a crashing controller: a text report and a minidump beside the log, a line in the log, and a box
// that tells the operator what to report.
#pragma once

struct ProcessManager;

// Installs the handler for exceptions that nobody handles, and for abort(); the process ends after it has reported.
// What the handler needs is made ready here. Call on the main thread. `log_path` as below.
void crash_report_install(const char* log_path);

// From here on a crash is only written down: an unattended run must end, not wait for somebody to press OK.
void crash_report_set_unattended();

// The log whose last lines a report ends with, and beside which it is laid.
void crash_report_set_log(const char* path);

// The children that a report lists. They are lent until the call with null.
void crash_report_set_workers(const ProcessManager* processes);
