// What `orvekctl status` says: one look at the shared regions as a plain record, and that record as text for people
// and as JSON for scripts.
#pragma once

#include <cstdint>
#include <string>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"

enum class WorkerPresence : int32_t { empty = 1, gone, running };  // gone: the slot's process no longer runs

struct StatusWorker {
    uint32_t pid = 0;
    WorkerPresence presence = WorkerPresence::empty;
    std::string image;  // the program's base name, UTF-8; empty when it cannot be told
};

struct StatusRates {  // per second, per feed
    double frames[kFeedCount] = {};
    double motion[kFeedCount] = {};
};

struct StatusSnapshot {
    ControlBlock block = {};  // a copy; nobody else writes it
    bool feed_ring[kFeedCount][kChannelCount] = {};
    bool output_ring[kOutputRegionCount] = {};
    bool has_jumpers = false;
    int32_t jumper_count = 0;
    uint64_t mutexes = 0;  // bit i: mutex i exists
    uint64_t events = 0;
    StatusWorker worker[kPidSlotCount];
    bool has_rates = false;  // two looks were taken
    StatusRates rates;
};

// Several lines, each terminated.
std::string status_as_text(const StatusSnapshot& status);

// One JSON object on one line, terminated. Flags are 0 or 1; arrays go by feed (channel, slot). A channel out of
// range is shown as it stands, while "nw" and "frame_seq" then fall back to channel 0.
std::string status_as_json(const StatusSnapshot& status);
