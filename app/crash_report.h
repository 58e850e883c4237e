// The last word of a crashing controller: a box that tells the operator what to report, and a line in the log.
#pragma once

// Installs the handler for exceptions that nobody handles; the process ends after it has reported.
void crash_report_install();

// From here on a crash is only logged: an unattended run must end, not wait for somebody to press OK.
void crash_report_set_unattended();
