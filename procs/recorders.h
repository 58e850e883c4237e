// The recorders, capfile.exe, one per feed: started, told to pause and to finish, and waited for. An MP4 whose writer
// is killed lacks its index and cannot be played, so a recorder is asked to close its file and only one that does not
// listen is ended. Both front ends, the Preview tab's buttons and the capture panel, work through these functions.
#pragma once

#include <cstdint>

struct ControlBlock;
struct IpcSyncSet;
struct ProcessManager;

inline constexpr int32_t kRecorders = 3;  // every feed, also those that feed_count leaves out
inline constexpr uint32_t kRecorderGraceMs = 8000;
inline constexpr uint32_t kRecorderPollMs = 100;
inline constexpr uint32_t kRecorderKillMs = 1000;

// What they are steered with; all of it is lent.
struct Recorders {
    ControlBlock* control;  // may be null: the flags then change nothing
    IpcSyncSet* sync;
    ProcessManager* processes;
    const char* exe_dir;  // without a trailing backslash
};

// The flags of all recorders; they look at them when recorders_signal wakes them.
void recorders_set_paused(const Recorders& recorders, uint32_t paused);
void recorders_set_shutdown(const Recorders& recorders, uint32_t shutdown);
void recorders_signal(const Recorders& recorders);

// Starts the recorder of `feed`, which no crash restarts. Returns 0, or -1 when it could not be launched.
int32_t recorder_launch(const Recorders& recorders, int32_t feed);

// How many are known to be running.
int32_t recorders_running(const Recorders& recorders);

// Waits until every recorder has ended, kRecorderGraceMs at most, and ends those that are left, each after a call of
// `warn` with its feed. Blocks the calling thread meanwhile. Afterwards none is running.
void recorders_finish(const Recorders& recorders, void (*warn)(int32_t feed));
