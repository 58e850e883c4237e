#include "preview/preview_layout.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

static PlaceRect place_of(const ButtonPlaces& places, int32_t id) {
    return places.button[preview_button_index(id)];
}

static void expect_place(const PlaceRect& place, int32_t left, int32_t top, int32_t width, int32_t height) {
    EXPECT_EQ(place.left, left);
    EXPECT_EQ(place.top, top);
    EXPECT_EQ(place.right - place.left, width);
    EXPECT_EQ(place.bottom - place.top, height);
}

static bool overlap(const PlaceRect& a, const PlaceRect& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

TEST(PreviewButtons, EveryIdStandsOnceWithItsTextAndSize) {
    const struct {
        int32_t id;
        const char* text;
        int32_t width, height;
    } cases[] = {
        {700, "Play", 100, 28},
        {701, "Launch Practice", 130, 28},
        {702, "Go Live", 95, 28},
        {705, "Feed 0", 60, 28},
        {706, "Feed 1", 60, 28},
        {707, "Feed 2", 60, 28},
        {710, "Set Region 0", 80, 20},
        {711, "Set Region 1", 80, 20},
        {712, "Set Region 2", 80, 20},
        {713, "Save Regions", 90, 20},
        {714, "Force Video", 100, 28},
        {715, "Sync Feeds", 100, 28},
        {716, "Highlight ON", 100, 28},
        {717, "Log On", 80, 28},
        {718, "Circles On", 100, 28},
        {719, "Save Motion Range", 130, 28},
        {720, "Auto Setup", 100, 28},
        {721, "Ign Reg 0", 80, 20},
        {722, "Ign Reg 1", 80, 20},
        {723, "Ign Reg 2", 80, 20},
        {724, "motion shadow remove currently off", 300, 28},
        {725, "Set F0 Offset", 110, 20},
        {726, "Set F1 Offset", 110, 20},
        {727, "Set F2 Offset", 110, 20},
        {728, "Capture Feeds", 140, 20},
        {729, "Pause Recording", 160, 20},
    };
    ASSERT_EQ(std::size(cases), size_t{kPreviewButtonCount});
    std::set<int32_t> ids;
    for (const auto& button : kPreviewButtons) ids.insert(button.id);
    EXPECT_EQ(ids.size(), size_t{kPreviewButtonCount});
    for (const auto& c : cases) {
        const int32_t index = preview_button_index(c.id);
        ASSERT_GE(index, 0) << c.id;
        EXPECT_STREQ(kPreviewButtons[index].text, c.text);
        EXPECT_EQ(kPreviewButtons[index].width, c.width) << c.id;
        EXPECT_EQ(kPreviewButtons[index].height, c.height) << c.id;
    }
    EXPECT_EQ(preview_button_index(708), -1);
    EXPECT_EQ(preview_button_index(730), -1);
}

TEST(PreviewButtons, TopRowIsCreatedAtItsPlaces) {
    const struct {
        int32_t id, x, y;
    } cases[] = {{700, 10, 10},  {701, 120, 10}, {702, 260, 10}, {705, 360, 10},
                 {706, 430, 10}, {707, 500, 10}, {714, 470, 4}};
    for (const auto& c : cases) {
        EXPECT_EQ(kPreviewButtons[preview_button_index(c.id)].x, c.x) << c.id;
        EXPECT_EQ(kPreviewButtons[preview_button_index(c.id)].y, c.y) << c.id;
    }
}

TEST(PreviewButtons, LayoutKeepsTheTopRowAndMovesForceVideoOffTheFeedButtons) {
    const ButtonPlaces places = place_buttons(1592);
    expect_place(place_of(places, 700), 10, 10, 100, 28);
    expect_place(place_of(places, 701), 120, 10, 130, 28);
    expect_place(place_of(places, 702), 260, 10, 95, 28);
    expect_place(place_of(places, 705), 360, 10, 60, 28);
    expect_place(place_of(places, 706), 430, 10, 60, 28);
    expect_place(place_of(places, 707), 500, 10, 60, 28);
    expect_place(place_of(places, 714), 570, 10, 100, 28);
    expect_place(place_of(places, 715), 675, 10, 100, 28);
}

TEST(PreviewButtons, NeverOverlapAndStayInsideAtAnyWidth) {
    for (int32_t width = 680; width <= 4000; ++width) {
        const ButtonPlaces places = place_buttons(width);
        for (int32_t i = 0; i < kPreviewButtonCount; ++i) {
            const PlaceRect& a = places.button[i];
            ASSERT_TRUE(a.left >= 0 && a.top >= 0 && a.right <= width && a.bottom < places.bottom)
                << kPreviewButtons[i].id << " at width " << width;
            ASSERT_EQ(a.right - a.left, kPreviewButtons[i].width);
            ASSERT_EQ(a.bottom - a.top, kPreviewButtons[i].height);
            for (int32_t k = 0; k < i; ++k) {
                ASSERT_FALSE(overlap(a, places.button[k]))
                    << kPreviewButtons[i].id << " and " << kPreviewButtons[k].id << " at width " << width;
            }
        }
    }
}

TEST(PreviewButtons, AWideWindowNeedsAtMostThreeRows) {
    for (const int32_t width : {1584, 1592, 1600}) {
        EXPECT_LE(place_buttons(width).bottom, 10 + 3 * (28 + 5)) << width;
    }
}

TEST(PreviewButtons, TheThreeButtonsOfAFeedStandSideBySide) {
    for (int32_t width = 680; width <= 2400; width += 10) {
        const ButtonPlaces places = place_buttons(width);
        for (int32_t feed = 0; feed < 3; ++feed) {
            const PlaceRect set = place_of(places, 710 + feed), ignore = place_of(places, 721 + feed),
                            offset = place_of(places, 725 + feed);
            ASSERT_EQ(set.top, ignore.top) << width;
            ASSERT_EQ(set.top, offset.top) << width;
            ASSERT_EQ(ignore.left, set.right + 5);
            ASSERT_EQ(offset.left, ignore.right + 5);
        }
    }
}

TEST(PreviewButtons, AVeryNarrowAreaStillPlacesThemAllApart) {
    for (const int32_t width : {0, 50, 200, 321}) {
        const ButtonPlaces places = place_buttons(width);
        for (int32_t i = 0; i < kPreviewButtonCount; ++i) {
            for (int32_t k = 0; k < i; ++k) ASSERT_FALSE(overlap(places.button[i], places.button[k])) << width;
        }
    }
}

TEST(PreviewLayout, DividerKeeps400PixelsLeftAnd186Right) {
    const struct {
        int32_t left, width, wanted, divider;
    } cases[] = {
        {0, 1600, 700, 700},   {0, 1600, 399, 400},       {0, 1600, 400, 400}, {0, 1600, 1414, 1414},
        {0, 1600, 1415, 1414}, {0, 1600, 99999, 1414},    {0, 1600, -5, 400},  {0, 1600, INT32_MAX, 1414},
        {10, 1000, 0, 410},    {10, 1000, 5000, 824},     {0, 586, 1000, 400}, {0, 587, 1000, 401},
        {0, 300, 700, 400},    {0, 1600, INT32_MIN, 400},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(clamp_divider({c.left, 0, c.width, 800, c.wanted}), c.divider)
            << c.left << " " << c.width << " " << c.wanted;
    }
}

TEST(PreviewLayout, PanesStandBelowEachOtherFivePixelsApart) {
    const PicturePlaces places = place_pictures({0, 0, 1600, 800, 700});
    EXPECT_EQ(places.divider, 700);
    for (int32_t feed = 0; feed < 3; ++feed) {
        expect_place(places.pane[feed].screen, 0, feed * (196 + 5), 700, 196);
        EXPECT_EQ(places.pane[feed].bitmap_width, 640);
        EXPECT_EQ(places.pane[feed].bitmap_height, 196);
    }
    expect_place(places.pane[3].screen, 0, 603, 700, 393);
    EXPECT_EQ(places.pane[3].bitmap_width, 640);
    EXPECT_EQ(places.pane[3].bitmap_height, 360);
}

TEST(PreviewLayout, PlacesStartAtTheAreasCorner) {
    const PicturePlaces places = place_pictures({20, 70, 1000, 600, 500});
    expect_place(places.pane[0].screen, 20, 70, 480, 135);
    expect_place(places.pane[1].screen, 20, 210, 480, 135);
    expect_place(places.pane[3].screen, 20, 490, 480, 270);
    expect_place(places.divider_bar, 500, 70, 6, 500);
    EXPECT_EQ(places.pane[0].bitmap_width, 480);
    EXPECT_EQ(places.pane[0].bitmap_height, 135);
    EXPECT_EQ(places.pane[3].bitmap_width, 480);
    EXPECT_EQ(places.pane[3].bitmap_height, 270);
}

TEST(PreviewLayout, BitmapsStayWithinTheirLimitsForEveryDivider) {
    for (int32_t wanted = 0; wanted <= 4000; ++wanted) {
        const PicturePlaces places = place_pictures({0, 0, 4000, 900, wanted});
        for (const PanePlace& pane : places.pane) {
            const int32_t width = pane.screen.right - pane.screen.left;
            const int32_t height = pane.screen.bottom - pane.screen.top;
            ASSERT_EQ(pane.bitmap_width, width < 640 ? width : 640);
            ASSERT_EQ(pane.bitmap_height, height < 360 ? height : 360);
            ASSERT_GE(pane.bitmap_width, 32);
            ASSERT_GE(pane.bitmap_height, 18);
        }
    }
}

TEST(PreviewLayout, DividerIsHitOnItsSixPixelsAboveTheLast100Rows) {
    const PicturePlaces places = place_pictures({0, 0, 1600, 800, 700});
    EXPECT_TRUE(hits_divider(places, 700, 0));
    EXPECT_TRUE(hits_divider(places, 705, 699));
    EXPECT_FALSE(hits_divider(places, 699, 0));
    EXPECT_FALSE(hits_divider(places, 706, 0));
    EXPECT_FALSE(hits_divider(places, 703, 700));
    EXPECT_FALSE(hits_divider(places, 703, -1));
}

TEST(PreviewLayout, AnAreaLowerThan100PixelsHasNoDividerToHit) {
    const PicturePlaces places = place_pictures({0, 0, 1600, 60, 700});
    EXPECT_EQ(places.divider_bar.top, places.divider_bar.bottom);
    EXPECT_FALSE(hits_divider(places, 702, 0));
}

TEST(PreviewLayout, TheJumperListTakesAllThatIsRightOfTheDivider) {
    const PictureArea area = {10, 20, 1600, 800, 700};
    const PlaceRect list = place_jumper_list(area, place_pictures(area));
    EXPECT_EQ(list.left, 706);
    EXPECT_EQ(list.top, 20);
    EXPECT_EQ(list.right, 1610);
    EXPECT_EQ(list.bottom, 820);
}

TEST(PreviewLayout, TheJumperListEndsWithTheWindowAndIsNeverNarrowerThan180) {
    for (int32_t divider = 400; divider <= 2000; ++divider) {
        const PictureArea area = {0, 0, 1000, 500, divider};
        const PlaceRect list = place_jumper_list(area, place_pictures(area));
        ASSERT_EQ(list.right, 1000);
        ASSERT_GE(list.right - list.left, 180);
    }
    const PictureArea tiny = {0, 0, 300, 50, 700};
    const PlaceRect list = place_jumper_list(tiny, place_pictures(tiny));
    EXPECT_EQ(list.left, 406);
    EXPECT_EQ(list.right, 586);
    EXPECT_EQ(list.bottom, 50);
}
