// Motion and ignore regions, drawn with real clicks into the preview's pictures and read back from settings.txt.
#include <string>
#include <vector>

#include "tests/console/console_test.h"
#include "tests/console/mouse.h"
#include "tests/console/screenshot.h"

namespace {
constexpr int32_t kPaneWidth = 960, kPaneHeight = 270;  // half a picture: a pixel of the pane is two of the picture
constexpr int32_t kPaneStep = kPaneHeight + 5;
constexpr Yuv kGrey = {100, 128, 128};

class Regions : public ConsoleTest {
protected:
    void SetUp() override {
        ConsoleTest::SetUp();
        installation_write(installation, "controller_window.ini",
                           "x=20\ny=20\nwidth=1500\nheight=1140\npreview_panel_width=960\n");
    }
    HWND picture_area() const {
        return control(console, 110);
    }
    // A click at a pixel of a feed's pane, and the line that answers it.
    testing::AssertionResult click(int32_t feed, int32_t x, int32_t y, const std::string& line) {
        const size_t before = log_length(installation);
        if (!click_at(picture_area(), x, feed * kPaneStep + y))
            return testing::AssertionFailure() << "pixel " << x << "," << y << " of pane " << feed << " is covered";
        if (wait_until([&] { return static_cast<bool>(log_shows_in_order_from(installation, before, {line})); }))
            return testing::AssertionSuccess();
        return log_shows_in_order_from(installation, before, {line});
    }
    // A click that nobody may answer. A button pressed behind it shows that it has been looked at.
    void click_in_vain(int32_t x, int32_t y) {
        const int32_t before = log_count(installation, "* region feed *");
        ASSERT_TRUE(click_at(picture_area(), x, y)) << x << "," << y;
        wait_for_the_queue();
        EXPECT_EQ(log_count(installation, "* region feed *"), before) << x << "," << y;
    }
    void wait_for_the_queue() {
        const int32_t before = log_count(installation, "blob circle overlay *");
        Sleep(100);  // input takes its way through the display server
        press_on(kTabPreview, 718);
        ASSERT_TRUE(log_shows(installation, "blob circle overlay *", before + 1));
    }
    void save() {
        const int32_t before = log_count(installation, "motion + ignore regions saved to *");
        press_on(kTabPreview, 713);
        ASSERT_TRUE(log_shows(installation, "motion + ignore regions saved to " + settings_path(), before + 1));
    }
    std::string settings_path() const {
        return installation_path(installation, "settings.txt");
    }
    // "start_x,start_y,end_x,end_y" of a feed's region ("motion" or "ignore") as the file has it.
    std::string saved(const std::string& region, int32_t feed) const {
        std::string text;
        for (const char* part : {"_start_x", "_start_y", "_end_x", "_end_y"})
            text += (text.empty() ? "" : ",") +
                    installation_setting(installation, region + part + "[" + std::to_string(feed) + "]");
        return text;
    }
};
}  // namespace

TEST_F(Regions, TwoClicksMakeAMotionRegionWhicheverCornersComeFirst) {
    start_with({"overlay_frame_offsets[0]=0", "overlay_frame_offsets[1]=0", "overlay_frame_offsets[2]=40"});
    struct Case {
        int32_t feed;
        POINT first, second;
        const char* corner;
        const char* saved;
    };
    constexpr Case kCases[] = {
        {0, {50, 25}, {900, 250}, "(100, 50)", "100,50,1800,500"},
        {1, {900, 250}, {50, 25}, "(1800, 500)", "100,50,1800,500"},
        {2, {900, 25}, {50, 200}, "(1800, 50)", "100,90,1800,440"},  // rows are stored with the overlay offset
    };
    const size_t from = log_length(installation);
    std::vector<std::string> lines;
    for (const Case& c : kCases) {
        const std::string feed = std::to_string(c.feed);
        const int32_t id = 710 + c.feed;
        EXPECT_EQ(button_text(console, id), "Set Region " + feed);
        lines.push_back("motion region: editing feed " + feed + " — click upper-left corner");
        press_on(kTabPreview, id);
        EXPECT_TRUE(button_becomes(console, id, "Click UL"));
        lines.push_back("motion region feed " + feed + ": UL = " + c.corner + " — click lower-right");
        EXPECT_TRUE(click(c.feed, c.first.x, c.first.y, lines.back()));
        EXPECT_EQ(button_text(console, id), "Click LR");
        lines.push_back("motion region feed " + feed +
                        (c.feed == 2 ? ": (100,50)-(1800,400)" : ": (100,50)-(1800,500)") +
                        " — click UL to redefine or Save");
        EXPECT_TRUE(click(c.feed, c.second.x, c.second.y, lines.back()));
        EXPECT_EQ(button_text(console, id), "Click UL");
    }
    EXPECT_EQ(button_text(console, 710), "Click UL") << "only saving gives a left editor's button its text back";
    save();
    lines.push_back("motion + ignore regions saved to " + settings_path());
    EXPECT_TRUE(log_shows_in_order_from(installation, from, lines));
    for (const Case& c : kCases) {
        EXPECT_EQ(saved("motion", c.feed), c.saved) << c.feed;
        EXPECT_EQ(saved("ignore", c.feed), "0,0,0,0") << c.feed;
        EXPECT_TRUE(button_becomes(console, 710 + c.feed, "Set Region " + std::to_string(c.feed)));
    }
    click_in_vain(100, 100);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(Regions, AnIgnoreRegionIsDrawnThroughItsOwnButtonAndEndsTheOtherEditor) {
    start_with({"overlay_frame_offsets[1]=10", "motion_start_x[1]=0", "motion_start_y[1]=40", "motion_end_x[1]=1900",
                "motion_end_y[1]=530"});
    press_on(kTabPreview, 711);
    EXPECT_TRUE(button_becomes(console, 711, "Click UL"));
    EXPECT_TRUE(click(1, 10, 10, "motion region feed 1: UL = (20, 20) — click lower-right"));
    press_on(kTabPreview, 722);
    EXPECT_TRUE(log_shows(installation, "ignore region: editing feed 1 — click upper-left corner"));
    EXPECT_TRUE(button_becomes(console, 722, "Click UL"));
    EXPECT_EQ(button_text(console, 711), "Click LR") << "as it was left";
    EXPECT_TRUE(click(1, 400, 150, "ignore region feed 1: UL = (800, 300) — click lower-right"));
    EXPECT_EQ(button_text(console, 722), "Click LR");
    EXPECT_TRUE(click(1, 300, 100, "ignore region feed 1: (600,200)-(800,300) — click UL to redefine or Save"));
    EXPECT_EQ(button_text(console, 722), "Click UL");
    save();
    EXPECT_EQ(saved("ignore", 1), "600,210,800,310");
    EXPECT_EQ(saved("motion", 1), "0,40,1900,530") << "half a motion region is none";
    EXPECT_TRUE(button_becomes(console, 711, "Set Region 1"));
    EXPECT_TRUE(button_becomes(console, 722, "Ign Reg 1"));
}

TEST_F(Regions, AFinishedRegionCanBeDrawnAgain) {
    start_with({"overlay_frame_offsets[0]=0"});
    press_on(kTabPreview, 710);
    EXPECT_TRUE(button_becomes(console, 710, "Click UL"));
    EXPECT_TRUE(click(0, 10, 10, "motion region feed 0: UL = (20, 20) *"));
    EXPECT_TRUE(click(0, 20, 20, "motion region feed 0: (20,20)-(40,40) *"));
    EXPECT_TRUE(click(0, 300, 200, "motion region feed 0: UL = (600, 400) *"));
    EXPECT_TRUE(click(0, 200, 100, "motion region feed 0: (400,200)-(600,400) *"));
    save();
    EXPECT_EQ(saved("motion", 0), "400,200,600,400");
}

TEST_F(Regions, ThePanesOutermostPixelsCountAndNothingBesideIt) {
    start_with({"overlay_frame_offsets[1]=0"});
    press_on(kTabPreview, 711);
    EXPECT_TRUE(button_becomes(console, 711, "Click UL"));
    click_in_vain(100, kPaneStep - 1);              // between the panes
    click_in_vain(100, kPaneStep - 20);             // feed 0
    click_in_vain(100, kPaneStep + kPaneHeight);    // below
    click_in_vain(100, 2 * kPaneStep + 20);         // feed 2
    click_in_vain(kPaneWidth + 2, kPaneStep + 50);  // the divider
    EXPECT_EQ(button_text(console, 711), "Click UL");
    EXPECT_TRUE(click(1, kPaneWidth - 1, kPaneHeight - 1, "motion region feed 1: UL = (1918, 538) *"));
    EXPECT_TRUE(click(1, 0, 0, "motion region feed 1: (0,0)-(1918,538) *"));
    save();
    EXPECT_EQ(saved("motion", 1), "0,0,1918,538");
}

TEST_F(Regions, TheDividerCanBeDraggedWhileARegionIsEdited) {
    start_with({});
    press_on(kTabPreview, 710);
    EXPECT_TRUE(button_becomes(console, 710, "Click UL"));
    ASSERT_TRUE(drag(picture_area(), kPaneWidth + 2, 400, 640 + 2, 400));
    // The picture is three times the pane's width now.
    EXPECT_TRUE(wait_until([&] {
        click_at(picture_area(), 320, 90);
        return log_count(installation, "motion region feed 0: *") > 0;
    }));
    EXPECT_TRUE(log_shows(installation, "motion region feed 0: UL = (9*, 2*) — click lower-right"));
    ASSERT_EQ(console_close(&console), 0);
    const std::string ini = installation_read(installation, "controller_window.ini");
    EXPECT_NE(ini.find("preview_panel_width=6"), std::string::npos) << ini;
}

TEST_F(Regions, AnInvalidIgnoreRegionIsStoredAsZerosAndAnInvalidMotionRegionNotAtAll) {
    // Without regions at the start; loading moves first rows down to the offset plus 30, hence this offset...
    start_with({"motion_start_x[0]=0", "motion_start_y[0]=0", "motion_end_x[0]=0", "motion_end_y[0]=0",
                "overlay_frame_offsets[0]=-30"});
    // ...the settings alone learn of some: the preview keeps what the operator sees.
    installation_settings(installation, {"motion_start_x[0]=10", "motion_start_y[0]=20", "motion_end_x[0]=30",
                                         "motion_end_y[0]=40", "ignore_start_x[0]=50", "ignore_start_y[0]=60",
                                         "ignore_end_x[0]=70", "ignore_end_y[0]=80", "overlay_frame_offsets[0]=-30"});
    ASSERT_TRUE(select_tab(console, kTabSettings));
    press_key(console, 'L', true);
    ASSERT_TRUE(status_becomes(console, "Settings loaded"));
    save();
    EXPECT_EQ(saved("motion", 0), "10,20,30,40");
    EXPECT_EQ(saved("ignore", 0), "0,0,0,0");
}

TEST_F(Regions, AFailedSaveIsLoggedAndKeepsTheRegionsForTheNextOne) {
    start_with({"overlay_frame_offsets[2]=0"});
    press_on(kTabPreview, 712);
    EXPECT_TRUE(button_becomes(console, 712, "Click UL"));
    EXPECT_TRUE(click(2, 10, 20, "motion region feed 2: UL = (20, 40) *"));
    EXPECT_TRUE(click(2, 30, 40, "motion region feed 2: (20,40)-(60,80) *"));
    const std::string blocker = settings_path() + ".tmp";
    ASSERT_TRUE(CreateDirectoryA(blocker.c_str(), nullptr));
    press_on(kTabPreview, 713);
    EXPECT_TRUE(log_shows(installation, "ERR failed to save settings to " + settings_path()));
    EXPECT_TRUE(button_becomes(console, 712, "Set Region 2"));
    EXPECT_EQ(log_count(installation, "motion + ignore regions saved to *"), 0);
    ASSERT_TRUE(RemoveDirectoryA(blocker.c_str()));
    save();
    EXPECT_EQ(saved("motion", 2), "20,40,60,80");
}

TEST_F(Regions, ANewRegionIsSeenAtOnce) {
    start_with({"overlay_frame_offsets[1]=0", "motion_start_x[1]=0", "motion_start_y[1]=0", "motion_end_x[1]=0",
                "motion_end_y[1]=0", "mark_motion_Y=0"});
    open_shared();
    TestRing ring = {};
    ASSERT_TRUE(test_ring_create(&ring, 1, 0));
    test_ring_paint(ring, 0, kGrey, kGrey);
    shared_store(shared.block->feed[1][0].nw, 2u);
    const auto colour_at = [&](int32_t x, int32_t y) {
        return pixel(picture_of(picture_area(), {x, kPaneStep + y, x + 1, kPaneStep + y + 1}), 0, 0);
    };
    const auto shows = [&](int32_t x, int32_t y, COLORREF colour) {
        return becomes(
            "colour (BBGGRR)", [&] { return colour_at(x, y); }, colour);
    };
    const COLORREF grey = RGB(100, 100, 100), inverted = RGB(155, 155, 155);
    ASSERT_TRUE(shows(480, 135, grey));
    press_on(kTabPreview, 711);
    EXPECT_TRUE(button_becomes(console, 711, "Click UL"));
    EXPECT_TRUE(click(1, 100, 50, "motion region feed 1: UL = (200, 100) *"));
    EXPECT_TRUE(click(1, 800, 250, "motion region feed 1: (200,100)-(1600,500) *"));
    EXPECT_TRUE(shows(101, 135, inverted)) << "left edge";
    EXPECT_TRUE(shows(480, 51, inverted)) << "upper edge";
    EXPECT_TRUE(shows(480, 135, grey)) << "inside";
    press_on(kTabPreview, 722);
    EXPECT_TRUE(button_becomes(console, 722, "Click UL"));
    EXPECT_TRUE(click(1, 300, 100, "ignore region feed 1: UL = (600, 200) *"));
    EXPECT_TRUE(click(1, 600, 200, "ignore region feed 1: (600,200)-(1200,400) *"));
    EXPECT_TRUE(shows(301, 150, RGB(0, 255, 0))) << "border";
    EXPECT_TRUE(shows(450, 150, RGB(70, 130, 70))) << "tint";
    EXPECT_TRUE(shows(200, 150, grey)) << "between the two";
    EXPECT_EQ(console_close(&console), 0);
    test_ring_close(&ring);
}
