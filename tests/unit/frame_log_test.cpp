#include "preview/frame_log.h"

#include <gtest/gtest.h>

#include <string>

static FrameLog opened(int64_t frequency = 10'000'000, int64_t start = 500) {
    FrameLog log;
    frame_log_opened(&log, frequency, start);
    return log;
}

static FrameLogValues some_values() {
    FrameLogValues values;
    values.channel = 2;
    values.feed[0] = {1000, 478, 998, 16633333};
    values.feed[1] = {1001, 479, 5'000'000'000, 16650000};
    values.feed[2] = {2, 0, -1, -7};
    values.display_type = 2;
    values.motion_flags = 1;
    return values;
}

static std::string row_at(FrameLog* log, int64_t counter, const FrameLogValues& values = {}) {
    std::string text;
    frame_log_row(log, counter, values, &text);
    return text;
}

TEST(FrameLogOpening, OnlyWithTheSettingOn) {
    FrameLog log;
    EXPECT_FALSE(frame_log_wants_open(&log, 0));
    EXPECT_TRUE(frame_log_wants_open(&log, 1));
    EXPECT_TRUE(frame_log_wants_open(&log, -3)) << "anything but 0 is on";
}

TEST(FrameLogOpening, AFailureIsTriedAgainAndAnOpenLogIsNotOpenedTwice) {
    FrameLog log;
    EXPECT_TRUE(frame_log_wants_open(&log, 1));
    EXPECT_TRUE(frame_log_wants_open(&log, 1)) << "nobody said that it was opened";
    frame_log_opened(&log, 1000, 0);
    EXPECT_FALSE(frame_log_wants_open(&log, 1));
}

TEST(FrameLogOpening, TheHeaderNamesTheColumnsAndDoesNotCount) {
    FrameLog log;
    EXPECT_STREQ(frame_log_opened(&log, 1000, 77),
                 "time_ms,channel,f0_nw,f0_idx,f0_seq,f0_pts,f1_nw,f1_idx,f1_seq,f1_pts,f2_nw,f2_idx,f2_seq,f2_pts,"
                 "f1_display_type,f1_motion_flags\n");
    EXPECT_TRUE(log.open);
    EXPECT_EQ(log.bytes_written, 0);
    EXPECT_EQ(log.counter_frequency, 1000);
    EXPECT_EQ(log.counter_start, 77);
}

TEST(FrameLogRow, HoldsEveryValueInItsColumn) {
    FrameLog log = opened();
    EXPECT_EQ(row_at(&log, 500 + 12'345'678, some_values()),
              "1234.6,2,1000,478,998,16633333,1001,479,5000000000,16650000,2,0,-1,-7,2,1\n");
}

TEST(FrameLogRow, WhatCouldNotBeReadIsZero) {
    FrameLog log = opened();
    EXPECT_EQ(row_at(&log, 500), "0.0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\n");
}

TEST(FrameLogRow, ACounterBeyondThirtyOneBitsIsShownAsTheOtherProgramsShowIt) {
    FrameLog log = opened();
    FrameLogValues values;
    values.feed[0].nw = 0xFFFFFFFFu;
    values.channel = -5;
    EXPECT_EQ(row_at(&log, 500, values), "0.0,-5,-1,0,0,0,0,0,0,0,0,0,0,0,0,0\n");
}

TEST(FrameLogRow, WithoutAPerformanceCounterTheTimeStandsStill) {
    FrameLog log = opened(0, 0);
    EXPECT_EQ(row_at(&log, 123456), "0.0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\n");
}

TEST(FrameLogRow, TheLongestRowFits) {
    FrameLog log = opened(1, INT64_MIN / 2);
    FrameLogValues values;
    values.channel = INT32_MIN;
    for (FrameLogFeed& feed : values.feed) feed = {0x80000000u, 0x80000000u, INT64_MIN, INT64_MIN};
    values.display_type = values.motion_flags = 0x80000000u;
    const std::string row = row_at(&log, INT64_MAX / 2, values);
    EXPECT_EQ(row.back(), '\n');
    EXPECT_EQ(log.bytes_written, static_cast<int32_t>(row.size()));
    EXPECT_NE(row.find("-9223372036854775808,-2147483648,-2147483648\n"), std::string::npos) << row;
}

TEST(FrameLogRow, IsNotWrittenWhileTheLogIsNotOpen) {
    FrameLog log;
    EXPECT_EQ(row_at(&log, 1), "");
    EXPECT_EQ(log.bytes_written, 0);
}

TEST(FrameLogRow, EachRowCountsWithItsLineEnd) {
    FrameLog log = opened();
    const std::string first = row_at(&log, 500);
    EXPECT_EQ(log.bytes_written, static_cast<int32_t>(first.size()));
    const std::string second = row_at(&log, 600'000, some_values());
    EXPECT_EQ(log.bytes_written, static_cast<int32_t>(first.size() + second.size()));
}

TEST(FrameLogLimit, TheRowThatReachesTenMebibytesIsFollowedByTheStopLine) {
    FrameLog log = opened();
    int64_t sum = 0;
    int64_t counter = 500;
    while (log.open) {
        const int64_t before = sum;
        const std::string text = row_at(&log, counter += 166'667, some_values());
        const size_t row = text.find('\n') + 1;
        sum += static_cast<int64_t>(row);
        ASSERT_EQ(log.bytes_written, sum);
        ASSERT_LT(before, 10'485'760);
        if (log.open) {
            ASSERT_EQ(row, text.size()) << "nothing but the row";
        } else {
            EXPECT_GE(sum, 10'485'760);
            EXPECT_EQ(text.substr(row), "# LOG STOPPED — reached " + std::to_string(sum) + " bytes\n");
        }
    }
    EXPECT_TRUE(log.stopped);
    EXPECT_EQ(row_at(&log, counter + 1), "") << "no row after it";
    EXPECT_EQ(log.bytes_written, sum);
}

TEST(FrameLogLimit, ExactlyReachedIsReachedAndOneByteLessIsNot) {
    const std::string row = "0.0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\n";
    FrameLog log = opened();
    log.bytes_written = 10'485'760 - 1 - static_cast<int32_t>(row.size());
    EXPECT_EQ(row_at(&log, 500), row);
    EXPECT_TRUE(log.open);
    log = opened();
    log.bytes_written = 10'485'760 - static_cast<int32_t>(row.size());
    EXPECT_EQ(row_at(&log, 500), row + "# LOG STOPPED — reached 10485760 bytes\n");
    EXPECT_FALSE(log.open);
}

TEST(FrameLogLimit, AStoppedLogIsNeverOpenedAgainWhateverTheSettingDoes) {
    FrameLog log = opened();
    log.bytes_written = kFrameLogLimit;
    row_at(&log, 500);
    ASSERT_TRUE(log.stopped);
    for (const int32_t setting : {1, 0, 1}) EXPECT_FALSE(frame_log_wants_open(&log, setting));
}
