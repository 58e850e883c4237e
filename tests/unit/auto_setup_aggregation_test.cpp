// Which jumps are unlike the others, and how the values of the rest become one.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "autosetup/aggregation.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"

using Lines = std::vector<std::string>;
using Values = std::vector<int32_t>;

static constexpr TriggerColumns kNoColumns = {};
static constexpr MetreTrigger kNoTrigger = {kNoColumn, 0.0f, kNoColumn, kNoColumn};

static int32_t size_of(const Values& values) {
    return static_cast<int32_t>(values.size());
}
static int32_t usual(Values spans) {
    return usual_span(spans.data(), size_of(spans));
}
static int32_t crossing(const Values& values) {
    return aggregate_crossing(values.data(), size_of(values));
}
static int32_t before(Values values) {
    return aggregate_before(values.data(), size_of(values));
}
static int32_t after(Values values) {
    return aggregate_after(values.data(), size_of(values));
}
static int32_t type2(const Values& crossings, const SmallestSample& samples) {
    return aggregate_type2(crossings.data(), size_of(crossings), samples);
}

TEST(UsualSpan, IsTheUpperMiddleAndZeroForNone) {
    EXPECT_EQ(usual({}), 0);
    EXPECT_EQ(usual({50}), 50);
    EXPECT_EQ(usual({90, 20, 60, 40}), 60);
    EXPECT_EQ(usual({90, 20, 40}), 40);
}

static JumpTrace judge(const AutoSetupWorkspace* workspace, int32_t usual_2,
                       const TriggerColumns& columns = kNoColumns, int32_t jump = 0) {
    return judge_jump(jump_view(workspace, jump), jump, usual_2, columns);
}

// Five records in each feed, `span_2` frames in feed 2.
static WorkspacePtr one_jump(int64_t span_2 = 40) {
    auto ws = make_workspace();
    add_jump(ws.get(), 0, {100, 140, 100, 1800, 5});
    add_jump(ws.get(), 1, {150, 190, 100, 1800, 5});
    add_jump(ws.get(), 2, {200, 200 + span_2, 100, 1800, 5});
    return ws;
}

TEST(JudgeJump, AcceptsFiveRecordsInEachFeed) {
    const JumpTrace trace = judge(one_jump().get(), 40);
    EXPECT_EQ(trace.verdict, kJumpAccepted);
    EXPECT_EQ(trace.rule, kRuleNone);
    EXPECT_EQ(trace.feed, -1);
}

TEST(JudgeJump, LessThanHalfTheUsualFramesInFeed2IsAnOutlier) {
    const JumpTrace trace = judge(one_jump(39).get(), 81);  // 81 / 2 = 40
    EXPECT_EQ(trace.verdict, kJumpOutlier);
    EXPECT_EQ(trace.rule, kRuleShortFeed2);
    EXPECT_EQ(trace.feed, 2);
    EXPECT_EQ(trace.value, 39);
    EXPECT_EQ(judge(one_jump(40).get(), 81).verdict, kJumpAccepted);
    EXPECT_EQ(judge(one_jump(10).get(), 0).verdict, kJumpAccepted);
}

TEST(JudgeJump, OneToFourRecordsInAnyFeedAreAnOutlier) {
    for (int32_t feed = 0; feed < 3; ++feed) {
        for (int32_t count = 1; count <= 4; ++count) {
            const auto ws = one_jump();
            ws->jumps[feed][0].count = count;
            const JumpTrace trace = judge(ws.get(), 0);
            EXPECT_EQ(trace.rule, kRuleFewRecords) << feed << " " << count;
            EXPECT_EQ(trace.feed, feed);
            EXPECT_EQ(trace.value, count);
        }
    }
}

TEST(JudgeJump, AFeedWithoutTheJumpIsNoReason) {
    for (int32_t feed = 0; feed < 3; ++feed) {
        const auto ws = one_jump();
        ws->jump_count[feed] = 0;
        EXPECT_EQ(judge(ws.get(), 1000).verdict, feed == 2 ? kJumpAccepted : kJumpOutlier) << feed;
        ws->jump_count[feed] = 1;
        ws->jumps[feed][0].count = 0;
        EXPECT_EQ(judge(ws.get(), 0).verdict, kJumpAccepted) << feed;
    }
}

TEST(JudgeJump, ATriggerColumnBeyond1500IsAnOutlier) {
    const auto ws = one_jump();
    const JumpTrace trace = judge(ws.get(), 0, {{1501}, 1});
    EXPECT_EQ(trace.rule, kRuleTriggerColumn);
    EXPECT_EQ(trace.feed, -1);
    EXPECT_EQ(trace.value, 1501);
    EXPECT_EQ(judge(ws.get(), 0, {{1500}, 1}).verdict, kJumpAccepted);
    EXPECT_EQ(judge(ws.get(), 0, {{1501}, 0}).verdict, kJumpAccepted);
}

TEST(JudgeJump, TheFirstRuleThatHitsIsTold) {
    const auto ws = one_jump(10);
    ws->jumps[2][0].count = 4;
    ws->jumps[0][0].count = 3;
    EXPECT_EQ(judge(ws.get(), 100, {{1600}, 1}).rule, kRuleShortFeed2);
    const JumpTrace trace = judge(ws.get(), 0, {{1600}, 1});
    EXPECT_EQ(trace.rule, kRuleFewRecords);
    EXPECT_EQ(trace.feed, 0);
}

// `jumps` jumps of 40 frames in every feed, as auto_setup_calculate prepares them.
static WorkspacePtr many_jumps(int32_t jumps) {
    auto ws = make_workspace();
    for (int32_t j = 0; j < jumps; ++j)
        for (int32_t feed = 0; feed < 3; ++feed) add_jump(ws.get(), feed, {j * 1000, j * 1000 + 40, 100, 1800, 5});
    return ws;
}

TEST(FilterOutliers, LogsEachAndTheNumberKept) {
    LogCapture log;
    const auto ws = many_jumps(4);
    ws->jumps[1][2].count = 4;
    Calculation calculation = {};
    calculation.jumps = 4;
    calculation.jump[0].invalid = true;
    filter_outliers(ws.get(), &calculation);
    EXPECT_TRUE(calculation.jump[0].outlier);
    EXPECT_FALSE(calculation.jump[1].outlier);
    EXPECT_TRUE(calculation.jump[2].outlier);
    EXPECT_EQ(ws->calculation.outliers, 1);
    EXPECT_FALSE(ws->calculation.outliers_kept);
    EXPECT_EQ(log.lines(),
              (Lines{"INF jump 2: OUTLIER (filtered from aggregation)", "INF outlier filter: 2/4 jumps kept"}));
}

TEST(FilterOutliers, KeepsAllWhenNoneWouldRemain) {
    LogCapture log;
    const auto ws = many_jumps(2);
    ws->jumps[0][0].count = 4;
    Calculation calculation = {};
    calculation.jumps = 2;
    calculation.jump[1].invalid = true;
    filter_outliers(ws.get(), &calculation);
    EXPECT_FALSE(calculation.jump[0].outlier);
    EXPECT_FALSE(calculation.jump[1].outlier);
    EXPECT_TRUE(calculation.jump[1].invalid);
    EXPECT_TRUE(ws->calculation.outliers_kept);
    EXPECT_EQ(ws->calculation.outliers, 1);
    EXPECT_EQ(ws->calculation.jump[0].verdict, kJumpOutlier);
    EXPECT_EQ(log.lines(),
              (Lines{"INF jump 0: OUTLIER (filtered from aggregation)", "INF outlier filter: 0/2 jumps kept",
                     "INF outlier filter: all jumps filtered — keeping all"}));
}

TEST(FilterOutliers, InvalidJumpsDoNotMoveTheUsualSpan) {
    LogCapture log;
    const auto ws = make_workspace();
    for (const int64_t span : {500, 500, 30, 20}) add_jump(ws.get(), 2, {0, span, 100, 1800, 5});
    Calculation calculation = {};
    calculation.jumps = 4;
    calculation.jump[0].invalid = calculation.jump[1].invalid = true;
    filter_outliers(ws.get(), &calculation);  // 20 and 30: usual is 30, half of it 15
    EXPECT_TRUE(log.has("INF outlier filter: 2/4 jumps kept"));
}

TEST(FilterOutliers, TriggerColumnsAreLookedUpByJumpNumberThoughOnlyAppended) {
    LogCapture log;
    const auto ws = many_jumps(3);
    Calculation calculation = {};
    calculation.jumps = 3;
    calculation.columns = {{300, 1600}, 2};  // jump 0 gave none, so that jump 2's column stands where 1's would
    filter_outliers(ws.get(), &calculation);
    EXPECT_FALSE(calculation.jump[0].outlier);
    EXPECT_TRUE(calculation.jump[1].outlier);
    EXPECT_FALSE(calculation.jump[2].outlier);
}

TEST(AggregateCrossing, IsTheMeanOfThePositiveValuesPlusATenth) {
    EXPECT_EQ(crossing({120, 0, 131}), 137);  // 251 / 2 = 125, + 12
    EXPECT_EQ(crossing({109}), 119);
}

TEST(AggregateCrossing, StaysWithin30To520) {
    EXPECT_EQ(crossing({10}), 30);
    EXPECT_EQ(crossing({28}), 30);
    EXPECT_EQ(crossing({29}), 31);
    EXPECT_EQ(crossing({473}), 520);
    EXPECT_EQ(crossing({472}), 519);
    EXPECT_EQ(crossing({9984}), 520);
}

TEST(AggregateCrossing, Is100WithoutAnyValue) {
    EXPECT_EQ(crossing({}), 100);
    EXPECT_EQ(crossing({0, 0}), 100);
}

TEST(AggregateBefore, IsTheMedianPlusATenthThoughTheLogSaysMax) {
    EXPECT_EQ(before({100, 20, 60}), 66);
    EXPECT_EQ(before({100, 20, 60, 41}), 55);  // (41 + 60) / 2 = 50, + 5
}

TEST(AggregateBefore, StaysWithin15To520AndIs16ForNone) {
    EXPECT_EQ(before({}), 16);
    EXPECT_EQ(before({15}), 16);
    EXPECT_EQ(before({13}), 15);
    EXPECT_EQ(before({500}), 520);
    EXPECT_EQ(before({INT_MAX}), 520);
    EXPECT_EQ(before({INT_MIN}), 15);
}

TEST(AggregateAfter, IsTheNinetiethPercentile) {
    EXPECT_EQ(after({15, 20, 25, 30, 100}), 100);  // element 9 * 5 / 10 = 4
    EXPECT_EQ(after({30, 20}), 30);                // element 1
    Values twenty;
    for (int32_t i = 0; i < 20; ++i) twenty.push_back(400 - i * 10);
    EXPECT_EQ(after(twenty), 390);  // element 18 of 210 .. 400
}

TEST(AggregateAfter, StaysWithin15To520AndIs15ForNone) {
    EXPECT_EQ(after({}), 15);
    EXPECT_EQ(after({-4}), 15);
    EXPECT_EQ(after({521}), 520);
    EXPECT_EQ(after({16}), 16);
}

TEST(AggregateType1, IsTheSmallestSampleLessATenth) {
    EXPECT_EQ(aggregate_type1({109, 3}), 99);
    EXPECT_EQ(aggregate_type1({33, 1}), 30);
    EXPECT_EQ(aggregate_type1({34, 1}), 31);
    EXPECT_EQ(aggregate_type1({5, 1}), 30);
    EXPECT_EQ(aggregate_type1({577, 1}), 520);
    EXPECT_EQ(aggregate_type1({0, 0}), 200);
}

TEST(AggregateType2, PrefersFeed2sCrossingsToTheSamples) {
    EXPECT_EQ(type2({100, 0, 121}, {40, 2}), 121);  // 221 / 2 = 110, + 11
    EXPECT_EQ(type2({10}, {40, 2}), 30);
    EXPECT_EQ(type2({600}, {40, 2}), 520);
}

TEST(AggregateType2, TakesTheSmallestSampleLessATenthWithoutCrossings) {
    EXPECT_EQ(type2({0, 0}, {70, 2}), 63);
    EXPECT_EQ(type2({}, {20, 1}), 30);
    EXPECT_EQ(type2({}, {0, 0}), 80);
}

TEST(AggregateTrigger, PrefersTheMetres) {
    const SceneTrigger scene = aggregate_trigger({640, 90.0f, kNoColumn, kNoColumn}, {{300, 500}, 2});
    EXPECT_EQ(scene.column, 640);
    EXPECT_STREQ(scene.source, "meter-based");
}

TEST(AggregateTrigger, IsTheMeanOfTheColumnsBelow1500) {
    const SceneTrigger scene = aggregate_trigger(kNoTrigger, {{300, 1500, 1499, 1632, 402}, 5});
    EXPECT_EQ(scene.column, 733);  // 2201 / 3
    EXPECT_STREQ(scene.source, "blob-based");
}

TEST(AggregateTrigger, FallsBackTo960WithoutAColumnBelow1500) {
    for (const TriggerColumns& columns : {TriggerColumns{{1500, 1632}, 2}, TriggerColumns{}}) {
        const SceneTrigger scene = aggregate_trigger(kNoTrigger, columns);
        EXPECT_EQ(scene.column, 960);
        EXPECT_STREQ(scene.source, "fallback");
    }
}

// Two good jumps, one outlier and one invalid one whose values must not show.
static Calculation four_jumps() {
    Calculation calculation = {};
    calculation.jumps = 4;
    calculation.trigger = kNoTrigger;
    calculation.jump[0].timing = {{100, 110, 120}, {15, 60, 100}, {20, 30, 15}};
    calculation.jump[1].timing = {{120, 0, 140}, {15, 80, 140}, {40, 50, 15}};
    calculation.jump[2].timing = {{500, 500, 500}, {500, 500, 500}, {500, 500, 500}};
    calculation.jump[3].timing = calculation.jump[2].timing;
    calculation.jump[2].outlier = true;
    calculation.jump[3].invalid = true;
    return calculation;
}

TEST(AggregateJumps, UsesTheJumpsThatAreNeitherInvalidNorOutliers) {
    LogCapture log;
    const auto ws = make_workspace();
    Calculation calculation = four_jumps();
    calculation.type1 = {90, 4};
    calculation.columns = {{500, 600}, 2};
    aggregate_jumps(ws.get(), &calculation);
    EXPECT_EQ(log.lines(), (Lines{"INF aggregated: feed_video_frames=121/121/143",
                                  "INF aggregated: frames_before=16/77/132 (max across non-outlier jumps)",
                                  "INF aggregated: frames_after=40/50/15 (90th percentile)",
                                  "INF aggregated: scene_trigger_x=550 (blob-based, 0.0m, type2_ref_x=-1)",
                                  "INF aggregated: min_type1_frames=81 (4 samples), min_type2_frames=143"}));
    EXPECT_EQ(ws->result_feed_video_frames[2], 143);
    EXPECT_EQ(ws->result_frames_before[1], 77);
    EXPECT_EQ(ws->result_frames_after[1], 50);
    EXPECT_EQ(ws->result_scene_trigger_x, 550);
    EXPECT_EQ(ws->result_min_type1_frames, 81);
    EXPECT_EQ(ws->result_min_type2_frames, 143);
}

TEST(AggregateJumps, TellsTheMetresOfTheTriggerAndTheReferenceColumn) {
    LogCapture log;
    const auto ws = make_workspace();
    Calculation calculation = four_jumps();
    calculation.trigger = {640, 90.25f, 1200, 77};
    aggregate_jumps(ws.get(), &calculation);
    EXPECT_TRUE(log.has("INF aggregated: scene_trigger_x=640 (meter-based, 90.2m, type2_ref_x=77)"));
}

TEST(AggregateJumps, AnInvalidJumpStaysOutEvenWhenAllOutliersAreKept) {
    LogCapture log;
    const auto ws = make_workspace();
    Calculation calculation = {};
    calculation.jumps = 2;
    calculation.trigger = kNoTrigger;
    calculation.jump[0].timing.after[0] = 40;
    calculation.jump[1].timing.after[0] = 500;
    calculation.jump[1].invalid = true;
    aggregate_jumps(ws.get(), &calculation);
    EXPECT_EQ(ws->result_frames_after[0], 40);
}

TEST(AggregateJumps, WithTwoFeedsTheOuterEndsAreThePaddings) {
    LogCapture log;
    const auto ws = make_workspace(2);
    ws->movie_padding_before_frames = 70;
    ws->movie_padding_after_frames = 5;
    Calculation calculation = four_jumps();
    aggregate_jumps(ws.get(), &calculation);
    EXPECT_TRUE(log.has("INF aggregated: frames_before=16/70/132 (max across non-outlier jumps)"));
    EXPECT_TRUE(log.has("INF aggregated: frames_after=40/50/5 (90th percentile)"));
    ws->movie_padding_before_frames = ws->movie_padding_after_frames = 521;
    aggregate_jumps(ws.get(), &calculation);
    EXPECT_EQ(ws->result_frames_before[1], 520);
    EXPECT_EQ(ws->result_frames_after[2], 520);
}

TEST(AggregateJumps, WithOneFeedThePaddingsAreUnbounded) {
    LogCapture log;
    const auto ws = make_workspace(1);
    ws->movie_padding_before_frames = 700;
    ws->movie_padding_after_frames = 3;
    Calculation calculation = four_jumps();
    aggregate_jumps(ws.get(), &calculation);
    EXPECT_TRUE(log.has("INF aggregated: frames_before=15/700/15 (max across non-outlier jumps)"));
    EXPECT_TRUE(log.has("INF aggregated: frames_after=15/3/15 (90th percentile)"));
}
