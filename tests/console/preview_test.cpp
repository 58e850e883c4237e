// What the preview tab shows: placeholders without workers, planted frames in the right colours at the right places,
// and what its switches do.
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/console/console_test.h"
#include "tests/console/screenshot.h"

namespace {
constexpr COLORREF kPlaceholder = RGB(32, 32, 32);
constexpr Yuv kTop = {120, 90, 200};
constexpr Yuv kBottom = {60, 200, 100};
constexpr Yuv kOther = {200, 128, 128};

class Preview : public ConsoleTest {
protected:
    void SetUp() override {
        ConsoleTest::SetUp();
        // High enough for the combined pane to be on the screen.
        installation_write(installation, "controller_window.ini", "x=20\ny=20\nwidth=1500\nheight=1140\n");
    }
    void TearDown() override {
        ConsoleTest::TearDown();
        for (TestRing& ring : rings) test_ring_close(&ring);
    }

    HWND picture_area() const {
        return control(console, 110);
    }
    Picture look() const {
        RECT area = {};
        GetClientRect(picture_area(), &area);
        return picture_of(picture_area(), area);
    }
    // The width of the panes, from where the first one ends.
    int32_t pane_width() const {
        const Picture picture = look();
        int32_t x = 0;
        while (x < picture.width && pixel(picture, x, 60) == pixel(picture, 0, 60)) ++x;
        return x;
    }
    // The colour at a fraction (in percent) of a pane whose places follow from the panes' width.
    COLORREF colour_in_pane(int32_t width, int32_t pane, int32_t x_percent, int32_t y_percent) const {
        const int32_t feed_height = width * 540 / 1920;
        const int32_t height = pane < 3 ? feed_height : width * 1080 / 1920;
        const int32_t top = pane * (feed_height + 5);
        const Picture picture = look();
        const int32_t y = top + height * y_percent / 100;
        return y < picture.height ? pixel(picture, width * x_percent / 100, y) : CLR_INVALID;
    }
    testing::AssertionResult pane_shows(int32_t width, int32_t pane, int32_t x_percent, int32_t y_percent,
                                        COLORREF expected) const {
        return becomes(
            "colour (BBGGRR)", [&] { return colour_in_pane(width, pane, x_percent, y_percent); }, expected);
    }
    // Makes a feed's ring with `nw` frames, the newest complete one painted.
    void plant_frames(int32_t feed, uint32_t nw, Yuv top, Yuv bottom) {
        ASSERT_TRUE(test_ring_create(&rings[feed], feed, 0));
        test_ring_paint(rings[feed], (nw + 518) % 520, top, bottom);
        shared_store(shared.block->feed[feed][0].nw, nw);
    }
    void tell_of_a_new_frame() {
        SetEvent(shared.event[kEventNewFrame]);
    }

    TestRing rings[kFeedCount] = {};
};

struct Switch {
    int32_t id;
    const char* first_text;
    const char* second_text;
    const char* first_line;  // after the first press; null when there is none
    const char* second_line;
};
}  // namespace

static uint8_t clamped(int32_t value) {
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// The conversion, written down once more.
static COLORREF colour_of(Yuv c) {
    const int32_t y = c.y;
    const int32_t u = c.u;
    const int32_t v = c.v;
    return RGB(clamped(y + (((v - 128) * 359) >> 8)), clamped(y - ((u * 88 - 34688 + v * 183) >> 8)),
               clamped(y + (((u - 128) * 454) >> 8)));
}

static COLORREF inverted(COLORREF colour) {
    return ~colour & 0xFFFFFF;
}

TEST_F(Preview, WithoutWorkersAllPanesShowNamedGreyPlaceholders) {
    start_with({});
    const int32_t width = pane_width();
    ASSERT_GE(width, 400);
    for (int32_t pane = 0; pane < 4; ++pane)
        for (int32_t percent : {2, 50, 97})
            EXPECT_TRUE(pane_shows(width, pane, percent, 60, kPlaceholder)) << "pane " << pane;
    const Picture picture = look();
    for (int32_t pane = 0; pane < 4; ++pane) {
        int32_t yellow = 0;
        for (int32_t y = 0; y < 24; ++y)
            for (int32_t x = 0; x < 90; ++x) {
                const COLORREF c = pixel(picture, 5 + x, pane * (width * 540 / 1920 + 5) + y);
                yellow += GetRValue(c) > 200 && GetGValue(c) > 200 && GetBValue(c) < 90 ? 1 : 0;
            }
        EXPECT_GT(yellow, 10) << "no yellow caption in pane " << pane;
    }
    EXPECT_EQ(log_count(installation, "preview: reconnected feed *"), 0);
}

TEST_F(Preview, TheNewestFrameAppearsInItsPaneInTheConvertedColours) {
    start_with({"mark_motion_Y=0"});
    open_shared();
    const int32_t width = pane_width();
    plant_frames(1, 12, kTop, kBottom);
    EXPECT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *, region_valid=*, ignore_valid=*)"));
    tell_of_a_new_frame();
    EXPECT_TRUE(pane_shows(width, 1, 50, 25, colour_of(kTop)));
    EXPECT_TRUE(pane_shows(width, 1, 50, 75, colour_of(kBottom)));
    EXPECT_TRUE(pane_shows(width, 0, 50, 75, kPlaceholder));
    EXPECT_TRUE(pane_shows(width, 2, 50, 75, kPlaceholder));

    // The next frame, two behind the counter; the slots around it hold nothing.
    test_ring_paint(rings[1], 11, kOther, kTop);
    shared_store(shared.block->feed[1][0].nw, 13u);
    tell_of_a_new_frame();
    EXPECT_TRUE(pane_shows(width, 1, 50, 25, colour_of(kOther)));
    EXPECT_TRUE(pane_shows(width, 1, 50, 75, colour_of(kTop)));
    EXPECT_EQ(log_count(installation, "preview: reconnected feed 1 *"), 1);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(Preview, TheCombinedPaneStacksFeedOneOverFeedZero) {
    start_with({"mark_motion_Y=0"});
    open_shared();
    const int32_t width = pane_width();
    plant_frames(0, 2, kOther, kOther);
    plant_frames(1, 2, kTop, kBottom);
    EXPECT_TRUE(log_shows(installation, "preview: reconnected feed 0 (attempt *"));
    EXPECT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *"));
    tell_of_a_new_frame();
    EXPECT_TRUE(pane_shows(width, 0, 50, 75, colour_of(kOther)));
    EXPECT_TRUE(pane_shows(width, 3, 50, 15, colour_of(kTop)));
    EXPECT_TRUE(pane_shows(width, 3, 50, 35, colour_of(kBottom)));
    EXPECT_TRUE(pane_shows(width, 3, 50, 60, colour_of(kOther)));
}

TEST_F(Preview, MotionIsMarkedInsideTheMotionRegionWhileHighlightIsOn) {
    start_with({"mark_motion_Y=255", "overlay_frame_offsets[1]=0", "motion_start_x[1]=480", "motion_end_x[1]=1440",
                "motion_start_y[1]=100", "motion_end_y[1]=400"});
    open_shared();
    const int32_t width = pane_width();
    plant_frames(1, 2, kOther, kOther);
    EXPECT_TRUE(log_shows(installation, "preview: reconnected feed 1 (attempt *, region_valid=1, ignore_valid=0)"));
    tell_of_a_new_frame();
    ASSERT_TRUE(pane_shows(width, 1, 50, 50, colour_of(kOther)));
    shared_store(shared.block->motion_active[1], 1u);
    tell_of_a_new_frame();
    EXPECT_TRUE(pane_shows(width, 1, 50, 50, inverted(colour_of(kOther))));
    EXPECT_TRUE(pane_shows(width, 1, 10, 50, colour_of(kOther))) << "outside the region";
    press_on(kTabPreview, 716);
    EXPECT_TRUE(button_becomes(console, 716, "Highlight OFF"));
    EXPECT_TRUE(pane_shows(width, 1, 50, 50, colour_of(kOther)));
    press_on(kTabPreview, 716);
    EXPECT_TRUE(button_becomes(console, 716, "Highlight ON"));
    EXPECT_TRUE(pane_shows(width, 1, 50, 50, inverted(colour_of(kOther))));
}

TEST_F(Preview, TheDividerFollowsTheMouseWithinItsLimits) {
    start_with({});
    const int32_t width = pane_width();
    RECT area = {};
    GetClientRect(picture_area(), &area);
    const auto drag = [&](int32_t from, int32_t to) {
        PostMessageW(picture_area(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(from + 2, 300));
        PostMessageW(picture_area(), WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(to + 2, 300));
        PostMessageW(picture_area(), WM_LBUTTONUP, 0, MAKELPARAM(to + 2, 300));
    };
    const auto width_is_near = [&](int32_t expected) {
        return [=, this] { return abs(pane_width() - expected) <= 3; };
    };
    drag(width, 600);
    EXPECT_TRUE(wait_until(width_is_near(600))) << pane_width();
    drag(600, 100);
    EXPECT_TRUE(wait_until(width_is_near(400))) << pane_width();
    drag(400, area.right - 20);
    EXPECT_TRUE(wait_until(width_is_near(area.right - 186))) << pane_width() << " of " << area.right;
    drag(area.right - 186, 555);
    EXPECT_TRUE(wait_until(width_is_near(555))) << pane_width();
    const int32_t last = pane_width();
    ASSERT_EQ(console_close(&console), 0);
    const std::string saved = installation_read(installation, "controller_window.ini");
    EXPECT_NE(saved.find("preview_panel_width=" + std::to_string(last)), std::string::npos) << last << " in\n"
                                                                                            << saved;
    start();
    EXPECT_EQ(pane_width(), last);
}

TEST_F(Preview, PlayAndPauseReachTheWorkers) {
    start_with({});
    open_shared();
    EXPECT_EQ(button_text(console, 700), "Play");
    press_on(kTabPreview, 700);
    EXPECT_TRUE(button_becomes(console, 700, "Pause"));
    EXPECT_TRUE(log_shows(installation, "preview: play"));
    EXPECT_EQ(shared_load(shared.block->paused), 0u);
    EXPECT_TRUE(event_is_set(shared, kEventResume));
    ResetEvent(shared.event[kEventResume]);
    press_on(kTabPreview, 700);
    EXPECT_TRUE(button_becomes(console, 700, "Play"));
    EXPECT_TRUE(log_shows(installation, "preview: pause"));
    EXPECT_EQ(shared_load(shared.block->paused), 1u);
    EXPECT_FALSE(event_is_set(shared, kEventResume));
}

// Frames may come faster than a busy machine draws them. Then a refresh always waits, and the system hands out timers
// only when nothing does.
TEST_F(Preview, TimersFireWhilePicturesKeepComing) {
    constexpr int32_t kWaiting = 300;  // a second of drawing and more; children are looked at every half second
    start_with({"mark_motion_Y=0"});
    open_shared();
    press_on(kTabProcesses, 232);
    ASSERT_TRUE(running_children_become(console, "viewer"));
    const uint32_t child = pid_of_child(console, "viewer");
    ASSERT_TRUE(select_tab(console, kTabPreview));
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        plant_frames(feed, 12, kTop, kBottom);
        ASSERT_TRUE(log_shows(installation, "preview: reconnected feed " + std::to_string(feed) + " (attempt *"));
    }
    for (int32_t i = 0; i < kWaiting; ++i) ASSERT_TRUE(PostMessageA(console.window, kRefreshMessage, 0, 0));
    ASSERT_TRUE(end_process(child));
    PostMessageA(console.window, WM_COMMAND, 700, 0);  // the last in the queue
    ASSERT_TRUE(log_shows(installation, "preview: play", 1, 30000));
    EXPECT_TRUE(log_shows_in_order(installation, {"ERR viewer exited with code 77", "preview: play"}));
}

TEST_F(Preview, SwitchesChangeTheControlBlockTheirTextAndTheLog) {
    constexpr Switch kSwitches[] = {
        {716, "Highlight ON", "Highlight OFF", nullptr, nullptr},
        {717, "Log On", "Log Off", "diagnostic logging enabled", "diagnostic logging disabled"},
        {718, "Circles On", "Circles Off", "blob circle overlay enabled", "blob circle overlay disabled"},
        {724, "motion shadow remove currently off", "motion shadow remove currently on",
         "motion shadow removal enabled", "motion shadow removal disabled"},
    };
    start_with({"erase_shadows=0"});
    open_shared();
    const auto state_of = [&](int32_t id) {
        if (id == 717) return shared_load(shared.block->diag_logging);
        if (id == 718) return shared_load(shared.block->blob_circles);
        return shared_load(shared.block->erase_shadows_on);
    };
    for (const Switch& one : kSwitches) {
        EXPECT_EQ(button_text(console, one.id), one.first_text);
        press_on(kTabPreview, one.id);
        EXPECT_TRUE(button_becomes(console, one.id, one.second_text));
        if (one.first_line != nullptr) {
            EXPECT_TRUE(log_shows(installation, one.first_line));
            EXPECT_EQ(state_of(one.id), 1u) << one.first_text;
        }
        press_on(kTabPreview, one.id);
        EXPECT_TRUE(button_becomes(console, one.id, one.first_text));
        if (one.second_line != nullptr) {
            EXPECT_TRUE(log_shows(installation, one.second_line));
            EXPECT_EQ(state_of(one.id), 0u) << one.first_text;
        }
    }
    EXPECT_EQ(log_count(installation, "settings: saved to *"), 0) << "a switch saves nothing";
}

TEST_F(Preview, TheShadowSwitchStartsFromTheSettingAndChangesIt) {
    start_with({"erase_shadows=1"});
    open_shared();
    EXPECT_EQ(button_text(console, 724), "motion shadow remove currently on");
    EXPECT_EQ(shared_load(shared.block->erase_shadows_on), 1u);
    press_on(kTabPreview, 724);
    EXPECT_TRUE(button_becomes(console, 724, "motion shadow remove currently off"));
    ASSERT_EQ(console_close(&console), 0);
    const std::string text = installation_read(installation, "settings.txt");
    const size_t at = text.find("erase_shadows");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(text.substr(text.find('=', at) + 1, 3).find('0') != std::string::npos, true) << text.substr(at, 40);
}

TEST_F(Preview, EveryButtonHasItsTextAndSizeAndTheTopRowItsPlaces) {
    struct Button {
        int32_t id;
        const char* text;
        int32_t width, height;
        bool usable;
        int32_t x;  // in the top row, relative to the tab's ground; -1 where the layout decides
    };
    constexpr Button kButtons[] = {
        {700, "Play", 100, 28, true, 10},
        {701, "Launch Practice", 130, 28, true, 120},
        {702, "Go Live", 95, 28, true, 260},
        {705, "Feed 0", 60, 28, true, 360},
        {706, "Feed 1", 60, 28, true, 430},
        {707, "Feed 2", 60, 28, true, 500},
        {710, "Set Region 0", 80, 20, true, -1},
        {711, "Set Region 1", 80, 20, true, -1},
        {712, "Set Region 2", 80, 20, true, -1},
        {713, "Save Regions", 90, 20, true, -1},
        {714, "Force Video", 100, 28, true, -1},
        {715, "Sync Feeds", 100, 28, true, -1},
        {716, "Highlight ON", 100, 28, true, -1},
        {717, "Log On", 80, 28, true, -1},
        {718, "Circles On", 100, 28, true, -1},
        {719, "Save Motion Range", 130, 28, true, -1},
        {720, "Auto Setup", 100, 28, true, -1},
        {721, "Ign Reg 0", 80, 20, true, -1},
        {722, "Ign Reg 1", 80, 20, true, -1},
        {723, "Ign Reg 2", 80, 20, true, -1},
        {724, "motion shadow remove currently off", 300, 28, true, -1},
        {725, "Set F0 Offset", 110, 20, true, -1},
        {726, "Set F1 Offset", 110, 20, true, -1},
        {727, "Set F2 Offset", 110, 20, true, -1},
        {728, "Capture Feeds", 140, 20, true, -1},
        {729, "Pause Recording", 160, 20, false, -1},
    };
    start_with({});
    const RECT ground = tab_display_area(console);
    std::vector<RECT> places;
    for (const Button& button : kButtons) {
        ASSERT_NE(control(console, button.id), nullptr) << button.text;
        EXPECT_EQ(button_text(console, button.id), button.text);
        EXPECT_TRUE(is_shown(console, button.id)) << button.text;
        EXPECT_EQ(is_enabled(console, button.id), button.usable) << button.text;
        const RECT place = client_place(console, control(console, button.id));
        EXPECT_EQ(place.right - place.left, button.width) << button.text;
        EXPECT_EQ(place.bottom - place.top, button.height) << button.text;
        if (button.x >= 0) {
            EXPECT_EQ(place.left - ground.left, button.x) << button.text;
            EXPECT_EQ(place.top - ground.top, 10) << button.text;
        }
        for (const RECT& other : places) {
            RECT common = {};
            EXPECT_FALSE(IntersectRect(&common, &place, &other)) << button.text << " lies on another button";
        }
        places.push_back(place);
    }
}

TEST_F(Preview, EachTabShowsOnlyItsOwnControls) {
    start_with({});
    struct Case {
        int32_t tab;
        int32_t ids[4];
    };
    constexpr Case kCases[] = {{kTabPreview, {110, 700, 701, 724}},
                               {kTabProcesses, {201, 202, 221, 233}},
                               {kTabFeeds, {300, 301, 302, 300}}};
    for (int32_t tab : {kTabProcesses, kTabFeeds, kTabSettings, kTabPreview}) {
        ASSERT_TRUE(select_tab(console, tab));
        for (const Case& one : kCases)
            for (int32_t id : one.ids)
                EXPECT_EQ(is_shown(console, id), tab == one.tab) << "tab " << tab << " id " << id;
        EXPECT_EQ(IsWindowVisible(process_list(console)) != 0, tab == kTabProcesses);
    }
}
