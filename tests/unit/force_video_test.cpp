#include <gtest/gtest.h>

#include <cstdint>

#include "procs/force_video_step.h"

static constexpr ForceWindow kFirst = {740, 1259};
static constexpr ForceWindow kSecond = {800, 1319};

static ForceVideoInputs all_ready() {
    ForceVideoInputs inputs;
    inputs.has_control_block = inputs.has_settings = true;
    inputs.viewer_running = inputs.videogen_running = true;
    inputs.videogen_state = 3;
    return inputs;
}

static ForceVideoInputs videogen_starting() {
    ForceVideoInputs inputs = all_ready();
    inputs.videogen_state = 2;
    return inputs;
}

TEST(ForceWindow, APressIsTheTwoHundredAndSixtyFirstOfFiveHundredAndTwentyFrames) {
    EXPECT_EQ(kForceFrames, 520);
    const ForceWindow window = force_window(1000);
    EXPECT_EQ(window.start, 740);
    EXPECT_EQ(window.end, 1259);
    EXPECT_EQ(window.end - window.start + 1, kForceFrames);
}

TEST(ForceWindow, APressWithinTheFirstFramesStartsAtZeroAndStillEndsTwoHundredAndFiftyNineLater) {
    for (const int64_t press : {int64_t{0}, int64_t{1}, int64_t{100}, int64_t{259}, int64_t{260}}) {
        EXPECT_EQ(force_window(press).start, 0) << press;
        EXPECT_EQ(force_window(press).end, press + 259) << press;
    }
    EXPECT_EQ(force_window(261).start, 1);
}

TEST(ForceWindow, NumbersBeyondThirtyTwoBitsAndAbsurdOnesDoNotRunOver) {
    EXPECT_EQ(force_window(5'000'000'000).start, 4'999'999'740);
    EXPECT_EQ(force_window(5'000'000'000).end, 5'000'000'259);
    EXPECT_EQ(force_window(INT64_MAX).end, INT64_MAX);
    EXPECT_EQ(force_window(INT64_MAX).start, INT64_MAX - 519);
}

TEST(ForcePressSeq, TheFrameOnShowCounts) {
    EXPECT_EQ(force_press_seq(true, 1000, 1003), 1000);
    EXPECT_EQ(force_press_seq(true, 1, 500), 1) << "the least number a frame can count with";
}

TEST(ForcePressSeq, WithoutARingOrAFrameInItTheRunningCountLessOneCounts) {
    EXPECT_EQ(force_press_seq(false, 1000, 1003), 1002);
    EXPECT_EQ(force_press_seq(true, 0, 1003), 1002);
    EXPECT_EQ(force_press_seq(true, -7, 1003), 1002);
}

TEST(ForcePressSeq, IsNeverNegative) {
    EXPECT_EQ(force_press_seq(false, 0, 0), 0);
    EXPECT_EQ(force_press_seq(true, 0, 1), 0);
    EXPECT_EQ(force_press_seq(false, 0, -5), 0);
    EXPECT_EQ(force_press_seq(false, 0, INT64_MIN), 0);
}

TEST(ForceVideoPress, WithoutControlBlockOrSettingsNothingHappens) {
    for (const bool settings : {false, true}) {
        ForceVideoInputs inputs = all_ready();
        inputs.has_control_block = settings ? false : inputs.has_control_block;
        inputs.has_settings = settings;
        inputs.viewer_running = inputs.videogen_running = false;
        ForceVideoWait wait = {kFirst, 7};
        const ForceVideoPlan plan = force_video_press(&wait, inputs, kSecond);
        EXPECT_EQ(plan.answer, ForceVideoAnswer::unavailable);
        EXPECT_FALSE(plan.launch_viewer);
        EXPECT_FALSE(plan.launch_videogen);
        EXPECT_EQ(wait.window.start, kFirst.start);
        EXPECT_EQ(wait.countdown, 7);
    }
}

TEST(ForceVideoPress, AReadyMovieBuilderGetsTheRequestAtOnce) {
    ForceVideoWait wait;
    const ForceVideoPlan plan = force_video_press(&wait, all_ready(), kFirst);
    EXPECT_EQ(plan.answer, ForceVideoAnswer::post);
    EXPECT_FALSE(plan.launch_viewer);
    EXPECT_FALSE(plan.launch_videogen);
    EXPECT_EQ(wait.window.start, kFirst.start);
    EXPECT_EQ(wait.window.end, kFirst.end);
    EXPECT_EQ(wait.countdown, 0);
}

TEST(ForceVideoPress, ReadyMeansRunningAndAtLeastThree) {
    ForceVideoInputs inputs = all_ready();
    EXPECT_TRUE(force_video_ready(inputs));
    inputs.videogen_state = 4;
    EXPECT_TRUE(force_video_ready(inputs));
    for (const int32_t state : {-1, 0, 2}) {
        inputs.videogen_state = state;
        EXPECT_FALSE(force_video_ready(inputs)) << state;
    }
    inputs.videogen_state = 3;
    inputs.videogen_running = false;
    EXPECT_FALSE(force_video_ready(inputs)) << "the 3 is a dead worker's";
    inputs = all_ready();
    inputs.has_control_block = false;
    EXPECT_FALSE(force_video_ready(inputs));
}

TEST(ForceVideoPress, AMovieBuilderThatRunsButIsNotReadyIsWaitedForAndNotStartedTwice) {
    ForceVideoWait wait;
    const ForceVideoPlan plan = force_video_press(&wait, videogen_starting(), kFirst);
    EXPECT_EQ(plan.answer, ForceVideoAnswer::defer);
    EXPECT_FALSE(plan.launch_videogen);
    EXPECT_EQ(wait.window.start, kFirst.start);
    EXPECT_EQ(wait.window.end, kFirst.end);
    EXPECT_EQ(wait.countdown, 20);
}

TEST(ForceVideoPress, AMissingMovieBuilderIsStartedWhateverItsPredecessorLeft) {
    ForceVideoInputs inputs = all_ready();
    inputs.videogen_running = false;
    ForceVideoWait wait;
    const ForceVideoPlan plan = force_video_press(&wait, inputs, kFirst);
    EXPECT_EQ(plan.answer, ForceVideoAnswer::defer);
    EXPECT_TRUE(plan.launch_videogen);
}

TEST(ForceVideoPress, TheViewerIsStartedEvenWhenTheRequestMustWait) {
    for (ForceVideoInputs inputs : {all_ready(), videogen_starting()}) {
        inputs.viewer_running = false;
        ForceVideoWait wait;
        EXPECT_TRUE(force_video_press(&wait, inputs, kFirst).launch_viewer);
    }
}

TEST(ForceVideoPress, ASecondPressReplacesTheWaitingOneAndCountsFromTwentyAgain) {
    ForceVideoWait wait;
    force_video_press(&wait, videogen_starting(), kFirst);
    for (int32_t tick = 0; tick < 19; ++tick) force_video_tick(&wait, false);
    ASSERT_EQ(wait.countdown, 1);
    EXPECT_EQ(force_video_press(&wait, videogen_starting(), kSecond).answer, ForceVideoAnswer::defer);
    EXPECT_EQ(wait.countdown, 20);
    EXPECT_EQ(wait.window.start, kSecond.start);
    EXPECT_EQ(force_video_tick(&wait, true), ForceVideoAnswer::post);
    EXPECT_EQ(wait.window.start, kSecond.start);
    EXPECT_EQ(wait.window.end, kSecond.end);
}

TEST(ForceVideoPress, APressThatIsPostedAtOnceLeavesNoOlderRequestBehindIt) {
    ForceVideoWait wait;
    force_video_press(&wait, videogen_starting(), kFirst);
    EXPECT_EQ(force_video_press(&wait, all_ready(), kSecond).answer, ForceVideoAnswer::post);
    EXPECT_EQ(force_video_tick(&wait, true), ForceVideoAnswer::idle);
}

TEST(ForceVideoTick, TheFirstTickCanAlreadyPost) {
    ForceVideoWait wait = {kFirst, 20};
    EXPECT_EQ(force_video_tick(&wait, true), ForceVideoAnswer::post);
    EXPECT_EQ(wait.countdown, 0);
    EXPECT_EQ(wait.window.start, kFirst.start) << "still there to be posted";
}

TEST(ForceVideoTick, TwentyTicksWithoutSuccessDropTheRequest) {
    ForceVideoWait wait = {kFirst, 20};
    for (int32_t tick = 1; tick <= 19; ++tick) {
        EXPECT_EQ(force_video_tick(&wait, false), ForceVideoAnswer::waiting) << "tick " << tick;
        EXPECT_EQ(wait.countdown, 20 - tick);
    }
    EXPECT_EQ(force_video_tick(&wait, false), ForceVideoAnswer::timed_out);
    EXPECT_EQ(force_video_tick(&wait, true), ForceVideoAnswer::idle) << "too late";
}

TEST(ForceVideoTick, TheTwentiethTickStillPosts) {
    ForceVideoWait wait = {kFirst, 20};
    for (int32_t tick = 1; tick <= 19; ++tick) force_video_tick(&wait, false);
    EXPECT_EQ(force_video_tick(&wait, true), ForceVideoAnswer::post);
}

TEST(ForceVideoTick, WithNothingPendingATickDoesNothing) {
    ForceVideoWait wait;
    EXPECT_EQ(force_video_tick(&wait, true), ForceVideoAnswer::idle);
    EXPECT_EQ(force_video_tick(&wait, false), ForceVideoAnswer::idle);
    EXPECT_EQ(wait.countdown, 0);
}

TEST(ForceVideoTexts, EveryAnswerHasItsStatus) {
    EXPECT_STREQ(force_video_press_text(ForceVideoAnswer::unavailable),
                 "Force Video: shared memory or settings not available");
    EXPECT_STREQ(force_video_press_text(ForceVideoAnswer::post), "Force Video: requested 520-frame movie");
    EXPECT_STREQ(force_video_press_text(ForceVideoAnswer::defer),
                 "Force Video: launching videogen — movie will build once ready");
    EXPECT_STREQ(force_video_tick_text(ForceVideoAnswer::post),
                 "Force Video: videogen ready — requested 520-frame movie");
    EXPECT_STREQ(force_video_tick_text(ForceVideoAnswer::timed_out), "Force video: videogen did not start");
    EXPECT_EQ(force_video_tick_text(ForceVideoAnswer::waiting), nullptr);
}
