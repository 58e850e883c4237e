// The circle around the jumper in a movie.
#include "rig/blob_mark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

class RigBlobMark : public testing::Test {
protected:
    std::vector<uint8_t> luma = std::vector<uint8_t>(size_t{kFrameWidth} * kFeedHeight, 200);
    uint8_t at(int32_t x, int32_t y) const {
        return luma[static_cast<size_t>(y * kFrameWidth + x)];
    }
};

TEST_F(RigBlobMark, CircleGoesRoundTheJumperAndLeavesHimVisible) {
    draw_blob_circle(luma.data(), kFeedHeight, {500, 250, 2400, 0});
    EXPECT_EQ(at(500, 250), 200);
    EXPECT_EQ(at(515, 265), 200);
    EXPECT_EQ(at(500 + 56, 250), 16);
    EXPECT_EQ(at(500, 250 - 56), 16);
    EXPECT_EQ(at(500 + 60, 250), 200);
}

TEST_F(RigBlobMark, CircleIsCutOffAtTheEdges) {
    draw_blob_circle(luma.data(), kFeedHeight, {0, 0, 100, 0});
    EXPECT_EQ(at(19, 0), 16);
    draw_blob_circle(luma.data(), kFeedHeight, {kFrameWidth - 1, kFeedHeight - 1, 100, 0});
    EXPECT_EQ(at(kFrameWidth - 20, kFeedHeight - 1), 16);
}

TEST_F(RigBlobMark, FrameWithoutAJumperStaysAsItIs) {
    draw_blob_circle(luma.data(), kFeedHeight, {500, 250, 0, 0});
    EXPECT_EQ(std::count(luma.begin(), luma.end(), 200), static_cast<ptrdiff_t>(luma.size()));
}
