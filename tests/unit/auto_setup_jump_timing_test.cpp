// What one jump tells about the timing, rule by rule.
#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "autosetup/jump_timing.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"

static constexpr MetreTrigger kNoTrigger = {kNoColumn, 0.0f, kNoColumn, kNoColumn};

static JumpRecords records_of(const std::vector<MotionBlob>& blobs) {
    return {blobs.data(), static_cast<int32_t>(blobs.size())};
}

static MotionBlob blob_at(int64_t seq, int32_t x) {
    MotionBlob blob = {};
    blob.seq = seq;
    blob.x = x;
    return blob;
}

static AlignRecord aligned(int64_t offset) {
    return {1, offset, 5, 0.0f, 0.0f};
}

namespace {
// Feed 0 sees frames 100..150, feed 1 160..210, feed 2 230..290, in their own numbers; without alignment.
struct ThreeFeeds {
    std::vector<MotionBlob> blobs[3] = {{blob_at(100, 100), blob_at(150, 1700)},
                                        {blob_at(160, 200), blob_at(180, 900), blob_at(210, 1800)},
                                        {blob_at(230, 100), blob_at(250, 800), blob_at(290, 1500)}};
    AlignRecord align_01 = {}, align_12 = {};

    JumpView view() const {
        JumpView result = {};
        for (int32_t feed = 0; feed < 3; ++feed) result.feed[feed] = records_of(blobs[feed]);
        result.align_01 = align_01;
        result.align_12 = align_12;
        return result;
    }
    void leave_one_record(int32_t feed) {
        blobs[feed].resize(1);
    }
};
struct Frames {
    int32_t of[3];
};
}  // namespace

static Frames before(const JumpView& view, int32_t crossing_0 = 130) {
    Frames frames = {};
    frames_before(view, crossing_0, frames.of);
    return frames;
}

static Frames after(const JumpView& view) {
    Frames frames = {};
    frames_after(view, frames.of);
    return frames;
}

static int32_t crossing(int64_t frames, int32_t columns) {
    const std::vector<MotionBlob> blobs = {blob_at(1000, 300), blob_at(1000 + frames, 300 + columns)};
    return crossing_frames(records_of(blobs));
}

TEST(CrossingFrames, EightHundredColumnsInFiftyFramesMake120) {
    EXPECT_EQ(crossing(50, 800), 120);  // 50 * 1920 / 800
}

TEST(CrossingFrames, NeedHundredColumnsToTheRight) {
    EXPECT_EQ(crossing(50, 100), 960);
    EXPECT_EQ(crossing(50, 99), 0);
    EXPECT_EQ(crossing(50, -800), 0);
}

TEST(CrossingFrames, NeedTenFrames) {
    EXPECT_EQ(crossing(10, 800), 24);
    EXPECT_EQ(crossing(9, 800), 0);
}

TEST(CrossingFrames, CutTheFraction) {
    EXPECT_EQ(crossing(50, 777), 123);  // 96000 / 777 = 123.55
}

TEST(CrossingFrames, AreZeroForASingleRecord) {
    const std::vector<MotionBlob> blobs = {blob_at(1000, 300)};
    EXPECT_EQ(crossing_frames(records_of(blobs)), 0);
    EXPECT_EQ(crossing_frames({nullptr, 0}), 0);
}

TEST(RunningMean, IsTheDefaultBeforeTheFirstValueAndCutsTheFraction) {
    EXPECT_EQ(running_mean({0, 0}, 130), 130);
    EXPECT_EQ(running_mean({11, 2}, 130), 5);
}

TEST(FramesBefore, AreThePauseToFeed0PlusFifteen) {
    const ThreeFeeds jump;
    const Frames frames = before(jump.view());
    EXPECT_EQ(frames.of[0], 15);
    EXPECT_EQ(frames.of[1], 160 - 100 + 15);
    EXPECT_EQ(frames.of[2], 230 - 100 + 15);
}

TEST(FramesBefore, CountInTheNumbersOfTheLaterFeed) {
    ThreeFeeds jump;
    jump.align_01 = aligned(20);
    jump.align_12 = aligned(-5);
    const Frames frames = before(jump.view());
    EXPECT_EQ(frames.of[1], 160 - 120 + 15);
    EXPECT_EQ(frames.of[2], 230 - 115 + 15);
}

TEST(FramesBefore, Feed2IgnoresASingleOffset) {
    ThreeFeeds jump;
    jump.align_01 = aligned(20);
    EXPECT_EQ(before(jump.view()).of[2], 145);
    jump.align_01 = {};
    jump.align_12 = aligned(-5);
    EXPECT_EQ(before(jump.view()).of[2], 145);
}

TEST(FramesBefore, AnInvalidOffsetIsNotUsed) {
    ThreeFeeds jump;
    jump.align_01.offset = 20;
    EXPECT_EQ(before(jump.view()).of[1], 75);
}

TEST(FramesBefore, AreAtLeastFifteen) {
    ThreeFeeds jump;
    jump.align_01 = aligned(61);  // feed 1 begins a frame before feed 0
    jump.align_12 = aligned(200);
    const Frames frames = before(jump.view());
    EXPECT_EQ(frames.of[1], 15);
    EXPECT_EQ(frames.of[2], 15);
    jump.align_01 = aligned(59);
    EXPECT_EQ(before(jump.view()).of[1], 16);
}

TEST(FramesBefore, Feed1WithoutFeed0TakesTheUsualCrossing) {
    ThreeFeeds jump;
    jump.leave_one_record(0);
    EXPECT_EQ(before(jump.view(), 130).of[1], 145);
    EXPECT_EQ(before(jump.view(), 90).of[1], 105);
}

TEST(FramesBefore, Feed2WithoutFeed0CountsFromFeed1) {
    ThreeFeeds jump;
    jump.blobs[0].clear();
    EXPECT_EQ(before(jump.view()).of[2], 230 - 160 + 145);
    jump.align_01 = aligned(1000);
    jump.align_12 = aligned(30);
    EXPECT_EQ(before(jump.view()).of[2], 230 - 190 + 145);
}

TEST(FramesBefore, Feed2WithoutFeed0IsFifteenBelowSixteen) {
    ThreeFeeds jump;
    jump.blobs[0].clear();
    jump.align_12 = aligned(70 + 145 - 16);
    EXPECT_EQ(before(jump.view()).of[2], 16);
    jump.align_12 = aligned(70 + 145 - 15);
    EXPECT_EQ(before(jump.view()).of[2], 15);
    jump.align_12 = aligned(70 + 145 + 1);
    EXPECT_EQ(before(jump.view()).of[2], 15);
}

TEST(FramesBefore, Feed2CountsFromFeed0WhenFeed1MissedTheJump) {
    ThreeFeeds jump;
    jump.leave_one_record(1);
    const Frames frames = before(jump.view());
    EXPECT_EQ(frames.of[1], 145);
    EXPECT_EQ(frames.of[2], 145);  // 230 - 100 + 15
}

TEST(FramesBefore, Feed2WithoutAnyMeasureIs300) {
    ThreeFeeds jump;
    jump.leave_one_record(2);
    EXPECT_EQ(before(jump.view()).of[2], 300);
    ThreeFeeds only_2;
    only_2.blobs[0].clear();
    only_2.blobs[1].clear();
    EXPECT_EQ(before(only_2.view()).of[2], 300);
}

TEST(FramesAfter, AreThePauseToTheNextFeedPlusFifteen) {
    const ThreeFeeds jump;
    const Frames frames = after(jump.view());
    EXPECT_EQ(frames.of[0], 160 - 150 + 15);
    EXPECT_EQ(frames.of[1], 230 - 210 + 15);
    EXPECT_EQ(frames.of[2], 15);
}

TEST(FramesAfter, UseTheValidOffsets) {
    ThreeFeeds jump;
    jump.align_01 = aligned(-7);
    jump.align_12 = aligned(4);
    const Frames frames = after(jump.view());
    EXPECT_EQ(frames.of[0], 160 - 143 + 15);
    EXPECT_EQ(frames.of[1], 230 - 214 + 15);
}

TEST(FramesAfter, AreAtLeastFifteen) {
    ThreeFeeds jump;
    jump.align_01 = aligned(11);
    jump.align_12 = aligned(500);
    const Frames frames = after(jump.view());
    EXPECT_EQ(frames.of[0], 15);
    EXPECT_EQ(frames.of[1], 15);
}

TEST(FramesAfter, WithoutFeed0OnlyFeed1IsMeasured) {
    ThreeFeeds jump;
    jump.leave_one_record(0);
    EXPECT_EQ(after(jump.view()).of[0], 15);
    EXPECT_EQ(after(jump.view()).of[1], 35);
}

TEST(FramesAfter, WithoutFeed1AllAreFifteen) {
    ThreeFeeds jump;
    jump.leave_one_record(1);
    for (const int32_t value : after(jump.view()).of) EXPECT_EQ(value, 15);
}

TEST(FramesAfter, WithoutFeed2Feed1IsFifteen) {
    ThreeFeeds jump;
    jump.leave_one_record(2);
    EXPECT_EQ(after(jump.view()).of[0], 25);
    EXPECT_EQ(after(jump.view()).of[1], 15);
}

TEST(JumpTiming, HostileFrameNumbersWrap) {
    ThreeFeeds jump;
    jump.blobs[0] = {blob_at(INT64_MIN, INT_MIN), blob_at(INT64_MAX, INT_MAX)};
    jump.blobs[1] = {blob_at(INT64_MAX, INT_MAX), blob_at(INT64_MIN, INT_MIN)};
    jump.align_01 = aligned(INT64_MAX);
    jump.align_12 = aligned(INT64_MIN);
    const JumpView view = jump.view();
    EXPECT_EQ(before(view).of[1], 15);  // max - (min + max) = max + 1, whose low 32 bits are 0
    EXPECT_EQ(before(view).of[0], 15);
    EXPECT_GE(after(view).of[1], 15);
    EXPECT_EQ(crossing_frames(view.feed[0]), 0);
    EXPECT_EQ(type1_sample(view, {900, 0.0f, kNoColumn, kNoColumn}), 0);
}

TEST(SmallestSample, CountsPositiveSamplesAndKeepsTheSmallest) {
    SmallestSample smallest = {};
    for (const int32_t sample : {40, 0, -3, 25, 60}) add_sample(&smallest, sample);
    EXPECT_EQ(smallest.count, 3);
    EXPECT_EQ(smallest.value, 25);
}

TEST(Type1Sample, EndsWhereFeed1PassesTheTriggerColumn) {
    ThreeFeeds jump;
    jump.align_01 = aligned(10);
    EXPECT_EQ(type1_sample(jump.view(), {1000, 90.0f, kNoColumn, kNoColumn}), 180 - 110);
}

TEST(Type1Sample, TheFirstOfEquallyNearRecordsCounts) {
    const ThreeFeeds jump;
    EXPECT_EQ(type1_sample(jump.view(), {550, 90.0f, kNoColumn, kNoColumn}), 160 - 100);  // 350 from 200 and 900
}

TEST(Type1Sample, WithoutATriggerEndsAtFeed2sFirstRecord) {
    ThreeFeeds jump;
    EXPECT_EQ(type1_sample(jump.view(), kNoTrigger), 130);
    jump.align_01 = aligned(10);
    EXPECT_EQ(type1_sample(jump.view(), kNoTrigger), 120);
    jump.align_12 = aligned(5);
    EXPECT_EQ(type1_sample(jump.view(), kNoTrigger), 115);
}

TEST(Type1Sample, WithATriggerButNoFeed1EndsAtFeed2sFirstRecord) {
    ThreeFeeds jump;
    jump.leave_one_record(1);
    EXPECT_EQ(type1_sample(jump.view(), {1000, 90.0f, kNoColumn, kNoColumn}), 130);
}

TEST(Type1Sample, WithoutTriggerAndFeed2EndsAtFeed1sLastRecord) {
    ThreeFeeds jump;
    jump.leave_one_record(2);
    jump.align_01 = aligned(10);
    EXPECT_EQ(type1_sample(jump.view(), kNoTrigger), 210 - 110);
}

TEST(Type1Sample, ThereIsNoneFromFeed0Alone) {
    ThreeFeeds jump;
    jump.leave_one_record(1);
    jump.leave_one_record(2);
    EXPECT_EQ(type1_sample(jump.view(), kNoTrigger), 0);
}

TEST(Type2Sample, AddsFeed1sGapAndFeed2sRest) {
    LogCapture log;
    const ThreeFeeds jump;
    // Feed 1: column 880 at frame 180, column 1750 at 210. Feed 2: column 790 at 250, the end at 290.
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, 1750, 790}, 77, 3), 70);
    EXPECT_TRUE(log.has("INF jump 3 type2: f1_gap=30 + f2_portion=40 = 70"));
}

TEST(Type2Sample, HasNoGapWhenTheBridgeIsNotBeyondTheTrigger) {
    LogCapture log;
    const ThreeFeeds jump;
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, 880, 790}, 77, 0), 40);
    EXPECT_TRUE(log.has("INF jump 0 type2: f1_gap=0 + f2_portion=40 = 40"));
}

TEST(Type2Sample, HasNoGapTowardsABridgeBeforeTheTriggerEvenWhenItIsPassedLater) {
    LogCapture log;
    ThreeFeeds jump;
    jump.blobs[1] = {blob_at(180, 880), blob_at(210, 300)};
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, 300, 790}, 77, 0), 40);
}

TEST(Type2Sample, HasNoGapWithoutFeed1) {
    LogCapture log;
    ThreeFeeds jump;
    jump.leave_one_record(1);
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, 1750, 790}, 77, 0), 40);
}

TEST(Type2Sample, NegativePartsCountAsZero) {
    LogCapture log;
    ThreeFeeds jump;
    jump.blobs[1] = {blob_at(210, 880), blob_at(180, 1750)};                     // the columns run backwards in time
    jump.blobs[2] = {blob_at(230, 100), blob_at(299, 790), blob_at(290, 1500)};  // as does this one
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, 1750, 790}, 77, 0), 0);
    EXPECT_TRUE(log.lines().empty());
    jump.blobs[1] = {blob_at(180, 880), blob_at(210, 1750)};
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, 1750, 790}, 77, 0), 30);
    EXPECT_TRUE(log.has("INF jump 0 type2: f1_gap=30 + f2_portion=0 = 30"));
}

TEST(Type2Sample, WithoutABridgeIsFeed2sCrossing) {
    LogCapture log;
    const ThreeFeeds jump;
    EXPECT_EQ(type2_sample(jump.view(), {880, 90.0f, kNoColumn, kNoColumn}, 77, 0), 77);
    EXPECT_EQ(type2_sample(jump.view(), kNoTrigger, 77, 0), 77);
    EXPECT_TRUE(log.lines().empty());
}
