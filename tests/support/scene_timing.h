// What Auto Setup ought to find on the rig's scene, worked out from where the jumpers really are.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "rig/common/scene.h"

struct SceneTiming {
    int32_t sync_offset[kSceneFeeds];  // frames a feed's counter is ahead of feed 1's
    int32_t gap[2];                    // [0] feed 1's first sight to feed 0's trigger column, [1] feed 1 to feed 2
    int32_t crossing[kSceneFeeds];     // frames a jumper takes from edge to edge of a picture
    std::vector<double> frames[kSceneFeeds];  // per column, since the left edge of feed 0's picture
};

inline int32_t middle_of(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return static_cast<int32_t>(std::lround(values[values.size() / 2]));
}

// Of the first `jumpers` jumpers. `trigger_column` is feed 0's.
inline SceneTiming scene_timing(const Scene& scene, int32_t jumpers, int32_t trigger_column) {
    SceneTiming timing{};
    std::vector<double> gaps[2];
    for (int32_t j = 0; j < jumpers; ++j) {
        const double triggered = std::ceil(scene_tick_of_column(&scene, j, 0, trigger_column));
        gaps[0].push_back(triggered - static_cast<double>(scene_passage(&scene, j, 1).entry));
        gaps[1].push_back(static_cast<double>(scene_gap(&scene, j, 1)));
    }
    for (int32_t pair = 0; pair < 2; ++pair) timing.gap[pair] = middle_of(gaps[pair]);
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        timing.sync_offset[feed] = scene.config.feed_offset[feed] - scene.config.feed_offset[1];
        double crossing = 0;
        timing.frames[feed].resize(kSceneWidth);
        for (int32_t j = 0; j < jumpers; ++j) {
            const double start = scene_tick_of_column(&scene, j, 0, 0);
            for (int32_t x = 0; x < kSceneWidth; ++x)
                timing.frames[feed][static_cast<size_t>(x)] +=
                    (scene_tick_of_column(&scene, j, feed, x) - start) / jumpers;
            crossing +=
                (scene_tick_of_column(&scene, j, feed, kSceneWidth) - scene_tick_of_column(&scene, j, feed, 0)) /
                jumpers;
        }
        timing.crossing[feed] = static_cast<int32_t>(std::lround(crossing));
    }
    return timing;
}

// How far measured tables are from the truth at worst, in frames.
struct TableErrors {
    double start, scene, end;
};
template <size_t n>
TableErrors table_errors(const SceneTiming& truth, int32_t feed, int32_t scene_column, int32_t before, int32_t after,
                         const int32_t (&to_start)[n], const int32_t (&to_scene)[n], const int32_t (&to_end)[n]) {
    TableErrors worst{};
    const double switched = truth.frames[0][static_cast<size_t>(scene_column)];
    const double last = truth.frames[kSceneFeeds - 1].back();
    for (size_t x = 0; x < n; ++x) {
        const double t = truth.frames[feed][x];
        worst.start = std::max(worst.start, std::abs(to_start[x] - (before + t)));
        worst.scene = std::max(worst.scene, std::abs(to_scene[x] - (switched - t)));
        worst.end = std::max(worst.end, std::abs(to_end[x] - (last + after - t)));
    }
    return worst;
}
