#include "procs/readiness.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_capture.h"

static ReadinessInputs all_at(uint32_t value) {
    ReadinessInputs inputs;
    inputs.has_control_block = true;
    for (int feed = 0; feed < 3; ++feed) inputs.source_ready[feed] = inputs.motion_ready[feed] = value;
    inputs.videogen_state = static_cast<int32_t>(value);
    return inputs;
}

TEST(WorkersAreReady, FromThreeOn) {
    EXPECT_FALSE(workers_are_ready(all_at(0)));
    EXPECT_FALSE(workers_are_ready(all_at(2)));
    EXPECT_TRUE(workers_are_ready(all_at(3)));
    EXPECT_TRUE(workers_are_ready(all_at(4)));
}

TEST(WorkersAreReady, EveryWorkerOfEveryActiveFeedIsNeeded) {
    for (int feed = 0; feed < 3; ++feed) {
        ReadinessInputs inputs = all_at(3);
        inputs.source_ready[feed] = 2;
        EXPECT_FALSE(workers_are_ready(inputs)) << "source " << feed;
        inputs = all_at(3);
        inputs.motion_ready[feed] = 2;
        EXPECT_FALSE(workers_are_ready(inputs)) << "motion " << feed;
    }
    ReadinessInputs inputs = all_at(3);
    inputs.videogen_state = 2;
    EXPECT_FALSE(workers_are_ready(inputs));
    inputs.videogen_state = -1;
    EXPECT_FALSE(workers_are_ready(inputs));
}

TEST(WorkersAreReady, FeedsNotInUseAreNotAsked) {
    ReadinessInputs inputs = all_at(3);
    inputs.source_ready[0] = inputs.motion_ready[0] = 0;
    EXPECT_FALSE(workers_are_ready(inputs));
    inputs.feed_count = 2;
    EXPECT_TRUE(workers_are_ready(inputs));
    inputs.source_ready[2] = 0;
    EXPECT_FALSE(workers_are_ready(inputs));
    inputs.feed_count = 1;
    EXPECT_TRUE(workers_are_ready(inputs));
}

TEST(WorkersAreReady, WithoutAControlBlockNothingIs) {
    ReadinessInputs inputs = all_at(3);
    inputs.has_control_block = false;
    EXPECT_FALSE(workers_are_ready(inputs));
}

TEST(ReadinessStep, TheFirstTickCanAlreadySucceed) {
    ReadinessWait wait;
    readiness_start(&wait);
    EXPECT_EQ(readiness_step(&wait, all_at(3)), ReadinessAnswer::ready);
    EXPECT_EQ(wait.countdown, 19);
    EXPECT_FALSE(wait.running);
}

TEST(ReadinessStep, TwentyTicksWithoutSuccessGiveUp) {
    ReadinessWait wait;
    readiness_start(&wait);
    for (int tick = 1; tick <= 19; ++tick) {
        EXPECT_EQ(readiness_step(&wait, all_at(2)), ReadinessAnswer::waiting) << "tick " << tick;
        EXPECT_EQ(wait.countdown, 20 - tick);
    }
    EXPECT_EQ(readiness_step(&wait, all_at(2)), ReadinessAnswer::timed_out);
    EXPECT_EQ(wait.countdown, 0);
}

TEST(ReadinessStep, TheLastTickStillSucceeds) {
    ReadinessWait wait;
    readiness_start(&wait);
    for (int tick = 1; tick <= 19; ++tick) readiness_step(&wait, all_at(0));
    EXPECT_EQ(readiness_step(&wait, all_at(3)), ReadinessAnswer::ready);
    EXPECT_EQ(wait.countdown, 0);
}

TEST(ReadinessStep, ATickBeyondTheEndDoesNothing) {
    ReadinessWait wait;
    EXPECT_EQ(readiness_step(&wait, all_at(3)), ReadinessAnswer::idle) << "never started";
    readiness_start(&wait);
    readiness_step(&wait, all_at(3));
    EXPECT_EQ(readiness_step(&wait, all_at(3)), ReadinessAnswer::idle) << "already ready";
    readiness_start(&wait);
    for (int tick = 1; tick <= 20; ++tick) readiness_step(&wait, all_at(0));
    EXPECT_EQ(readiness_step(&wait, all_at(3)), ReadinessAnswer::idle) << "already given up";
    EXPECT_EQ(wait.countdown, 0);
}

TEST(ReadinessStep, AWorkerThatFallsBackIsWaitedForAndANewStartCountsFromTwenty) {
    ReadinessWait wait;
    readiness_start(&wait);
    ReadinessInputs flicker = all_at(3);
    flicker.motion_ready[1] = 1;
    EXPECT_EQ(readiness_step(&wait, flicker), ReadinessAnswer::waiting);
    flicker.motion_ready[1] = 3;
    flicker.source_ready[2] = 0;
    EXPECT_EQ(readiness_step(&wait, flicker), ReadinessAnswer::waiting);
    readiness_start(&wait);
    EXPECT_EQ(readiness_step(&wait, flicker), ReadinessAnswer::waiting);
    EXPECT_EQ(wait.countdown, 19);
    EXPECT_EQ(readiness_step(&wait, all_at(3)), ReadinessAnswer::ready);
}

TEST(ReadinessTexts, EveryAnswerHasItsStatus) {
    EXPECT_EQ(readiness_status_text(ReadinessAnswer::waiting, 19), "Practice: waiting for processes... (19)");
    EXPECT_EQ(readiness_status_text(ReadinessAnswer::ready, 3), "Practice: all processes running, viewer launched");
    EXPECT_EQ(readiness_status_text(ReadinessAnswer::timed_out, 0), "Practice: timeout waiting for processes");
    EXPECT_EQ(readiness_status_text(ReadinessAnswer::idle, 0), "");
}

TEST(ReadinessTexts, OnlyTheTwoEndsAreLogged) {
    LogCapture log;
    for (const ReadinessAnswer answer :
         {ReadinessAnswer::idle, ReadinessAnswer::waiting, ReadinessAnswer::ready, ReadinessAnswer::timed_out})
        readiness_log(answer);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"INF practice: all processes ready, viewer launched, playing",
                                                     "WRN practice: timed out waiting for processes to be ready"}));
}
