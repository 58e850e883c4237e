// The motion bands and noise caps, from blob statistics at and beyond their bounds.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "autosetup/motion_region.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"

using Lines = std::vector<std::string>;

// What the parser leaves for a feed without blobs.
static void clear_statistics(AutoSetupWorkspace* workspace, int32_t feed) {
    workspace->centroid_y_min[feed] = workspace->bbox_y_min[feed] = 1080;
    workspace->centroid_y_max[feed] = workspace->bbox_y_max[feed] = 0;
    workspace->blob_size_max[feed] = 0;
}

static WorkspacePtr with_boxes(int32_t top, int32_t bottom) {
    auto ws = make_workspace();
    for (int32_t feed = 0; feed < 3; ++feed) clear_statistics(ws.get(), feed);
    ws->bbox_y_min[1] = top;
    ws->bbox_y_max[1] = bottom;
    ws->centroid_y_min[1] = top;
    ws->centroid_y_max[1] = bottom;
    ws->blob_size_max[1] = 400;
    return ws;
}

namespace {
struct Band {
    int32_t y0, y1;
    bool operator==(const Band& other) const {
        return y0 == other.y0 && y1 == other.y1;
    }
};
}  // namespace

static Band band_of_feed_1(AutoSetupWorkspace* workspace) {
    const auto settings = default_settings();
    auto_setup_motion_regions(workspace, settings.get());
    return {workspace->region_y0[1], workspace->region_y1[1]};
}

static Band band(int32_t top, int32_t bottom) {
    return band_of_feed_1(with_boxes(top, bottom).get());
}

TEST(MotionRegion, ASixtyRowBandGetsSixRowsOfMargin) {
    LogCapture log;
    EXPECT_EQ(band(200, 260), (Band{194, 266}));
}

TEST(MotionRegion, AMarginOfThirtyIsLoweredToTwentyFour) {
    LogCapture log;
    EXPECT_EQ(band(100, 400), (Band{76, 424}));
}

TEST(MotionRegion, ATallBandEndsAtBothBounds) {
    LogCapture log;
    EXPECT_EQ(band(20, 520), (Band{30, 529}));
}

TEST(MotionRegion, TheMarginIsATenthCutAndAtLeastSix) {
    LogCapture log;
    EXPECT_EQ(band(200, 200), (Band{194, 206}));
    EXPECT_EQ(band(200, 269), (Band{194, 275}));  // 6.9
    EXPECT_EQ(band(200, 279), (Band{193, 286}));  // 7.9
    EXPECT_EQ(band(100, 349), (Band{76, 373}));   // 24.9
}

TEST(MotionRegion, AFeedWithoutBlobsGetsTheFullBand) {
    LogCapture log;
    const auto ws = make_workspace(2);
    for (int32_t feed = 0; feed < 3; ++feed) clear_statistics(ws.get(), feed);
    EXPECT_EQ(band_of_feed_1(ws.get()), (Band{30, 529}));
    EXPECT_EQ(log.lines()[0],
              "INF feed 0 motion region: y=30..529 (500 px) [old algo: y=30..529 (500 px), savings=0%] "
              "(bbox_y=1080..0, centroid_y=1080..0, max_size=0, offset=0)");
    EXPECT_EQ(log.lines().size(), 3U);  // inactive feeds too
}

TEST(MotionRegion, BoxesTheWrongWayRoundGiveTheFullBand) {
    LogCapture log;
    EXPECT_EQ(band(300, 299), (Band{30, 529}));
}

TEST(MotionRegion, TheLogComparesWithTheFormerRule) {
    LogCapture log;
    const auto ws = with_boxes(200, 260);
    ws->centroid_y_min[1] = 210;
    ws->centroid_y_max[1] = 250;
    ws->blob_size_max[1] = 2499;  // root 49.99
    const auto settings = default_settings();
    settings->overlay_frame_offsets[1] = -3;
    auto_setup_motion_regions(ws.get(), settings.get());
    // 210 - 49 = 161, 250 + 49 = 299: 139 rows. 194 .. 266 are 73: 7300 / 139 = 52.
    EXPECT_EQ(log.lines()[1],
              "INF feed 1 motion region: y=194..266 (73 px) [old algo: y=161..299 (139 px), savings=48%] "
              "(bbox_y=200..260, centroid_y=210..250, max_size=2499, offset=-3)");
}

TEST(MotionRegion, TheFormerBandIsShownBoundedButMeasuredUnbounded) {
    LogCapture log;
    const auto ws = with_boxes(20, 520);  // root of 400: 0 .. 540, 541 rows
    band_of_feed_1(ws.get());
    EXPECT_EQ(log.lines()[1],
              "INF feed 1 motion region: y=30..529 (500 px) [old algo: y=30..529 (541 px), savings=8%] "
              "(bbox_y=20..520, centroid_y=20..520, max_size=400, offset=0)");
}

TEST(MotionRegion, AFormerBandWithoutHeightSavesNothing) {
    LogCapture log;
    const auto ws = with_boxes(200, 260);
    ws->centroid_y_min[1] = 300;
    ws->centroid_y_max[1] = 259;  // 280 .. 279: no row
    band_of_feed_1(ws.get());
    EXPECT_EQ(log.lines()[1],
              "INF feed 1 motion region: y=194..266 (73 px) [old algo: y=280..279 (0 px), savings=0%] "
              "(bbox_y=200..260, centroid_y=300..259, max_size=400, offset=0)");
}

TEST(MotionRegion, MayCostMoreThanTheFormerRule) {
    LogCapture log;
    const auto ws = with_boxes(200, 260);
    ws->centroid_y_min[1] = ws->centroid_y_max[1] = 230;
    ws->blob_size_max[1] = 100;  // 220 .. 240: 21 rows; 7300 / 21 = 347
    band_of_feed_1(ws.get());
    EXPECT_NE(log.lines()[1].find("(21 px), savings=-247%]"), std::string::npos);
}

TEST(MotionRegion, HostileRowsOverflowNothing) {
    LogCapture log;
    EXPECT_EQ(band(INT_MIN, INT_MAX), (Band{30, 529}));
    EXPECT_EQ(band(INT_MAX, INT_MAX).y1, 529);
    EXPECT_EQ(band(INT_MIN, INT_MIN).y0, 30);
    const auto ws = with_boxes(200, 260);
    ws->blob_size_max[1] = INT_MAX;
    ws->centroid_y_min[1] = INT_MIN;
    ws->centroid_y_max[1] = INT_MAX;
    EXPECT_EQ(band_of_feed_1(ws.get()), (Band{194, 266}));
}

static WorkspacePtr with_blob(int32_t size, int32_t u, int32_t v) {
    auto ws = make_workspace();
    ws->blob_size_max[2] = size;
    ws->ucum_max[0] = u;
    ws->vcum_max[1] = v;
    return ws;
}

TEST(NoiseCaps, FollowTheBlobSizeAndNeverGoBelowItsFloor) {
    LogCapture log;
    const auto ws = with_blob(400, 100, 0);
    auto_setup_noise_caps(ws.get());
    EXPECT_EQ(ws->cap_max_blob_size, 800);
    EXPECT_EQ(ws->cap_max_diff_y, 1200);
    EXPECT_EQ(ws->cap_max_diff_u, 600);
    EXPECT_EQ(ws->cap_max_diff_v, 600);
    EXPECT_EQ(log.lines(), Lines{"INF noise caps: max_blob_size=800 max_diff_y=1200 max_diff_u=600 max_diff_v=600 "
                                 "(max_blob_across=400, U_cum_max=100, V_cum_max=0)"});
}

TEST(NoiseCaps, ThreeTimesTheColourFiguresCountAboveTheFloor) {
    LogCapture log;
    const auto ws = with_blob(401, 201, 200);  // floor 1203 / 2 = 601
    auto_setup_noise_caps(ws.get());
    EXPECT_EQ(ws->cap_max_diff_u, 603);
    EXPECT_EQ(ws->cap_max_diff_v, 601);
}

TEST(NoiseCaps, TakeTheLargestFigureOfAnyFeed) {
    LogCapture log;
    const auto ws = make_workspace();
    for (int32_t feed = 0; feed < 3; ++feed) {
        ws->blob_size_max[feed] = 10 + feed;
        ws->ucum_max[feed] = 90 - feed;
        ws->vcum_max[feed] = feed == 1 ? 70 : 60;
    }
    auto_setup_noise_caps(ws.get());
    EXPECT_EQ(log.lines(), Lines{"INF noise caps: max_blob_size=24 max_diff_y=36 max_diff_u=270 max_diff_v=210 "
                                 "(max_blob_across=12, U_cum_max=90, V_cum_max=70)"});
}

TEST(NoiseCaps, DoNotLookAtTheYFigures) {
    LogCapture log;
    const auto ws = with_blob(400, 0, 0);
    ws->ycum_max[1] = 1000000;
    auto_setup_noise_caps(ws.get());
    EXPECT_EQ(ws->cap_max_diff_y, 1200);
}

TEST(NoiseCaps, AreZeroWithoutBlobs) {
    LogCapture log;
    const auto ws = with_blob(0, 100, 200);
    ws->blob_size_max[0] = -5;
    ws->cap_max_blob_size = 7;
    auto_setup_noise_caps(ws.get());
    EXPECT_EQ(ws->cap_max_blob_size, 0);
    EXPECT_EQ(ws->cap_max_diff_u, 0);
    EXPECT_EQ(log.lines(), Lines{"INF noise caps: max_blob_size=0 max_diff_y=0 max_diff_u=0 max_diff_v=0 "
                                 "(max_blob_across=0, U_cum_max=100, V_cum_max=200)"});
}

TEST(NoiseCaps, HostileFiguresOverflowNothing) {
    LogCapture log;
    const auto ws = with_blob(INT_MAX, INT_MAX, INT_MIN);
    auto_setup_noise_caps(ws.get());
    EXPECT_EQ(log.lines().size(), 1U);
}
