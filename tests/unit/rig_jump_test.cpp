// Passages, scene triggers, movies and log lines of the simulated motion workers and movie builder.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "rig/jump_machine.h"
#include "rig/motion_line.h"
#include "rig/passage.h"

static constexpr PassageLimits kLimits{2, 12, 1728};

static PassageFrame frame_at(int64_t seq, bool detected, int32_t x = 0) {
    return {seq, seq * 1'000'000 / 60, detected, x, 100};
}

TEST(RigPassage, OneDetectionAloneOpensNothing) {
    PassageTracker tracker{};
    EXPECT_FALSE(passage_step(&tracker, kLimits, frame_at(10, true)));
    EXPECT_FALSE(passage_step(&tracker, kLimits, frame_at(11, false)));
    EXPECT_FALSE(passage_step(&tracker, kLimits, frame_at(12, true)));
    EXPECT_EQ(tracker.share.passages, 0u);
}

TEST(RigPassage, StartsWithTheFirstDetectionOfTheRow) {
    PassageTracker tracker{};
    passage_step(&tracker, kLimits, frame_at(10, true, 5));
    EXPECT_TRUE(passage_step(&tracker, kLimits, frame_at(11, true, 9)));
    EXPECT_EQ(tracker.share.active, 1u);
    EXPECT_EQ(tracker.share.first_seq, 10);
    EXPECT_EQ(tracker.share.last_seq, 11);
    EXPECT_EQ(tracker.share.last_x, 9);
}

TEST(RigPassage, EndsAfterTwelveEmptyFramesNotEleven) {
    PassageTracker tracker{};
    for (int64_t seq = 0; seq < 5; ++seq) passage_step(&tracker, kLimits, frame_at(seq, true));
    for (int64_t seq = 5; seq < 16; ++seq) {
        EXPECT_FALSE(passage_step(&tracker, kLimits, frame_at(seq, false)));
        EXPECT_EQ(tracker.share.active, 1u) << "frame " << seq;
    }
    EXPECT_TRUE(passage_step(&tracker, kLimits, frame_at(16, false)));
    EXPECT_EQ(tracker.share.active, 0u);
    EXPECT_EQ(tracker.share.last_seq, 4);
    EXPECT_FALSE(passage_step(&tracker, kLimits, frame_at(17, false)));
}

TEST(RigPassage, AFlickerOfElevenFramesIsOnePassage) {
    PassageTracker tracker{};
    for (int64_t seq = 0; seq < 5; ++seq) passage_step(&tracker, kLimits, frame_at(seq, true));
    for (int64_t seq = 5; seq < 16; ++seq) passage_step(&tracker, kLimits, frame_at(seq, false));
    EXPECT_TRUE(passage_step(&tracker, kLimits, frame_at(16, true)));
    EXPECT_EQ(tracker.share.passages, 1u);
}

TEST(RigPassage, TriggerColumnCountsOncePerPassage) {
    PassageTracker tracker{};
    for (int64_t seq = 0; seq < 10; ++seq)
        passage_step(&tracker, kLimits, frame_at(seq, true, 1700 + static_cast<int32_t>(seq) * 14));
    EXPECT_EQ(tracker.share.triggers, 1u);
    EXPECT_EQ(tracker.share.trigger_pts, 2 * 1'000'000 / 60) << "column 1728 is reached in frame 2";
}

TEST(RigTriggers, Feed1TimelineFollowsTimeStamps) {
    EXPECT_EQ(feed1_seq_at(1000, 20'000'000, 20'000'000), 1000);
    EXPECT_EQ(feed1_seq_at(1000, 20'000'000, 20'000'000 + 16'667), 1001);
    EXPECT_EQ(feed1_seq_at(1000, 20'000'000, 20'000'000 - 200'000), 988);
    EXPECT_EQ(feed1_seq_at(1000, 20'000'000, 20'000'000 - 7'000), 1000) << "rounded to the nearest frame";
}

static TriggerFrame trigger_frame(int64_t seq) {
    TriggerFrame frame{};
    frame.seq = seq;
    frame.pts = seq * 1'000'000 / 60;
    return frame;
}

TEST(RigTriggers, OneJumpGivesStartFeed1OverrideFeed2InOrder) {
    TriggerLines lines{};
    TriggerFrame frame = trigger_frame(100);
    EXPECT_FALSE(trigger_step(&lines, frame).movie_started);

    frame = trigger_frame(101);
    frame.share[0].passages = frame.share[0].active = 1;
    EXPECT_TRUE(trigger_step(&lines, frame).movie_started);

    frame.seq = 150;
    frame.pts = 150 * 1'000'000 / 60;
    frame.share[1].passages = frame.share[1].active = 1;
    frame.share[1].first_seq = 149;
    TriggerAnswer answer = trigger_step(&lines, frame);
    EXPECT_FALSE(answer.movie_started);
    EXPECT_TRUE(answer.f1);
    EXPECT_EQ(answer.f1_seq, 149);

    frame.share[0].triggers = 1;
    frame.share[0].trigger_pts = 155 * 1'000'000 / 60;
    answer = trigger_step(&lines, frame);
    EXPECT_TRUE(answer.f0_override);
    EXPECT_EQ(answer.f0_seq, 155);
    EXPECT_FALSE(trigger_step(&lines, frame).f0_override) << "once";

    frame.share[2].passages = frame.share[2].active = 1;
    frame.share[2].first_pts = 200 * 1'000'000 / 60;
    answer = trigger_step(&lines, frame);
    EXPECT_TRUE(answer.f2);
    EXPECT_EQ(answer.f2_seq, 200);
}

TEST(RigTriggers, OverrideBeforeFeed1WaitsForIt) {
    TriggerLines lines{};
    TriggerFrame frame = trigger_frame(100);
    frame.share[0].passages = frame.share[0].active = frame.share[0].triggers = 1;
    frame.share[0].trigger_pts = 95 * 1'000'000 / 60;
    EXPECT_FALSE(trigger_step(&lines, frame).f0_override);
    frame.share[1].passages = 1;
    frame.share[1].first_seq = 99;
    const TriggerAnswer answer = trigger_step(&lines, frame);
    EXPECT_TRUE(answer.f1);
    EXPECT_TRUE(answer.f0_override);
    EXPECT_EQ(answer.f0_seq - answer.f1_seq, -4);
}

TEST(RigTriggers, AJumperWhoComesBeforeTheHillWasQuietGetsAMovieAndAPairOfHisOwn) {
    TriggerLines lines{};
    TriggerFrame frame = trigger_frame(100);
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {  // the first jumper passes all cameras
        frame.share[feed].passages = frame.share[feed].active = 1;
        trigger_step(&lines, frame);
        frame.share[feed].active = 0;
    }
    for (int32_t i = 0; i < 60; ++i) EXPECT_FALSE(trigger_step(&lines, frame).movie_ended);

    frame.share[0].passages = 2;
    frame.share[0].active = 1;
    TriggerAnswer answer = trigger_step(&lines, frame);
    EXPECT_TRUE(answer.movie_cut);
    EXPECT_TRUE(answer.movie_started);
    frame.share[0].triggers = 1;
    EXPECT_FALSE(trigger_step(&lines, frame).f0_override) << "feed 1 has not seen him yet";
    frame.share[1].passages = 2;
    frame.share[1].first_seq = 190;
    answer = trigger_step(&lines, frame);
    EXPECT_FALSE(answer.movie_cut);
    EXPECT_TRUE(answer.f1);
    EXPECT_EQ(answer.f1_seq, 190);
    EXPECT_TRUE(answer.f0_override);
}

TEST(RigTriggers, MovieEndsAfterNinetyQuietFramesAndDropsAnUnpairedOverride) {
    TriggerLines lines{};
    TriggerFrame frame = trigger_frame(100);
    frame.share[0].passages = frame.share[0].active = frame.share[0].triggers = 1;
    trigger_step(&lines, frame);
    frame.share[0].active = 0;
    for (int32_t i = 1; i < 90; ++i) EXPECT_FALSE(trigger_step(&lines, frame).movie_ended) << "quiet frame " << i;
    EXPECT_TRUE(trigger_step(&lines, frame).movie_ended);
    frame.share[1].passages = frame.share[1].active = 1;
    const TriggerAnswer next = trigger_step(&lines, frame);
    EXPECT_TRUE(next.movie_started);
    EXPECT_TRUE(next.f1);
    EXPECT_FALSE(next.f0_override);
}

static constexpr JumpLimits kJump{10, 20, 2};

// Runs the machine over frames first..last with feed `feed` active (-1: none) and returns the first telling answer.
static JumpAnswer run(JumpMachine* machine, int64_t first, int64_t last, int32_t feed) {
    bool active[kFeedCount] = {feed == 0, feed == 1, feed == 2};
    for (int64_t frame = first; frame <= last; ++frame) {
        const JumpAnswer answer = jump_step(machine, kJump, frame, active);
        if (answer.event != JumpEvent::none) return answer;
    }
    return {JumpEvent::none, 0, 0};
}

TEST(RigJump, MovieReachesFromFirstToLastSightWithPadding) {
    JumpMachine machine{};
    EXPECT_EQ(run(&machine, 0, 199, -1).event, JumpEvent::none);
    const JumpAnswer started = run(&machine, 200, 200, 0);
    EXPECT_EQ(started.event, JumpEvent::started);
    EXPECT_EQ(started.start, 190);
    EXPECT_EQ(run(&machine, 201, 250, 0).event, JumpEvent::none);
    EXPECT_EQ(run(&machine, 251, 300, 1).event, JumpEvent::none);
    EXPECT_EQ(run(&machine, 301, 350, 2).event, JumpEvent::none);
    const JumpAnswer finished = run(&machine, 351, 500, -1);
    EXPECT_EQ(finished.event, JumpEvent::finished);
    EXPECT_EQ(finished.start, 190);
    EXPECT_EQ(finished.end, 370);
    EXPECT_FALSE(machine.recording);
}

TEST(RigJump, StartsAtTheRingsFirstFrameWhenThereIsNoRoomForPadding) {
    JumpMachine machine{};
    EXPECT_EQ(run(&machine, 3, 3, 0).start, 0);
}

TEST(RigJump, GapBetweenCamerasDoesNotEndIt) {
    JumpMachine machine{};
    run(&machine, 200, 200, 0);
    run(&machine, 201, 250, 0);
    EXPECT_EQ(run(&machine, 251, 300, -1).event, JumpEvent::none);
    EXPECT_EQ(run(&machine, 301, 340, 2).event, JumpEvent::none);
    EXPECT_EQ(run(&machine, 341, 400, -1).event, JumpEvent::finished);
}

TEST(RigJump, JumperWhoNeverReachesTheLastCameraEndsItByTimeOut) {
    JumpMachine machine{};
    run(&machine, 200, 200, 0);
    run(&machine, 201, 250, 0);
    EXPECT_EQ(run(&machine, 251, 339, -1).event, JumpEvent::none);
    const JumpAnswer finished = run(&machine, 340, 340, -1);
    EXPECT_EQ(finished.event, JumpEvent::finished);
    EXPECT_EQ(finished.end, 270);
}

TEST(RigJump, FlutterOfAFewFramesIsAbandoned) {
    JumpMachine machine{};
    run(&machine, 200, 200, 2);
    run(&machine, 201, 208, 2);
    EXPECT_EQ(run(&machine, 209, 260, -1).event, JumpEvent::abandoned);
}

TEST(RigJump, MovieIsNeverLongerThanTheRingAndStuckMotionStartsNoOther) {
    JumpMachine machine{};
    run(&machine, 100, 100, 0);
    const JumpAnswer finished = run(&machine, 101, 2000, 1);
    EXPECT_EQ(finished.event, JumpEvent::finished);
    EXPECT_EQ(finished.end - finished.start + 1, 520);
    EXPECT_EQ(run(&machine, 700, 2000, 1).event, JumpEvent::none);
    run(&machine, 2001, 2001, -1);
    EXPECT_EQ(run(&machine, 2002, 2002, 0).event, JumpEvent::started);
}

TEST(RigJump, CounterThatStartsAgainAbandonsTheMovie) {
    JumpMachine machine{};
    run(&machine, 5000, 5000, 0);
    run(&machine, 5001, 5050, 0);
    EXPECT_EQ(run(&machine, 3, 3, 0).event, JumpEvent::abandoned);
    EXPECT_EQ(run(&machine, 4, 4, 0).event, JumpEvent::started);
}

TEST(RigJump, AFrameLookedAtTwiceChangesNothing) {
    JumpMachine machine{};
    run(&machine, 200, 200, 0);
    for (int32_t i = 0; i < 50; ++i) run(&machine, 200, 200, 0);
    EXPECT_EQ(machine.active_frames, 1);
}

// Reads the line as the analysis does: by key, at the first occurrence.
static int64_t value_after(const std::string& line, const char* key) {
    const size_t at = line.find(key);
    return at == std::string::npos ? INT64_MIN : strtoll(line.c_str() + at + strlen(key), nullptr, 10);
}

TEST(RigMotionLine, EveryTokenComesBackByItsKey) {
    Detection found{};
    found.type = 1;
    found.blob_count = 3;
    found.size = 2400;
    found.x = 1201;
    found.y = 222;
    found.first_y = 199;
    found.last_y = 245;
    for (int32_t i = 0; i < 4; ++i) {
        found.y_cumulative[i] = 100 + i;
        found.u_cumulative[i] = 200 + i;
        found.v_cumulative[i] = 300 + i;
    }
    char text[512];
    format_motion_line(text, sizeof text, 2, 5'000'000'000, 17'000'000'123, found);
    const std::string line = text;
    EXPECT_EQ(value_after(line, "feed "), 2);
    EXPECT_EQ(value_after(line, "seq="), 5'000'000'000);
    EXPECT_EQ(value_after(line, " ts="), 17'000'000'123);
    EXPECT_EQ(value_after(line, " type="), 1);
    EXPECT_EQ(value_after(line, " blobs="), 3);
    EXPECT_EQ(value_after(line, "blob0_sz="), 2400);
    EXPECT_EQ(value_after(line, "blob0_x="), 1201);
    EXPECT_EQ(value_after(line, "blob0_y="), 222);
    EXPECT_EQ(value_after(line, "blob0_first_y="), 199);
    EXPECT_EQ(value_after(line, "blob0_last_y="), 245);
    int32_t figures[4];
    const size_t u_at = line.find("ucum=");
    ASSERT_NE(u_at, std::string::npos);
    ASSERT_EQ(sscanf(line.c_str() + u_at, "ucum=%d,%d,%d,%d", &figures[0], &figures[1], &figures[2], &figures[3]), 4);
    EXPECT_EQ(figures[3], 203);
    EXPECT_EQ(value_after(line, "vcum="), 300);
    EXPECT_EQ(line.find('\n'), std::string::npos);
}

TEST(RigMotionLine, LongestLineFitsTheAnalysisBuffer) {
    Detection found{};
    found.type = found.blob_count = found.size = found.x = found.y = found.first_y = found.last_y = INT32_MIN;
    for (int32_t i = 0; i < 4; ++i) found.y_cumulative[i] = found.u_cumulative[i] = found.v_cumulative[i] = INT32_MIN;
    char text[512];
    format_motion_line(text, sizeof text, 2, INT64_MIN, INT64_MIN, found);
    EXPECT_LT(strlen(text), 500u);
}
