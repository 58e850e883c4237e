// Every timer of the main window, once: id and period. All of them run on the main window, so that one table there
// tells what happens when.
#pragma once

#include <cstdint>

inline constexpr uintptr_t kTimerProcessPoll = 1;    // whole run
inline constexpr uintptr_t kTimerPreview = 2;        // the preview panel's housekeeping
inline constexpr uintptr_t kTimerReadinessWait = 3;  // after Launch Practice and Go Live
inline constexpr uintptr_t kTimerAutoSetupMonitor = 4;
inline constexpr uintptr_t kTimerAutoSetupLaunch = 5;  // one-shot
inline constexpr uintptr_t kTimerCliKickoff = 6;       // one-shot
inline constexpr uintptr_t kTimerCliMonitor = 7;       // practice-test
inline constexpr uintptr_t kTimerCaptureKickoff = 10;  // one-shot
inline constexpr uintptr_t kTimerCaptureStart = 11;    // one-shot
inline constexpr uintptr_t kTimerCaptureEnd = 12;      // one-shot
inline constexpr uintptr_t kTimerMotionResume = 13;    // one-shot
inline constexpr uintptr_t kTimerForceVideoWait = 14;
inline constexpr uintptr_t kTimerSaveWindowState = 5001;  // one-shot, restarted by every move and size

inline constexpr uint32_t kProcessPollMs = 500;
inline constexpr uint32_t kPreviewMs = 1000;
inline constexpr uint32_t kReadinessTickMs = 500;
inline constexpr uint32_t kAutoSetupMonitorMs = 1000;
inline constexpr uint32_t kAutoSetupLaunchMs = 1000;
inline constexpr uint32_t kCliKickoffMs = 500;
inline constexpr uint32_t kCliMonitorMs = 1000;
inline constexpr uint32_t kMotionPauseMs = 2000;
inline constexpr uint32_t kForceVideoTickMs = 500;
inline constexpr uint32_t kSaveWindowStateMs = 2000;
