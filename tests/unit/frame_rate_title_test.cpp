#include "app/frame_rate_title.h"

#include <gtest/gtest.h>

#include <string>

static FrameRateInputs counters(uint32_t nw0, uint32_t nw1, uint32_t nw2) {
    FrameRateInputs inputs;
    inputs.nw[0] = nw0;
    inputs.nw[1] = nw1;
    inputs.nw[2] = nw2;
    return inputs;
}

// Runs the monitor over one period in which each feed delivers the given number of frames.
static std::string after_period(FrameRateMonitor* monitor, FrameRateInputs* inputs, uint32_t period_ms,
                                uint32_t frames0, uint32_t frames1, uint32_t frames2) {
    inputs->tick_ms += period_ms;
    inputs->feed_frame_count[0] += frames0;
    inputs->feed_frame_count[1] += frames1;
    inputs->feed_frame_count[2] += frames2;
    return frame_rate_title_step(monitor, *inputs);
}

static std::string dropping_part(const std::string& title) {
    const size_t at = title.find("  DROPPING FRAMES: ");
    return at == std::string::npos ? "" : title.substr(at);
}

TEST(FrameRateTitle, BeforeTheFirstFrameEverythingIsZero) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    inputs.output_frame_idx = -1;
    EXPECT_EQ(frame_rate_title_step(&monitor, inputs),
              "[CH 0]  0(000,000,000) 1(000,000,000) 2(000,000,000)  Δ(    0,000,000)");
}

TEST(FrameRateTitle, PositionsAreReducedToTheRingAndTheSpreadOfTheWritersIsNot) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs = counters(1560 + 7, 519, 520);
    inputs.channel = 2;
    inputs.motion_idx[0] = 1560;
    inputs.motion_idx[1] = 515;
    inputs.motion_idx[2] = 519;
    inputs.output_frame_idx = 1041;
    EXPECT_EQ(frame_rate_title_step(&monitor, inputs),
              "[CH 2]  0(007,000,001) 1(519,515,001) 2(000,519,001)  Δ( 1048,519,006)");
}

TEST(FrameRateTitle, InactiveFeedsDoNotEnterTheSpread) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs = counters(9000, 100, 130);
    inputs.feed_count = 1;
    EXPECT_TRUE(frame_rate_title_step(&monitor, inputs).ends_with("Δ(    0,000,000)"));
    inputs.feed_count = 2;
    EXPECT_TRUE(frame_rate_title_step(&monitor, inputs).ends_with("Δ(   30,000,030)"));
    inputs.feed_count = 3;
    EXPECT_TRUE(frame_rate_title_step(&monitor, inputs).find("Δ( 8900,") != std::string::npos);
}

TEST(FrameRateTitle, TheSpreadSurvivesTheWriteCountersWrapAround) {
    FrameRateMonitor monitor;
    const FrameRateInputs inputs = counters(0xFFFFFFFEu, 3, 1);
    EXPECT_NE(frame_rate_title_step(&monitor, inputs).find("Δ(    5,"), std::string::npos);
}

TEST(FrameRateTitle, AMotionWorkerAMomentAheadOfItsWriterStaysInTheRing) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs = counters(10, 10, 10);
    inputs.motion_idx[0] = inputs.motion_idx[1] = 10;
    inputs.motion_idx[2] = 11;
    EXPECT_TRUE(frame_rate_title_step(&monitor, inputs).ends_with("Δ(    0,001,519)"));
}

TEST(FrameRateTitle, SlowMotionWorkersAreNamedAtTheEnd) {
    const struct {
        uint32_t slow[3];
        const char* expected;
    } cases[] = {{{0, 0, 0}, "Δ(    0,000,000)"},
                 {{1, 0, 0}, "Δ(    0,000,000)   M0:SLOW"},
                 {{0, 1, 0}, "Δ(    0,000,000)   M1:SLOW"},
                 {{0, 0, 9}, "Δ(    0,000,000)   M2:SLOW"},
                 {{1, 2, 3}, "Δ(    0,000,000)   M0:SLOW M1:SLOW M2:SLOW"}};
    for (const auto& c : cases) {
        FrameRateMonitor monitor;
        FrameRateInputs inputs;
        for (int feed = 0; feed < 3; ++feed) inputs.motion_slow[feed] = c.slow[feed];
        EXPECT_TRUE(frame_rate_title_step(&monitor, inputs).ends_with(c.expected)) << c.expected;
    }
}

TEST(FrameRateTitle, TheFirstLookMeasuresNoRate) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    const std::string title = after_period(&monitor, &inputs, 100000, 5000, 10, 5000);
    EXPECT_EQ(dropping_part(title), "");
    EXPECT_EQ(monitor.fps[0], 0.0);
}

TEST(FrameRateTitle, AFeedBelowFiftyFiveIsFlaggedWhileAnotherManages) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    frame_rate_title_step(&monitor, inputs);
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 55, 54, 60)), "  DROPPING FRAMES: Feed 1");
    EXPECT_EQ(monitor.fps[0], 55.0);
    EXPECT_EQ(monitor.fps[1], 54.0);
    EXPECT_EQ(monitor.fps[2], 60.0);
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 55, 55, 55)), "");
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 54, 54, 54)), "") << "nobody reaches the full rate";
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 0, 0, 55)), "  DROPPING FRAMES: Feed 0, Feed 1");
}

TEST(FrameRateTitle, InactiveFeedsNeitherDropNorSetThePace) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    inputs.feed_count = 2;
    frame_rate_title_step(&monitor, inputs);
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 0, 60, 60)), "") << "feed 0 is not in use";
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 60, 30, 30)), "");
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 0, 60, 30)), "  DROPPING FRAMES: Feed 2");
}

TEST(FrameRateTitle, RatesChangeOnlyAfterHalfASecondAndTheFlagStaysMeanwhile) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    frame_rate_title_step(&monitor, inputs);
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 499, 30, 0, 30)), "") << "one millisecond early";
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1, 0, 0, 0)), "  DROPPING FRAMES: Feed 1");
    EXPECT_EQ(monitor.fps[0], 60.0);
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 16, 1, 30, 1)), "  DROPPING FRAMES: Feed 1");
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 484, 29, 0, 29)), "");
}

TEST(FrameRateTitle, TheTickAndTheCountersMayWrapAround) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    inputs.tick_ms = 0xFFFFFF00u;
    for (uint32_t& count : inputs.feed_frame_count) count = 0xFFFFFFF0u;
    frame_rate_title_step(&monitor, inputs);
    EXPECT_EQ(dropping_part(after_period(&monitor, &inputs, 1000, 60, 40, 60)), "  DROPPING FRAMES: Feed 1");
    EXPECT_EQ(monitor.fps[0], 60.0);
    EXPECT_EQ(monitor.fps[1], 40.0);
}

TEST(FrameRateTitle, ACounterThatWentBackwardsIsNoGreatRate) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    for (uint32_t& count : inputs.feed_frame_count) count = 10000;
    frame_rate_title_step(&monitor, inputs);
    inputs.tick_ms = 1000;
    inputs.feed_frame_count[0] = 5;
    inputs.feed_frame_count[1] = inputs.feed_frame_count[2] = 10030;
    EXPECT_EQ(dropping_part(frame_rate_title_step(&monitor, inputs)), "");
    EXPECT_EQ(monitor.fps[0], 0.0);
}

TEST(FrameRateTitle, SlowAndDroppingStandTogether) {
    FrameRateMonitor monitor;
    FrameRateInputs inputs;
    inputs.motion_slow[2] = 1;
    frame_rate_title_step(&monitor, inputs);
    EXPECT_TRUE(after_period(&monitor, &inputs, 500, 0, 30, 30).ends_with("   M2:SLOW  DROPPING FRAMES: Feed 0"));
}
