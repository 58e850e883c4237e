// Start and width trial of an Auto Setup run.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "autosetup/run_monitor.h"
#include "tests/support/log_capture.h"
#include "tests/support/simulated_run.h"

using Lines = std::vector<std::string>;

namespace {

constexpr char kOperatorRegions[] =
    "motion_start_x[0]=10\nmotion_start_y[0]=40\nmotion_end_x[0]=1810\nmotion_end_y[0]=420\n"
    "motion_start_x[1]=11\nmotion_start_y[1]=41\nmotion_end_x[1]=1811\nmotion_end_y[1]=421\n"
    "motion_start_x[2]=12\nmotion_start_y[2]=42\nmotion_end_x[2]=1812\nmotion_end_y[2]=422\n";
constexpr char kSavedRange[] = "10,40,1810,420,11,41,1811,421,12,42,1812,422";

}  // namespace

TEST(RunMonitorStart, BacksTheRegionsUpWidensThemAndSaysSo) {
    LogCapture log;
    SimulatedRun run(kOperatorRegions);
    run.start();
    EXPECT_EQ(log.take(),
              (Lines{std::string("INF auto setup: saved motion range: ") + kSavedRange,
                     "INF auto setup: adaptive-width trial starting at 100% (motion_start_x=0, motion_end_x=1919, "
                     "threshold=14000us, trial_frames=300, slow_pct=5, min_pct=33)"}));
    EXPECT_STREQ(run.settings->saved_motion_range, kSavedRange);
    EXPECT_EQ(run.columns(), "0..1919 0..1919 0..1919 ");
    EXPECT_EQ(run.settings->motion_start_y[2], 42) << "rows stay";
    EXPECT_EQ(run.settings->motion_end_y[2], 422);
    EXPECT_EQ(run.counters_cleared, 1);
    EXPECT_EQ(run.monitor.width_pct, 100);
    EXPECT_FALSE(run.monitor.trial_done);
}

TEST(RunMonitorStart, WithAdaptiveWidthDisabledNoTrialRunsAndTheRegionsAreNotWidened) {
    LogCapture log;
    SimulatedRun run((std::string(kOperatorRegions) + "auto_setup_adaptive_width_enable=0\n").c_str());
    run.start();
    EXPECT_EQ(log.take(), Lines{std::string("INF auto setup: saved motion range: ") + kSavedRange});
    EXPECT_EQ(run.columns(), "10..1810 11..1811 12..1812 ");
    EXPECT_EQ(run.counters_cleared, 0);
    EXPECT_TRUE(run.play_trial(300, 300, 300));
    EXPECT_EQ(log.take(), Lines{"INF auto setup: stall detector armed (first frame observed, nw=60)"});
    run.inputs.frames = 30000;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take().back(), "INF auto setup: monitoring complete, running analysis...");
    EXPECT_EQ(run.end_columns(), "0 0 0 ") << "nothing was tried, nothing is committed";
}

TEST(RunMonitorStart, WithoutAControlBlockNoTrialRuns) {
    LogCapture log;
    SimulatedRun run(kOperatorRegions);
    run.start(false);
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_TRUE(run.monitor.trial_done);
    EXPECT_EQ(run.columns(), "10..1810 11..1811 12..1812 ");
}

TEST(RunMonitorStart, ForgetsAnEarlierRun) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.monitor = {99, true, {true, 7, 2}, false, 33};
    run.start();
    EXPECT_EQ(run.monitor.start_jumpers, 4);
    EXPECT_FALSE(run.monitor.waiting);
    EXPECT_FALSE(run.monitor.stall.armed);
    EXPECT_EQ(run.monitor.stall.last_nw, -1);
    EXPECT_EQ(run.monitor.stall.unchanged, 0);
    EXPECT_TRUE(run.monitor.trial_done);
    EXPECT_EQ(run.monitor.width_pct, 100);
}

TEST(RunMonitorWidth, EndColumnIsTheLastOneWithinThePicture) {
    const struct {
        int32_t width_pct, column;
    } cases[] = {{100, 1919}, {75, 1439}, {50, 959}, {33, 632},   {25, 479},         {10, 191},
                 {1, 18},     {0, 0},     {-5, 0},   {101, 1919}, {INT32_MAX, 1919}, {INT32_MIN, 0}};
    for (const auto& c : cases) EXPECT_EQ(width_end_column(c.width_pct), c.column) << c.width_pct;
}

TEST(RunMonitorWidth, AFloorOf5IsRaisedTo10AndOneOf150Lowered) {
    const struct {
        int32_t min_pct, floor;
    } cases[] = {{5, 10}, {9, 10}, {10, 10}, {33, 33}, {100, 100}, {150, 100}, {0, 10}, {-1, 10}, {INT32_MIN, 10}};
    for (const auto& c : cases) EXPECT_EQ(trial_floor_pct(c.min_pct), c.floor) << c.min_pct;
}

TEST(RunMonitorTrial, NothingHappensUntilFeed1HasItsFrames) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    log.take();
    run.trial = {{5000, 299, 5000}, {5000, 299, 5000}};
    EXPECT_TRUE(run.tick());
    EXPECT_EQ(log.take(), Lines{});
    run.trial.frames[1] = 300;
    EXPECT_TRUE(run.tick());
    EXPECT_EQ(log.take().front(),
              "INF auto setup: adaptive-width trial at 100%: feed0 5000/5000 (100%), feed1 299/300 (99%), feed2 "
              "5000/5000 (100%), worst=feed0=100% (cap=5%)");
}

TEST(RunMonitorTrial, PassedAt100CommitsTheWholeWidth) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    log.take();
    EXPECT_TRUE(run.play_trial(3, 15, 12));
    EXPECT_EQ(
        log.take(),
        (Lines{"INF auto setup: adaptive-width trial at 100%: feed0 3/300 (1%), feed1 15/300 (5%), feed2 12/300 "
               "(4%), worst=feed1=5% (cap=5%)",
               "INF auto setup: adaptive-width trial PASSED at 100% (worst=5% ≤ cap=5%) — committing width",
               "INF auto setup: stall detector armed (first frame observed, nw=60)"}));
    EXPECT_EQ(run.end_columns(), "1919 1919 1919 ");
    EXPECT_EQ(run.saves, 1) << "only the start's";
    EXPECT_TRUE(run.play_trial(300, 300, 300));
    EXPECT_EQ(log.take(), Lines{}) << "a trial that has passed is over";
}

TEST(RunMonitorTrial, NarrowsBy25DownToTheFloorOf33AndThereAcceptsAnything) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    EXPECT_TRUE(run.play());
    log.take();
    const struct { int32_t width, next, column; } steps[] = {{100, 75, 1439}, {75, 50, 959}, {50, 33, 632}};
    int32_t saves = 1;
    for (const auto& step : steps) {
        EXPECT_TRUE(run.play_trial(0, 30, 0));
        EXPECT_EQ(log.take(), (Lines{"INF auto setup: adaptive-width trial at " + std::to_string(step.width) +
                                         "%: feed0 0/300 (0%), feed1 30/300 (10%), feed2 0/300 (0%), "
                                         "worst=feed1=10% (cap=5%)",
                                     "INF auto setup: narrowing motion width to " + std::to_string(step.next) +
                                         "% (motion_end_x=" + std::to_string(step.column) + ") — retrying trial"}));
        const std::string region = "0.." + std::to_string(step.column) + " ";
        EXPECT_EQ(run.columns(), region + region + region);
        EXPECT_EQ(run.saves, ++saves);
        EXPECT_EQ(run.counters_cleared, saves);
        EXPECT_EQ(run.end_columns(), "0 0 0 ") << "nothing is committed while it narrows";
        EXPECT_TRUE(run.play());
        EXPECT_EQ(log.take(), Lines{}) << "fresh counts are waited for";
    }
    EXPECT_TRUE(run.play_trial(0, 30, 0));
    EXPECT_EQ(log.take(),
              (Lines{"INF auto setup: adaptive-width trial at 33%: feed0 0/300 (0%), feed1 30/300 (10%), feed2 0/300 "
                     "(0%), worst=feed1=10% (cap=5%)",
                     "INF auto setup: adaptive-width already at floor 33% and still slow (10%) — accepting 33% as "
                     "final width"}));
    EXPECT_EQ(run.end_columns(), "632 632 632 ");
    EXPECT_EQ(run.saves, saves);
    run.inputs.frames = 30000;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take(), (Lines{"INF auto setup: frame limit reached (target=30000, current=30000)",
                                 "INF auto setup: monitoring complete, running analysis..."}));
}

TEST(RunMonitorTrial, PassesAtANarrowerWidth) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    EXPECT_TRUE(run.play_trial(0, 300, 0));
    log.take();
    EXPECT_TRUE(run.play_trial(0, 2, 0));
    EXPECT_EQ(log.take().back(),
              "INF auto setup: adaptive-width trial PASSED at 75% (worst=0% ≤ cap=5%) — committing width");
    EXPECT_EQ(run.end_columns(), "1439 1439 1439 ");
}

TEST(RunMonitorTrial, OnEqualWorstTheLowerFeedIsNamed) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    log.take();
    EXPECT_TRUE(run.play_trial(24, 3, 24));
    EXPECT_EQ(log.take().front(),
              "INF auto setup: adaptive-width trial at 100%: feed0 24/300 (8%), feed1 3/300 (1%), feed2 24/300 (8%), "
              "worst=feed0=8% (cap=5%)");
}

TEST(RunMonitorTrial, AFloorAbove100LeavesNoRoomToNarrow) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_min_pct=150\n");
    run.start();
    log.take();
    EXPECT_TRUE(run.play_trial(0, 300, 0));
    EXPECT_EQ(log.take()[1],
              "INF auto setup: adaptive-width already at floor 100% and still slow (100%) — accepting 100% as final "
              "width");
    EXPECT_EQ(run.end_columns(), "1919 1919 1919 ");
    EXPECT_EQ(run.saves, 1);
}

TEST(RunMonitorTrial, AFloorOf5EndsAt10) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_min_pct=5\n");
    run.start();
    std::string widths;
    while (!run.monitor.trial_done) {
        widths += std::to_string(run.monitor.width_pct) + " ";
        ASSERT_TRUE(run.play_trial(300, 300, 300));
    }
    EXPECT_EQ(widths, "100 75 50 25 10 ");
    EXPECT_EQ(run.end_columns(), "191 191 191 ");
}

TEST(RunMonitorTrial, SettingsBelowOneMean300FramesAndACapOf5) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_trial_frames=0\nauto_setup_adaptive_width_slow_pct=0\n");
    run.start();
    log.take();
    run.trial = {{299, 299, 299}, {}};
    EXPECT_TRUE(run.tick());
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_TRUE(run.play_trial(0, 15, 0));
    EXPECT_EQ(log.take()[1],
              "INF auto setup: adaptive-width trial PASSED at 100% (worst=5% ≤ cap=5%) — committing width");
}

TEST(RunMonitorTrial, OnlyFeedsInUseGetTheEndColumn) {
    const struct {
        const char* settings;
        const char* columns;
    } cases[] = {
        {"feed_count=1\n", "0 1919 0 "}, {"feed_count=2\n", "0 1919 1919 "}, {"feed_count=3\n", "1919 1919 1919 "}};
    for (const auto& c : cases) {
        LogCapture log;
        SimulatedRun run(c.settings);
        run.start();
        run.trial = {{0, 300, 0}, {}};
        EXPECT_TRUE(run.tick());
        EXPECT_EQ(run.end_columns(), c.columns) << c.settings;
    }
}

TEST(RunMonitorTrial, AbsurdCountersAreNoOverflow) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    log.take();
    run.trial = {{1, UINT32_MAX, 0}, {UINT32_MAX, UINT32_MAX, 9}};
    EXPECT_TRUE(run.tick());
    EXPECT_EQ(log.take().front(),
              "INF auto setup: adaptive-width trial at 100%: feed0 4294967295/1 (2147483647%), feed1 "
              "4294967295/4294967295 (100%), feed2 9/0 (0%), worst=feed0=2147483647% (cap=5%)");
}

TEST(RunMonitorTrial, NotCompleteAtTheEndAcceptsTheCurrentWidth) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    EXPECT_TRUE(run.play_trial(0, 300, 0));
    log.take();
    run.inputs.jumpers = 14;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take(),
              (Lines{"INF auto setup: jumper limit reached (target=10, start=4, current=14)",
                     "INF auto setup: monitoring complete, running analysis...",
                     "INF auto setup: trial did not complete — accepting current width 75% (motion_end_x=1439) as "
                     "final"}));
    EXPECT_EQ(run.end_columns(), "1439 1439 1439 ");
}

TEST(RunMonitorTrial, SwitchedOffDuringTheRunIsNotPursued) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    run.settings->auto_setup_adaptive_width_enable = 0;
    log.take();
    EXPECT_TRUE(run.play_trial(300, 300, 300));
    run.inputs.frames = 30000;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take().back(), "INF auto setup: monitoring complete, running analysis...");
    EXPECT_EQ(run.end_columns(), "0 0 0 ");
}

TEST(RunMonitorTrial, AWidthThatIsNotPositiveAtTheEndCountsAs100) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    run.monitor.width_pct = 0;
    log.take();
    run_monitor_finish(&run.monitor, *run.settings, run.workspace.get());
    EXPECT_EQ(log.take().back(),
              "INF auto setup: trial did not complete — accepting current width 100% (motion_end_x=1919) as final");
}

TEST(RunMonitorRegions, AreTakenAndPutBackWhole) {
    const auto settings = settings_from_text(kOperatorRegions);
    const auto other = default_settings();
    put_motion_regions(motion_regions_of(*settings), other.get());
    for (int32_t f = 0; f < 3; ++f) {
        EXPECT_EQ(other->motion_start_x[f], 10 + f);
        EXPECT_EQ(other->motion_start_y[f], 40 + f);
        EXPECT_EQ(other->motion_end_x[f], 1810 + f);
        EXPECT_EQ(other->motion_end_y[f], 420 + f);
    }
}
