#include "tools/ring_history.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int64_t kFrameUs = 20'000;  // 50 frames per second

// `count` frames, numbered and timed from `first` on.
void add_frames(RingHistory* history, int64_t first, int64_t count) {
    for (int64_t i = first; i < first + count; ++i) ring_history_add(history, i * kFrameUs, i);
}

}  // namespace

TEST(RingHistory, TheFirstLookTakesWhatTheRingStillHolds) {
    const struct {
        uint32_t nw, first, end;
    } cases[] = {{0, 0, 0},
                 {1, 0, 0},
                 {2, 0, 1},
                 {481, 0, 480},
                 {482, 1, 481},
                 {5000, 4519, 4999},
                 {0xFFFFFFFF, 0xFFFFFFFE - 480, 0xFFFFFFFE}};
    for (const auto& c : cases) {
        RingHistory history;
        const FrameRange range = ring_history_look(&history, c.nw);
        EXPECT_EQ(range.first, c.first) << c.nw;
        EXPECT_EQ(range.end, c.end) << c.nw;
    }
}

TEST(RingHistory, TheNextLookTakesOnlyWhatHasComeSince) {
    RingHistory history;
    ring_history_look(&history, 0);
    FrameRange range = ring_history_look(&history, 100);
    EXPECT_EQ(range.first, 0u);
    EXPECT_EQ(range.end, 99u);
    range = ring_history_look(&history, 160);
    EXPECT_EQ(range.first, 99u);
    EXPECT_EQ(range.end, 159u);
    range = ring_history_look(&history, 160);
    EXPECT_EQ(range.first, range.end);
}

TEST(RingHistory, FramesThatNobodyLookedAtInTimeAreNoInterruption) {
    RingHistory history;
    ring_history_look(&history, 101);
    add_frames(&history, 0, 100);
    const FrameRange range = ring_history_look(&history, 2001);
    EXPECT_EQ(range.end - range.first, kReadableFrames);
    add_frames(&history, range.first, kReadableFrames);
    EXPECT_EQ(history.interruptions, 0);
    EXPECT_EQ(history.lost, 0);
    EXPECT_DOUBLE_EQ(ring_history_rate(history, true).mean, 50.0);
}

TEST(RingHistory, ACounterThatWentBackBeginsAnew) {
    RingHistory history;
    ring_history_look(&history, 101);
    add_frames(&history, 0, 100);
    ASSERT_TRUE(ring_history_rate(history, true).known);
    const FrameRange range = ring_history_look(&history, 5);
    EXPECT_EQ(range.first, 0u);
    EXPECT_EQ(range.end, 4u);
    EXPECT_FALSE(ring_history_rate(history, true).known);
    EXPECT_FALSE(history.chained);
}

TEST(RingHistory, TheRateIsUnknownUntilASecondWasSeen) {
    RingHistory history;
    add_frames(&history, 0, 50);
    EXPECT_FALSE(ring_history_rate(history, true).known);
    add_frames(&history, 50, 1);
    const RingRate rate = ring_history_rate(history, true);
    ASSERT_TRUE(rate.known);
    EXPECT_DOUBLE_EQ(rate.now, 50.0);
    EXPECT_DOUBLE_EQ(rate.minimum, 50.0);
    EXPECT_DOUBLE_EQ(rate.maximum, 50.0);
}

TEST(RingHistory, ASlowAndAFastSecondAreTheExtremesAndTheMeanCountsAllFrames) {
    RingHistory history;
    int64_t pts = 0;
    int64_t seq = 0;
    const auto second_of = [&](int64_t frames) {
        for (int64_t i = 0; i < frames; ++i) ring_history_add(&history, pts += 1'000'000 / frames, ++seq);
    };
    ring_history_add(&history, 0, 0);
    second_of(50);
    second_of(40);
    second_of(100);
    second_of(50);
    const RingRate rate = ring_history_rate(history, true);
    EXPECT_DOUBLE_EQ(rate.now, 50.0);
    EXPECT_DOUBLE_EQ(rate.minimum, 40.0);
    EXPECT_DOUBLE_EQ(rate.maximum, 100.0);
    EXPECT_DOUBLE_EQ(rate.mean, 60.0);
    EXPECT_EQ(history.longest_us, 25'000);
}

TEST(RingHistory, OldStampsSayNothingAboutNow) {
    RingHistory history;
    add_frames(&history, 0, 51);
    EXPECT_TRUE(ring_history_rate(history, true).has_now);
    const RingRate rate = ring_history_rate(history, false);
    EXPECT_TRUE(rate.known);
    EXPECT_FALSE(rate.has_now);
    EXPECT_DOUBLE_EQ(rate.mean, 50.0);
}

TEST(RingHistory, APauseIsAnInterruptionAndSpoilsNoRate) {
    RingHistory history;
    add_frames(&history, 0, 51);
    add_frames(&history, 1000, 51);
    EXPECT_EQ(history.interruptions, 1);
    EXPECT_EQ(history.longest_us, kFrameUs);
    EXPECT_DOUBLE_EQ(ring_history_rate(history, true).minimum, 50.0);
    EXPECT_EQ(history.lost, 0);
}

TEST(RingHistory, TimeThatStandsStillOrGoesBackIsAnInterruption) {
    RingHistory history;
    ring_history_add(&history, 100, 1);
    ring_history_add(&history, 100, 2);
    ring_history_add(&history, 50, 3);
    EXPECT_EQ(history.interruptions, 2);
    EXPECT_EQ(history.frames, 0);
}

TEST(RingHistory, CountsFrameNumbersLeftOut) {
    RingHistory history;
    ring_history_add(&history, 0, 10);
    ring_history_add(&history, kFrameUs, 11);
    ring_history_add(&history, 3 * kFrameUs, 14);
    ring_history_add(&history, 4 * kFrameUs, 3);  // a source that began to count anew has lost none
    EXPECT_EQ(history.lost, 2);
    EXPECT_EQ(history.longest_us, 2 * kFrameUs);
}

TEST(RingHistory, SurvivesWhateverTheSlotsHold) {
    constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
    RingHistory history;
    for (const int64_t value : {kLeast, kMost, int64_t{0}, kMost, int64_t{-1}, kLeast})
        ring_history_add(&history, value, value);
    ring_history_add(&history, kMost - 1, kMost);
    ring_history_add(&history, kMost, kLeast);
    EXPECT_FALSE(ring_history_rate(history, true).known);
}

TEST(ClockHistory, MeasuresHowFastTheShownFrameMovesOn) {
    ClockHistory history;
    clock_history_step(&history, 1, 0, 5'000'000);
    EXPECT_FALSE(history.rate.known);
    clock_history_step(&history, 1, 60, 6'000'000);
    clock_history_step(&history, 1, 90, 8'000'000);
    ASSERT_TRUE(history.rate.known);
    EXPECT_DOUBLE_EQ(history.rate.now, 15.0);
    EXPECT_DOUBLE_EQ(history.rate.mean, 30.0);
    EXPECT_DOUBLE_EQ(history.rate.minimum, 15.0);
    EXPECT_DOUBLE_EQ(history.rate.maximum, 60.0);
}

TEST(ClockHistory, ARingThatStandsStillHasARateOfZero) {
    ClockHistory history;
    clock_history_step(&history, 3, 4'000'000'000, 1'000'000);
    clock_history_step(&history, 3, 4'000'000'060, 2'000'000);
    clock_history_step(&history, 3, 4'000'000'060, 3'000'000);
    EXPECT_TRUE(history.rate.has_now);
    EXPECT_DOUBLE_EQ(history.rate.now, 0.0);
    EXPECT_DOUBLE_EQ(history.rate.mean, 30.0);
}

TEST(ClockHistory, ALookThatFollowsTooSoonIsLeftOut) {
    ClockHistory history;
    clock_history_step(&history, 0, 0, 1'000'000);
    clock_history_step(&history, 0, 60, 1'000'000);
    clock_history_step(&history, 0, 60, 1'499'999);
    EXPECT_FALSE(history.rate.known);
    clock_history_step(&history, 0, 60, 2'000'000);
    EXPECT_DOUBLE_EQ(history.rate.now, 60.0);
}

TEST(ClockHistory, AMovieThatBeginsAgainOrMakesRoomForTheNextGivesNoRateOfItsOwn) {
    ClockHistory history;
    clock_history_step(&history, 1, 100, 1'000'000);
    clock_history_step(&history, 1, 10, 2'000'000);
    clock_history_step(&history, 0, 40, 3'000'000);
    clock_history_step(&history, 0, -1, 4'000'000);
    clock_history_step(&history, 0, 5, 5'000'000);
    EXPECT_FALSE(history.rate.known);
}

TEST(FrameAge, IsTheClockSinceTheEpochMinusTheTimeStamp) {
    int64_t age = 7;
    EXPECT_TRUE(frame_age(10'000'000, 4'000'000, 5'500'000, &age));
    EXPECT_EQ(age, 500'000);
    EXPECT_TRUE(frame_age(10'000'000, 4'000'000, 6'900'000, &age));
    EXPECT_EQ(age, -900'000);
}

TEST(FrameAge, ATimeStampThatCannotBeOfThisClockHasNone) {
    int64_t age = 7;
    EXPECT_FALSE(frame_age(10'000'000, 4'000'000, 7'000'001, &age));
    EXPECT_FALSE(frame_age(0, 0, std::numeric_limits<int64_t>::min(), &age));
    EXPECT_FALSE(frame_age(int64_t{1} << 60, 0, 0, &age));
    EXPECT_EQ(age, 7);
}
