#include "procs/feed_sync.h"

#include <gtest/gtest.h>

TEST(FeedSyncOffsets, AreTheDistancesFromFeedOne) {
    const struct {
        uint32_t nw[3];
        int32_t expected[3];
    } cases[] = {{{0, 0, 0}, {0, 0, 0}},
                 {{130, 100, 60}, {30, 0, -40}},
                 {{1, 0xFFFFFFFFu, 0xFFFFFFFEu}, {2, 0, -1}},
                 {{0xFFFFFFF0u, 16, 32}, {-32, 0, 16}},
                 {{0x80000000u, 0, 0x7FFFFFFFu}, {INT32_MIN, 0, INT32_MAX}}};
    for (const auto& c : cases) {
        const FeedSyncOffsets offsets = feed_sync_offsets(c.nw);
        for (int feed = 0; feed < 3; ++feed)
            EXPECT_EQ(offsets.offset[feed], c.expected[feed]) << c.nw[0] << " " << feed;
    }
}
