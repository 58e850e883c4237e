// A fixed table of child processes: started, watched, restarted on request, stopped. Main thread only.
#pragma once

#include <cstdint>

inline constexpr int32_t kProcessSlots = 16;
inline constexpr uint32_t kStopTimeoutMs = 5000;

enum ProcessState : uint32_t { kSlotEmpty = 0, kSlotRunning = 1, kSlotStopped = 2, kSlotFailed = 3 };

enum ProcessKind : uint32_t {
    kKindCapture = 0,
    kKindMotion = 1,
    kKindVideogen = 2,
    kKindViewer = 3,
    kKindFileplayer = 4,
    kKindCapfile = 5
};

// How a slot's last process came to its end.
enum ProcessEnding : uint32_t {
    kEndingNone = 0,        // it has not
    kEndingByItself = 1,    // or by somebody outside: the exit code tells
    kEndingByConsole = 2,   // stopped here
    kEndingGivenUp = 3,     // stopped here, but still not gone when its time was up
    kEndingNotStarted = 4,  // it never ran
};

inline constexpr uint32_t kNoIndex = 0xFFFFFFFFu;  // of kinds that run once

struct ProcessSlot {
    uint32_t state;         // ProcessState
    uint32_t kind;          // ProcessKind, others are generic
    uint32_t index;         // feed, or kNoIndex
    uint32_t auto_restart;  // 1: start again whenever it exits
    void* process;          // handle while running, else null
    uint32_t pid;
    uint32_t exit_code;  // last one; 0xFFFFFFFF when the launch failed
    int32_t restarts;
    uint32_t ending;       // ProcessEnding
    uint64_t launched_ms;  // when the last launch was tried; milliseconds since the system's start, as is the next
    uint64_t ended_ms;     // when its end was noticed; counts once `ending` is set
    char command_line[1024];
    char name[64];
};

struct ProcessManager {
    ProcessSlot slots[kProcessSlots];
    int32_t count;           // one past the highest slot ever launched
    uint32_t shutting_down;  // suppresses restarts
    char work_dir[260];      // of every child; empty inherits
};

void procmgr_init(ProcessManager* manager);

// Sets the working directory of all later launches (up to 259 bytes); null or empty clears it.
void procmgr_set_work_dir(ProcessManager* manager, const char* dir);

// Launches `command_line` (executable first, quoted) in the first empty slot. Returns the slot, or -1 when the table
// is full or the launch failed; a failed launch keeps its slot, in state kSlotFailed.
int32_t procmgr_spawn(ProcessManager* manager, uint32_t kind, uint32_t index, const char* command_line,
                      uint32_t auto_restart);

// The first taken slot of this kind and index, also a stopped or failed one; -1 if none.
int32_t procmgr_find(const ProcessManager* manager, uint32_t kind, uint32_t index);

// The first *running* slot of this kind and index, so that an earlier start's stopped slot never hides it; -1 if
// none.
int32_t procmgr_find_running(const ProcessManager* manager, uint32_t kind, uint32_t index);

// The slot's record, owned by the manager; null for a bad or empty slot.
ProcessSlot* procmgr_get(ProcessManager* manager, int32_t slot);

// Notices exits and restarts what asked for it. Returns the number of exits seen.
int32_t procmgr_poll(ProcessManager* manager);

// Lets go of the running children of `kind` that have ended meanwhile and marks them stopped, whatever their exit
// code: for a caller that asked them to end. Returns how many of that kind still run.
int32_t procmgr_collect_ended(ProcessManager* manager, uint32_t kind);

// Ends one child and waits up to `timeout_ms`. Returns 0, also when there was nothing to stop; -1 for a bad slot.
int32_t procmgr_stop(ProcessManager* manager, int32_t slot, uint32_t timeout_ms);

// Ends every running child of `kind` (all kinds when negative). Returns how many.
int32_t procmgr_stop_kind(ProcessManager* manager, int32_t kind, uint32_t timeout_ms);

// Ends every running child for good: no restarts from here on.
void procmgr_shutdown(ProcessManager* manager);

// Closes every handle still held and empties the stopped and failed slots.
void procmgr_release_all(ProcessManager* manager);

// "Running", "Stopped", "Failed", or "Unknown".
const char* procmgr_state_name(uint32_t state);
