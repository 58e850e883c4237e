#include "preview/overlay.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr uint8_t kBlue = 100, kGreen = 110, kRed = 120;

// 12 x 6 pixels: a feed-picture rectangle of 160 x 90 is one pixel.
struct Canvas {
    static constexpr int32_t kWidth = 12, kHeight = 6;
    std::vector<uint8_t> pixels;

    Canvas() : pixels(static_cast<size_t>(pane_stride(kWidth) * kHeight)) {
        for (size_t i = 0; i < pixels.size(); i += 3) {
            pixels[i] = kBlue;
            pixels[i + 1] = kGreen;
            pixels[i + 2] = kRed;
        }
    }
    PaneBitmap view() {
        return {kWidth, kHeight, pixels.data()};
    }
    // Top row first, one letter per pixel: '.' as it was, 'i' inverted, 't' tinted, 'G' pure green, 'x' XOR-ed with
    // 0x0F, 'I' XOR-ed then inverted, '?' anything else.
    std::string picture() {
        std::string text;
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) text += letter(pane_row(view(), y) + 3 * x);
            text += '\n';
        }
        return text;
    }
    static char letter(const uint8_t* p) {
        const auto is = [&](int32_t b, int32_t g, int32_t r) { return p[0] == b && p[1] == g && p[2] == r; };
        if (is(kBlue, kGreen, kRed)) return '.';
        if (is(255 - kBlue, 255 - kGreen, 255 - kRed)) return 'i';
        if (is(kBlue - 30, kGreen + 30, kRed - 30)) return 't';
        if (is(0, 255, 0)) return 'G';
        if (is(kBlue ^ 15, kGreen ^ 15, kRed ^ 15)) return 'x';
        if (is(255 - (kBlue ^ 15), 255 - (kGreen ^ 15), 255 - (kRed ^ 15))) return 'I';
        return '?';
    }
};

// A rectangle given in pixels of the canvas, in feed-picture coordinates.
constexpr RegionRect pixels(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    return {x0 * 160, y0 * 90, x1 * 160, y1 * 90, true};
}
constexpr RegionRect kNone = {0, 0, 0, 0, false};

}  // namespace

TEST(Overlay, OutlineInvertsTwoPixelsEachOnce) {
    Canvas canvas;
    overlay_motion_outline(canvas.view(), pixels(1, 0, 8, 5));
    EXPECT_EQ(canvas.picture(),
              ".iiiiiiii...\n"
              ".iiiiiiii...\n"
              ".ii....ii...\n"
              ".ii....ii...\n"
              ".iiiiiiii...\n"
              ".iiiiiiii...\n");
}

TEST(Overlay, SmallOutlineIsFilledWithoutInvertingTwice) {
    Canvas canvas;
    overlay_motion_outline(canvas.view(), pixels(1, 1, 3, 3));
    overlay_motion_outline(canvas.view(), pixels(6, 2, 6, 2));
    EXPECT_EQ(canvas.picture(),
              "............\n"
              ".iii........\n"
              ".iii..i.....\n"
              ".iii........\n"
              "............\n"
              "............\n");
}

TEST(Overlay, OutlineOutsideThePictureIsCutOffNotMovedIn) {
    Canvas canvas;
    overlay_motion_outline(canvas.view(), pixels(-3, -4, 4, 3));
    EXPECT_EQ(canvas.picture(),
              "...ii.......\n"
              "...ii.......\n"
              "iiiii.......\n"
              "iiiii.......\n"
              "............\n"
              "............\n");
}

TEST(Overlay, WholePictureRegionHasItsOutlineAtTheEdges) {
    Canvas canvas;
    overlay_motion_outline(canvas.view(), {0, 0, 1919, 539, true});
    EXPECT_EQ(canvas.picture(),
              "iiiiiiiiiiii\n"
              "iiiiiiiiiiii\n"
              "ii........ii\n"
              "ii........ii\n"
              "iiiiiiiiiiii\n"
              "iiiiiiiiiiii\n");
}

TEST(Overlay, CoordinatesAreScaledByTruncation) {
    Canvas canvas;
    overlay_motion_outline(canvas.view(), {159, 89, 320, 179, true});
    EXPECT_EQ(canvas.picture(),
              "iii.........\n"
              "iii.........\n"
              "............\n"
              "............\n"
              "............\n"
              "............\n");
}

TEST(Overlay, MarkFlipsMotionRegionLessIgnoreRegion) {
    Canvas canvas;
    overlay_mark_motion(canvas.view(), pixels(1, 1, 9, 4), pixels(3, 2, 5, 9), 0x0F);
    EXPECT_EQ(canvas.picture(),
              "............\n"
              ".xxxxxxxxx..\n"
              ".xx...xxxx..\n"
              ".xx...xxxx..\n"
              ".xx...xxxx..\n"
              "............\n");
}

TEST(Overlay, MarkWithoutIgnoreRegionFlipsAllOfTheMotionRegion) {
    Canvas canvas;
    RegionRect not_valid = pixels(0, 0, 11, 5);
    not_valid.valid = false;
    overlay_mark_motion(canvas.view(), pixels(10, 4, 20, 20), not_valid, 0x0F);
    EXPECT_EQ(canvas.picture(),
              "............\n"
              "............\n"
              "............\n"
              "............\n"
              "..........xx\n"
              "..........xx\n");
}

TEST(Overlay, MarkOfZeroChangesNothingAndTwiceTheSameMarkRestores) {
    Canvas canvas, clean;
    overlay_mark_motion(canvas.view(), pixels(0, 0, 11, 5), kNone, 0);
    EXPECT_EQ(canvas.pixels, clean.pixels);
    overlay_mark_motion(canvas.view(), pixels(0, 0, 11, 5), kNone, 0xFF);
    EXPECT_NE(canvas.pixels, clean.pixels);
    overlay_mark_motion(canvas.view(), pixels(0, 0, 11, 5), kNone, 0xFF);
    EXPECT_EQ(canvas.pixels, clean.pixels);
}

TEST(Overlay, IgnoreRegionIsTintedAndHasAPureGreenBorder) {
    Canvas canvas;
    overlay_ignore_region(canvas.view(), pixels(2, 0, 9, 5));
    EXPECT_EQ(canvas.picture(),
              "..GGGGGGGG..\n"
              "..GGGGGGGG..\n"
              "..GGttttGG..\n"
              "..GGttttGG..\n"
              "..GGGGGGGG..\n"
              "..GGGGGGGG..\n");
}

TEST(Overlay, TintStopsAtBlackAndAtFullGreen) {
    std::vector<uint8_t> pixels_of_12_by_6(static_cast<size_t>(pane_stride(12) * 6));
    const PaneBitmap bitmap = {12, 6, pixels_of_12_by_6.data()};
    uint8_t* inside = pane_row(bitmap, 2) + 3 * 5;
    inside[0] = 29, inside[1] = 226, inside[2] = 30;
    overlay_ignore_region(bitmap, pixels(0, 0, 11, 5));
    EXPECT_EQ(inside[0], 0);
    EXPECT_EQ(inside[1], 255);
    EXPECT_EQ(inside[2], 0);
}

TEST(Overlay, MarkThenOutlineThenIgnoreRegion) {
    Canvas canvas;
    const RegionRect motion = pixels(0, 0, 11, 5), ignore = pixels(6, 3, 11, 5);
    overlay_mark_motion(canvas.view(), motion, ignore, 0x0F);
    overlay_motion_outline(canvas.view(), motion);
    overlay_ignore_region(canvas.view(), ignore);
    EXPECT_EQ(canvas.picture(),
              "IIIIIIIIIIII\n"
              "IIIIIIIIIIII\n"
              "IIxxxxxxxxII\n"
              "IIxxxxGGGGGG\n"
              "IIIIIIGGGGGG\n"
              "IIIIIIGGGGGG\n");
}

TEST(Overlay, RegionsNotValidDrawNothing) {
    Canvas canvas, clean;
    overlay_mark_motion(canvas.view(), kNone, kNone, 0xFF);
    overlay_motion_outline(canvas.view(), kNone);
    overlay_ignore_region(canvas.view(), kNone);
    EXPECT_EQ(canvas.pixels, clean.pixels);
}

TEST(Overlay, ReversedAndDistantRectanglesDrawNothing) {
    Canvas canvas, clean;
    for (const RegionRect& rect :
         {pixels(8, 1, 2, 4), pixels(1, 4, 5, 1), pixels(-9, 0, -2, 5), pixels(13, 0, 20, 5), pixels(0, 7, 5, 9),
          pixels(0, -9, 5, -2), RegionRect{INT_MAX, INT_MAX, INT_MIN, INT_MIN, true}}) {
        overlay_mark_motion(canvas.view(), rect, kNone, 0xFF);
        overlay_motion_outline(canvas.view(), rect);
        overlay_ignore_region(canvas.view(), rect);
        ASSERT_EQ(canvas.pixels, clean.pixels) << rect.x0 << " " << rect.y0;
    }
}

TEST(Overlay, BoundlessRectangleCoversThePictureAndShowsNoBorder) {
    Canvas canvas;
    overlay_ignore_region(canvas.view(), {INT_MIN, INT_MIN, INT_MAX, INT_MAX, true});
    EXPECT_EQ(canvas.picture(), std::string("tttttttttttt\n") + "tttttttttttt\n" + "tttttttttttt\n" +
                                    "tttttttttttt\n" + "tttttttttttt\n" + "tttttttttttt\n");
}
