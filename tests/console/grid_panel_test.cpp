// Grid Line Setup as the operator meets it: the panel of the running program, and the viewer's window beside it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ipc/scoped_handle.h"
#include "rig/common/scene.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/console/console_test.h"
#include "tests/console/mouse.h"
#include "tests/console/screenshot.h"

namespace {

constexpr int32_t kGridLines = 500, kSave = 1000, kExit = 1001;

class GridSetup : public ConsoleTest {
protected:
    explicit GridSetup(bool simulated_rig = false) : ConsoleTest(simulated_rig) {}

    // Opens the panel for the `times`th time.
    void open_panel(int32_t times = 1) {
        send_command(console, kGridLines);
        ASSERT_TRUE(log_shows(installation, "grid line setup panel created", times));
        panel = FindWindowA("GridLineSetupClass", nullptr);
        ASSERT_NE(panel, nullptr);
    }
    void click_panel(int32_t id) const {
        PostMessageW(GetDlgItem(panel, id), BM_CLICK, 0, 0);
    }
    std::string panel_text(int32_t id) const {
        return window_text(GetDlgItem(panel, id));
    }
    testing::AssertionResult panel_is_gone() const {
        return becomes(
            "panel", [&] { return IsWindow(panel); }, FALSE);
    }
    testing::AssertionResult box_becomes(const std::string& title) const {
        return becomes(
            "message box",
            [&] {
                HWND box = message_box(console);
                return box != nullptr ? window_text(box) : std::string();
            },
            title);
    }
    void answer_box() const {
        PostMessageW(message_box(console), WM_COMMAND, IDOK, 0);
    }

    HWND panel = nullptr;
};

class GridSetupOnTheRig : public GridSetup {
protected:
    GridSetupOnTheRig() : GridSetup(true) {}

    // The scene's own settings without its anchors, and a hill that stays empty.
    void write_settings() {
        const std::string path = installation_path(installation, "settings.txt");
        ASSERT_EQ(scene_write_settings(path.c_str()), 0);
        load(settings.get());
        for (int32_t feed = 0; feed < kSettingsFeeds; ++feed)
            for (int32_t line = 0; line < kGridLinesPerFeed; ++line)
                for (GridLine* anchor : {&settings->far_lines[feed][line], &settings->near_lines[feed][line]})
                    anchor->x = anchor->y = 0;
        ASSERT_EQ(settings_save(settings.get(), path.c_str()), 0);
        installation_write(installation, "rig.txt", "lead_in_frames=1000000\n");
    }
    void load(Settings* into) const {
        settings_init_defaults(into);
        ASSERT_EQ(settings_load(into, installation_path(installation, "settings.txt").c_str()), 0);
    }
    void play() {
        press_on(kTabPreview, 701);
        ASSERT_TRUE(log_shows(installation, "practice: all processes ready, viewer launched, playing"));
        open_shared();
        for (const auto& feed : shared.block->feed)
            ASSERT_TRUE(wait_until([&] { return shared_load(feed[0].nw) > 5; }));
        ASSERT_TRUE(wait_until([&] { return (viewer = FindWindowA("OrveklineViewer", nullptr)) != nullptr; }));
        // Whatever lies over it would take the mouse.
        SetWindowPos(viewer, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }
    SceneAnchor truth_of(int32_t feed, int32_t line) const {
        return scene_anchor(feed, settings->meter_line_start[feed] + line * settings->meter_line_increment[feed]);
    }
    // Where the viewer shows a point of the feed's full picture.
    POINT shown_at(int32_t feed, int32_t x, int32_t row) const {
        return {x / 2, (row - settings->overlay_frame_offsets[feed]) / 2};
    }
    // Whether the picture has a line of dye at this point of the viewer: bluer than the snow on both sides.
    bool shows_line_at(POINT point) const {
        const RECT area = {point.x - 8, point.y, point.x + 9, point.y + 1};
        const Picture picture = picture_of(viewer, area);
        const auto blueness = [&](int32_t x) {
            const COLORREF colour = pixel(picture, x, 0);
            return static_cast<int32_t>(GetBValue(colour)) - static_cast<int32_t>(GetRValue(colour));
        };
        const int32_t snow = std::max(blueness(0), blueness(16));
        return std::max({blueness(7), blueness(8), blueness(9)}) > snow + 20;
    }
    // Moves the mouse there and presses its button, as the operator would.
    void click_viewer(POINT point) const {
        ASSERT_TRUE(click_at(viewer, point.x, point.y)) << point.x << "," << point.y << " is covered";
    }
    // One point from the press on its button to the relabelled button.
    void set_point(int32_t feed, int32_t line, bool near_side) {
        const int32_t id = 800 + feed * 60 + (near_side ? 30 : 0) + line;
        const int32_t metre = settings->meter_line_start[feed] + line * settings->meter_line_increment[feed];
        const char* side = near_side ? "near" : "far";
        char point_text[64];
        snprintf(point_text, sizeof point_text, "feed=%d line=%d %s", feed, line, side);
        ASSERT_EQ(panel_text(id), std::to_string(metre)) << point_text;
        const size_t log_before = log_length(installation);
        const uint32_t generation = shared_load(shared.block->grid_generation);
        click_panel(id);
        char asked[64];
        snprintf(asked, sizeof asked, "Click in viewer for Feed %d, %s point, %dm line", feed, side, metre);
        ASSERT_TRUE(becomes(
            "title", [&] { return window_text(panel); }, std::string(asked)));
        ASSERT_TRUE(becomes(
            "viewer", [&] { return window_text(viewer); },
            "Orvekline viewer - click in feed " + std::to_string(feed)));

        const SceneAnchor truth = truth_of(feed, line);
        const POINT at =
            near_side ? shown_at(feed, truth.near_x, truth.near_y) : shown_at(feed, truth.far_x, truth.far_y);
        // A few rows inside the line's end, whose slant is far less than the width looked at.
        const POINT on_line = {at.x, near_side ? at.y - 4 : at.y + 4};
        EXPECT_TRUE(wait_until([&] { return shows_line_at(on_line); })) << point_text;
        click_viewer(at);
        ASSERT_TRUE(becomes(
            "title", [&] { return window_text(panel); }, std::string("Grid Line Setup")));
        EXPECT_TRUE(becomes(
            "label", [&] { return panel_text(id); }, "*" + std::to_string(metre)))
            << point_text;
        const int32_t row = 2 * static_cast<int32_t>(at.y);
        char received[128];
        snprintf(received, sizeof received, "grid setup: received click - %s x=%ld y=%d (adjusted y=%d)", point_text,
                 2 * at.x, row, row + settings->overlay_frame_offsets[feed]);
        EXPECT_TRUE(log_shows(installation, received));
        EXPECT_TRUE(log_shows_in_order_from(
            installation, log_before,
            {std::string("grid setup: waiting for click - ") + point_text, "settings: saved to '*", received}));
        EXPECT_EQ(shared_load(shared.block->grid_generation), generation + 1) << point_text;
        EXPECT_EQ(shared_load(shared.block->grid_click_wait), 0u);
    }

    HWND viewer = nullptr;
    std::unique_ptr<Settings> settings = std::make_unique<Settings>();
};

}  // namespace

static void expect_near_by(const GridLine& anchor, int32_t x, int32_t y) {
    EXPECT_LE(std::abs(anchor.x - x), 1) << anchor.label << " " << anchor.x << " for " << x;
    EXPECT_LE(std::abs(anchor.y - y), 1) << anchor.label << " " << anchor.y << " for " << y;
}

// The viewer shows every second pixel, so a click may miss a point by one.
TEST_F(GridSetupOnTheRig, ClicksOnAllLinesOfTheSceneGiveItsMetres) {
    write_settings();
    start();
    play();
    open_panel();
    int32_t points = 0;
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed)
        for (int32_t line = 0; line < settings->meter_line_count[feed]; ++line)
            for (const bool near_side : {false, true}) {
                if (!truth_of(feed, line).visible) continue;
                set_point(feed, line, near_side);
                if (HasFatalFailure()) return;
                ++points;
            }
    EXPECT_EQ(points, 2 * (4 + 3 + 2));
    EXPECT_EQ(shared_load(shared.block->grid_generation), static_cast<uint32_t>(points));

    const auto saved = std::make_unique<Settings>();
    load(saved.get());
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed)
        for (int32_t line = 0; line < kGridLinesPerFeed; ++line) {
            const SceneAnchor truth = truth_of(feed, line);
            const GridLine& far_point = saved->far_lines[feed][line];
            const GridLine& near_point = saved->near_lines[feed][line];
            if (line >= settings->meter_line_count[feed] || !truth.visible) {
                EXPECT_TRUE(far_point.x == 0 && far_point.y == 0 && near_point.x == 0 && near_point.y == 0)
                    << "nobody set " << far_point.label;
                continue;
            }
            expect_near_by(far_point, truth.far_x, truth.far_y);
            expect_near_by(near_point, truth.near_x, truth.near_y);
            const double metre = scene_metre_of_column(feed, (far_point.x + near_point.x) / 2.0);
            EXPECT_NEAR(metre, saved->meter_values[feed][line], 1.0 / 90) << far_point.label;
        }

    // The viewer has drawn what it was told: red on the line's middle.
    const SceneAnchor drawn = truth_of(1, 5);
    const POINT middle = shown_at(1, (drawn.far_x + drawn.near_x) / 2, (drawn.far_y + drawn.near_y) / 2);
    click_panel(800 + 60);  // shows feed 1 again, and is still awaited at the end
    EXPECT_TRUE(wait_until([&] {
        const Picture picture = picture_of(viewer, {middle.x - 2, middle.y, middle.x + 3, middle.y + 1});
        for (int32_t x = 0; x < 5; ++x)
            if (pixel(picture, x, 0) == RGB(220, 40, 40)) return true;
        return false;
    })) << "no grid line in the viewer";
    if (const char* pictures = getenv("ORVEK_KEEP_PICTURES"); pictures != nullptr) {
        SetForegroundWindow(panel);
        Sleep(500);
        save_screenshot(installation.folder + ".bmp");
    }

    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(shared_load(shared.block->grid_click_wait), 0u) << "closing withdraws the question";
    EXPECT_EQ(shared_load(shared.block->grid_setup_active), 0u);
    EXPECT_TRUE(installation_has(installation, "gridline_panel.ini"));
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
}

TEST_F(GridSetup, ThePanelReturnsToWhereItWasClosed) {
    start_with({});
    open_panel();
    SetWindowPos(panel, nullptr, 321, 234, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    RECT before = {};
    GetWindowRect(panel, &before);
    click_panel(kExit);
    ASSERT_TRUE(panel_is_gone());
    char position[32];
    snprintf(position, sizeof position, "x=%ld\r\ny=%ld\r\n", before.left, before.top);
    EXPECT_NE(installation_read(installation, "gridline_panel.ini").find(position), std::string::npos)
        << installation_read(installation, "gridline_panel.ini");
    EXPECT_EQ(console_close(&console), 0);

    start();
    open_panel();
    char restored[64];
    snprintf(restored, sizeof restored, "gridline panel: restoring position x=%ld y=%ld from ", before.left,
             before.top);
    EXPECT_TRUE(log_shows_in_order(
        installation, {restored + installation.folder + "\\gridline_panel.ini", "grid line setup panel created"}));
    RECT after = {};
    GetWindowRect(panel, &after);
    EXPECT_EQ(after.left, before.left);
    EXPECT_EQ(after.top, before.top);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, ASecondOpeningBringsThePanelForward) {
    start_with({});
    open_panel();
    ASSERT_TRUE(brought_to_front(console.window));
    send_command(console, kGridLines);
    EXPECT_TRUE(becomes(
        "foreground window", [&] { return GetForegroundWindow(); }, panel));
    EXPECT_EQ(log_count(installation, "grid line setup panel created"), 1);
    EXPECT_EQ(message_box(console), nullptr);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, ClosingThePanelWhileWaitingWithdrawsTheQuestion) {
    start_with({});
    open_shared();
    open_panel();
    EXPECT_EQ(shared_load(shared.block->grid_setup_active), 1u);
    click_panel(800);
    ASSERT_TRUE(log_shows(installation, "grid setup: waiting for click - feed=0 line=0 far"));
    EXPECT_EQ(shared_load(shared.block->grid_click_wait), 1u);
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(panel, 860)));
    PostMessageW(panel, WM_CLOSE, 0, 0);
    ASSERT_TRUE(panel_is_gone());
    EXPECT_EQ(shared_load(shared.block->grid_click_wait), 0u);
    EXPECT_EQ(shared_load(shared.block->grid_setup_active), 0u);
    open_panel(2);
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(panel, 860)));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, SaveTellsThatItSaved) {
    start_with({"meter_line_start[0]=40"});
    open_panel();
    EXPECT_EQ(panel_text(801), "45");
    click_panel(kSave);
    ASSERT_TRUE(box_becomes("Saved"));
    EXPECT_NE(message_box_text(message_box(console)).find("Grid line settings saved."), std::string::npos);
    EXPECT_NE(installation_read(installation, "settings.txt").find("meter_line_start[2]=45"), std::string::npos);
    answer_box();
    EXPECT_TRUE(log_shows(installation, "grid line settings saved to " + installation.folder + "\\settings.txt"));
    EXPECT_TRUE(IsWindow(panel));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, TheProgramClosesAlsoWhileSavedIsOnTheScreen) {
    start_with({});
    open_panel();
    click_panel(kSave);
    ASSERT_TRUE(box_becomes("Saved"));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(installation_has(installation, "gridline_panel.ini"));
    EXPECT_TRUE(log_shows(installation, "controller exiting"));
}

TEST_F(GridSetup, CtrlSDoesNotPressThePanelsExit) {
    start_with({});
    open_panel();
    press_key(console, 'S', true);
    EXPECT_TRUE(IsWindow(panel));
    ASSERT_TRUE(select_tab(console, kTabSettings));
    press_key(console, 'S', true);
    EXPECT_TRUE(status_becomes(console, "Settings saved"));
    EXPECT_TRUE(IsWindow(panel));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, WithoutAControlBlockAMessageAsksForAProcess) {
    const ScopedHandle blocker(CreateSemaphoreA(nullptr, 0, 1, kControlBlockName));
    start_with({});
    send_command(console, kGridLines);
    ASSERT_TRUE(box_becomes("Grid Line Setup"));
    EXPECT_NE(message_box_text(message_box(console))
                  .find("Shared memory not available.\nStart at least one process first."),
              std::string::npos)
        << message_box_text(message_box(console));
    answer_box();
    EXPECT_TRUE(box_becomes(""));
    EXPECT_EQ(FindWindowA("GridLineSetupClass", nullptr), nullptr);
    EXPECT_EQ(log_count(installation, "grid line setup panel created"), 0);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, AnUnattendedRunIsNotHeldUpByABox) {
    start_with({}, "--practice-test --max-movies 1000 --max-frames 100000");
    open_panel();
    click_panel(kSave);
    EXPECT_TRUE(log_shows(installation, "grid line settings saved to " + installation.folder + "\\settings.txt"));
    EXPECT_EQ(message_box(console), nullptr);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(GridSetup, AnUnattendedRunWithoutAControlBlockOnlyLogsIt) {
    const ScopedHandle blocker(CreateSemaphoreA(nullptr, 0, 1, kControlBlockName));
    start_with({}, "--practice-test --max-movies 1000 --max-frames 100000");
    send_command(console, kGridLines);
    EXPECT_TRUE(log_shows(installation, "WRN grid line setup: shared memory not available"));
    EXPECT_EQ(message_box(console), nullptr);
    EXPECT_EQ(console_close(&console), 0);
}
