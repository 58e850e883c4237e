// Cameras that were switched on at different moments number their frames differently. The practice player reproduces
// that by letting its feeds begin at different ticks, on top of whatever the write counters hold from earlier
// sources.
#pragma once

#include <cstdint>

struct CounterStart {
    uint32_t nw;    // the feed's first frame gets this number
    int64_t delay;  // and is written at this tick
};

// Chooses the starts of feeds 0..2 so that at every later tick nw[f] - offset[f] is the same for all. Frames are only
// ever added to a ring. Where waiting would take more than `longest_delay` ticks, counters jump ahead instead.
void align_counters(const uint32_t (&nw)[3], const int32_t (&offset)[3], int64_t longest_delay,
                    CounterStart (&start)[3]);
