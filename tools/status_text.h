// What `orvekctl status` says: one look at the shared regions as a plain record, and that record as text for people
// and as JSON for scripts.
#pragma once

#include <cstdint>
#include <string>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/sync_objects.h"
#include "tools/ring_history.h"
#include "tools/status_regions.h"

enum class WorkerPresence : int32_t { empty = 1, gone, running };  // gone: the slot's process no longer runs
// Nothing was found until something was looked for. unknown: it exists, but may not be looked at.
enum class MutexState : int32_t { missing, unknown, free, held, abandoned };
enum class EventState : int32_t { missing, unknown, clear, signalled };

struct StatusWorker {
    uint32_t pid = 0;
    WorkerPresence presence = WorkerPresence::empty;
    std::string image;  // the program's base name, UTF-8; empty when it cannot be told
};

struct StatusRegion {
    bool present = false;
    bool size_known = false;
    uint64_t size = 0;  // bytes, perhaps rounded up to whole pages
};

struct StatusRing {           // a feed's ring, or the output ring that is shown
    bool has_newest = false;  // its newest complete frame:
    int64_t newest_seq = 0;   //   number
    bool has_age = false;     //   and age, by its time stamp
    int64_t newest_age_us = 0;
    RingRate stamp_rate;     // by time stamps; feed rings only
    RingRate clock_rate;     // by the clock; from the second look on
    int64_t longest_us = 0;  // feed rings: longest time between two frames
    int64_t lost = 0;        //   frame numbers left out
    int64_t interruptions = 0;
};

struct StatusRates {  // per second, per feed
    double frames[kFeedCount] = {};
    double motion[kFeedCount] = {};
};

struct StatusSnapshot {
    ControlBlock block = {};  // a copy; nobody else writes it
    StatusRegion region[kRegionCount];
    bool has_jumpers = false;  // the region is there and large enough
    int32_t jumper_count = 0;
    StatusRing feed_ring[kFeedCount][kChannelCount];
    StatusRing output_ring[kOutputRegionCount];
    MutexState mutex[kSyncObjectCount] = {};
    int32_t mutex_held_looks[kSyncObjectCount] = {};  // looks in a row that found it held, this one included
    EventState event[kSyncObjectCount] = {};
    uint64_t odd_events = 0;  // bit i: event i is of the other reset mode than the table's
    StatusWorker worker[kPidSlotCount];
    bool has_rates = false;  // two looks were taken
    StatusRates rates;
};

const char* mutex_state_word(MutexState state);
const char* event_state_word(EventState state);

// Several lines, each terminated; narrow and few enough for one console window.
std::string status_as_text(const StatusSnapshot& status);

// One JSON object on one line, terminated. Flags are 0 or 1; arrays go by feed (channel, slot). A channel out of
// range is shown as it stands, while "nw" and "frame_seq" then fall back to channel 0.
std::string status_as_json(const StatusSnapshot& status);

// The live channel as an index: 0 when it is none.
int32_t status_live_channel(const ControlBlock& block);
