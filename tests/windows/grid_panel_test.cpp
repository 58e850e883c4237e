// The Grid Line Setup panel as a window, with the test in the viewer's place.
#include "preview/grid_panel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/window_state.h"
#include "ipc/shared_access.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/support/log_capture.h"
#include "tests/windows/preview_rig.h"

namespace {

class GridPanelWindow : public testing::Test {
protected:
    void SetUp() override {
        settings_init_defaults(settings.get());
        ASSERT_EQ(ipc_init(&sync), 0);
        parent = CreateWindowExA(0, "STATIC", "grid test", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr, nullptr,
                                 GetModuleHandleA(nullptr), nullptr);
        ASSERT_NE(parent, nullptr);
        log.take();
    }
    void TearDown() override {
        grid_panel_close(&panel);
        DestroyWindow(parent);
        ipc_close(&sync);
    }

    void open() {
        ASSERT_EQ(
            grid_panel_open(&panel, parent, settings.get(), &control, &sync, settings_path.c_str(),
                            {[](void* test) { ++static_cast<GridPanelWindow*>(test)->redisplays; }, this, false}),
            0);
        ASSERT_NE(panel.window, nullptr);
    }
    HWND item(int32_t id) const {
        return GetDlgItem(panel.window, id);
    }
    void click(int32_t id) const {
        SendMessageA(item(id), BM_CLICK, 0, 0);
    }
    std::string text(HWND window) const {
        char text[128] = "";
        GetWindowTextA(window, text, sizeof text);
        return text;
    }
    std::string title() const {
        return text(panel.window);
    }
    RECT place(HWND child) const {
        RECT rect = {};
        GetWindowRect(child, &rect);
        MapWindowPoints(nullptr, panel.window, reinterpret_cast<POINT*>(&rect), 2);
        return rect;
    }
    int32_t line_buttons(bool enabled_only = false) const {
        int32_t count = 0;
        for (int32_t id = 800; id <= 999; ++id) count += item(id) && (!enabled_only || IsWindowEnabled(item(id)));
        return count;
    }
    // As the viewer does it.
    void answer(int32_t x, int32_t y) {
        ipc_lock(&sync, kMutexGrid);
        shared_store(control.grid_click_x, x);
        shared_store(control.grid_click_y, y);
        shared_store(control.grid_click_ready, 1u);
        ipc_unlock(&sync, kMutexGrid);
    }
    template <class Condition>
    bool pump_until(Condition happened, DWORD patience_ms = 10'000) {
        const DWORD start = GetTickCount();
        while (!happened()) {
            if (GetTickCount() - start > patience_ms) return false;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
            MSG message;
            while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
        }
        return true;
    }
    void pump(DWORD ms) {
        pump_until([] { return false; }, ms);
    }
    bool answered() {
        return pump_until([&] { return panel.waiting == 0; });
    }

    // How long the action takes while another thread sits on the mutexes.
    template <class Action>
    ULONGLONG ms_while_held(const std::vector<int32_t>& mutexes, Action action) {
        std::promise<void> taken;
        std::promise<void> done;
        std::thread owner([&] {
            for (const int32_t mutex : mutexes) EXPECT_EQ(ipc_lock(&sync, mutex), 0) << mutex;
            taken.set_value();
            done.get_future().wait();
            for (const int32_t mutex : mutexes) ipc_unlock(&sync, mutex);
        });
        taken.get_future().wait();
        const ULONGLONG start = GetTickCount64();
        action();
        const ULONGLONG took = GetTickCount64() - start;
        done.set_value();
        owner.join();
        return took;
    }

    LogCapture log;
    TempDir dir;
    const std::string settings_path = dir.file("settings.txt");
    const std::string position_path = dir.file("gridline_panel.ini");
    std::unique_ptr<Settings> settings = std::make_unique<Settings>();
    ControlBlock control = {};
    IpcSyncSet sync = {};
    HWND parent = nullptr;
    GridPanel panel = {};
    int32_t redisplays = 0;
};

}  // namespace

TEST_F(GridPanelWindow, OpensAsAToolWindowWithOneButtonPerPoint) {
    settings->far_lines[1][2].x = 7;
    settings->near_lines[2][6].y = -3;
    control.grid_click_wait = 1;
    open();
    char name[64] = "";
    GetClassNameA(panel.window, name, sizeof name);
    EXPECT_STREQ(name, "GridLineSetupClass");
    EXPECT_EQ(title(), "Grid Line Setup");
    EXPECT_NE(GetWindowLongA(panel.window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW, 0);
    EXPECT_EQ(GetWindow(panel.window, GW_OWNER), parent);
    EXPECT_TRUE(IsWindowVisible(panel.window));
    RECT outer = {};
    GetWindowRect(panel.window, &outer);
    EXPECT_EQ(outer.right - outer.left, 7 * 49 + 85);
    EXPECT_EQ(outer.bottom - outer.top, 359);
    EXPECT_EQ(line_buttons(), 2 * (4 + 7 + 7));
    EXPECT_EQ(text(item(800)), "35");
    EXPECT_EQ(text(item(833)), "50");
    EXPECT_EQ(item(804), nullptr);
    EXPECT_EQ(text(item(862)), "*45") << "far point set";
    EXPECT_EQ(text(item(892)), "45") << "near point not";
    EXPECT_EQ(text(item(956)), "*75");
    const RECT last = place(item(956));
    EXPECT_EQ(last.left, 55 + 49 * 6);
    EXPECT_EQ(last.top, 10 + 2 * 88 + 49);
    EXPECT_EQ(last.right - last.left, 45);
    EXPECT_EQ(last.bottom - last.top, 25);
    EXPECT_EQ(text(item(1000)), "Save");
    EXPECT_EQ(text(item(1001)), "Exit");
    RECT client = {};
    GetClientRect(panel.window, &client);
    EXPECT_LE(place(item(1001)).bottom, client.bottom) << "the lowest button is inside the window";
    EXPECT_EQ(control.grid_setup_active, 1u);
    EXPECT_EQ(control.grid_click_wait, 0u);
    EXPECT_EQ(log.take(), (std::vector<std::string>{"INF grid line setup panel created"}))
        << "no position to restore";
}

TEST_F(GridPanelWindow, AFeedWithoutLinesGetsItsLabelsButNoButtons) {
    settings->meter_line_count[1] = 0;
    open();
    EXPECT_EQ(line_buttons(), 2 * (4 + 7));
    for (int32_t id = 860; id < 920; ++id) EXPECT_EQ(item(id), nullptr) << id;
    int32_t labels = 0;
    for (HWND child = GetWindow(panel.window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        const RECT rect = place(child);
        const std::string caption = text(child);
        if (caption == "Feed 1" && rect.left == 10 && rect.top == 98) ++labels;
        if (caption == "Far:" && rect.left == 10 && rect.top == 98 + 23) ++labels;
        if (caption == "Near:" && rect.left == 10 && rect.top == 98 + 52) ++labels;
    }
    EXPECT_EQ(labels, 3);
}

TEST_F(GridPanelWindow, APressAsksTheViewerAndLocksTheOtherPoints) {
    open();
    log.take();
    control.grid_click_ready = 1;  // a leftover
    ipc_signal(&sync, kEventGridClick);
    click(893);  // feed 1, near, line 3
    EXPECT_EQ(control.grid_feed, 1u);
    EXPECT_EQ(control.grid_line, 3u);
    EXPECT_EQ(control.grid_near, 1u);
    EXPECT_EQ(control.grid_click_wait, 1u);
    EXPECT_EQ(control.grid_click_ready, 0u);
    EXPECT_EQ(WaitForSingleObject(sync.event[kEventGridClick], 0), DWORD{WAIT_TIMEOUT}) << "event 21 was reset";
    EXPECT_EQ(panel.waiting, 1u);
    EXPECT_EQ(line_buttons(true), 0);
    EXPECT_TRUE(IsWindowEnabled(item(1000)));
    EXPECT_TRUE(IsWindowEnabled(item(1001)));
    EXPECT_EQ(title(), "Click in viewer for Feed 1, near point, 50m line");
    EXPECT_EQ(log.take(), (std::vector<std::string>{"INF grid setup: waiting for click - feed=1 line=3 near"}));

    SendMessageA(panel.window, WM_COMMAND, 800, 0);
    EXPECT_EQ(control.grid_line, 3u) << "one click is awaited at a time";
    EXPECT_TRUE(log.take().empty());
}

TEST_F(GridPanelWindow, TheAnswerBecomesTheAnchorInRecordAndFile) {
    settings->overlay_frame_offsets[2] = 12;
    settings->meter_values[2][4] = -1;
    control.grid_generation = 41;
    open();
    click(924);
    log.take();
    pump(250);
    EXPECT_EQ(panel.waiting, 1u) << "no answer yet";
    answer(640, 100);
    ASSERT_TRUE(answered());
    EXPECT_EQ(settings->far_lines[2][4].x, 640);
    EXPECT_EQ(settings->far_lines[2][4].y, 112);
    EXPECT_EQ(settings->meter_values[2][4], 65);
    EXPECT_EQ(control.grid_click_wait, 0u);
    EXPECT_EQ(control.grid_click_ready, 0u);
    EXPECT_EQ(control.grid_generation, 42u);
    EXPECT_EQ(text(item(924)), "*65");
    EXPECT_EQ(text(item(954)), "65");
    EXPECT_EQ(title(), "Grid Line Setup");
    EXPECT_EQ(line_buttons(true), 36);
    EXPECT_EQ(redisplays, 1);
    const std::vector<std::string> lines = log.take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "INF grid setup: received click - feed=2 line=4 far x=640 y=100 (adjusted y=112)");
    const auto saved = std::make_unique<Settings>();
    settings_init_defaults(saved.get());
    ASSERT_EQ(settings_load(saved.get(), settings_path.c_str()), 0);
    EXPECT_EQ(saved->far_lines[2][4].x, 640);
    EXPECT_EQ(saved->far_lines[2][4].y, 112);
}

TEST_F(GridPanelWindow, AnAnswerThatNobodyAwaitsIsLeftAlone) {
    open();
    answer(640, 100);
    pump(300);
    EXPECT_EQ(control.grid_click_ready, 1u);
    EXPECT_EQ(control.grid_generation, 0u);
    click(800);
    EXPECT_EQ(control.grid_click_ready, 0u);
    pump(300);
    EXPECT_EQ(panel.waiting, 1u) << "an old answer is none to a new question";
    EXPECT_FALSE(grid_anchor_is_set(&settings->far_lines[0][0]));
}

TEST_F(GridPanelWindow, ClosingWhileWaitingClearsTheRequest) {
    open();
    click(800);
    ASSERT_EQ(control.grid_click_wait, 1u);
    SendMessageA(panel.window, WM_CLOSE, 0, 0);
    EXPECT_EQ(panel.window, nullptr);
    EXPECT_EQ(control.grid_click_wait, 0u);
    EXPECT_EQ(control.grid_setup_active, 0u);
    answer(1, 1);
    pump(250);
    EXPECT_FALSE(grid_anchor_is_set(&settings->far_lines[0][0]));
    open();
    EXPECT_EQ(panel.waiting, 0u);
    EXPECT_EQ(line_buttons(true), 36) << "the next opening starts afresh";
}

TEST_F(GridPanelWindow, ExitKeepsThePositionForTheNextOpening) {
    open();
    SetWindowPos(panel.window, nullptr, 123, 88, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    RECT before = {};
    GetWindowRect(panel.window, &before);
    click(1001);
    ASSERT_EQ(panel.window, nullptr);
    WindowState state;
    ASSERT_EQ(window_state_load(position_path.c_str(), &state), 0);
    EXPECT_EQ(state.x, before.left);
    EXPECT_EQ(state.y, before.top);
    const std::string file = read_whole_file(position_path);
    EXPECT_NE(file.find("width=428"), std::string::npos) << file;
    EXPECT_NE(file.find("height=359"), std::string::npos) << file;

    log.take();
    open();
    RECT after = {};
    GetWindowRect(panel.window, &after);
    EXPECT_EQ(after.left, before.left);
    EXPECT_EQ(after.top, before.top);
    char line[400];
    snprintf(line, sizeof line, "INF gridline panel: restoring position x=%ld y=%ld from %s", before.left, before.top,
             position_path.c_str());
    EXPECT_EQ(log.take(), (std::vector<std::string>{line, "INF grid line setup panel created"}));
}

TEST_F(GridPanelWindow, APositionOnAScreenThatIsGoneIsNotUsed) {
    write_whole_file(position_path, "x=-30000\ny=50\n");
    open();
    RECT place = {};
    GetWindowRect(panel.window, &place);
    EXPECT_GE(place.left, -1000);
    EXPECT_EQ(log.take(), (std::vector<std::string>{"INF grid line setup panel created"}));
}

TEST_F(GridPanelWindow, SaveWritesTheSettingsAndSaysSo) {
    settings->far_lines[0][1].x = 99;
    settings->meter_line_start[0] = 40;
    open();
    log.take();
    click(1000);
    EXPECT_EQ(settings->meter_values[0][1], 45);
    EXPECT_EQ(redisplays, 1);
    EXPECT_NE(read_whole_file(settings_path).find("@far[0][ 1]=99,0"), std::string::npos);
    const std::vector<std::string> lines = log.take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "INF grid line settings saved to " + settings_path);
}

TEST_F(GridPanelWindow, AFeedThatLostItsLinesMeanwhileAsksNothing) {
    open();
    settings->meter_line_count[1] = 3;
    click(863);
    EXPECT_EQ(panel.waiting, 0u);
    click(862);
    EXPECT_EQ(panel.waiting, 1u);
}

TEST_F(GridPanelWindow, ASecondPanelIsRefusedAndClosingTwiceIsHarmless) {
    open();
    HWND first = panel.window;
    EXPECT_EQ(grid_panel_open(&panel, parent, settings.get(), &control, &sync, settings_path.c_str(), {}), -1);
    EXPECT_EQ(panel.window, first);
    grid_panel_close(&panel);
    grid_panel_close(&panel);
    EXPECT_FALSE(grid_panel_command(&panel, 800)) << "a closed panel claims nothing";
    EXPECT_FALSE(grid_panel_command(&panel, 1001));
}

TEST_F(GridPanelWindow, EveryStepTakesMutex20AndAHungViewerCostsASecondNotTheAnchor) {
    std::vector<int32_t> others;
    for (int32_t mutex = 0; mutex < kSyncObjectCount; ++mutex)
        if (mutex != kMutexGrid) others.push_back(mutex);
    const auto look = [&] { SendMessageA(panel.window, WM_TIMER, 1, 0); };  // the timer's tick, without its period
    EXPECT_LT(ms_while_held(others, [&] { open(); }), 950u);
    EXPECT_LT(ms_while_held(others, [&] { click(800); }), 950u);
    shared_store(control.grid_click_ready, 1u);
    EXPECT_LT(ms_while_held(others, look), 950u);
    EXPECT_LT(ms_while_held(others, [&] { grid_panel_close(&panel); }), 950u);
    EXPECT_EQ(control.grid_generation, 1u);

    EXPECT_GE(ms_while_held({kMutexGrid}, [&] { open(); }), 950u);
    EXPECT_EQ(control.grid_setup_active, 1u);
    EXPECT_GE(ms_while_held({kMutexGrid}, [&] { click(801); }), 950u);
    EXPECT_EQ(control.grid_click_wait, 1u);
    shared_store(control.grid_click_ready, 1u);
    EXPECT_GE(ms_while_held({kMutexGrid}, look), 1900u) << "the answer, the generation";
    EXPECT_EQ(control.grid_generation, 2u);
    EXPECT_GE(ms_while_held({kMutexGrid}, [&] { grid_panel_close(&panel); }), 950u);
    EXPECT_EQ(control.grid_setup_active, 0u);
}

TEST_F(GridPanelWindow, OpeningAndClosingLeavesNothingBehind) {
    open();
    grid_panel_close(&panel);
    const Holdings before = count_holdings();
    for (int32_t round = 0; round < 5; ++round) {
        open();
        grid_panel_close(&panel);
    }
    const Holdings after = count_holdings();
    EXPECT_EQ(after.gdi_objects, before.gdi_objects);
    EXPECT_EQ(after.windows, before.windows);
    EXPECT_EQ(after.handles, before.handles);
}
