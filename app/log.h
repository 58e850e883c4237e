// The diagnostic log: one line per call, to standard error and to the log file, flushed at once, so that a crash or a
// kill loses nothing. Any thread may log.
#pragma once

#include <cstdint>

#if defined(__MINGW32__)
#define ORVEK_PRINTF(format_index, first_arg) __attribute__((format(gnu_printf, format_index, first_arg)))
#else
#define ORVEK_PRINTF(format_index, first_arg) __attribute__((format(printf, format_index, first_arg)))
#endif

// Opens the log. The prefix of every line is "[component:index]", "[component]" for a negative index. `path`, when
// given, is created anew, its predecessor kept as path.old. A second open does nothing.
void log_open(const char* component, int32_t index, const char* path);

// One line each, without a newline of its own.
void log_info(const char* format, ...) ORVEK_PRINTF(1, 2);
void log_warn(const char* format, ...) ORVEK_PRINTF(1, 2);
void log_error(const char* format, ...) ORVEK_PRINTF(1, 2);

// On lets everything through; off keeps information, warnings and errors.
void log_set_verbose(bool on);

void log_close();
