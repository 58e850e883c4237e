// Offsets between the feeds, on jumps small enough to pair by hand.
#include "autosetup/feed_alignment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"

namespace {

struct Sighting {
    int64_t seq;
    float meter;
};

class FeedAlignment : public testing::Test {
protected:
    LogCapture log;
    WorkspacePtr workspace = make_workspace();

    // The columns rise by one a record, so that no two records share one unless the test says so.
    void jump(int32_t feed, const std::vector<Sighting>& sightings) {
        const int32_t start = workspace->blob_count[feed];
        int32_t x = 0;
        for (const Sighting& sighting : sightings) {
            MotionBlob blob = {};
            blob.x = x++ % kPixelColumns;
            blob.seq = sighting.seq;
            blob.meter = sighting.meter;
            add_blob(workspace.get(), feed, blob);
        }
        workspace->jumps[feed][workspace->jump_count[feed]++] = {start, static_cast<int32_t>(sightings.size())};
    }

    AlignRecord aligned(int32_t feed_a, int32_t feed_b, int32_t number = 0) {
        AlignRecord record = {9, 9, 9, 9.0f, 9.0f};
        align_jump(workspace.get(), feed_a, feed_b, number, &record);
        return record;
    }

    // A jump in both feeds that is aligned by metres, with this offset.
    void aligned_jump(int32_t feed_a, int32_t feed_b, int64_t offset) {
        add_side(feed_a, 1000);
        add_side(feed_b, 1000 + offset);
    }

    void add_side(int32_t feed, int64_t seq) {
        jump(feed, {{seq, 100}, {seq + 10, 110}, {seq + 20, 120}});
    }

    void align() {
        EXPECT_EQ(auto_setup_align_feeds(workspace.get()), 0);
    }
};

}  // namespace

TEST_F(FeedAlignment, AnEvenNumberOfPairsTakesTheUpperMiddleDifference) {
    // Same metres in both; the differences are 3, 5, 4, 9, sorted 3, 4, 5, 9, and index 2 holds 5.
    jump(0, {{100, 10}, {101, 20}, {102, 30}, {103, 40}});
    jump(1, {{103, 10}, {106, 20}, {106, 30}, {112, 40}});
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.valid, 1U);
    EXPECT_EQ(record.offset, 5);
    EXPECT_EQ(record.pairs, 4);
    EXPECT_EQ(record.meter_lo, 10.0f);
    EXPECT_EQ(record.meter_hi, 40.0f);
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"INF jump 0: feed 0->1 offset=5, 4 overlap pairs, meter 10.0..40.0"});
}

TEST_F(FeedAlignment, AnOddNumberOfPairsTakesTheMiddleDifference) {
    jump(1, {{100, 10}, {101, 20}, {102, 30}});
    jump(2, {{107, 10}, {104, 20}, {111, 30}});  // 7, 3, 9
    EXPECT_EQ(aligned(1, 2).offset, 7);
}

TEST_F(FeedAlignment, AFeedWithoutTheJumpLeavesAClearedRecord) {
    jump(0, {{100, 10}});
    AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.valid, 0U);
    EXPECT_EQ(record.offset, 0);
    EXPECT_EQ(record.pairs, 0);
    EXPECT_EQ(record.meter_lo, 0.0f);
    EXPECT_EQ(record.meter_hi, 0.0f);
    record = aligned(2, 0);
    EXPECT_EQ(record.valid, 0U);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(FeedAlignment, WithoutACommonMetreTheOffsetIsTheGapBetweenTheSpans) {
    jump(0, {{100, 10}, {150, 20}});
    jump(1, {{162, 25}, {200, 40}});
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.valid, 1U);
    EXPECT_EQ(record.offset, 12);  // 162 - 150
    EXPECT_EQ(record.pairs, 0);
    EXPECT_EQ(record.meter_lo, 0.0f);
    EXPECT_EQ(record.meter_hi, 0.0f);
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"INF jump 0: feed 0->1 offset=12, 0 overlap pairs (gap fallback)"});
}

TEST_F(FeedAlignment, RangesThatOnlyTouchDoNotOverlap) {
    jump(0, {{100, 10}, {150, 20}});
    jump(1, {{162, 20}, {200, 40}});
    EXPECT_EQ(aligned(0, 1).pairs, 0);
    EXPECT_TRUE(log.has("INF jump 0: feed 0->1 offset=12, 0 overlap pairs (gap fallback)"));
}

TEST_F(FeedAlignment, OverlapWithoutANearRecordFallsBackToTheGapButSaysSo) {
    // Overlap 10..20; the nearest of feed 1 to 20 is 18 or 22, both 2 m away; to 10 it is 8.
    jump(0, {{100, 10}, {150, 20}});
    jump(1, {{170, 8}, {180, 18}, {190, 22}});
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.valid, 1U);
    EXPECT_EQ(record.offset, 20);  // 170 - 150
    EXPECT_EQ(record.pairs, 0);
    EXPECT_EQ(record.meter_lo, 0.0f);
    EXPECT_EQ(record.meter_hi, 0.0f);
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"INF jump 0: feed 0->1 offset=20, 0 overlap pairs, meter 0.0..0.0"});
}

TEST_F(FeedAlignment, OnePairGivesItsDifferenceAndTheOverlap) {
    // Overlap 15..20, where only the record at 20 lies.
    jump(0, {{100, 10}, {150, 20}});
    jump(1, {{170, 15}, {180, 20.5f}});
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.pairs, 1);
    EXPECT_EQ(record.offset, 30);  // 180 - 150
    EXPECT_EQ(record.meter_lo, 15.0f);
    EXPECT_EQ(record.meter_hi, 20.0f);
}

TEST_F(FeedAlignment, AMetreApartIsAPairAndAnythingMoreIsNot) {
    jump(0, {{100, 50}, {110, 60}, {120, 70}});
    jump(1, {{201, 49}, {212, 61}, {223, 71.001f}});
    // 50: 49 is 1.0 away; 60: 61 is; 70: the nearest is 71.001. Differences 101 and 102, upper of the two.
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.pairs, 2);
    EXPECT_EQ(record.offset, 102);
}

TEST_F(FeedAlignment, OfEquallyNearRecordsTheFirstWins) {
    jump(0, {{100, 50}, {110, 70}});
    jump(1, {{300, 49.5f}, {400, 50.5f}, {500, 49.5f}, {600, 90}});
    // Overlap 49.5..70: 50 pairs with frame 300; 70 has nobody near.
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.pairs, 1);
    EXPECT_EQ(record.offset, 200);
}

TEST_F(FeedAlignment, OfRecordsInOneColumnTheFirstWins) {
    set_linear_grid(workspace.get(), 0, 100.0f, 0.01f);
    set_linear_grid(workspace.get(), 1, 100.0f, 0.01f);
    add_jump(workspace.get(), 0, {1000, 1100, 200, 1200, 2});
    add_jump(workspace.get(), 1, {2000, 2100, 200, 1200, 2});
    MotionBlob again = workspace->blobs[1][1];  // hovering in the last column
    again.seq = 2200;
    add_blob(workspace.get(), 1, again);
    ++workspace->jumps[1][0].count;
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.pairs, 2);
    EXPECT_EQ(record.offset, 1000);
}

TEST_F(FeedAlignment, AtMostFiveHundredPairsAreLookedAt) {
    // 500 records with offset 7, then 700 with 5000 that would otherwise carry the median.
    std::vector<Sighting> a;
    for (int32_t i = 0; i < 1200; ++i) a.push_back({i < 500 ? 10'000 : 5007, i % 2 == 0 ? 100.0f : 120.0f});
    jump(0, a);
    jump(1, {{10'007, 100}, {10'007, 120}});
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.pairs, 500);
    EXPECT_EQ(record.offset, 7);
}

TEST_F(FeedAlignment, RecordsOutsideTheOverlapUseUpNoPair) {
    std::vector<Sighting> a(600, {1, 5.0f});
    a.insert(a.end(), {{100, 100}, {110, 110}});
    jump(0, a);
    jump(1, {{103, 100}, {113, 110}});
    const AlignRecord record = aligned(0, 1);
    EXPECT_EQ(record.pairs, 2);
    EXPECT_EQ(record.offset, 3);
}

TEST_F(FeedAlignment, FeedZeroTakesTheNegatedMedian) {
    for (const int64_t offset : {8, 7, 8}) aligned_jump(0, 1, offset);
    align();
    EXPECT_EQ(workspace->sync_offset[0], -8);
    EXPECT_EQ(workspace->sync_valid[0], 1U);
    EXPECT_EQ(workspace->sync_offset[1], 0);
    EXPECT_EQ(workspace->sync_valid[1], 1U);
    EXPECT_EQ(workspace->alignment.meter_aligned[0], 3);
    EXPECT_EQ(workspace->alignment.median[0], 8);
    EXPECT_EQ(workspace->alignment.kept[0], nullptr);
    EXPECT_TRUE(log.has("INF auto_setup_align_feeds: feed 0->1: 3/3 valid, feed 1->2: 0/0 valid"));
    EXPECT_TRUE(
        log.has("INF auto_setup_align_feeds: feed_sync_offset[0] = -8 (from 3 meter-aligned jumps, "
                "median align_01.offset = 8)"));
}

TEST_F(FeedAlignment, FeedTwoTakesTheMedianAsItIs) {
    for (const int64_t offset : {-20, 14, 12}) aligned_jump(1, 2, offset);
    align();
    EXPECT_EQ(workspace->sync_offset[2], 12);
    EXPECT_EQ(workspace->sync_valid[2], 1U);
    EXPECT_EQ(workspace->alignment.median[1], 12);
    EXPECT_TRUE(
        log.has("INF auto_setup_align_feeds: feed_sync_offset[2] = 12 (from 3 meter-aligned jumps, "
                "median align_12.offset = 12)"));
}

TEST_F(FeedAlignment, TwoJumpsSufficeAndTheUpperOffsetCounts) {
    for (const int64_t offset : {3, 9}) aligned_jump(0, 1, offset);
    align();
    EXPECT_EQ(workspace->sync_offset[0], -9);
}

TEST_F(FeedAlignment, SixtyFramesAreAcceptedInBothDirections) {
    for (const int64_t offset : {60, -60}) {
        workspace = make_workspace();
        for (int i = 0; i < 2; ++i) {
            add_side(0, 1000);
            add_side(1, 1000 + offset);
            add_side(2, 1000 + 2 * offset);
        }
        align();
        EXPECT_EQ(workspace->sync_offset[0], -offset);
        EXPECT_EQ(workspace->sync_offset[2], offset);
        EXPECT_EQ(workspace->sync_valid[0] + workspace->sync_valid[2], 2U);
    }
}

TEST_F(FeedAlignment, SixtyOneFramesAreRejectedForFeedTwo) {
    for (int i = 0; i < 2; ++i) aligned_jump(1, 2, 61);
    align();
    EXPECT_EQ(workspace->sync_offset[2], 0);
    EXPECT_EQ(workspace->sync_valid[2], 0U);
    EXPECT_NE(workspace->alignment.kept[1], nullptr);
    EXPECT_TRUE(log.has(
        "WRN auto_setup_align_feeds: feed_sync_offset[2] REJECTED: computed value 61 exceeds sanity limit of 60 "
        "frames "
        "(median align_12.offset = 61 from 2 jumps). Keeping existing settings.txt value. Likely cause: cross-feed "
        "jump_idx misalignment from practice-video loop."));
}

TEST_F(FeedAlignment, SixtyOneFramesAreRejectedForFeedZero) {
    for (int i = 0; i < 3; ++i) aligned_jump(0, 1, 61);
    align();
    EXPECT_EQ(workspace->sync_offset[0], 0);
    EXPECT_EQ(workspace->sync_valid[0], 0U);
    EXPECT_TRUE(log.has(
        "WRN auto_setup_align_feeds: feed_sync_offset[0] REJECTED: computed value -61 exceeds sanity limit of 60 "
        "frames (median align_01.offset = 61 from 3 jumps). Keeping existing settings.txt value. Likely cause: "
        "cross-feed jump_idx misalignment from practice-video loop."));
}

TEST_F(FeedAlignment, OneAlignedJumpIsTooFewForFeedZero) {
    aligned_jump(0, 1, 8);
    jump(0, {{5000, 10}, {5050, 20}});  // nothing in common: a gap fallback
    jump(1, {{5060, 30}, {5100, 40}});
    align();
    EXPECT_EQ(workspace->align_01[1].valid, 1U);
    EXPECT_EQ(workspace->sync_valid[0], 0U);
    EXPECT_EQ(workspace->alignment.meter_aligned[0], 1);
    EXPECT_NE(workspace->alignment.kept[0], nullptr);
    EXPECT_TRUE(log.has("INF auto_setup_align_feeds: feed 0->1: 2/2 valid, feed 1->2: 0/0 valid"));
    EXPECT_TRUE(
        log.has("WRN auto_setup_align_feeds: feed_sync_offset[0] NOT computed (only 1 meter-aligned 0->1 "
                "jumps; need >=2). Keeping existing settings.txt value."));
}

TEST_F(FeedAlignment, JumpsWithASinglePairDoNotCount) {
    for (int i = 0; i < 3; ++i) {
        jump(1, {{100, 10}, {150, 20}});
        jump(2, {{170, 15}, {180, 20.5f}});
    }
    align();
    EXPECT_EQ(workspace->align_12[2].pairs, 1);
    EXPECT_EQ(workspace->sync_valid[2], 0U);
    EXPECT_TRUE(
        log.has("WRN auto_setup_align_feeds: feed_sync_offset[2] NOT computed (only 0 meter-aligned 1->2 "
                "jumps; need >=2). Keeping existing settings.txt value."));
}

TEST_F(FeedAlignment, WithoutFeedZerosGridEveryJumpTakesTheGap) {
    set_linear_grid(workspace.get(), 1, 100.0f, 0.01f);
    for (int64_t seq = 1000; seq < 4000; seq += 1000) {
        add_jump(workspace.get(), 0, {seq, seq + 100, 0, 1900, 20});
        add_jump(workspace.get(), 1, {seq + 90, seq + 190, 0, 1900, 20});
    }
    align();
    for (int32_t number = 0; number < 3; ++number) {
        EXPECT_EQ(workspace->align_01[number].valid, 1U);
        EXPECT_EQ(workspace->align_01[number].pairs, 0);
        EXPECT_EQ(workspace->align_01[number].offset, -10);
        EXPECT_TRUE(
            log.has("INF jump " + std::to_string(number) + ": feed 0->1 offset=-10, 0 overlap pairs (gap fallback)"));
    }
    EXPECT_EQ(workspace->alignment.meter_aligned[0], 0);
    EXPECT_EQ(workspace->sync_valid[0], 0U);
}

TEST_F(FeedAlignment, JumpsOfFeedOneAloneAlignNothing) {
    add_side(1, 1000);
    add_side(1, 3000);
    align();
    EXPECT_TRUE(log.has("INF auto_setup_align_feeds: feed 0->1: 0/0 valid, feed 1->2: 0/0 valid"));
    EXPECT_EQ(workspace->sync_valid[2], 0U);
    EXPECT_EQ(workspace->align_12[0].valid, 0U);
}

TEST_F(FeedAlignment, OneCameraIsItsOwnReference) {
    workspace = make_workspace(1);
    workspace->sync_offset[0] = 5;
    workspace->sync_valid[0] = 1;
    for (int i = 0; i < 2; ++i) aligned_jump(1, 2, 8);
    align();
    EXPECT_EQ(workspace->sync_offset[0], 0);
    EXPECT_EQ(workspace->sync_valid[0], 0U);
    EXPECT_EQ(workspace->sync_valid[1], 1U);
    EXPECT_EQ(workspace->sync_valid[2], 0U);
    EXPECT_EQ(workspace->align_12[0].valid, 0U);
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"INF auto_setup_align_feeds: 1-feed mode — cross-feed alignment skipped; "
                                       "feed_sync_offset[1]=0 (reference), [0]/[2] left at settings.txt values"});
}

TEST_F(FeedAlignment, TwoCamerasLeaveFeedZeroOut) {
    workspace = make_workspace(2);
    for (int i = 0; i < 2; ++i) {
        add_side(0, 1000);
        add_side(1, 1005);
        add_side(2, 1012);
    }
    align();
    EXPECT_EQ(workspace->align_01[0].valid, 0U);
    EXPECT_EQ(workspace->sync_valid[0], 0U);
    EXPECT_EQ(workspace->sync_offset[2], 7);
    EXPECT_TRUE(log.has("INF auto_setup_align_feeds: feed 0->1: 0/0 valid, feed 1->2: 2/2 valid"));
    EXPECT_TRUE(
        log.has("WRN auto_setup_align_feeds: feed_sync_offset[0] NOT computed (only 0 meter-aligned 0->1 "
                "jumps; need >=2). Keeping existing settings.txt value."));
}

TEST_F(FeedAlignment, FrameNumbersFarApartAreRejectedNotWrappedIntoTheBand) {
    for (int i = 0; i < 2; ++i) {
        jump(1, {{INT32_MIN, 100}, {INT32_MIN, 110}});
        jump(2, {{0, 100}, {0, 110}});  // 2^31 frames apart, which as a 32-bit number is its own negative
    }
    align();
    EXPECT_EQ(workspace->sync_valid[2], 0U);
}

TEST_F(FeedAlignment, AStuckDetectorsMillionRecordsAreAlignedInAMoment) {
    set_linear_grid(workspace.get(), 0, 100.0f, 0.02f);
    set_linear_grid(workspace.get(), 1, 101.0f, 0.02f);
    // Feed 1 saw everything more than a metre off, so that every record of feed 0 searches in vain.
    for (const int32_t feed : {0, 1}) {
        for (int32_t i = 0; i < 1'000'000; ++i) {
            MotionBlob blob = {};
            blob.x = feed == 0 ? i % 1800 : (i % 18) * 106;
            blob.seq = i;
            blob.meter = workspace->meters_at_x[feed][blob.x] + (feed == 0 ? 0.0f : 1000.0f);
            if (feed == 1 && i == 0) blob.meter = 90.0f;
            add_blob(workspace.get(), feed, blob);
        }
        workspace->jumps[feed][0] = {0, 1'000'000};
        workspace->jump_count[feed] = 1;
    }
    EXPECT_EQ(aligned(0, 1).pairs, 0);
    EXPECT_TRUE(log.has("INF jump 0: feed 0->1 offset=-999999, 0 overlap pairs, meter 0.0..0.0"));
}

TEST_F(FeedAlignment, TheSearchByColumnFindsWhatComparingAllWithAllFinds) {
    std::mt19937 random(5);
    int compared = 0;
    for (int round = 0; round < 400; ++round) {
        workspace = make_workspace();
        for (const int32_t feed : {0, 1}) {
            // Steep and flat grids, so that records lie between a centimetre and many metres apart.
            set_linear_grid(workspace.get(), feed, 90.0f + static_cast<float>(random() % 20),
                            static_cast<float>(1 + random() % 500) * 0.001f);
            if (random() % 4 == 0) workspace->meters_at_x[feed][random() % 50] = NAN;
            const auto records = static_cast<int32_t>(1 + random() % 700);
            for (int32_t i = 0; i < records; ++i) {
                MotionBlob blob = {};
                blob.x = static_cast<int32_t>(random() % 60) * (random() % 3 == 0 ? 40 : 1) - 5;
                blob.seq = static_cast<int64_t>(random() % 100'000);
                blob.meter = workspace->meters_at_x[feed][std::clamp(blob.x, 0, 1919)];
                add_blob(workspace.get(), feed, blob);
            }
            workspace->jumps[feed][0] = {0, records};
        }
        const AlignRecord record = aligned(0, 1);
        if (record.meter_lo == 0 && record.meter_hi == 0) continue;  // a gap fallback
        std::vector<int64_t> differences;
        for (int32_t i = 0; i < workspace->jumps[0][0].count && differences.size() < 500; ++i) {
            const MotionBlob& a = workspace->blobs[0][i];
            if (!(record.meter_lo <= a.meter && a.meter <= record.meter_hi)) continue;
            float best = 999999.0f;
            int64_t best_seq = 0;
            for (int32_t k = 0; k < workspace->jumps[1][0].count; ++k) {
                const MotionBlob& b = workspace->blobs[1][k];
                if (std::fabs(b.meter - a.meter) >= best || std::isnan(b.meter)) continue;
                best = std::fabs(b.meter - a.meter);
                best_seq = b.seq;
            }
            if (best <= 1.0f) differences.push_back(best_seq - a.seq);
        }
        std::sort(differences.begin(), differences.end());
        ASSERT_EQ(record.pairs, static_cast<int32_t>(differences.size())) << round;
        ASSERT_EQ(record.offset, differences[differences.size() / 2]) << round;
        ++compared;
    }
    EXPECT_GT(compared, 200);
}

TEST_F(FeedAlignment, HostileNumbersAreAlignedWithoutHarm) {
    std::mt19937_64 random(42);
    const int64_t seqs[] = {INT64_MIN, INT64_MIN + 1, -1, 0, 1, INT32_MAX, INT64_MAX - 1, INT64_MAX};
    const float meters[] = {0.0f,
                            -0.0f,
                            100.0f,
                            100.5f,
                            1e30f,
                            -1e30f,
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN()};
    for (int round = 0; round < 300; ++round) {
        workspace = make_workspace();
        for (int32_t feed = 0; feed < 3; ++feed) {
            const auto jumps = static_cast<int32_t>(random() % (kJumpLimit + 1));
            for (int32_t number = 0; number < jumps; ++number) {
                std::vector<Sighting> sightings;
                for (size_t i = random() % 6; i < 6; ++i)
                    sightings.push_back({seqs[random() % 8], meters[random() % 9]});
                jump(feed, sightings);
                for (size_t i = 0; i < sightings.size(); ++i)
                    workspace->blobs[feed][workspace->blob_count[feed] - 1 - static_cast<int32_t>(i)].x =
                        static_cast<int32_t>(random());
            }
        }
        align();
        for (int32_t feed = 0; feed < 3; ++feed) EXPECT_LE(std::abs(workspace->sync_offset[feed]), 60);
    }
}
