// Limits, waiting for the jumper in flight, and the end of the practice video in an Auto Setup run.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "autosetup/run_monitor.h"
#include "tests/support/log_capture.h"
#include "tests/support/simulated_run.h"

using Lines = std::vector<std::string>;

static constexpr char kWaits[] = " — waiting for active motion to complete";

TEST(RunMonitorLimits, BelowOneMeansTheDefaults) {
    EXPECT_EQ(auto_setup_limits({0, 0}).max_movies, 10);
    EXPECT_EQ(auto_setup_limits({-3, -3}).max_frames, 30000);
    EXPECT_EQ(auto_setup_limits({1, 1}).max_movies, 1);
    EXPECT_EQ(auto_setup_limits({1, 1}).max_frames, 1);
}

TEST(RunMonitorLimits, TheJumperLimitCountsFromTheStart) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.inputs.limits = {3, 30000};
    run.start();
    log.take();
    run.inputs.jumpers = 6;
    EXPECT_TRUE(run.tick()) << "one below";
    run.inputs.jumpers = 7;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take(), (Lines{"INF auto setup: jumper limit reached (target=3, start=4, current=7)",
                                 "INF auto setup: monitoring complete, running analysis..."}));
}

TEST(RunMonitorLimits, TheFrameLimitEndsTheRun) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.inputs.limits = {3, 1500};
    run.start();
    run.inputs.frames = 1499;
    EXPECT_TRUE(run.tick());
    log.take();
    run.inputs.frames = 1510;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take(), (Lines{"INF auto setup: frame limit reached (target=1500, current=1510)",
                                 "INF auto setup: monitoring complete, running analysis..."}));
}

TEST(RunMonitorLimits, TheJumperLimitIsTestedBeforeTheFrameLimit) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.inputs.limits = {1, 100};
    run.start();
    log.take();
    run.inputs.jumpers = 5;
    run.inputs.frames = 100;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take().front(), "INF auto setup: jumper limit reached (target=1, start=4, current=5)");
}

TEST(RunMonitorLimits, AFullListAndHugeLimitsDoNotOverflow) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.inputs.limits = {INT32_MAX, INT32_MAX};
    run.inputs.jumpers = 200;
    run.start();
    EXPECT_TRUE(run.play());
}

TEST(RunMonitorWaiting, ActiveMotionAtTheJumperLimitIsWaitedForAndToldOnce) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.settings->cli_wait_for_active_motion = 1;
    run.inputs.limits = {1, 30000};
    run.start();
    log.take();
    run.inputs.jumpers = 5;
    run.inputs.motion_active = true;
    for (int look = 1; look <= 5; ++look) EXPECT_TRUE(run.tick()) << "look " << look << ", no stall either";
    EXPECT_EQ(log.take(),
              Lines{std::string("INF auto setup: jumper limit reached (target=1, start=4, current=5)") + kWaits});
    run.inputs.motion_active = false;
    run.inputs.jumpers = 6;
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take().front(), "INF auto setup: jumper limit reached (target=1, start=4, current=6)");
}

TEST(RunMonitorWaiting, ActiveMotionAtTheFrameLimitIsWaitedForAndToldOnce) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.settings->cli_wait_for_active_motion = 1;
    run.inputs.limits = {10, 100};
    run.start();
    log.take();
    run.inputs.frames = 120;
    run.inputs.motion_active = true;
    for (int look = 1; look <= 3; ++look) EXPECT_TRUE(run.play()) << "look " << look;
    EXPECT_EQ(log.take(),
              Lines{std::string("INF auto setup: frame limit reached (target=100, current=180)") + kWaits});
    run.inputs.motion_active = false;
    EXPECT_FALSE(run.play());
    EXPECT_EQ(log.take().front(), "INF auto setup: frame limit reached (target=100, current=360)");
}

TEST(RunMonitorWaiting, WithoutTheSettingTheRunFinishesWhileAJumperIsInTheAir) {
    for (const bool by_jumpers : {true, false}) {
        LogCapture log;
        SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
        run.inputs.limits = {1, 100};
        run.start();
        log.take();
        run.inputs.motion_active = true;
        if (by_jumpers) run.inputs.jumpers = 5;
        run.inputs.frames = by_jumpers ? 99 : 100;
        EXPECT_FALSE(run.tick()) << by_jumpers;
        EXPECT_EQ(log.take().back(), "INF auto setup: monitoring complete, running analysis...");
    }
}

TEST(RunMonitorStall, AVideoThatEndsEarlyFinishesTheRunThreeSecondsAfterItsLastFrame) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.start();
    log.take();
    for (int look = 1; look <= 5; ++look) EXPECT_TRUE(run.tick()) << "not armed before the first frame";
    EXPECT_EQ(log.take(), Lines{});
    for (int look = 1; look <= 4; ++look) EXPECT_TRUE(run.play());
    EXPECT_EQ(log.take(), Lines{"INF auto setup: stall detector armed (first frame observed, nw=60)"});
    EXPECT_TRUE(run.tick());
    EXPECT_TRUE(run.tick());
    EXPECT_FALSE(run.tick());
    EXPECT_EQ(log.take(), (Lines{"INF auto setup: frames stopped advancing (stall_count=3, nw=240)",
                                 "INF auto setup: monitoring complete, running analysis..."}));
    EXPECT_FALSE(run.monitor.stall.armed);
}

TEST(RunMonitorStall, AFrameInBetweenStartsTheCountAnew) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.start();
    EXPECT_TRUE(run.play());
    for (int round = 1; round <= 3; ++round) {
        EXPECT_TRUE(run.tick());
        EXPECT_TRUE(run.tick());
        EXPECT_TRUE(run.play());
    }
    run.inputs.nw = 1;  // a counter that began again is a change as well
    EXPECT_TRUE(run.tick());
    EXPECT_EQ(run.monitor.stall.unchanged, 0);
}

TEST(RunMonitorStall, AStallDoesNotWaitForActiveMotion) {
    LogCapture log;
    SimulatedRun run("auto_setup_adaptive_width_enable=0\n");
    run.settings->cli_wait_for_active_motion = 1;
    run.start();
    run.inputs.motion_active = true;
    EXPECT_TRUE(run.play());
    EXPECT_TRUE(run.tick());
    EXPECT_TRUE(run.tick());
    EXPECT_FALSE(run.tick());
}

TEST(RunMonitorStall, DuringATrialItAcceptsTheCurrentWidth) {
    LogCapture log;
    SimulatedRun run;
    run.start();
    EXPECT_TRUE(run.play());
    while (run.tick()) continue;
    EXPECT_EQ(log.take().back(),
              "INF auto setup: trial did not complete — accepting current width 100% (motion_end_x=1919) as final");
    EXPECT_EQ(run.end_columns(), "1919 1919 1919 ");
}
