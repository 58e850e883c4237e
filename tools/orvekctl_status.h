// Looks at the regions of a running controller without leaving a trace there: nothing is created, pinned, taken or
// written, and nothing stays open between two looks, so that watching never keeps a dead run's memory alive.
#pragma once

#include <cstdint>

#include "app/feed_rates.h"
#include "tools/ring_history.h"
#include "tools/status_text.h"

struct StatusWatch {  // what one look must remember for the next
    FeedRates frames, motion;
    RingHistory feed_ring[kFeedCount][kChannelCount];
    ClockHistory feed_clock[kFeedCount][kChannelCount];
    ClockHistory output_clock;
    int32_t mutex_held_looks[kSyncObjectCount] = {};
};

// Fills `status`. Of the rings it touches the pages of those slot headers only that came since the last look. False,
// and nothing changed, when there is no control block to be read.
bool status_read(StatusWatch* watch, StatusSnapshot* status);
