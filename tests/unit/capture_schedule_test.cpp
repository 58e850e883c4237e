#include "app/capture_schedule.h"

#include <gtest/gtest.h>

TEST(CaptureSchedule, APauseOfZeroStillWaitsForTheRecorders) {
    EXPECT_EQ(capture_start_delay_ms(0), 100u);
    EXPECT_EQ(capture_start_delay_ms(-5), 100u);
    EXPECT_EQ(capture_start_delay_ms(1), 1000u);
    EXPECT_EQ(capture_start_delay_ms(7), 7000u);
}

TEST(CaptureSchedule, ARecordingTakesOneSecondAtLeast) {
    EXPECT_EQ(capture_recording_ms(0), 1000u);
    EXPECT_EQ(capture_recording_ms(-1), 1000u);
    EXPECT_EQ(capture_recording_ms(1), 1000u);
    EXPECT_EQ(capture_recording_ms(30), 30000u);
}

TEST(CaptureSchedule, MoreSecondsThanATimerKnowsMeanItsLongest) {
    EXPECT_EQ(capture_start_delay_ms(2147483), 2147483000u);
    EXPECT_EQ(capture_start_delay_ms(2147484), kLongestTimerMs);
    EXPECT_EQ(capture_recording_ms(INT32_MAX), kLongestTimerMs);
    EXPECT_EQ(capture_start_delay_ms(INT32_MIN), 100u);
}
