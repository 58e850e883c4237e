// The recorder's decisions: a frame's place in the file, what belongs to a recording, names and settings.
#include "rig/recording.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

static constexpr int64_t kStartUs = 77'000'123;

static int64_t stamp(double frame_times) {
    return kStartUs + static_cast<int64_t>(frame_times * 1'000'000 / 60);
}

static void expect_place(const FramePlace& place, bool dropped, int64_t repeats) {
    EXPECT_EQ(place.dropped, dropped);
    EXPECT_EQ(place.repeats, repeats);
}

TEST(RecordingPlaces, TheFirstFrameIsTheFirstPictureWhateverItsTimeStamp) {
    FramePlacer placer = placer_begin_file();
    expect_place(placer_place(&placer, -kStartUs), false, 0);
    EXPECT_EQ(placer.next, 1);
}

TEST(RecordingPlaces, FramesInTimeFollowOneAnotherForHours) {
    FramePlacer placer = placer_begin_file();
    for (int64_t frame = 0; frame < 3 * 3600 * 60; ++frame) {
        const FramePlace place = placer_place(&placer, kStartUs + frame * 1'000'000 / 60);
        ASSERT_FALSE(place.dropped) << frame;
        ASSERT_EQ(place.repeats, 0) << frame;
    }
}

TEST(RecordingPlaces, TimeStampsMayTrembleByLessThanHalfAPicture) {
    FramePlacer placer = placer_begin_file();
    for (int32_t frame = 0; frame < 1000; ++frame)
        expect_place(placer_place(&placer, stamp(frame + (frame % 2 == 0 ? 0.0 : 0.45))), false, 0);
    for (int32_t frame = 1000; frame < 2000; ++frame)
        expect_place(placer_place(&placer, stamp(frame - (frame % 2 == 0 ? 0.0 : 0.45))), false, 0);
}

TEST(RecordingPlaces, AHoleIsFilledByRepeatingTheLastPicture) {
    FramePlacer placer = placer_begin_file();
    (void)placer_place(&placer, stamp(0));
    expect_place(placer_place(&placer, stamp(4)), false, 3);
    expect_place(placer_place(&placer, stamp(5)), false, 0);
    EXPECT_EQ(placer.next, 6);
}

TEST(RecordingPlaces, AFrameWhosePlaceIsTakenIsDropped) {
    FramePlacer placer = placer_begin_file();
    (void)placer_place(&placer, stamp(0));
    (void)placer_place(&placer, stamp(1));
    expect_place(placer_place(&placer, stamp(1.2)), true, 0);
    expect_place(placer_place(&placer, stamp(0.9)), true, 0);
    expect_place(placer_place(&placer, stamp(2)), false, 0);
}

TEST(RecordingPlaces, AfterACutTheNextFrameFollowsWithoutAHole) {
    FramePlacer placer = placer_begin_file();
    for (int32_t frame = 0; frame < 10; ++frame) (void)placer_place(&placer, stamp(frame));
    placer_cut(&placer);
    expect_place(placer_place(&placer, stamp(100.3)), false, 0);
    expect_place(placer_place(&placer, stamp(101.3)), false, 0);
    expect_place(placer_place(&placer, stamp(103.3)), false, 1);
    EXPECT_EQ(placer.next, 14);
}

TEST(RecordingPlaces, AHoleLongerThanTheRingIsCutOut) {
    FramePlacer placer = placer_begin_file();
    (void)placer_place(&placer, stamp(0));
    expect_place(placer_place(&placer, stamp(1 + kLongestHole)), false, kLongestHole);
    const double next = 2 + kLongestHole;
    expect_place(placer_place(&placer, stamp(next + kLongestHole + 1)), false, 0);
    expect_place(placer_place(&placer, stamp(next + kLongestHole + 2)), false, 0);
}

TEST(RecordingPlaces, AClockThatWasSetBackDoesNotStopTheRecording) {
    FramePlacer placer = placer_begin_file();
    for (int32_t frame = 0; frame < 1000; ++frame) (void)placer_place(&placer, stamp(frame));
    expect_place(placer_place(&placer, 0), false, 0);
    expect_place(placer_place(&placer, 16'667), false, 0);
}

TEST(RecordingPlaces, AnyTimeStampIsBearable) {
    constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
    constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();
    FramePlacer placer = placer_begin_file();
    for (const int64_t pts : {kHighest, int64_t{0}, kLowest, int64_t{1} << 60, int64_t{-1}, kHighest})
        expect_place(placer_place(&placer, pts), false, 0);
    EXPECT_EQ(placer.next, 6);
    expect_place(placer_place(&placer, stamp(0)), false, 0);
    expect_place(placer_place(&placer, stamp(1)), false, 0);
}

// Carries the plan out as far as it goes; a stretch's end is a -1.
static std::vector<int64_t> carry_out(RecordingPlan* plan, int64_t readable, int64_t oldest = 0) {
    std::vector<int64_t> frames;
    int64_t frame = 0;
    for (;;) {
        const PlanStep step = plan_next(plan, readable, oldest, &frame);
        if (step == PlanStep::kWait) return frames;
        frames.push_back(step == PlanStep::kFrame ? frame : -1);
    }
}

using Frames = std::vector<int64_t>;

TEST(RecordingPlan, NothingIsRecordedBeforeItIsWished) {
    RecordingPlan plan{};
    plan_observe(&plan, false, 5);
    EXPECT_EQ(carry_out(&plan, 10), Frames{});
    plan_observe(&plan, true, 10);
    EXPECT_EQ(carry_out(&plan, 12), (Frames{10, 11}));
}

TEST(RecordingPlan, ARecorderThatIsBehindStillCutsWhereItWasWished) {
    RecordingPlan plan{};
    plan_observe(&plan, true, 0);
    plan_observe(&plan, false, 3);
    plan_observe(&plan, false, 8);
    plan_observe(&plan, true, 10);
    plan_observe(&plan, true, 11);
    plan_observe(&plan, false, 12);
    EXPECT_EQ(carry_out(&plan, 20), (Frames{0, 1, 2, -1, 10, 11, -1}));
    EXPECT_EQ(plan.lost, 0);
}

TEST(RecordingPlan, WhatTheRingNoLongerHoldsIsCountedAsLost) {
    RecordingPlan plan{};
    plan_observe(&plan, true, 0);
    EXPECT_EQ(carry_out(&plan, 103, 100), (Frames{100, 101, 102}));
    EXPECT_EQ(plan.lost, 100);
    plan_observe(&plan, false, 105);
    EXPECT_EQ(carry_out(&plan, 300, 200), (Frames{-1})) << "after the pause began nothing can be lost";
    EXPECT_EQ(plan.lost, 102);
}

TEST(RecordingPlan, AStretchWithoutAFrameHasOnlyAnEnd) {
    RecordingPlan plan{};
    plan_observe(&plan, true, 7);
    plan_observe(&plan, false, 7);
    EXPECT_EQ(carry_out(&plan, 9), (Frames{-1}));
}

TEST(RecordingPlan, NumbersThatStartAnewAreFollowed) {
    RecordingPlan plan{};
    plan_observe(&plan, true, 700);
    plan_forget(&plan);
    plan_observe(&plan, true, 0);
    EXPECT_EQ(carry_out(&plan, 2), (Frames{0, 1}));
}

static RecordingSettings from(const char* text) {
    RigSettings settings;
    rig_settings_parse(&settings, text);
    return recording_settings_from(&settings);
}

TEST(RecordingSettings, WithoutLinesTheDefaultsCount) {
    const RecordingSettings settings = from("");
    EXPECT_EQ(settings.folder, "CapturedVideos");
    EXPECT_EQ(settings.quality, 35);
    EXPECT_TRUE(settings.stitch);
}

TEST(RecordingSettings, TheQualityStaysWithinItsBounds) {
    EXPECT_EQ(from("capfile_quality_cq=15\n").quality, 15);
    EXPECT_EQ(from("capfile_quality_cq=14\n").quality, 15);
    EXPECT_EQ(from("capfile_quality_cq=40\n").quality, 40);
    EXPECT_EQ(from("capfile_quality_cq=99\n").quality, 40);
    EXPECT_EQ(from("capfile_quality_cq=-1\n").quality, 15);
}

TEST(RecordingSettings, FolderAndStitchingAreTaken) {
    const RecordingSettings settings = from("*capfile_output_dir=D:\\films\\\ncapfile_stitch_across_pause=0\n");
    EXPECT_EQ(settings.folder, "D:\\films");
    EXPECT_FALSE(settings.stitch);
    EXPECT_EQ(from("*capfile_output_dir=D:\\\n").folder, "D:\\");
}

TEST(RecordingNames, TellFeedAndTimeAndDifferWithinASecond) {
    const LocalMoment moment{2026, 1, 31, 7, 5, 9};
    EXPECT_EQ(recording_path("D:\\films", 2, moment, 1, ".mp4"), "D:\\films\\cap_2_20260131_070509.mp4");
    EXPECT_EQ(recording_path("D:\\films", 2, moment, 2, ".mp4"), "D:\\films\\cap_2_20260131_070509_2.mp4");
    EXPECT_EQ(recording_path("D:\\", 0, moment, 1, ".y4m"), "D:\\cap_0_20260131_070509.y4m");
}
