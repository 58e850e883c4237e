// Where the scene changes: by metres, across the bridge to feed 2, and from the jumps themselves.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "autosetup/scene_trigger.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"

using Lines = std::vector<std::string>;

// Every column shows the same.
static void set_flat_grid(AutoSetupWorkspace* workspace, int32_t feed, float metres) {
    set_linear_grid(workspace, feed, metres, 0.0f);
}

TEST(MetreTrigger, IsFeed1sColumnThatShowsWhatFeed0ShowsAt1728) {
    LogCapture log;
    const auto ws = make_workspace();
    set_linear_grid(ws.get(), 0, 0.0f, 0.0625f);    // column 1728: 108 m
    set_linear_grid(ws.get(), 1, 100.0f, 0.0625f);  // 108 m at column 128
    const MetreTrigger trigger = find_metre_trigger(ws.get());
    EXPECT_EQ(trigger.column, 128);
    EXPECT_FLOAT_EQ(trigger.metres, 108.0f);
    EXPECT_EQ(trigger.bridge_column, kNoColumn);
    EXPECT_EQ(trigger.type2_column, kNoColumn);
    EXPECT_EQ(log.lines(), Lines{"INF scene trigger: meter-based, f0 x=1728 = 108.0m, f1 x=128 (diff=0.00m)"});
}

TEST(MetreTrigger, TakesTheFirstOfEquallyNearColumns) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 108.0f);
    set_flat_grid(ws.get(), 1, 110.0f);
    ws->meters_at_x[1][700] = 107.0f;
    ws->meters_at_x[1][900] = 109.0f;
    EXPECT_EQ(find_metre_trigger(ws.get()).column, 700);
}

TEST(MetreTrigger, MustBeNearerThanFiveMetres) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 100.0f);
    set_flat_grid(ws.get(), 1, 104.75f);
    EXPECT_EQ(find_metre_trigger(ws.get()).column, 0);
    set_flat_grid(ws.get(), 1, 105.0f);
    EXPECT_EQ(find_metre_trigger(ws.get()).column, kNoColumn);
    EXPECT_EQ(log.lines(), (Lines{"INF scene trigger: meter-based, f0 x=1728 = 100.0m, f1 x=0 (diff=4.75m)",
                                  "INF scene trigger: meter-based failed (f0 x=1728 = 100.0m, best f1 diff=5.0m)"}));
}

TEST(MetreTrigger, NeedsFeed0AndBothGrids) {
    LogCapture log;
    for (const int32_t feed_count : {1, 2}) {
        const auto ws = make_workspace(feed_count);
        set_flat_grid(ws.get(), 0, 100.0f);
        set_flat_grid(ws.get(), 1, 100.0f);
        EXPECT_EQ(find_metre_trigger(ws.get()).column, kNoColumn) << feed_count;
    }
    for (const int32_t missing : {0, 1}) {
        const auto ws = make_workspace();
        set_flat_grid(ws.get(), 0, 100.0f);
        set_flat_grid(ws.get(), 1, 100.0f);
        ws->grid_valid[missing] = 0;
        EXPECT_EQ(find_metre_trigger(ws.get()).column, kNoColumn) << missing;
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST(MetreTrigger, MetresThatAreNoNumberAreNeverNear) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 100.0f);
    set_flat_grid(ws.get(), 1, std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(find_metre_trigger(ws.get()).column, kNoColumn);
    ws->meters_at_x[1][40] = 101.0f;
    EXPECT_EQ(find_metre_trigger(ws.get()).column, 40);
    ws->meters_at_x[0][1728] = std::numeric_limits<float>::infinity();
    EXPECT_EQ(find_metre_trigger(ws.get()).column, kNoColumn);
}

TEST(Type2Bridge, JoinsFeed1AndFeed2AtTheLowEndOfTheirOverlap) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 102.0f);
    set_linear_grid(ws.get(), 1, 100.0f, 0.03125f);  // 100 .. 159.97 m
    set_linear_grid(ws.get(), 2, 140.0f, 0.03125f);  // 140 .. 199.97 m
    const MetreTrigger trigger = find_metre_trigger(ws.get());
    EXPECT_EQ(trigger.column, 64);
    EXPECT_EQ(trigger.bridge_column, 1280);
    EXPECT_EQ(trigger.type2_column, 0);
    EXPECT_TRUE(
        log.has("INF type2 bridge: f1/f2 common meter=140.0m, f1 x=1280 (diff=0.00m), f2 x=0 (diff=0.00m), "
                "overlap=140.0..160.0m"));
}

TEST(Type2Bridge, ReadsRangesFromBothEndsAlsoWhenMetresFall) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 102.0f);
    set_linear_grid(ws.get(), 1, 159.96875f, -0.03125f);  // column 1919: 100 m
    set_linear_grid(ws.get(), 2, 199.96875f, -0.03125f);  // column 1919: 140 m
    const MetreTrigger trigger = find_metre_trigger(ws.get());
    EXPECT_EQ(trigger.bridge_column, 639);
    EXPECT_EQ(trigger.type2_column, 1919);
}

TEST(Type2Bridge, FailsWithoutOverlap) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 102.0f);
    set_linear_grid(ws.get(), 1, 100.0f, 0.03125f);
    set_linear_grid(ws.get(), 2, 159.96875f, 0.03125f);  // begins exactly where feed 1 ends
    const MetreTrigger trigger = find_metre_trigger(ws.get());
    EXPECT_EQ(trigger.column, 64);
    EXPECT_EQ(trigger.type2_column, kNoColumn);
    EXPECT_EQ(log.lines().back(), "INF type2 bridge: no f1/f2 meter overlap (f1=100.0..160.0, f2=160.0..219.9)");
}

TEST(Type2Bridge, FailsWhenAFeedShowsNothingWithinThreeMetres) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 100.0f);
    set_flat_grid(ws.get(), 1, 100.0f);
    ws->meters_at_x[1][1919] = 200.0f;  // 100 .. 200 m, with nothing between
    set_linear_grid(ws.get(), 2, 103.0f, 0.03125f);
    EXPECT_EQ(find_metre_trigger(ws.get()).type2_column, kNoColumn);
    EXPECT_EQ(log.lines().back(),
              "INF type2 bridge: f1/f2 overlap=103.0..163.0m but lookup failed (f1_diff=3.0, f2_diff=0.0)");
    set_linear_grid(ws.get(), 2, 102.75f, 0.03125f);
    EXPECT_EQ(find_metre_trigger(ws.get()).type2_column, 0);
}

TEST(Type2Bridge, IsNotSoughtWithoutATriggerOrFeed2sGrid) {
    LogCapture log;
    const auto ws = make_workspace();
    set_flat_grid(ws.get(), 0, 100.0f);
    set_linear_grid(ws.get(), 1, 100.0f, 0.03125f);
    EXPECT_EQ(find_metre_trigger(ws.get()).type2_column, kNoColumn);
    set_linear_grid(ws.get(), 2, 100.0f, 0.03125f);
    set_flat_grid(ws.get(), 0, 50.0f);
    EXPECT_EQ(find_metre_trigger(ws.get()).type2_column, kNoColumn);
    EXPECT_EQ(log.lines().size(), 2U);
}

static AlignRecord aligned(int64_t offset, int32_t pairs) {
    return {1, offset, pairs, 0.0f, 0.0f};
}

TEST(JumpTrigger, MapsFeed0sRecordNearest1728IntoFeed1) {
    LogCapture log;
    const auto ws = make_workspace();
    add_jump(ws.get(), 0, {100, 120, 1400, 1800, 3});  // columns 1400, 1600, 1800 at 100, 110, 120
    add_jump(ws.get(), 1, {500, 540, 200, 1000, 5});   // columns 200, 400, ... at 500, 510, ...
    ws->align_01[0] = aligned(392, 4);                 // frame 512 in feed 1
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 0);
    ASSERT_EQ(columns.count, 1);
    EXPECT_EQ(columns.column[0], 400);
    EXPECT_EQ(log.lines(), Lines{"INF jump 0 scene trigger (f0->f1): f0 x=1800 (90%=1728), f1 x=400 (align=meter, "
                                 "seq_diff=2)"});
}

TEST(JumpTrigger, WithoutAlignmentComparesFrameNumbersAsTheyAre) {
    LogCapture log;
    const auto ws = make_workspace();
    add_jump(ws.get(), 0, {100, 120, 1400, 1800, 3});
    add_jump(ws.get(), 1, {125, 165, 200, 1000, 5});
    ws->align_01[0].offset = 1000;  // not valid
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 7);
    EXPECT_EQ(columns.column[0], 200);
    EXPECT_EQ(log.lines(), Lines{"INF jump 7 scene trigger (f0->f1): f0 x=1800 (90%=1728), f1 x=200 (align=temporal, "
                                 "seq_diff=5)"});
}

TEST(JumpTrigger, Feed0WithoutFeed1GivesNone) {
    LogCapture log;
    const auto ws = make_workspace();
    add_jump(ws.get(), 0, {100, 120, 1400, 1800, 3});
    add_jump(ws.get(), 2, {100, 120, 1400, 1800, 3});
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 0);
    EXPECT_EQ(columns.count, 0);
    EXPECT_EQ(log.lines(), Lines{"INF jump 0 scene trigger: f0 x=1800 at 90%, no f1 data to map"});
}

TEST(JumpTrigger, WithoutFeed0MapsFeed2sFirstFrameBackIntoFeed1) {
    LogCapture log;
    const auto ws = make_workspace();
    add_jump(ws.get(), 1, {500, 540, 200, 1000, 5});
    add_jump(ws.get(), 2, {900, 940, 100, 900, 5});
    ws->align_12[0] = aligned(365, 0);  // frame 535 in feed 1: as near to 530 as to 540
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 2);
    ASSERT_EQ(columns.count, 1);
    EXPECT_EQ(columns.column[0], 800);
    EXPECT_EQ(log.lines(), Lines{"INF jump 2 scene trigger (f1+f2): f1 x=800 (align=temporal)"});
}

TEST(JumpTrigger, Feed1AloneGivesItsFirstColumn) {
    LogCapture log;
    const auto ws = make_workspace();
    add_jump(ws.get(), 1, {500, 540, 210, 1000, 5});
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 0);
    EXPECT_EQ(columns.column[0], 210);
    EXPECT_EQ(log.lines(), Lines{"INF jump 0 scene trigger (f1 only): f1 first_x=210"});
}

TEST(JumpTrigger, Feed2AloneGivesAnEstimate) {
    LogCapture log;
    const auto ws = make_workspace();
    add_jump(ws.get(), 2, {500, 540, 210, 1000, 5});
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 0);
    EXPECT_EQ(columns.column[0], 1632);
    EXPECT_EQ(log.lines(), Lines{"INF jump 0 scene trigger (f2 only, est): x=1632"});
}

TEST(JumpTrigger, NobodyGivesNone) {
    LogCapture log;
    const auto ws = make_workspace();
    TriggerColumns columns = {};
    add_jump_trigger(&columns, jump_view(ws.get(), 0), 0);
    EXPECT_EQ(columns.count, 0);
    EXPECT_TRUE(log.lines().empty());
}
