// What a start is told that finds a controller running already. All controllers of a session meet in the same named
// regions, whatever their folders, so a second one would take the first one's memory and end its workers.
#pragma once

#include <cstdint>
#include <string>

enum ControllerState : uint32_t { kControllerRunning = 1, kControllerClosing = 2, kControllerCrashed = 3 };

inline constexpr int32_t kControllerFolderSize = 260;

struct RunningController {
    uint32_t pid;    // 0: it could not be asked
    uint32_t state;  // ControllerState
    char folder[kControllerFolderSize];
};

inline constexpr char kSecondStartCaption[] = "Already Running";

// For the operator: which one runs, why there can be no second, and what helps. `own_folder` is the refused start's.
std::string second_start_text(const RunningController& running, const char* own_folder);

// For the log: the same in a line.
std::string second_start_log_text(const RunningController& running);
