// The Grid Line Setup panel's decisions.
#include "preview/grid_points.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>

#include "settings/settings_values.h"

static std::unique_ptr<Settings> default_settings() {
    auto settings = std::make_unique<Settings>();
    settings_init_defaults(settings.get());
    return settings;
}

static std::unique_ptr<Settings> settings_with_all_lines() {
    auto settings = default_settings();
    for (int32_t& count : settings->meter_line_count) count = kGridLinesPerFeed;
    return settings;
}

static void expect_place(const GridPlace& place, int32_t x, int32_t y, int32_t width, int32_t height) {
    EXPECT_EQ(place.x, x);
    EXPECT_EQ(place.y, y);
    EXPECT_EQ(place.width, width);
    EXPECT_EQ(place.height, height);
}

TEST(GridButtons, IdsNameFeedSideAndLine) {
    const auto settings = settings_with_all_lines();
    struct Case {
        int32_t id, feed, line;
        bool near_side;
    };
    constexpr Case kCases[] = {{800, 0, 0, false}, {829, 0, 29, false}, {830, 0, 0, true},  {859, 0, 29, true},
                               {860, 1, 0, false}, {919, 1, 29, true},  {920, 2, 0, false}, {979, 2, 29, true}};
    for (const Case& c : kCases) {
        GridPoint point{-1, -1, false};
        ASSERT_TRUE(grid_button_asks(c.id, settings.get(), false, &point)) << c.id;
        EXPECT_EQ(point.feed, c.feed) << c.id;
        EXPECT_EQ(point.line, c.line) << c.id;
        EXPECT_EQ(point.near_side, c.near_side) << c.id;
    }
}

TEST(GridButtons, EveryIdComesBackFromItsPoint) {
    const auto settings = settings_with_all_lines();
    for (int32_t id = 800; id <= 979; ++id) {
        GridPoint point{};
        ASSERT_TRUE(grid_button_asks(id, settings.get(), false, &point)) << id;
        EXPECT_EQ(grid_button_id(point), id);
    }
}

TEST(GridButtons, AnIdBeyondTheThirdFeedAsksNothing) {
    const auto settings = settings_with_all_lines();
    GridPoint point{7, 7, true};
    for (const int32_t id : {INT_MIN, -1, 0, 799, 980, 999, 1000, 1001, 1040, INT_MAX})
        EXPECT_FALSE(grid_button_asks(id, settings.get(), false, &point)) << id;
    EXPECT_EQ(point.feed, 7) << "left alone";
}

TEST(GridButtons, ALineThatTheFeedDoesNotHaveAsksNothing) {
    const auto settings = default_settings();  // 4, 7 and 7 lines
    GridPoint point{};
    EXPECT_TRUE(grid_button_asks(803, settings.get(), false, &point));
    EXPECT_FALSE(grid_button_asks(804, settings.get(), false, &point));
    EXPECT_TRUE(grid_button_asks(833, settings.get(), false, &point));
    EXPECT_FALSE(grid_button_asks(834, settings.get(), false, &point));
    EXPECT_TRUE(grid_button_asks(866, settings.get(), false, &point));
    EXPECT_FALSE(grid_button_asks(867, settings.get(), false, &point));
    settings->meter_line_count[2] = 0;
    EXPECT_FALSE(grid_button_asks(920, settings.get(), false, &point));
    settings->meter_line_count[2] = -1;
    EXPECT_FALSE(grid_button_asks(920, settings.get(), false, &point));
}

TEST(GridButtons, NothingIsAskedWhileAClickIsAwaited) {
    const auto settings = settings_with_all_lines();
    GridPoint point{};
    EXPECT_FALSE(grid_button_asks(800, settings.get(), true, &point));
}

TEST(GridButtons, StandInARasterOf49Pixels) {
    expect_place(grid_feed_label_place(0), 10, 10, 200, 20);
    expect_place(grid_feed_label_place(2), 10, 186, 200, 20);
    expect_place(grid_side_label_place(0, false), 10, 33, 40, 25);
    expect_place(grid_side_label_place(0, true), 10, 62, 40, 25);
    expect_place(grid_side_label_place(1, true), 10, 150, 40, 25);
    expect_place(grid_button_place({0, 0, false}), 55, 30, 45, 25);
    expect_place(grid_button_place({0, 1, true}), 104, 59, 45, 25);
    expect_place(grid_button_place({2, 29, true}), 1476, 235, 45, 25);
    expect_place(kGridSavePlace, 60, 284, 80, 30);
    expect_place(kGridExitPlace, 160, 284, 80, 30);
}

TEST(GridPanelSize, GrowsWithTheFeedOfMostLines) {
    const auto settings = default_settings();
    EXPECT_EQ(grid_panel_width(settings.get()), 7 * 49 + 85);
    settings->meter_line_count[0] = 30;
    EXPECT_EQ(grid_panel_width(settings.get()), 30 * 49 + 85);
    EXPECT_EQ(kGridPanelHeight, 359);
}

TEST(GridPanelSize, IsNeverNarrowerThan350) {
    const auto settings = default_settings();
    struct Case {
        int32_t lines, width;
    };
    for (const Case& c : {Case{0, 350}, Case{-5, 350}, Case{5, 350}, Case{6, 379}}) {
        for (int32_t& count : settings->meter_line_count) count = c.lines;
        EXPECT_EQ(grid_panel_width(settings.get()), c.width) << c.lines;
    }
}

TEST(GridPanelSize, CountsThirtyLinesAtMost) {
    const auto settings = default_settings();
    settings->meter_line_count[1] = INT_MAX;
    EXPECT_EQ(grid_line_count(settings.get(), 1), 30);
    EXPECT_EQ(grid_panel_width(settings.get()), 30 * 49 + 85);
}

TEST(GridLabels, ShowTheMetresWithAnAsteriskWhereThePointIsSet) {
    char label[kGridLabelSize];
    grid_button_label(45, false, label);
    EXPECT_STREQ(label, "45");
    grid_button_label(45, true, label);
    EXPECT_STREQ(label, "*45");
    grid_button_label(INT_MIN, true, label);
    EXPECT_STREQ(label, "*-2147483648");
}

TEST(GridLabels, OneCoordinateIsEnoughForASetPoint) {
    GridLine anchor{};
    EXPECT_FALSE(grid_anchor_is_set(&anchor));
    anchor.x = 1;
    EXPECT_TRUE(grid_anchor_is_set(&anchor));
    anchor.x = 0;
    anchor.y = -1;
    EXPECT_TRUE(grid_anchor_is_set(&anchor));
}

TEST(GridLabels, ALinesMetreIsStartPlusLineTimesIncrement) {
    const auto settings = default_settings();
    EXPECT_EQ(grid_line_metre(settings.get(), 0, 0), 35);
    EXPECT_EQ(grid_line_metre(settings.get(), 2, 6), 75);
    settings->meter_line_increment[2] = -3;
    EXPECT_EQ(grid_line_metre(settings.get(), 2, 6), 27);
    settings->meter_line_start[1] = INT_MAX;
    settings->meter_line_increment[1] = 1;
    EXPECT_EQ(grid_line_metre(settings.get(), 1, 1), INT_MIN) << "wraps around as the metre table does";
}

TEST(GridTitle, TellsFeedSideAndMetres) {
    const auto settings = default_settings();
    char title[kGridTitleSize];
    grid_waiting_title(settings.get(), {1, 2, false}, title);
    EXPECT_STREQ(title, "Click in viewer for Feed 1, far point, 45m line");
    grid_waiting_title(settings.get(), {2, 6, true}, title);
    EXPECT_STREQ(title, "Click in viewer for Feed 2, near point, 75m line");
}

TEST(GridClick, ARow100OfAFeedWhoseOverlayOffsetIs12IsStoredAs112) {
    const auto settings = default_settings();
    settings->overlay_frame_offsets[1] = 12;
    EXPECT_EQ(grid_store_click(settings.get(), {1, 3, true}, 640, 100), 112);
    EXPECT_EQ(settings->near_lines[1][3].x, 640);
    EXPECT_EQ(settings->near_lines[1][3].y, 112);
    EXPECT_STREQ(settings->near_lines[1][3].label, "@near[1][ 3]");
    EXPECT_EQ(settings->far_lines[1][3].x, 0) << "the other side is another point";
}

TEST(GridClick, EachFeedHasItsOwnOffset) {
    const auto settings = default_settings();
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) settings->overlay_frame_offsets[feed] = 10 * feed - 5;
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        EXPECT_EQ(grid_store_click(settings.get(), {feed, 0, false}, feed, 50), 45 + 10 * feed);
        EXPECT_EQ(settings->far_lines[feed][0].y, 45 + 10 * feed);
    }
}

TEST(GridClick, SenselessNumbersDoNoHarm) {
    const auto settings = default_settings();
    settings->overlay_frame_offsets[0] = 1;
    EXPECT_EQ(grid_store_click(settings.get(), {0, 0, false}, INT_MIN, INT_MAX), INT_MIN);
}

TEST(GridPositionFile, LiesBesideTheSettingsOrInTheCurrentDirectory) {
    struct Case {
        const char* settings;
        const char* file;
    };
    constexpr Case kCases[] = {{"C:\\rig\\settings.txt", "C:\\rig\\gridline_panel.ini"},
                               {"C:/rig/settings.txt", "C:/rig/gridline_panel.ini"},
                               {"C:\\rig/day1\\settings.txt", "C:\\rig/day1\\gridline_panel.ini"},
                               {"C:\\rig/settings.txt", "C:\\rig/gridline_panel.ini"},
                               {"\\settings.txt", "\\gridline_panel.ini"},
                               {"settings.txt", "gridline_panel.ini"},
                               {"", "gridline_panel.ini"}};
    for (const Case& c : kCases) {
        char path[kGridPathSize];
        grid_position_path(c.settings, path);
        EXPECT_STREQ(path, c.file) << c.settings;
    }
}

TEST(GridPositionFile, TheLongestSettingsPathFits) {
    const std::string directory = std::string(258, 'd') + "\\";
    char path[kGridPathSize];
    grid_position_path(directory.c_str(), path);
    EXPECT_EQ(path, directory + "gridline_panel.ini");
}
