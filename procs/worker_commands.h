// Which workers a rig needs and how each is started: one table of kinds, the command lines built from it, and the
// mapping from the number of feeds to the feeds in use.
#pragma once

#include <cstddef>
#include <cstdint>

#include "procs/process_manager.h"

struct FeedSlots {
    int32_t count;
    int32_t feed[3];  // `count` feed numbers, ascending
};

// The feeds in use. A single camera always runs as feed 1, the reference, and two as feeds 1 and 2; any other
// `feed_count` than 1 and 2 means all three.
FeedSlots active_feed_slots(int32_t feed_count);
bool feed_is_active(int32_t feed_count, int32_t feed);

inline constexpr size_t kCommandTextSize = sizeof(ProcessSlot::command_line);
inline constexpr size_t kWorkerNameSize = sizeof(ProcessSlot::name);

struct WorkerKind {
    uint32_t kind;  // ProcessKind
    const char* exe;
    uint32_t auto_restart;
    bool per_feed;       // its command line and its slot carry a feed number
    const char* option;  // stands between that and the quoted argument, with the blanks around it
};

// The row of a kind that the sequences start (capture to capfile); null for any other.
const WorkerKind* worker_kind(uint32_t kind);

// The slot index of a child: the feed for kinds that run per feed, else kNoIndex.
uint32_t worker_slot_index(uint32_t kind, int32_t feed);

// Writes the child's command line: the executable in `exe_dir` (no trailing backslash), the feed for kinds that run
// per feed, and `argument` when it is not null or empty: the camera's device path (capture), the settings path
// (motion, videogen, viewer) or the practice directory (fileplayer). Returns 0, or -1 after one log line, `out`
// untouched, for a kind without a row or a text that does not fit.
int32_t worker_command_line(uint32_t kind, const char* exe_dir, int32_t feed, const char* argument,
                            char out[kCommandTextSize]);

// "capture[%d]", "motion[%d]", "videogen", "viewer", "fileplayer[%d]", "capfile[%d]" with the slot's index (-1 for
// kNoIndex), and "proc[%d]" with the slot number for any other kind.
void worker_display_name(uint32_t kind, uint32_t index, int32_t slot, char out[kWorkerNameSize]);
