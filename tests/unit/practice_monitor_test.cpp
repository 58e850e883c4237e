#include "app/practice_monitor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_capture.h"

using Lines = std::vector<std::string>;

namespace {

class PracticeRun : public testing::Test {
protected:
    void start(int32_t published, int64_t serial, int32_t max_movies, int32_t max_frames) {
        practice_monitor_start(&monitor, published, serial);
        inputs.max_movies = max_movies;
        inputs.max_frames = max_frames;
    }
    PracticeAnswer look() {
        return practice_monitor_step(&monitor, inputs);
    }

    LogCapture log;
    PracticeMonitor monitor;
    PracticeInputs inputs;
};

}  // namespace

TEST_F(PracticeRun, NothingHappensSilentlyWhileBelowBothLimits) {
    start(4, 17, 1, 100);
    inputs.published_count = 4;
    inputs.frames = 99;
    EXPECT_EQ(look(), PracticeAnswer::keep_running);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(PracticeRun, AllMoviesPublishedBetweenTwoLooksAreCountedAtOnce) {
    start(5, 40, 10, 30000);
    inputs.published_count = 8;
    inputs.serial = 5000000043;
    inputs.frames = 1200;
    EXPECT_EQ(look(), PracticeAnswer::keep_running);
    EXPECT_EQ(log.take(), Lines{"INF CLI practice-test: movie #3 (published_count=8, +3 since last poll, "
                                "serial=5000000043, frames=1200)"});
    EXPECT_EQ(monitor.last_serial, 5000000043);
    EXPECT_EQ(look(), PracticeAnswer::keep_running);
    EXPECT_EQ(log.take(), Lines{}) << "the same count is told once";
    inputs.published_count = 9;
    look();
    EXPECT_EQ(monitor.movies, 4);
}

TEST_F(PracticeRun, ACountThatFellIsNoMovie) {
    start(5, 0, 10, 100);
    inputs.published_count = 0;
    look();
    inputs.published_count = 5;
    look();
    EXPECT_EQ(monitor.movies, 0);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(PracticeRun, TheMovieLimitEndsTheRun) {
    start(0, 0, 2, 100);
    inputs.published_count = 1;
    EXPECT_EQ(look(), PracticeAnswer::keep_running) << "one below";
    inputs.published_count = 2;
    log.take();
    EXPECT_EQ(look(), PracticeAnswer::shut_down);
    EXPECT_EQ(log.take().back(), "INF CLI practice-test: movie limit reached (2 >= 2) — shutting down");
}

TEST_F(PracticeRun, TheFrameLimitEndsTheRun) {
    start(0, 0, 2, 100);
    inputs.frames = 105;
    EXPECT_EQ(look(), PracticeAnswer::shut_down);
    EXPECT_EQ(log.take(), Lines{"INF CLI practice-test: frame limit reached (105 >= 100) — shutting down"});
}

TEST_F(PracticeRun, TheMovieLimitIsTestedBeforeTheFrameLimit) {
    start(0, 0, 1, 100);
    inputs.published_count = 3;
    inputs.frames = 500;
    EXPECT_EQ(look(), PracticeAnswer::shut_down);
    EXPECT_EQ(log.take().back(), "INF CLI practice-test: movie limit reached (3 >= 1) — shutting down");
}

TEST_F(PracticeRun, ActiveMotionAtTheLimitIsWaitedForAndToldOnce) {
    start(0, 0, 10, 100);
    inputs.wait_for_active_motion = true;
    inputs.motion_active = true;
    inputs.frames = 100;
    for (int i = 1; i <= 3; ++i) EXPECT_EQ(look(), PracticeAnswer::keep_running) << "look " << i;
    EXPECT_EQ(
        log.take(),
        Lines{"INF CLI practice-test: frame limit reached (100 >= 100) — waiting for active motion to complete"});
    inputs.motion_active = false;
    inputs.frames = 130;
    EXPECT_EQ(look(), PracticeAnswer::shut_down);
    EXPECT_EQ(log.take(), Lines{"INF CLI practice-test: frame limit reached (130 >= 100) — shutting down"});
}

TEST_F(PracticeRun, TheMovieFormOfTheWaitingLineIsUsedForTheMovieLimit) {
    start(0, 0, 1, 100);
    inputs.wait_for_active_motion = true;
    inputs.motion_active = true;
    inputs.published_count = 1;
    EXPECT_EQ(look(), PracticeAnswer::keep_running);
    EXPECT_EQ(log.take().back(),
              "INF CLI practice-test: movie limit reached (1 >= 1) — waiting for active motion to complete");
}

TEST_F(PracticeRun, MotionThatFlickersIsStillToldOnce) {
    start(0, 0, 10, 100);
    inputs.wait_for_active_motion = true;
    inputs.motion_active = true;
    inputs.frames = 100;
    look();
    inputs.frames = 50;  // the counter was reset
    EXPECT_EQ(look(), PracticeAnswer::keep_running);
    inputs.frames = 101;
    look();
    EXPECT_EQ(log.take().size(), 1u);
}

TEST_F(PracticeRun, WithoutTheSettingActiveMotionDoesNotDelayTheEnd) {
    start(0, 0, 10, 100);
    inputs.motion_active = true;
    inputs.frames = 100;
    EXPECT_EQ(look(), PracticeAnswer::shut_down);
}

TEST_F(PracticeRun, AStartForgetsAnEarlierRun) {
    monitor = {9, 9, 9, true};
    practice_monitor_start(&monitor, 4, 17);
    EXPECT_EQ(monitor.last_published, 4);
    EXPECT_EQ(monitor.last_serial, 17);
    EXPECT_EQ(monitor.movies, 0);
    EXPECT_FALSE(monitor.waiting);
}

TEST_F(PracticeRun, TheExtremesOfTheCountDoNotOverflow) {
    start(INT32_MIN, 0, INT32_MAX, INT32_MAX);
    inputs.published_count = INT32_MAX;
    EXPECT_EQ(look(), PracticeAnswer::shut_down);
    EXPECT_EQ(monitor.movies, INT32_MAX);
}

TEST(MotionIsActive, SlowAboveZeroAsASignedNumberOrReportedMotion) {
    EXPECT_FALSE(feed_motion_is_active(0, 0));
    EXPECT_TRUE(feed_motion_is_active(1, 0));
    EXPECT_TRUE(feed_motion_is_active(0x7FFFFFFFu, 0));
    EXPECT_FALSE(feed_motion_is_active(0x80000000u, 0));
    EXPECT_FALSE(feed_motion_is_active(0xFFFFFFFFu, 0));
    EXPECT_TRUE(feed_motion_is_active(0xFFFFFFFFu, 1));
    EXPECT_TRUE(feed_motion_is_active(0, 0xFFFFFFFFu));
}

TEST(MotionIsActive, AnyFeedWillDo) {
    const uint32_t none[3] = {0, 0, 0};
    EXPECT_FALSE(any_motion_is_active(none, none));
    for (int feed = 0; feed < 3; ++feed) {
        uint32_t one[3] = {0, 0, 0};
        one[feed] = 1;
        EXPECT_TRUE(any_motion_is_active(one, none)) << feed;
        EXPECT_TRUE(any_motion_is_active(none, one)) << feed;
    }
}
