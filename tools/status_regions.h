// The named regions by number, so that one loop looks at all of them: what each is called and how large it must be.
#pragma once

#include <cstdint>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/jumper_region.h"

inline constexpr int32_t kRegionControl = 0;
inline constexpr int32_t kRegionJumpers = 1;
inline constexpr int32_t kRegionFeeds = 2;  // + feed * channels + channel
inline constexpr int32_t kRegionOutputs = kRegionFeeds + kFeedCount * kChannelCount;
inline constexpr int32_t kRegionCount = kRegionOutputs + kOutputRegionCount;

constexpr int32_t feed_region_number(int32_t feed, int32_t channel) {
    return kRegionFeeds + feed * kChannelCount + channel;
}

constexpr uint64_t region_expected_size(int32_t region) {
    if (region == kRegionControl) return kControlBlockSize;
    if (region == kRegionJumpers) return kJumperRegionSize;
    return region < kRegionOutputs ? kFeedRegionSize : kOutputRegionSize;
}

inline void region_name(char (&name)[32], int32_t region) {
    if (region == kRegionControl) {
        snprintf(name, sizeof name, "%s", kControlBlockName);
    } else if (region == kRegionJumpers) {
        snprintf(name, sizeof name, "%s", kJumperRegionName);
    } else if (region < kRegionOutputs) {
        const int32_t ring = region - kRegionFeeds;
        feed_region_name(name, ring / kChannelCount, ring % kChannelCount);
    } else {
        output_region_name(name, region - kRegionOutputs);
    }
}

// The system counts a region in whole pages, so sizes are compared in pages.
constexpr bool region_size_fits(uint64_t size, uint64_t expected) {
    constexpr uint64_t kPage = 4096;
    return (size + kPage - 1) / kPage == (expected + kPage - 1) / kPage;
}
