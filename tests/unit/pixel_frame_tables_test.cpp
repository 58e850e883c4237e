// The per-column frame tables, from jumps whose curves are straight lines with simple slopes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <string>

#include "autosetup/pixel_frame_tables.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"

namespace {

constexpr char kUntouched[] = "WRN pixel_frames_v2: zero valid jumpers contributed, leaving pixel_frames untouched";
constexpr char kNoneMerged[] = "WRN pixel_frames_v2: no jumps merged, leaving pixel_frames untouched";

struct Bench {
    WorkspacePtr workspace = make_workspace();
    std::unique_ptr<Settings> settings = default_settings();
    LogCapture log;

    Bench() {
        settings->pre_movie_padding_frames = settings->post_movie_padding_frames = 0;
        settings->scene_trigger_f0_fraction = 0.9f;
        settings->blob_match_tolerance_us = 8333;
    }
    AutoSetupWorkspace* operator->() const {
        return workspace.get();
    }
    MotionBlob* blobs(int32_t feed) const {
        return workspace->blobs[feed];
    }
    // Columns 100, 200, 300, 400 at the frames given by `first`, `first` + 10, ...: a curve of x / 10 once lifted.
    void pass(int32_t feed, int64_t first) const {
        add_jump(workspace.get(), feed, {first, first + 30, 100, 400, 4});
    }
    // Feed 1 starts with feed 0's third record, feed 2 with feed 1's fourth: offsets 20 and 50.
    void jumper(int64_t first) const {
        pass(0, first);
        pass(1, first + 20);
        pass(2, first + 50);
    }
    int32_t populate() const {
        return populate_pixel_frames_v2(workspace.get(), settings.get());
    }
    // Frames since the movie's start; the paddings are 0.
    int32_t frames(int32_t feed, int32_t column) const {
        return settings->pixel_to_start[feed][column];
    }
};

struct Sample {
    int64_t frame;
    int32_t column;
};

}  // namespace

// One jump of the feed with exactly these samples.
static void add_samples(AutoSetupWorkspace* workspace, int32_t feed, std::initializer_list<Sample> samples) {
    const int32_t start = workspace->blob_count[feed];
    for (const Sample& sample : samples) {
        MotionBlob blob = {};
        blob.seq = sample.frame;
        blob.ts = sample.frame * 16'667;
        blob.x = sample.column;
        add_blob(workspace, feed, blob);
    }
    workspace->jumps[feed][workspace->jump_count[feed]++] = {start, static_cast<int32_t>(samples.size())};
}

TEST(PixelFrameTables, OneJumperGivesTheTablesOfThreeStraightLines) {
    const Bench bench;
    bench.jumper(1000);
    ASSERT_EQ(bench.populate(), 0);
    // Feed 0: x / 10. Feed 1: 20 later. Feed 2: 50 later, and its last column ends the movie.
    EXPECT_EQ(bench.frames(0, 0), 0);
    EXPECT_EQ(bench.frames(0, 500), 50);
    EXPECT_EQ(bench.frames(0, 1919), 192);  // 191.9
    EXPECT_EQ(bench.frames(1, 0), 20);
    EXPECT_EQ(bench.frames(1, 300), 50);
    EXPECT_EQ(bench.frames(2, 0), 50);
    EXPECT_EQ(bench.frames(2, 1919), 242);                      // 241.9
    EXPECT_EQ(bench.settings->pixel_to_scene[0][500], 123);     // 172.7 at column 1727, rounded, - 50
    EXPECT_EQ(bench.settings->pixel_to_end[1][300], 242 - 50);  // frame_count - t
    for (const int32_t populated : bench.settings->pixel_frames_populated) EXPECT_EQ(populated, 1);

    const PixelFramesTrace& trace = bench->pixel_frames;
    EXPECT_EQ(trace.merged, 1);
    EXPECT_EQ(trace.contributing, 1);
    EXPECT_EQ(trace.frame_count, 242);
    EXPECT_EQ(trace.scene_x, 1727);
    EXPECT_EQ(trace.switch2_frame, 173);
    EXPECT_EQ(trace.kept, nullptr);

    const std::vector<std::string> lines = bench.log.lines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0], "INF pixel_frames_v2: merged 1 cross-feed jumps");
    EXPECT_EQ(lines[1], "INF pixel_frames_v2: jump 0 accepted — offset_f1=20 offset_f2=50 (feed-0 relative)");
    EXPECT_EQ(lines[2], "INF pixel_frames_v2: averaged across 1 jumpers — avg_offset_f1=20.0 avg_offset_f2=50.0");
    EXPECT_EQ(lines[3],
              "INF pixel_frames_v2: frame_count=242 scene_x=1727 switch2_frame=173  baking pre_pad=0 post_pad=0 "
              "into tables");
    EXPECT_EQ(lines[4], "INF pixel_frames_v2: populated all three feeds from 1 jumpers");
}

TEST(PixelFrameTables, AJumperSeenOnlyByFeeds1And2IsSkippedWithALine) {
    const Bench bench;
    bench.pass(1, 1020);
    bench.pass(2, 1050);
    const Settings before = *bench.settings;
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has(
        "INF pixel_frames_v2: jump 0 — only 2/3 feeds have ≥4 blobs, skipping (feeds: 0/1/1, counts: 0/4/4)"));
    EXPECT_TRUE(bench.log.has(kUntouched));
    EXPECT_TRUE(same_bytes(&before, bench.settings.get()));
    EXPECT_EQ(bench->pixel_frames.merged, 1);
    EXPECT_EQ(bench->pixel_frames.contributing, 0);
    EXPECT_NE(bench->pixel_frames.kept, nullptr);
}

TEST(PixelFrameTables, ThreeBlobsInAFeedAreTooFew) {
    const Bench bench;
    bench.pass(0, 1000);
    bench.pass(1, 1020);
    add_jump(bench.workspace.get(), 2, {1050, 1070, 100, 300, 3});
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has(
        "INF pixel_frames_v2: jump 0 — only 2/3 feeds have ≥4 blobs, skipping (feeds: 1/1/1, counts: 4/4/3)"));
}

TEST(PixelFrameTables, AJumpWithoutTimeStampsIsNeverMerged) {
    const Bench bench;
    bench.jumper(1000);
    for (int32_t feed = 0; feed < 3; ++feed)
        for (int32_t i = 0; i < 4; ++i) bench.blobs(feed)[i].ts = 0;
    const Settings before = *bench.settings;
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has("INF pixel_frames_v2: merged 0 cross-feed jumps"));
    EXPECT_TRUE(bench.log.has(kNoneMerged));
    EXPECT_TRUE(same_bytes(&before, bench.settings.get()));
    EXPECT_EQ(bench->pixel_frames.merged, 0);
    EXPECT_NE(bench->pixel_frames.kept, nullptr);
}

TEST(PixelFrameTables, AnEmptyWorkspaceMergesNothing) {
    const Bench bench;
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has(kNoneMerged));
}

TEST(PixelFrameTables, AZeroStampAtEitherEndOrASingleRecordKeepsAJumpOut) {
    const Bench bench;
    bench.jumper(1000);
    bench.jumper(2000);
    bench.jumper(3000);
    bench.blobs(1)[0].ts = 0;      // jump 0 of the reference: first stamp
    bench.blobs(1)[7].ts = 0;      // jump 1: last stamp
    bench->jumps[1][2].count = 1;  // jump 2: one record
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has(kNoneMerged));
}

TEST(PixelFrameTables, AnUnstampedJumpOfAnotherFeedDoesNotJoin) {
    const Bench bench;
    bench.jumper(1000);
    bench.blobs(0)[3].ts = 0;
    bench.blobs(2)[0].ts = 0;
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has(
        "INF pixel_frames_v2: jump 0 — only 1/3 feeds have ≥4 blobs, skipping (feeds: 0/1/0, counts: 0/4/0)"));
}

TEST(PixelFrameTables, FeedZeroAndThenFeedTwoStandInAsTheReference) {
    const Bench without_1;
    without_1.pass(0, 1000);
    without_1.pass(0, 3000);
    without_1.pass(2, 1050);
    without_1.populate();
    EXPECT_EQ(without_1->pixel_frames.merged, 2);
}

TEST(PixelFrameTables, FeedTwoAloneIsItsOwnReference) {
    const Bench bench;
    bench.pass(2, 1050);
    bench.populate();
    EXPECT_TRUE(bench.log.has(
        "INF pixel_frames_v2: jump 0 — only 1/3 feeds have ≥4 blobs, skipping (feeds: 0/0/1, counts: 0/0/4)"));
}

// Moves feed 0's jump so that it ends, or feed 2's so that it starts, `gap_us` outside feed 1's.
static int32_t feeds_joined(int64_t gap_us, int32_t feed) {
    const Bench bench;
    bench.jumper(1000);
    const int64_t edge = feed == 0 ? bench.blobs(1)[0].ts - gap_us : bench.blobs(1)[3].ts + gap_us;
    const int64_t shift = edge - (feed == 0 ? bench.blobs(0)[3].ts : bench.blobs(2)[0].ts);
    for (int32_t i = 0; i < 4; ++i) bench.blobs(feed)[i].ts += shift;
    bench.settings->blob_match_tolerance_us = 1'000'000;
    bench.populate();
    return bench->pixel_frames.contributing == 1 ? 3 : 2;
}

TEST(PixelFrameTables, JumpsJoinAcrossAGapOfFiftyMillisecondsAndNotOneMicrosecondMore) {
    EXPECT_EQ(feeds_joined(50'000, 0), 3);
    EXPECT_EQ(feeds_joined(50'001, 0), 2);
    EXPECT_EQ(feeds_joined(50'000, 2), 3);
    EXPECT_EQ(feeds_joined(50'001, 2), 2);
}

TEST(PixelFrameTables, SeveralJumpsOfAnotherFeedWidenTheSpan) {
    const Bench bench;
    add_samples(bench.workspace.get(), 0, {{1000, 100}, {1010, 200}});
    add_samples(bench.workspace.get(), 0, {{1020, 300}, {1030, 400}});
    bench.pass(1, 1020);
    bench.blobs(1)[0].ts -= 500'000;  // overlap with both halves
    bench.pass(2, 1050);
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench->pixel_frames.contributing, 1);
    EXPECT_EQ(bench.frames(0, 500), 50);
}

TEST(PixelFrameTables, ColumnsBetweenSamplesFollowTheSlopeOfFourSamples) {
    const Bench bench;
    bench.jumper(1000);
    bench->jump_count[0] = bench->blob_count[0] = 0;
    add_samples(bench.workspace.get(), 0, {{1000, 100}, {1005, 200}, {1020, 300}, {1030, 400}, {1060, 500}});
    ASSERT_EQ(bench.populate(), 0);
    // First four: 30 frames in 300 columns. Column 0 lies at -10, so that everything is lifted by 10.
    EXPECT_EQ(bench.frames(0, 0), 0);
    EXPECT_EQ(bench.frames(0, 50), 5);
    EXPECT_EQ(bench.frames(0, 100), 10);
    EXPECT_EQ(bench.frames(0, 150), 10);  // between the first two samples no line is drawn: 0, lifted
    EXPECT_EQ(bench.frames(0, 200), 15);
    EXPECT_EQ(bench.frames(0, 250), 20);  // 5 + 50 * 0.1 + 10
    EXPECT_EQ(bench.frames(0, 300), 30);
    // Last four: 55 frames in 300 columns.
    EXPECT_EQ(bench.frames(0, 350), 39);  // 20 + 50 * 0.18333 + 10 = 39.2
    EXPECT_EQ(bench.frames(0, 450), 49);  // 30 + 50 * 0.18333 + 10 = 49.2
    EXPECT_EQ(bench.frames(0, 500), 70);  // measured
    EXPECT_EQ(bench.frames(0, 600), 77);  // 30 + 200 * 0.18333 + 10 = 76.7
}

TEST(PixelFrameTables, ALaterRecordAtAColumnOverwritesTheEarlierOne) {
    const Bench bench;
    bench.jumper(1000);
    bench->jump_count[0] = bench->blob_count[0] = 0;
    add_samples(bench.workspace.get(), 0, {{1000, 100}, {1010, 200}, {1020, 300}, {1030, 400}, {1036, 400}});
    ASSERT_EQ(bench.populate(), 0);
    // First three slopes give column 0 = -10.
    EXPECT_EQ(bench.frames(0, 400), 46);
}

TEST(PixelFrameTables, SamplesThatEndInTheColumnTheyStartedInDrawNoLine) {
    const Bench bench;
    bench.jumper(1000);
    bench->jump_count[0] = bench->blob_count[0] = 0;
    add_samples(bench.workspace.get(), 0, {{1000, 100}, {1010, 200}, {1020, 300}, {1030, 100}});
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench.frames(0, 0), 0);
    EXPECT_EQ(bench.frames(0, 100), 30);  // the later record
    EXPECT_EQ(bench.frames(0, 200), 10);
    EXPECT_EQ(bench.frames(0, 250), 0);
    EXPECT_EQ(bench.frames(0, 1919), 0);
}

TEST(PixelFrameTables, ColumnsOutsideThePictureCountAsItsEdges) {
    const Bench bench;
    bench.jumper(1000);
    bench->jump_count[0] = bench->blob_count[0] = 0;
    add_samples(bench.workspace.get(), 0, {{1000, -50}, {1010, 640}, {1020, 1280}, {1030, 5000}});
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench.frames(0, 0), 0);
    EXPECT_EQ(bench.frames(0, 960), 15);  // 10 + 320 * 30 / 1919 = 15.0
    EXPECT_EQ(bench.frames(0, 1919), 30);
}

TEST(PixelFrameTables, OnlyThe520FirstRecordsShapeTheCurveButAllAreMeasured) {
    const Bench bench;
    add_jump(bench.workspace.get(), 0, {1000, 1529, 0, 529, 530});
    for (int32_t i = 520; i < 530; ++i) bench.blobs(0)[i].seq += 100;
    bench.pass(1, 1020);
    bench.pass(2, 1050);
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench.frames(0, 519), 519);
    EXPECT_EQ(bench.frames(0, 525), 625);  // measured, beyond the 520th
    EXPECT_EQ(bench.frames(0, 600), 600);  // the line of the samples up to the 520th
}

TEST(PixelFrameTables, FrameCountsWrapAt32Bits) {
    const Bench bench;
    bench.jumper(1000);
    for (int32_t i = 1; i < 4; ++i) bench.blobs(0)[i].seq += int64_t{1} << 32;
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench.frames(0, 500), 50);
}

TEST(PixelFrameTables, ACurveOfFeed2ThatEndsBelowZeroStaysAtItsLastPositiveValue) {
    const Bench bench;
    bench.pass(0, 1000);
    bench.pass(1, 1020);
    // Against the usual direction: columns 400, 300, 200, 100.
    add_jump(bench.workspace.get(), 2, {1050, 1080, 400, 100, 4});
    ASSERT_EQ(bench.populate(), 0);
    // (400 - x) / 10 left of 400; the last value above 0 is 0.1 at column 399. Plus the offset of 50.
    EXPECT_EQ(bench.frames(2, 0), 90);
    EXPECT_EQ(bench.frames(2, 150), 75);
    EXPECT_EQ(bench.frames(2, 1000), 50);
    EXPECT_EQ(bench.frames(2, 1919), 50);
    EXPECT_EQ(bench->pixel_frames.frame_count, 50);
}

TEST(PixelFrameTables, ACurveOfAnotherFeedMayEndBelowZero) {
    const Bench bench;
    add_jump(bench.workspace.get(), 0, {1000, 1030, 400, 100, 4});
    bench.pass(1, 1020);
    bench.pass(2, 1050);
    ASSERT_EQ(bench.populate(), 0);
    // 20 - (1919 - 200) / 10 = -151.9; adding 0.5 and cutting toward zero gives -151.
    EXPECT_EQ(bench.frames(0, 1919), -151);
}

TEST(PixelFrameTables, OffsetsCountFromEachFeedsOwnFirstRecordOnly) {
    const Bench bench;
    bench.pass(0, 1000);
    bench.pass(1, 1005);  // between feed 0's records
    bench.pass(2, 1035);
    bench.blobs(1)[1].ts = bench.blobs(0)[2].ts;  // the match is feed 1's second record, feed 0's third
    ASSERT_EQ(bench.populate(), 0);
    // 20, not 20 - 10; and feed 1's fourth record meets feed 2's first: 20 + 30.
    EXPECT_TRUE(bench.log.has("INF pixel_frames_v2: jump 0 accepted — offset_f1=20 offset_f2=50 (feed-0 relative)"));
}

// Whether a jump contributes when the nearest records of feeds 0 and 1, or 1 and 2, are `distance_us` apart.
static bool aligned(int32_t tolerance_us, int64_t distance_us, int32_t pair) {
    const Bench bench;
    bench.jumper(1000);
    for (int32_t i = 0; i < 4; ++i) bench.blobs(pair == 0 ? 0 : 2)[i].ts += distance_us;
    bench.settings->blob_match_tolerance_us = tolerance_us;
    bench.populate();
    const std::string shown = std::to_string(tolerance_us > 0 ? tolerance_us : 8333);
    const bool skipped = bench.log.has("INF pixel_frames_v2: jump 0 — no cross-feed alignment (ts tolerance " +
                                       shown + "us), skipping");
    EXPECT_NE(skipped, bench->pixel_frames.contributing == 1);
    return !skipped;
}

TEST(PixelFrameTables, AMatchMayBeAsFarAsTheToleranceAndNoFarther) {
    for (int32_t pair = 0; pair < 2; ++pair) {
        EXPECT_TRUE(aligned(5000, 5000, pair));
        EXPECT_FALSE(aligned(5000, 5001, pair));
        EXPECT_TRUE(aligned(5000, -5000, pair));
        EXPECT_FALSE(aligned(5000, -5001, pair));
        EXPECT_TRUE(aligned(0, 8333, pair));
        EXPECT_FALSE(aligned(0, 8334, pair));
        EXPECT_TRUE(aligned(-7, 8333, pair));
    }
}

TEST(PixelFrameTables, TheFirstOfEquallyNearRecordsWins) {
    const Bench bench;
    bench.jumper(1000);
    const int64_t moment = bench.blobs(1)[0].ts;
    bench.blobs(0)[1].ts = moment + 4000;
    bench.blobs(0)[2].ts = moment - 4000;
    bench.blobs(0)[3].ts = moment + 4000;
    bench.blobs(1)[1].ts = moment + 2'000'000;
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has("INF pixel_frames_v2: jump 0 accepted — offset_f1=10 offset_f2=40 (feed-0 relative)"));
}

TEST(PixelFrameTables, ARecordWithoutAStampIsNoMatch) {
    const Bench bench;
    bench.jumper(1000);
    bench.blobs(0)[2].ts = 0;  // the one that met feed 1's first; the fourth meets its second
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has("INF pixel_frames_v2: jump 0 accepted — offset_f1=30 offset_f2=60 (feed-0 relative)"));
}

TEST(PixelFrameTables, TwoJumpersAreAveraged) {
    const Bench bench;
    bench.jumper(1000);
    // Twice as fast: x / 20 in all feeds; feed 1 starts with feed 0's second record, feed 2 with feed 1's fourth.
    add_jump(bench.workspace.get(), 0, {2000, 2015, 100, 400, 4});
    add_jump(bench.workspace.get(), 1, {2005, 2020, 100, 400, 4});
    add_jump(bench.workspace.get(), 2, {2020, 2035, 100, 400, 4});
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_TRUE(
        bench.log.has("INF pixel_frames_v2: averaged across 2 jumpers — avg_offset_f1=12.5 avg_offset_f2=35.0"));
    EXPECT_EQ(bench.frames(0, 400), 30);    // 40 and 20
    EXPECT_EQ(bench.frames(0, 1600), 120);  // 160 and 80
    EXPECT_EQ(bench.frames(1, 400), 43);    // 30 + 12.5, half up
    EXPECT_EQ(bench.frames(2, 400), 65);
}

TEST(PixelFrameTables, ASkippedJumperLeavesNoTraceInTheNext) {
    const Bench bench;
    bench.pass(1, 20);
    bench.pass(2, 50);
    bench.jumper(1000);
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_TRUE(bench.log.has("INF pixel_frames_v2: jump 1 accepted — offset_f1=20 offset_f2=50 (feed-0 relative)"));
    EXPECT_EQ(bench.frames(2, 1919), 242);
}

TEST(PixelFrameTables, TheSceneColumnFollowsTheFractionWithinReason) {
    const struct {
        float fraction;
        int32_t column;
    } cases[] = {{0.9f, 1727},
                 {0, 1727},
                 {1.5f, 1727},
                 {-0.1f, 1727},
                 {std::nanf(""), 1727},
                 {1, 1919},
                 {0.5f, 960},
                 {0.0001f, 0},
                 {std::numeric_limits<float>::infinity(), 1727}};
    for (const auto& row : cases) {
        const Bench bench;
        bench.jumper(1000);
        bench.settings->scene_trigger_f0_fraction = row.fraction;
        bench.populate();
        EXPECT_EQ(bench->pixel_frames.scene_x, row.column) << row.fraction;
    }
}

TEST(PixelFrameTables, ARowHoldsStartSceneAndEndWithThePaddings) {
    const Bench bench;
    // A sixteenth of a frame per column everywhere: 119.9 at column 1919.
    add_jump(bench.workspace.get(), 0, {1000, 1030, 0, 480, 4});
    add_jump(bench.workspace.get(), 1, {1030, 1180, 0, 480, 4});  // offset 30
    add_jump(bench.workspace.get(), 2, {1180, 1210, 0, 480, 4});  // offset 30 + 150
    bench.settings->pre_movie_padding_frames = 10;
    bench.settings->post_movie_padding_frames = 20;
    bench.settings->scene_trigger_f0_fraction = 1;
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench->pixel_frames.frame_count, 300);
    EXPECT_EQ(bench->pixel_frames.switch2_frame, 120);
    EXPECT_EQ(bench.settings->pixel_to_start[0][800], 60);
    EXPECT_EQ(bench.settings->pixel_to_scene[0][800], 70);
    EXPECT_EQ(bench.settings->pixel_to_end[0][800], 270);
}

TEST(PixelFrameTables, NegativePaddingsCountAsZero) {
    const Bench bench;
    bench.jumper(1000);
    bench.settings->pre_movie_padding_frames = -10;
    bench.settings->post_movie_padding_frames = std::numeric_limits<int32_t>::min();
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench.settings->pixel_to_start[0][500], 50);
    EXPECT_EQ(bench.settings->pixel_to_end[0][500], 242 - 50);
    EXPECT_TRUE(bench.log.has(
        "INF pixel_frames_v2: frame_count=242 scene_x=1727 switch2_frame=173  baking pre_pad=0 post_pad=0 into "
        "tables"));
}

TEST(PixelFrameTables, FramesBeyondAllMeasureEndAtTheLargestNumber) {
    const Bench bench;
    bench.jumper(1000);
    const int64_t far = std::numeric_limits<int64_t>::max();
    for (int32_t i = 0; i < 4; ++i) {
        bench.blobs(0)[i].seq = i % 2 == 0 ? -far - 1 : far;
        bench.blobs(1)[i].seq = i % 2 == 0 ? far : -far - 1;
        bench.blobs(2)[i].seq = i * int64_t{700'000'000};
        bench.blobs(2)[i].x = i;
    }
    bench.settings->pre_movie_padding_frames = std::numeric_limits<int32_t>::max();
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench->pixel_frames.contributing, 1);
    EXPECT_EQ(bench->pixel_frames.frame_count, std::numeric_limits<int32_t>::max());
}

TEST(PixelFrameTables, StampsFromEndToEndOfTheirRangeAreNoMatch) {
    const Bench bench;
    bench.jumper(1000);
    const int64_t far = std::numeric_limits<int64_t>::max();
    bench.blobs(1)[0].ts = -far - 1;
    bench.blobs(1)[3].ts = far;
    for (int32_t i = 1; i < 3; ++i) bench.blobs(1)[i].ts = 0;
    for (int32_t i = 0; i < 4; ++i) bench.blobs(0)[i].ts = i % 2 == 0 ? far - 20'000 : -far + 20'000;
    EXPECT_EQ(bench.populate(), 0);
    EXPECT_EQ(bench->pixel_frames.merged, 1);
    EXPECT_TRUE(bench.log.has(kUntouched));
}

TEST(PixelFrameTables, AJumpOfManyThousandRecordsIsDoneInNoTime) {
    // All against all would be 4e10 comparisons.
    const Bench bench;
    constexpr int32_t kRecords = 200'000;
    for (int32_t feed = 0; feed < 3; ++feed)
        add_jump(bench.workspace.get(), feed,
                 {1000 + feed * 100, 1000 + feed * 100 + kRecords - 1, 0, 1919, kRecords});
    ASSERT_EQ(bench.populate(), 0);
    EXPECT_TRUE(
        bench.log.has("INF pixel_frames_v2: jump 0 accepted — offset_f1=100 offset_f2=200 (feed-0 relative)"));
}

static int32_t allocations_granted;

static void* allocate_until_refused(size_t count, size_t size) {
    return allocations_granted-- > 0 ? calloc(count, size) : nullptr;
}

TEST(PixelFrameTables, WithoutMemoryTheStepFailsAndTheTablesStay) {
    for (int32_t granted = 0; granted < 3; ++granted) {
        const Bench bench;
        bench.jumper(1000);
        const Settings before = *bench.settings;
        allocations_granted = granted;
        EXPECT_EQ(populate_pixel_frames_v2(bench.workspace.get(), bench.settings.get(), allocate_until_refused), -1);
        EXPECT_TRUE(bench.log.has("ERR populate_pixel_frames_v2: workspace alloc failed"));
        EXPECT_TRUE(same_bytes(&before, bench.settings.get()));
        EXPECT_NE(bench->pixel_frames.kept, nullptr);
    }
}
