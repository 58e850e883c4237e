#include "rig/common/counter_alignment.h"

#include <algorithm>

void align_counters(const uint32_t (&nw)[3], const int32_t (&offset)[3], int64_t longest_delay,
                    CounterStart (&start)[3]) {
    int64_t base[3];  // the counter as feed 1 would have it
    for (int32_t feed = 0; feed < 3; ++feed) base[feed] = static_cast<int64_t>(nw[feed]) - offset[feed];
    const int64_t lowest = *std::min_element(base, base + 3);
    const int64_t highest = *std::max_element(base, base + 3);
    const bool wait = highest - lowest <= longest_delay;
    for (int32_t feed = 0; feed < 3; ++feed) {
        if (wait)
            start[feed] = CounterStart{nw[feed], base[feed] - lowest};
        else
            start[feed] = CounterStart{static_cast<uint32_t>(highest + offset[feed]), 0};
    }
}
