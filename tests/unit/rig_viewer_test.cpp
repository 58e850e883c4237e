// The simulated viewer's arithmetic.
#include <gtest/gtest.h>

#include <vector>

#include "rig/viewer_picture.h"

TEST(RigViewer, NeutralChromaGivesGreyFromEverySecondPixel) {
    std::vector<uint8_t> y(size_t{kFrameWidth} * 4, 0);
    const std::vector<uint8_t> chroma(size_t{kViewWidth} * 2, 128);
    y[2] = 77;                                // row 0, column 2 -> view pixel 1
    y[size_t{2} * kFrameWidth + 1918] = 200;  // row 2, last even column -> last pixel of row 1
    y[size_t{1} * kFrameWidth + 2] = 99;      // odd row: not taken
    std::vector<uint32_t> pixels(size_t{kViewWidth} * 2, 1);
    view_convert(y.data(), chroma.data(), chroma.data(), 4, pixels.data());
    EXPECT_EQ(pixels[0], 0u);
    EXPECT_EQ(pixels[1], 0x4D4D4Du);
    EXPECT_EQ(pixels[size_t{2} * kViewWidth - 1], 0xC8C8C8u);
}

TEST(RigViewer, StrongChromaIsClamped) {
    const std::vector<uint8_t> y(size_t{kFrameWidth} * 2, 200);
    const std::vector<uint8_t> u(size_t{kViewWidth}, 0);
    const std::vector<uint8_t> v(size_t{kViewWidth}, 255);
    std::vector<uint32_t> pixels(kViewWidth);
    view_convert(y.data(), u.data(), v.data(), 2, pixels.data());
    EXPECT_EQ(pixels[0] >> 16, 255u) << "red";
    EXPECT_EQ(pixels[0] & 255u, 0u) << "blue";
}

TEST(RigViewer, GridLinesLoseTheOverlayOffsetAndUnsetOnesAreLeftOut) {
    RigSettings settings;
    rig_settings_parse(&settings,
                       "meter_line_count[1]=3\nmeter_line_start[1]=60\nmeter_line_increment[1]=5\n"
                       "overlay_frame_offsets[1]=12\n@far[1][ 0]=100,112\n@near[1][ 0]=140,412\n"
                       "@far[1][ 2]=300,112\n@near[1][ 2]=340,412\n");
    ViewGridLine lines[kMostGridLines];
    ASSERT_EQ(view_grid_lines(settings, 1, lines), 2);
    EXPECT_EQ(lines[0].far_point.x, 50);
    EXPECT_EQ(lines[0].far_point.y, 50);
    EXPECT_EQ(lines[0].near_point.y, 200);
    EXPECT_EQ(lines[0].metre, 60);
    EXPECT_EQ(lines[1].metre, 70) << "an unset line uses up its number";
    EXPECT_EQ(view_grid_lines(settings, 0, lines), 0);
}

TEST(RigViewer, ClickComesBackInPicturePixelsOrNotAtAll) {
    ViewPoint point{-7, -7};
    EXPECT_TRUE(view_click({0, 0}, &point));
    EXPECT_EQ(point.x, 0);
    EXPECT_TRUE(view_click({959, 269}, &point));
    EXPECT_EQ(point.x, 1918);
    EXPECT_EQ(point.y, 538);
    EXPECT_FALSE(view_click({100, 270}, &point)) << "below the feed's picture";
    EXPECT_FALSE(view_click({960, 10}, &point));
    EXPECT_FALSE(view_click({-1, 10}, &point));
    EXPECT_EQ(point.x, 1918) << "a click beside it changes nothing";
}
