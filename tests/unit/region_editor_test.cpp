#include "preview/region_editor.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <string>

#include "preview/preview_decisions.h"
#include "settings/settings.h"

namespace {
constexpr PlaceRect kFullSize = {0, 0, 1920, 540};
constexpr char kDash[] = "\xE2\x80\x94";
}  // namespace

static std::string text_of(const char* before, const char* after) {
    return std::string(before) + kDash + after;
}

static testing::AssertionResult maps_to(const PlaceRect& pane, int32_t x, int32_t y, int32_t sx, int32_t sy) {
    PicturePoint point = {-7, -7};
    if (!picture_point_at(pane, x, y, &point)) return testing::AssertionFailure() << "the click does not count";
    if (point.x == sx && point.y == sy) return testing::AssertionSuccess();
    return testing::AssertionFailure() << point.x << "," << point.y;
}

static testing::AssertionResult is_rect(const RegionRect& r, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    if (r.valid && r.x0 == x0 && r.y0 == y0 && r.x1 == x1 && r.y1 == y1) return testing::AssertionSuccess();
    return testing::AssertionFailure() << (r.valid ? "" : "invalid ") << r.x0 << "," << r.y0 << " - " << r.x1 << ","
                                       << r.y1;
}

TEST(PicturePoint, AtFullSizeEveryPixelIsItself) {
    for (int32_t x = 0; x < 1920; x += 7)
        for (int32_t y = 0; y < 540; y += 11) ASSERT_TRUE(maps_to(kFullSize, x, y, x, y)) << x << "," << y;
    EXPECT_TRUE(maps_to(kFullSize, 1919, 539, 1919, 539));
}

TEST(PicturePoint, ScalesFromThePanesCornerRoundingDown) {
    const struct {
        PlaceRect pane;
        int32_t x, y, sx, sy;
    } cases[] = {
        {{0, 0, 700, 196}, 0, 0, 0, 0},
        {{0, 0, 700, 196}, 1, 1, 2, 2},  // 2.74 and 2.76
        {{0, 0, 700, 196}, 350, 98, 960, 270},
        {{0, 0, 700, 196}, 699, 195, 1917, 537},
        {{10, 201, 710, 397}, 10, 201, 0, 0},
        {{10, 201, 710, 397}, 360, 299, 960, 270},
        {{10, 201, 710, 397}, 709, 396, 1917, 537},
        {{-50, -30, 910, 240}, 430, 105, 960, 270},   // a pane may begin outside its window
        {{0, 0, 3840, 1080}, 3839, 1079, 1919, 539},  // larger than the picture
        {{0, 0, 4, 1}, 3, 0, 1440, 0},                // the smallest that shows a row
    };
    for (const auto& c : cases) EXPECT_TRUE(maps_to(c.pane, c.x, c.y, c.sx, c.sy)) << c.x << "," << c.y;
}

TEST(PicturePoint, AClickOutsideThePaneDoesNotCount) {
    const PlaceRect pane = {10, 20, 710, 216};
    PicturePoint point = {-7, -7};
    const struct {
        int32_t x, y;
        bool counts;
    } cases[] = {{9, 100, false}, {10, 100, true}, {709, 100, true}, {710, 100, false}, {99, 19, false},
                 {99, 20, true},  {99, 215, true}, {99, 216, false}, {-5, -5, false},   {800, 300, false}};
    for (const auto& c : cases) {
        point = {-7, -7};
        EXPECT_EQ(picture_point_at(pane, c.x, c.y, &point), c.counts) << c.x << "," << c.y;
        EXPECT_EQ(point.x != -7, c.counts) << "untouched when it does not count";
    }
    EXPECT_FALSE(picture_point_at({10, 20, 10, 20}, 10, 20, &point)) << "an empty pane";
    EXPECT_FALSE(picture_point_at({0, 0, 3, 50}, 1, 20, &point)) << "three columns show no row";
}

TEST(PicturePoint, AHigherPaneShowsThePictureInItsMiddle) {
    const PlaceRect pane = {100, 50, 740, 350};  // 640 x 300, the picture is 180 high with 60 above and below
    EXPECT_TRUE(maps_to(pane, 100, 50 + 60, 0, 0));
    EXPECT_TRUE(maps_to(pane, 420, 50 + 150, 960, 270));
    EXPECT_TRUE(maps_to(pane, 739, 50 + 60 + 179, 1917, 537));
    const PlaceRect odd = {0, 0, 640, 301};  // the margin is rounded down
    EXPECT_TRUE(maps_to(odd, 0, 60, 0, 0));
    EXPECT_TRUE(maps_to(odd, 0, 61, 0, 3));
}

TEST(PicturePoint, AClickAboveOrBelowThePictureInsideThePaneCountsAsOnItsEdge) {
    const PlaceRect pane = {100, 50, 740, 350};
    for (const int32_t y : {50, 51, 108, 109}) EXPECT_TRUE(maps_to(pane, 420, y, 960, 0)) << y;
    for (const int32_t y : {290, 291, 349}) EXPECT_TRUE(maps_to(pane, 420, y, 960, 539)) << y;
}

TEST(PicturePoint, TheOutermostColumnsOfAnyPaneStayInThePicture) {
    for (int32_t width = 4; width <= 4000; width += 3)
        for (int32_t height : {1, width * 540 / 1920, width}) {
            const PlaceRect pane = {-3, 5, width - 3, height + 5};
            PicturePoint first = {-7, -7}, last = {-7, -7};
            ASSERT_TRUE(picture_point_at(pane, -3, 5, &first)) << width << " x " << height;
            ASSERT_TRUE(picture_point_at(pane, width - 4, height + 4, &last)) << width << " x " << height;
            ASSERT_EQ(first.x, 0);
            ASSERT_EQ(first.y, 0);
            ASSERT_LE(last.x, 1919);
            ASSERT_LE(last.y, 539);
            ASSERT_GE(last.x, 1919 - 1920 / width);
        }
}

TEST(PicturePoint, ALowerPaneSquashesThePicture) {
    const PlaceRect pane = {0, 0, 1920, 270};
    EXPECT_TRUE(maps_to(pane, 0, 0, 0, 0));
    EXPECT_TRUE(maps_to(pane, 960, 135, 960, 270));
    EXPECT_TRUE(maps_to(pane, 1919, 269, 1919, 538));
}

TEST(RegionEditor, TwoClicksMakeAMotionRegionWithTextsAndLines) {
    RegionEditor editor = {};
    RegionRect rect = {};
    EditStep step = region_editor_start(&editor, EditedRegion::motion, 1);
    EXPECT_EQ(step.button, 711);
    EXPECT_STREQ(step.text, "Click UL");
    EXPECT_EQ(step.log, text_of("motion region: editing feed 1 ", " click upper-left corner"));

    step = region_editor_click(&editor, {100, 50}, &rect);
    EXPECT_EQ(step.button, 711);
    EXPECT_STREQ(step.text, "Click LR");
    EXPECT_EQ(step.log, text_of("motion region feed 1: UL = (100, 50) ", " click lower-right"));
    EXPECT_FALSE(rect.valid) << "one corner is no region";

    step = region_editor_click(&editor, {1800, 500}, &rect);
    EXPECT_EQ(step.button, 711);
    EXPECT_STREQ(step.text, "Click UL");
    EXPECT_EQ(step.log, text_of("motion region feed 1: (100,50)-(1800,500) ", " click UL to redefine or Save"));
    EXPECT_TRUE(is_rect(rect, 100, 50, 1800, 500));
    EXPECT_EQ(editor.region, EditedRegion::motion) << "it stays open for another try";
}

TEST(RegionEditor, TheIgnoreRegionHasItsOwnButtonsAndWords) {
    RegionEditor editor = {};
    RegionRect rect = {};
    EditStep step = region_editor_start(&editor, EditedRegion::ignore, 2);
    EXPECT_EQ(step.button, 723);
    EXPECT_STREQ(step.text, "Click UL");
    EXPECT_EQ(step.log, text_of("ignore region: editing feed 2 ", " click upper-left corner"));
    step = region_editor_click(&editor, {7, 8}, &rect);
    EXPECT_STREQ(step.text, "Click LR");
    EXPECT_EQ(step.log, text_of("ignore region feed 2: UL = (7, 8) ", " click lower-right"));
    step = region_editor_click(&editor, {9, 6}, &rect);
    EXPECT_EQ(step.button, 723);
    EXPECT_STREQ(step.text, "Click UL");
    EXPECT_EQ(step.log, text_of("ignore region feed 2: (7,6)-(9,8) ", " click UL to redefine or Save"));
}

TEST(RegionEditor, AnyTwoOppositeCornersGiveTheSameRectangle) {
    const PicturePoint corners[4][2] = {
        {{100, 50}, {1800, 500}}, {{1800, 500}, {100, 50}}, {{1800, 50}, {100, 500}}, {{100, 500}, {1800, 50}}};
    for (const auto& pair : corners) {
        RegionEditor editor = {};
        RegionRect rect = {};
        region_editor_start(&editor, EditedRegion::motion, 0);
        region_editor_click(&editor, pair[0], &rect);
        region_editor_click(&editor, pair[1], &rect);
        EXPECT_TRUE(is_rect(rect, 100, 50, 1800, 500)) << pair[0].x << "," << pair[0].y;
    }
}

TEST(RegionEditor, AThirdClickBeginsANewRectangleAndTheOldOneStandsUntilTheFourth) {
    RegionEditor editor = {};
    RegionRect rect = {};
    region_editor_start(&editor, EditedRegion::motion, 0);
    region_editor_click(&editor, {10, 20}, &rect);
    region_editor_click(&editor, {30, 40}, &rect);
    const EditStep third = region_editor_click(&editor, {500, 300}, &rect);
    EXPECT_STREQ(third.text, "Click LR");
    EXPECT_TRUE(is_rect(rect, 10, 20, 30, 40));
    region_editor_click(&editor, {400, 200}, &rect);
    EXPECT_TRUE(is_rect(rect, 400, 200, 500, 300));
}

TEST(RegionEditor, ClickingOnePointTwiceMakesARegionOfOnePixel) {
    RegionEditor editor = {};
    RegionRect rect = {};
    region_editor_start(&editor, EditedRegion::motion, 0);
    region_editor_click(&editor, {1919, 539}, &rect);
    region_editor_click(&editor, {1919, 539}, &rect);
    EXPECT_TRUE(is_rect(rect, 1919, 539, 1919, 539));
}

TEST(RegionEditor, StartingAnotherEditForgetsThePendingCorner) {
    RegionEditor editor = {};
    RegionRect motion = {}, ignore = {};
    region_editor_start(&editor, EditedRegion::motion, 0);
    region_editor_click(&editor, {10, 20}, &motion);
    region_editor_start(&editor, EditedRegion::ignore, 1);
    EXPECT_EQ(editor.region, EditedRegion::ignore) << "only one editor at a time";
    EXPECT_EQ(editor.feed, 1);
    EXPECT_STREQ(region_editor_click(&editor, {30, 40}, &ignore).text, "Click LR");
    region_editor_start(&editor, EditedRegion::ignore, 1);
    EXPECT_STREQ(region_editor_click(&editor, {50, 60}, &ignore).text, "Click LR") << "pressed again, begun again";
    EXPECT_FALSE(motion.valid);
    EXPECT_FALSE(ignore.valid);
}

TEST(RegionEditor, TheLongestLineFits) {
    RegionEditor editor = {};
    RegionRect rect = {};
    region_editor_start(&editor, EditedRegion::motion, 2);
    region_editor_click(&editor, {INT_MIN, INT_MIN}, &rect);
    const EditStep step = region_editor_click(&editor, {INT_MIN, INT_MIN}, &rect);
    const std::string line = step.log;
    EXPECT_EQ(line.substr(line.size() - 4), "Save");
}

TEST(RegionsToSettings, StoresRowsWithTheOverlayOffsetAndColumnsAsClicked) {
    auto settings = std::make_unique<Settings>();
    settings->overlay_frame_offsets[2] = 40;
    regions_to_settings(settings.get(), 2, {100, 160, 1800, 460, true}, {300, 210, 400, 220, true});
    EXPECT_EQ(settings->motion_start_x[2], 100);
    EXPECT_EQ(settings->motion_start_y[2], 200);
    EXPECT_EQ(settings->motion_end_x[2], 1800);
    EXPECT_EQ(settings->motion_end_y[2], 500);
    EXPECT_EQ(settings->ignore_start_x[2], 300);
    EXPECT_EQ(settings->ignore_start_y[2], 250);
    EXPECT_EQ(settings->ignore_end_x[2], 400);
    EXPECT_EQ(settings->ignore_end_y[2], 260);
    EXPECT_EQ(settings->motion_end_x[0], 0) << "other feeds are left alone";
    EXPECT_EQ(settings->ignore_end_x[1], 0);
}

TEST(RegionsToSettings, WithoutAnIgnoreRegionItsSettingsBecomeZeroAndTheMotionSettingsStay) {
    auto settings = std::make_unique<Settings>();
    settings->overlay_frame_offsets[1] = 40;
    settings->motion_start_x[1] = 1, settings->motion_start_y[1] = 2;
    settings->motion_end_x[1] = 3, settings->motion_end_y[1] = 4;
    settings->ignore_start_x[1] = 5, settings->ignore_start_y[1] = 6;
    settings->ignore_end_x[1] = 7, settings->ignore_end_y[1] = 8;
    regions_to_settings(settings.get(), 1, {9, 9, 9, 9, false}, {9, 9, 9, 9, false});
    EXPECT_EQ(settings->motion_start_x[1], 1);
    EXPECT_EQ(settings->motion_start_y[1], 2);
    EXPECT_EQ(settings->motion_end_x[1], 3);
    EXPECT_EQ(settings->motion_end_y[1], 4);
    EXPECT_EQ(settings->ignore_start_x[1], 0);
    EXPECT_EQ(settings->ignore_start_y[1], 0);
    EXPECT_EQ(settings->ignore_end_x[1], 0);
    EXPECT_EQ(settings->ignore_end_y[1], 0);
}

TEST(RegionsToSettings, AreReadBackAsTheyWereWhateverTheOffset) {
    for (const int32_t offset : {0, 1, 40, 540, -20}) {
        auto settings = std::make_unique<Settings>();
        settings->overlay_frame_offsets[0] = offset;
        regions_to_settings(settings.get(), 0, {0, 3, 1919, 539, true}, {5, 0, 9, 100, true});
        const FeedRegions back = regions_from_settings(settings.get(), 0);
        EXPECT_TRUE(is_rect(back.motion, 0, 3, 1919, 539)) << offset;
        EXPECT_TRUE(is_rect(back.ignore, 5, 0, 9, 100)) << offset;
    }
}

TEST(RegionsToSettings, AnExtremeOffsetDoesNotOverflow) {
    auto settings = std::make_unique<Settings>();
    settings->overlay_frame_offsets[0] = INT_MAX;
    regions_to_settings(settings.get(), 0, {1, 2, 3, 4, true}, {1, 2, 3, 4, true});
    EXPECT_EQ(settings->motion_start_y[0], INT_MAX);
    EXPECT_EQ(settings->ignore_end_y[0], INT_MAX);
}

TEST(OffsetAfterWheel, PartOfANotchChangesNothing) {
    for (const int32_t delta : {0, 60, -60, 119, -119}) EXPECT_EQ(offset_after_wheel(100, delta), 100) << delta;
    EXPECT_EQ(offset_after_wheel(600, 60), 600) << "not even an offset beyond the limits";
}

TEST(OffsetAfterWheel, CountsWholeNotchesTowardsZero) {
    const struct {
        int32_t delta, expected;
    } cases[] = {{120, 101}, {-120, 99}, {240, 102}, {-240, 98}, {239, 101}, {-239, 99}, {1200, 110}};
    for (const auto& c : cases) EXPECT_EQ(offset_after_wheel(100, c.delta), c.expected) << c.delta;
}

TEST(OffsetAfterWheel, NeverLeaves0To540) {
    EXPECT_EQ(offset_after_wheel(0, -120), 0);
    EXPECT_EQ(offset_after_wheel(1, -240), 0);
    EXPECT_EQ(offset_after_wheel(540, 120), 540);
    EXPECT_EQ(offset_after_wheel(539, 32767), 540);
    EXPECT_EQ(offset_after_wheel(-30, 120), 0);
    EXPECT_EQ(offset_after_wheel(600, -120), 540);
    EXPECT_EQ(offset_after_wheel(INT_MAX, 120), 540);
    EXPECT_EQ(offset_after_wheel(INT_MIN, -120), 0);
}
