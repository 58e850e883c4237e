// Where one jumper ends and the next begins.
#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>
#include <string>
#include <vector>

#include "autosetup/segmentation.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"

static void add_seqs(AutoSetupWorkspace* workspace, int32_t feed, std::initializer_list<int64_t> seqs) {
    for (const int64_t seq : seqs) {
        MotionBlob blob = {};
        blob.seq = seq;
        add_blob(workspace, feed, blob);
    }
}

static WorkspacePtr segmented(std::initializer_list<int64_t> seqs) {
    WorkspacePtr workspace = make_workspace();
    add_seqs(workspace.get(), 1, seqs);
    EXPECT_EQ(auto_setup_segment_jumps(workspace.get()), 0);
    return workspace;
}

TEST(SegmentJumps, AStepOfExactlySixtyOpensNoJump) {
    const auto workspace = segmented({100, 101, 161, 162});
    EXPECT_EQ(workspace->jump_count[1], 1);
    EXPECT_EQ(workspace->jumps[1][0].start, 0);
    EXPECT_EQ(workspace->jumps[1][0].count, 4);
}

TEST(SegmentJumps, AStepOfSixtyOneSeparatesTwoJumpsOfOneRecord) {
    const auto workspace = segmented({100, 161});
    EXPECT_EQ(workspace->jump_count[1], 2);
    EXPECT_EQ(workspace->jumps[1][0].start, 0);
    EXPECT_EQ(workspace->jumps[1][0].count, 1);
    EXPECT_EQ(workspace->jumps[1][1].start, 1);
    EXPECT_EQ(workspace->jumps[1][1].count, 1);
}

TEST(SegmentJumps, OneRecordIsOneJump) {
    const auto workspace = segmented({7});
    EXPECT_EQ(workspace->jump_count[1], 1);
    EXPECT_EQ(workspace->jumps[1][0].count, 1);
}

TEST(SegmentJumps, AStepBackBelongsToTheSameJump) {
    const auto workspace = segmented({5000, 5001, 3, 4, 70});
    EXPECT_EQ(workspace->jump_count[1], 2);
    EXPECT_EQ(workspace->jumps[1][0].count, 4);
    EXPECT_EQ(workspace->jumps[1][1].start, 4);
}

static WorkspacePtr jumpers(int32_t count) {
    WorkspacePtr workspace = make_workspace();
    for (int32_t i = 0; i < count; ++i) add_seqs(workspace.get(), 0, {i * 1000, i * 1000 + 1, i * 1000 + 2});
    auto_setup_segment_jumps(workspace.get());
    return workspace;
}

TEST(SegmentJumps, OfTwentyFiveJumpersTheLastFiveAreIgnored) {
    const auto workspace = jumpers(25);
    EXPECT_EQ(workspace->jump_count[0], 20);
    for (int32_t i = 0; i < 20; ++i) {
        EXPECT_EQ(workspace->jumps[0][i].start, 3 * i);
        EXPECT_EQ(workspace->jumps[0][i].count, 3);
    }
}

TEST(SegmentJumps, TwentyJumpersAreAllKept) {
    const auto workspace = jumpers(20);
    EXPECT_EQ(workspace->jump_count[0], 20);
    EXPECT_EQ(workspace->jumps[0][19].start, 57);
    EXPECT_EQ(workspace->jumps[0][19].count, 3);
}

TEST(SegmentJumps, AFeedWithoutRecordsHasNoJumpAndSaysSo) {
    LogCapture log;
    const auto workspace = make_workspace();
    workspace->jump_count[2] = 9;
    add_seqs(workspace.get(), 0, {1, 2, 100});
    add_seqs(workspace.get(), 1, {1});
    EXPECT_EQ(auto_setup_segment_jumps(workspace.get()), 0);
    EXPECT_EQ(workspace->jump_count[2], 0);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"INF feed 0: 2 jumps segmented", "INF feed 1: 1 jumps segmented",
                                                     "INF feed 2: 0 jumps segmented"}));
}

TEST(SegmentJumps, HostileFrameNumbersDoNotOverflow) {
    const auto workspace = segmented({INT64_MAX, INT64_MIN, INT64_MAX, 0, INT64_MIN});
    EXPECT_EQ(workspace->jump_count[1], 1);  // the differences wrap to 1, -1, 1 - 2^63 and -2^63
    EXPECT_EQ(workspace->jumps[1][0].count, 5);
}
