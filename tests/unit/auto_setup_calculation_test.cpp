// The calculation as a whole: which jumps it looks at, its defaults, the invalid jumps, its log line by line.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "autosetup/calculation.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"

using Lines = std::vector<std::string>;

static int32_t calculate(AutoSetupWorkspace* workspace) {
    const auto settings = default_settings();
    return auto_setup_calculate(workspace, settings.get());
}

// Jump `j` of a feed: five records over `span` frames and columns 200 .. 1000.
static void add_plain_jump(AutoSetupWorkspace* workspace, int32_t feed, int32_t j, int64_t span) {
    const int64_t first = 10000 * j + 200 * feed;
    add_jump(workspace, feed, {first, first + span, 200, 1000, 5});
}

static WorkspacePtr feed_1_alone(const std::vector<int64_t>& spans) {
    auto ws = make_workspace(1);
    for (size_t j = 0; j < spans.size(); ++j) add_plain_jump(ws.get(), 1, static_cast<int32_t>(j), spans[j]);
    return ws;
}

static WorkspacePtr jumps_per_feed(int32_t feed_count, int32_t f0, int32_t f1, int32_t f2) {
    auto ws = make_workspace(feed_count);
    const int32_t jumps[3] = {f0, f1, f2};
    for (int32_t feed = 0; feed < 3; ++feed)
        for (int32_t j = 0; j < jumps[feed]; ++j) add_plain_jump(ws.get(), feed, j, 50);
    return ws;
}

static int32_t jumps_looked_at(int32_t feed_count, int32_t f0, int32_t f1, int32_t f2) {
    const auto ws = jumps_per_feed(feed_count, f0, f1, f2);
    calculate(ws.get());
    return ws->calculation.jumps;
}

TEST(CalculationJumps, AreThoseAllFeedsHave) {
    LogCapture log;
    EXPECT_EQ(jumps_looked_at(3, 5, 4, 3), 3);
    EXPECT_EQ(jumps_looked_at(3, 2, 4, 3), 2);
    EXPECT_EQ(jumps_looked_at(3, 5, 3, 4), 3);
    EXPECT_EQ(jumps_looked_at(3, 4, 4, 0), 0);
}

TEST(CalculationJumps, AFeed0WithoutAnyDoesNotCount) {
    LogCapture log;
    EXPECT_EQ(jumps_looked_at(3, 0, 4, 3), 3);
}

TEST(CalculationJumps, InactiveFeedsDoNotCount) {
    LogCapture log;
    EXPECT_EQ(jumps_looked_at(2, 1, 4, 3), 3);
    EXPECT_EQ(jumps_looked_at(1, 1, 4, 2), 4);
}

TEST(CalculationDefaults, WithoutCompleteJumpsAreTakenWithAnErrorAndSuccess) {
    LogCapture log;
    const auto ws = jumps_per_feed(3, 2, 1, 0);
    EXPECT_EQ(calculate(ws.get()), 0);
    const Lines lines = log.take();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0], "INF auto_setup_calculate: jump_count[0]=2, [1]=1, [2]=0");
    EXPECT_EQ(lines[1], "ERR auto_setup_calculate: feeds 1 and 2 have no complete jumps");
    EXPECT_EQ(lines[2].rfind("INF feed 0 motion region: ", 0), 0U);
    EXPECT_EQ(lines[5].rfind("INF noise caps: ", 0), 0U);
    for (int32_t feed = 0; feed < 3; ++feed) {
        EXPECT_EQ(ws->result_feed_video_frames[feed], 100);
        EXPECT_EQ(ws->result_frames_before[feed], 15);
        EXPECT_EQ(ws->result_frames_after[feed], 15);
        EXPECT_EQ(ws->region_y0[feed], 30);
    }
    EXPECT_EQ(ws->result_scene_trigger_x, 960);
    EXPECT_EQ(ws->result_min_type1_frames, 200);
    EXPECT_EQ(ws->result_min_type2_frames, 80);
}

TEST(CalculationDefaults, WithFeed1AloneUseThePaddings) {
    LogCapture log;
    const auto ws = make_workspace(1);
    ws->movie_padding_before_frames = 44;
    ws->movie_padding_after_frames = 55;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("ERR auto_setup_calculate: feed 1 has no complete jumps"));
    EXPECT_EQ(ws->result_frames_before[0], 15);
    EXPECT_EQ(ws->result_frames_before[1], 44);
    EXPECT_EQ(ws->result_frames_before[2], 15);
    EXPECT_EQ(ws->result_frames_after[1], 55);
}

TEST(CalculationDefaults, WithTwoFeedsDoNotUseThePaddings) {
    LogCapture log;
    const auto ws = make_workspace(2);
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("ERR auto_setup_calculate: feeds 1 and 2 have no complete jumps"));
    EXPECT_EQ(ws->result_frames_before[1], 15);
    EXPECT_EQ(ws->result_frames_after[2], 15);
}

TEST(InvalidJumps, AreThoseOutsideTenTo520Frames) {
    LogCapture log;
    const auto ws = feed_1_alone({520, 521, 10, 9, 50});
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->calculation.invalid, 2);
    const JumpVerdict expected[] = {kJumpAccepted, kJumpInvalid, kJumpAccepted, kJumpInvalid, kJumpAccepted};
    for (int32_t j = 0; j < 5; ++j) EXPECT_EQ(ws->calculation.jump[j].verdict, expected[j]) << j;
    EXPECT_EQ(ws->calculation.jump[1].rule, kRuleSpan);
    EXPECT_EQ(ws->calculation.jump[1].feed, 1);
    EXPECT_EQ(ws->calculation.jump[1].value, 521);
    EXPECT_EQ(ws->calculation.jump[0].feed, -1);
    EXPECT_TRUE(
        log.has("INF jump 1: INVALID (feed 1 span=521, first_seq=10200 last_seq=10721) — excluded from all "
                "aggregations"));
    EXPECT_TRUE(log.has("INF auto_setup_calculate: 2/5 jumps invalid (hard-rejected)"));
}

TEST(InvalidJumps, TwoOfFiveAreAcceptedThreeAreTooMany) {
    LogCapture log;
    EXPECT_EQ(calculate(feed_1_alone({600, 600, 50, 50, 50}).get()), 0);
    const auto ws = feed_1_alone({600, 600, 50, 50, 5});
    ws->result_scene_trigger_x = -7;
    log.take();
    EXPECT_EQ(calculate(ws.get()), -1);
    EXPECT_EQ(log.take().back(),
              "ERR auto_setup_calculate: too many invalid jumps — 3/5 invalid, need better practice data. Settings "
              "will NOT be written.");
    EXPECT_EQ(ws->result_scene_trigger_x, -7);
    EXPECT_EQ(ws->calculation.invalid, 3);
}

TEST(InvalidJumps, HalfOfThemIsNotTooMany) {
    LogCapture log;
    EXPECT_EQ(calculate(feed_1_alone({600, 50}).get()), 0);
    EXPECT_EQ(calculate(feed_1_alone({600}).get()), -1);
}

TEST(InvalidJumps, AreToldOnceForTheFirstFeedThatBreaksTheRule) {
    LogCapture log;
    const auto ws = jumps_per_feed(3, 2, 2, 2);
    for (int32_t feed = 1; feed < 3; ++feed) ws->blobs[feed][4].seq += 1000;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(log.count("INF jump 0: INVALID (feed 1 span=1050, first_seq=200 last_seq=1250) — excluded from all "
                        "aggregations"),
              1);
    for (const std::string& line : log.lines()) EXPECT_EQ(line.find("INVALID (feed 2"), std::string::npos);
}

TEST(InvalidJumps, ASpanThatRunsBackwardsIsOne) {
    LogCapture log;
    const auto ws = feed_1_alone({50, 50});
    ws->blobs[1][4].seq = 0;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->calculation.jump[0].value, -200);
}

TEST(InvalidJumps, ASingleRecordIsNotMeasured) {
    LogCapture log;
    const auto ws = jumps_per_feed(3, 1, 1, 1);
    ws->jumps[0][0].count = 1;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->calculation.invalid, 0);
}

TEST(CalculationTraceTest, StartsAnewWithEveryCalculation) {
    LogCapture log;
    const auto ws = feed_1_alone({600, 50});
    calculate(ws.get());
    ws->blobs[1][4].seq = ws->blobs[1][0].seq + 50;
    calculate(ws.get());
    EXPECT_EQ(ws->calculation.invalid, 0);
    EXPECT_EQ(ws->calculation.jump[0].verdict, kJumpAccepted);
    EXPECT_EQ(ws->calculation.jump[0].rule, kRuleNone);
}

// Two jumpers in three feeds, without grids or alignment. Records of jump 0 every 10 frames:
//   feed 0: frames  100 ..  150, columns  800, 1000, ... 1800
//   feed 1: frames  160 ..  210, columns  200,  400, ... 1200
//   feed 2: frames  230 ..  280, columns  100,  300, ... 1100
// Jump 1 the same 1000 frames later, but feed 1 begins 4 frames and feed 2 8 frames later still.
static WorkspacePtr two_jumpers(int32_t feed_count = 3) {
    auto ws = make_workspace(feed_count);
    for (const int64_t late : {0, 4}) {
        const int64_t start = late == 0 ? 0 : 1000;
        add_jump(ws.get(), 0, {start + 100, start + 150, 800, 1800, 6});
        add_jump(ws.get(), 1, {start + late + 160, start + late + 210, 200, 1200, 6});
        add_jump(ws.get(), 2, {start + 2 * late + 230, start + 2 * late + 280, 100, 1100, 6});
    }
    return ws;
}

TEST(Calculation, TellsEveryStepInOrder) {
    LogCapture log;
    const auto ws = two_jumpers();
    EXPECT_EQ(calculate(ws.get()), 0);
    Lines lines = log.lines();
    ASSERT_EQ(lines.size(), 22U);
    lines.resize(18);  // motion regions and noise caps have tests of their own
    EXPECT_EQ(lines,
              (Lines{
                  "INF auto_setup_calculate: jump_count[0]=2, [1]=2, [2]=2",
                  "INF auto_setup_calculate: 0/2 jumps invalid (hard-rejected)",
                  "INF jump 0 scene trigger (f0->f1): f0 x=1800 (90%=1728), f1 x=200 (align=temporal, seq_diff=10)",
                  "INF jump 1 scene trigger (f0->f1): f0 x=1800 (90%=1728), f1 x=200 (align=temporal, seq_diff=14)",
                  "INF jump 0 feed 0: blobs=6 seq=100..150 x=800..1800 span=50",
                  "INF jump 0 feed 1: blobs=6 seq=160..210 x=200..1200 span=50",
                  "INF jump 0 feed 2: blobs=6 seq=230..280 x=100..1100 span=50",
                  "INF jump 0: feed_frames=96/96/96, before=15/75/145, after=25/35/15",
                  "INF jump 1 feed 0: blobs=6 seq=1100..1150 x=800..1800 span=50",
                  "INF jump 1 feed 1: blobs=6 seq=1164..1214 x=200..1200 span=50",
                  "INF jump 1 feed 2: blobs=6 seq=1238..1288 x=100..1100 span=50",
                  "INF jump 1: feed_frames=96/96/96, before=15/79/153, after=29/39/15",
                  "INF outlier filter: 2/2 jumps kept",
                  "INF aggregated: feed_video_frames=105/105/105",
                  // medians 15, (75 + 79) / 2 = 77, (145 + 153) / 2 = 149, plus a tenth
                  "INF aggregated: frames_before=16/84/163 (max across non-outlier jumps)",
                  "INF aggregated: frames_after=29/39/15 (90th percentile)",
                  "INF aggregated: scene_trigger_x=200 (blob-based, 0.0m, type2_ref_x=-1)",
                  // 230 - 100 = 130 and 138 frames; 130 less a tenth
                  "INF aggregated: min_type1_frames=117 (2 samples), min_type2_frames=105",
              }));
}

TEST(Calculation, MeasuresBothMovieTypesAtTheMetres) {
    LogCapture log;
    const auto ws = two_jumpers();
    set_linear_grid(ws.get(), 0, 0.0f, 0.0625f);    // column 1728: 108 m
    set_linear_grid(ws.get(), 1, 83.0f, 0.0625f);   // 108 m at column 400, 83 .. 202.9 m
    set_linear_grid(ws.get(), 2, 133.0f, 0.0625f);  // from 133 m: feed 1's column 800, feed 2's column 0
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->result_scene_trigger_x, 400);
    // Feed 1 is at column 400 at frame 170 (1174), at 800 at 190 (1194); feed 2 starts nearest to column 0.
    EXPECT_TRUE(log.has("INF jump 0 type2: f1_gap=20 + f2_portion=50 = 70"));
    EXPECT_TRUE(log.has("INF jump 1 type2: f1_gap=20 + f2_portion=50 = 70"));
    EXPECT_TRUE(log.has("INF aggregated: scene_trigger_x=400 (meter-based, 108.0m, type2_ref_x=0)"));
    // 170 - 100 = 70 and 74 frames for type 1; feed 2's crossings come before the type-2 samples.
    EXPECT_TRUE(log.has("INF aggregated: min_type1_frames=63 (2 samples), min_type2_frames=105"));
}

TEST(Calculation, WithoutFeed2CrossingsTheType2SampleCounts) {
    LogCapture log;
    const auto ws = two_jumpers();
    set_linear_grid(ws.get(), 0, 0.0f, 0.0625f);
    set_linear_grid(ws.get(), 1, 83.0f, 0.0625f);
    set_linear_grid(ws.get(), 2, 133.0f, 0.0625f);
    for (int32_t i = 0; i < ws->blob_count[2]; ++i) ws->blobs[2][i].x = 50;  // a jumper who stands still
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->result_feed_video_frames[2], 100);
    EXPECT_EQ(ws->result_min_type2_frames, 63);  // 70 less a tenth
}

TEST(Calculation, Feed1WithoutFeed0TakesTheMeanCrossingFoundSoFar) {
    LogCapture log;
    const auto ws = two_jumpers();
    ws->jumps[0][1].count = 1;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("INF jump 1: feed_frames=0/96/96, before=15/111/185, after=15/39/15"));
}

TEST(Calculation, Feed1WithoutAnyFeed0Takes130) {
    LogCapture log;
    const auto ws = two_jumpers();
    ws->jumps[0][0].count = 1;  // jump 1 comes too late for jump 0
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("INF jump 0: feed_frames=0/96/96, before=15/145/215, after=15/35/15"));
    EXPECT_TRUE(log.has("INF jump 1: feed_frames=96/96/96, before=15/79/153, after=29/39/15"));
}

TEST(Calculation, ATriggerColumnStandsUnderTheNumberOfAnEarlierJumpOnceOneGaveNone) {
    LogCapture log;
    const auto ws = two_jumpers();
    ws->jumps[1][0].count = 1;  // feed 0 has nothing to map to: jump 1's column becomes the first of the list
    for (int32_t i = 6; i < 12; ++i) ws->blobs[1][i].x += 1400;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->calculation.jump[0].rule, kRuleFewRecords);
    EXPECT_EQ(ws->calculation.jump[1].verdict, kJumpAccepted);  // though its own column is 1600
    EXPECT_TRUE(log.has("INF aggregated: scene_trigger_x=960 (fallback, 0.0m, type2_ref_x=-1)"));
}

TEST(Calculation, WithTwoFeedsThereIsNoSceneTriggerAndNoMovieTypeSample) {
    LogCapture log;
    const auto ws = two_jumpers(2);
    ws->jump_count[0] = 0;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("INF jump 0: feed_frames=0/96/96, before=15/145/215, after=15/35/15"));
    EXPECT_TRUE(log.has("INF aggregated: frames_before=16/60/238 (max across non-outlier jumps)"));  // 217, + 21
    EXPECT_TRUE(log.has("INF aggregated: frames_after=15/39/60 (90th percentile)"));
    EXPECT_TRUE(log.has("INF aggregated: scene_trigger_x=960 (fallback, 0.0m, type2_ref_x=-1)"));
    EXPECT_TRUE(log.has("INF aggregated: min_type1_frames=200 (0 samples), min_type2_frames=105"));
}

TEST(Calculation, WithOneFeedOnlyFeed1HasValues) {
    LogCapture log;
    const auto ws = feed_1_alone({50, 60});
    ws->movie_padding_before_frames = 33;
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("INF jump 0: feed_frames=0/120/0, before=0/33/0, after=0/60/0"));
    EXPECT_TRUE(log.has("INF aggregated: feed_video_frames=100/145/100"));  // (120 + 144) / 2 = 132, + 13
    EXPECT_TRUE(log.has("INF aggregated: frames_before=15/33/15 (max across non-outlier jumps)"));
    EXPECT_TRUE(log.has("INF aggregated: min_type1_frames=200 (0 samples), min_type2_frames=80"));
}

TEST(Calculation, LeavesOutliersOutOfTheMeans) {
    LogCapture log;
    const auto ws = make_workspace(1);
    add_jump(ws.get(), 1, {1000, 1050, 200, 1000, 5});
    add_jump(ws.get(), 1, {2000, 2500, 200, 1000, 4});
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_TRUE(log.has("INF jump 1: OUTLIER (filtered from aggregation)"));
    EXPECT_EQ(ws->result_feed_video_frames[1], 132);
    EXPECT_EQ(ws->calculation.outliers, 1);
}

TEST(Calculation, TwentyJumpersWithHostileNumbersOverflowNothing) {
    LogCapture log;
    const auto ws = make_workspace();
    const int64_t edges[] = {INT64_MIN, INT64_MAX, -1, INT64_MAX - 300};
    for (int32_t j = 0; j < kJumpLimit; ++j) {
        for (int32_t feed = 0; feed < 3; ++feed) {
            add_jump(ws.get(), feed, {0, 40, 0, 400, 5});
            MotionBlob* blobs = ws->blobs[feed] + 5 * j;
            for (int32_t i = 0; i < 5; ++i) {
                blobs[i].seq = static_cast<int64_t>(static_cast<uint64_t>(edges[(feed + j) % 4]) + 10U * i);
                blobs[i].x = i % 2 == 0 ? INT_MIN : INT_MAX;
            }
        }
        ws->align_01[j] = {1, edges[j % 4], 3, 0.0f, 0.0f};
        ws->align_12[j] = {1, edges[(j + 1) % 4], 3, 0.0f, 0.0f};
    }
    EXPECT_EQ(calculate(ws.get()), 0);
    EXPECT_EQ(ws->calculation.invalid, 0);
    for (int32_t feed = 0; feed < 3; ++feed) {
        EXPECT_GE(ws->result_frames_before[feed], 15);
        EXPECT_LE(ws->result_frames_before[feed], 520);
        EXPECT_GE(ws->result_frames_after[feed], 15);
        EXPECT_LE(ws->result_frames_after[feed], 520);
    }
}
