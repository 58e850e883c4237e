// When the unattended recording test presses Start and when it ends, in milliseconds from seconds on the command
// line.
#pragma once

#include <cstdint>

// A window's timer waits no longer; larger numbers of seconds mean this.
inline constexpr uint32_t kLongestTimerMs = 0x7FFFFFFF;

// From the panel's opening to the press of Start: at least 100, so that the recorders are there.
uint32_t capture_start_delay_ms(int32_t pause_seconds);

// From Start to the panel's closing: at least 1000.
uint32_t capture_recording_ms(int32_t duration_seconds);
