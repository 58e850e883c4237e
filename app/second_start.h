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

// How a start's try to become the session's controller came out.
enum class ControllerClaim {
    ours,      // held until one_controller_release
    taken,     // another one runs
    unguarded  // the system refuses the mutex: nobody can tell, the start goes on
};

// How long a start waits for a controller that is closing: it may have recordings to finish first.
inline constexpr uint32_t kClosingPatienceMs = 20000;
// And for one that has not said yet who it is: between taking the mutex and saying so lies next to nothing.
inline constexpr uint32_t kIntroductionMs = 2000;

// What a start has waited so far. Starts as zeros.
struct StartWait {
    uint32_t closing_ms, unknown_ms;
};

// Whether a start waits another `slice_ms` for the controller that `seen` describes at this moment. To be asked again
// after each slice: of several starts that wait for a closing one, one becomes the running one.
bool start_waits(StartWait* wait, const RunningController& seen, uint32_t slice_ms);

// Whether the workers that are still listed are orphans for certain: they may be another controller's.
bool start_may_end_orphans(ControllerClaim claim);

inline constexpr char kSecondStartCaption[] = "Already Running";

// For the operator: which one runs, why there can be no second, and what helps. `own_folder` is the refused start's.
std::string second_start_text(const RunningController& running, const char* own_folder);

// For the log: the same in a line.
std::string second_start_log_text(const RunningController& running);
