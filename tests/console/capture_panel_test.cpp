// The File Capture panel as the operator meets it: its place, its one large button, and recorders that are asked to
// finish before anybody ends them.
#include <cstdlib>
#include <string>

#include "ipc/scoped_handle.h"
#include "tests/console/capture_position.h"
#include "tests/console/console_test.h"
#include "tests/console/mouse.h"
#include "tests/console/screenshot.h"

namespace {

constexpr int32_t kFileCapture = 510, kToggle = 1100, kExit = 1101;
constexpr char kOpened[] = "capture_panel: opened (paused, 3 capfile processes spawned)";
constexpr char kClosing[] = "capture_panel: closing (flip capfile_shutdown, wait for exit)";
constexpr char kClosed[] = "capture_panel: closed";
constexpr COLORREF kGrey = RGB(180, 180, 180), kGreyPressed = RGB(144, 144, 144), kRed = RGB(200, 40, 40),
                   kRedPressed = RGB(160, 32, 32);

class CapturePanelWindow : public ConsoleTest {
protected:
    void SetUp() override {
        ConsoleTest::SetUp();
        forget_capture_position();
    }
    void TearDown() override {
        ConsoleTest::TearDown();
        forget_capture_position();
    }

    // Starts the program with recorders that close their files when told, and opens the panel.
    void start_and_open() {
        order_workers({"capfile finish 300"});
        start_with({"feed_count=1"});
        open_shared();
        open_panel();
        wait_for_recorders();
    }
    // For the `times`th time.
    void open_panel(int32_t times = 1) {
        send_command(console, kFileCapture);
        ASSERT_TRUE(log_shows(installation, kOpened, times));
        panel = FindWindowA("SkiJumpCapturePanel", nullptr);
        ASSERT_NE(panel, nullptr);
        ASSERT_TRUE(becomes(
            "panel on the screen", [&] { return IsWindowVisible(panel); }, TRUE));
    }
    void close_panel() const {
        PostMessageW(GetDlgItem(panel, kExit), BM_CLICK, 0, 0);
    }
    testing::AssertionResult panel_is_gone() const {
        return becomes(
            "panel", [&] { return IsWindow(panel); }, FALSE);
    }
    HWND toggle() const {
        return GetDlgItem(panel, kToggle);
    }
    // Of the toggle, beside its text.
    COLORREF colour_at(int32_t x, int32_t y) const {
        return pixel(picture_of(toggle(), {x, y, x + 1, y + 1}), 0, 0);
    }
    testing::AssertionResult fill_becomes(COLORREF colour) const {
        return becomes(
            "fill of the toggle", [&] { return colour_at(12, 12); }, colour);
    }
    bool text_has_colour(COLORREF colour) const {
        const Picture picture = picture_of(toggle(), {20, 12, 244, 38});
        for (int32_t y = 0; y < picture.height; ++y)
            for (int32_t x = 0; x < picture.width; ++x)
                if (pixel(picture, x, y) == colour) return true;
        return false;
    }
    void expect_flags(uint32_t paused, uint32_t shutdown) const {
        for (int32_t feed = 0; feed < kFeedCount; ++feed) {
            EXPECT_EQ(shared_load(shared.block->capfile_paused[feed]), paused) << feed;
            EXPECT_EQ(shared_load(shared.block->capfile_shutdown[feed]), shutdown) << feed;
        }
    }
    int32_t recorders() const {
        int32_t count = 0;
        for (const RunningProcess& child : children_of(console.pid)) count += child.image == "capfile.exe";
        return count;
    }
    // Screenshots for the handbook and whoever wants to see the panel.
    void keep_picture(const char* name) const {
        if (const char* folder = getenv("ORVEK_KEEP_PICTURES"); folder != nullptr)
            save_screenshot(installation.folder + "_" + name + ".bmp");
    }

    HWND panel = nullptr;
};

}  // namespace

static RECT place_in(HWND window, int32_t id) {
    RECT rect = {};
    GetWindowRect(GetDlgItem(window, id), &rect);
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

static void expect_place(const RECT& rect, int32_t x, int32_t y, int32_t width, int32_t height) {
    EXPECT_EQ(rect.left, x);
    EXPECT_EQ(rect.top, y);
    EXPECT_EQ(rect.right - rect.left, width);
    EXPECT_EQ(rect.bottom - rect.top, height);
}

TEST_F(CapturePanelWindow, OpensAboveAllOthersWithAToggleAndAnExit) {
    start_and_open();
    EXPECT_EQ(window_text(panel), "File Capture");
    const auto style = static_cast<DWORD>(GetWindowLongA(panel, GWL_STYLE));
    EXPECT_EQ(style & (WS_POPUP | WS_CAPTION | WS_SYSMENU), WS_POPUP | WS_CAPTION | WS_SYSMENU);
    const auto extended = static_cast<DWORD>(GetWindowLongA(panel, GWL_EXSTYLE));
    EXPECT_EQ(extended & (WS_EX_TOPMOST | WS_EX_TOOLWINDOW), DWORD{WS_EX_TOPMOST | WS_EX_TOOLWINDOW});
    EXPECT_EQ(GetWindow(panel, GW_OWNER), console.window);
    RECT rect = {};
    GetWindowRect(panel, &rect);
    EXPECT_EQ(rect.right - rect.left, 300);
    EXPECT_EQ(rect.bottom - rect.top, 140);
    EXPECT_EQ(window_text(GetDlgItem(panel, kExit)), "Exit");
    EXPECT_EQ(GetWindowLongA(toggle(), GWL_STYLE) & BS_TYPEMASK, BS_OWNERDRAW);
    expect_place(place_in(panel, kToggle), 10, 10, 264, 50);
    expect_place(place_in(panel, kExit), 10, 68, 264, 26);
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, ThreePausedRecordersStartAlsoForASingleFeed) {
    start_with({"feed_count=1"});
    open_shared();
    for (int32_t feed = 0; feed < kFeedCount; ++feed) shared_store(shared.block->capfile_shutdown[feed], 7u);
    order_workers({"capfile finish 0"});
    ResetEvent(shared.event[kEventCapfile]);
    open_panel();
    expect_flags(1, 0);
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"launched capfile[0] (PID *capfile.exe\" 0", "launched capfile[1] (PID *capfile.exe\" 1",
                       "launched capfile[2] (PID *capfile.exe\" 2", kOpened}));
    EXPECT_EQ(recorders(), 3);
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, ASecondOpeningBringsItForwardAndStartsNothing) {
    start_and_open();
    ASSERT_TRUE(brought_to_front(console.window));
    send_command(console, kFileCapture);
    EXPECT_TRUE(becomes(
        "foreground window", [&] { return GetForegroundWindow(); }, panel));
    ASSERT_TRUE(console_answers(console, kPatienceMs)) << "what the command does is done by then";
    EXPECT_EQ(log_count(installation, "launched capfile*"), 3);
    EXPECT_EQ(log_count(installation, kOpened), 1);
    EXPECT_EQ(recorders(), 3);
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, TheButtonShowsGreyForPausedRedForCapturingAndDarkensUnderTheMouse) {
    start_and_open();
    EXPECT_TRUE(fill_becomes(kGrey));
    EXPECT_TRUE(text_has_colour(RGB(30, 30, 30)));
    EXPECT_EQ(colour_at(0, 0), RGB(0, 0, 0)) << "the frame";
    EXPECT_EQ(colour_at(263, 49), RGB(0, 0, 0)) << "the frame";
    EXPECT_EQ(colour_at(1, 1), kGrey);
    keep_picture("paused");

    ASSERT_TRUE(press_mouse_at(toggle(), 132, 25));
    EXPECT_TRUE(fill_becomes(kGreyPressed));
    EXPECT_EQ(log_count(installation, "capture_panel: state -> *"), 0) << "a click ends with the release";
    ASSERT_TRUE(release_mouse());
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> capturing"));
    EXPECT_TRUE(fill_becomes(kRed));
    EXPECT_TRUE(text_has_colour(RGB(255, 255, 255)));
    keep_picture("capturing");

    Sleep(GetDoubleClickTime() + 100);  // the next press is a click of its own
    ASSERT_TRUE(press_mouse_at(toggle(), 132, 25));
    EXPECT_TRUE(fill_becomes(kRedPressed));
    ASSERT_TRUE(release_mouse());
    EXPECT_TRUE(fill_becomes(kGrey));
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, AFocusRectangleLiesThreePixelsInsideTheFocusedButton) {
    start_and_open();
    const auto dots_along = [&](int32_t y) {
        const Picture picture = picture_of(toggle(), {6, y, 60, y + 1});
        int32_t dots = 0;
        for (int32_t x = 0; x < picture.width; ++x) dots += pixel(picture, x, 0) != kGrey;
        return dots;
    };
    ASSERT_TRUE(brought_to_front(panel));
    ASSERT_TRUE(fill_becomes(kGrey));
    EXPECT_TRUE(wait_until([&] { return dots_along(3) > 20; })) << "the toggle has the keyboard";
    EXPECT_EQ(dots_along(2), 0);
    EXPECT_EQ(dots_along(4), 0);
    PostMessageW(toggle(), WM_KEYDOWN, VK_TAB, 0);
    EXPECT_TRUE(wait_until([&] { return dots_along(3) == 0; })) << "the other button has it";
    PostMessageW(GetDlgItem(panel, kExit), WM_KEYDOWN, VK_TAB, 0);
    EXPECT_TRUE(wait_until([&] { return dots_along(3) > 20; }));
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, EveryToggleTellsTheRecordersAndTheLog) {
    start_and_open();
    ResetEvent(shared.event[kEventCapfile]);
    SendMessageW(toggle(), BM_CLICK, 0, 0);
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> capturing"));
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    expect_flags(0, 0);
    ResetEvent(shared.event[kEventCapfile]);
    SendMessageW(toggle(), BM_CLICK, 0, 0);
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> paused"));
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    expect_flags(1, 0);
    EXPECT_EQ(recorders(), 3) << "paused recorders keep their files";
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, TheSpaceBarAndTheSecondOfTwoQuickClicksToggleToo) {
    start_and_open();
    ASSERT_TRUE(brought_to_front(panel));
    ASSERT_TRUE(fill_becomes(kGrey));
    PostMessageW(toggle(), WM_KEYDOWN, VK_SPACE, 0);
    PostMessageW(toggle(), WM_KEYUP, VK_SPACE, LPARAM(0xC0000001));
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> capturing"));
    EXPECT_TRUE(fill_becomes(kRed));
    ASSERT_TRUE(click_at(toggle(), 132, 25));
    ASSERT_TRUE(click_at(toggle(), 132, 25));
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> capturing", 2));
    EXPECT_EQ(log_count(installation, "capture_panel: state -> *"), 3);
    PostMessageW(toggle(), WM_KEYDOWN, VK_ESCAPE, 0);
    SendMessageW(toggle(), BM_CLICK, 0, 0);
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> paused", 2));
    EXPECT_EQ(log_count(installation, kClosing), 0) << "the Escape key closes nothing";
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, ClosingWaitsForTheRecordersAndEndsNoneOfThem) {
    start_and_open();
    PostMessageW(panel, WM_CLOSE, 0, 0);
    ASSERT_TRUE(panel_is_gone());
    expect_flags(1, 1);
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    EXPECT_TRUE(log_shows_in_order(installation, {kOpened, kClosing, kClosed}));
    EXPECT_EQ(log_count(installation, "WRN *"), 0);
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 0);
    for (const char* recorder : {"capfile[0]", "capfile[1]", "capfile[2]"}) {
        const std::string line = std::string(recorder) + " file closed";
        EXPECT_NE(installation_read(installation, "fake.log").find(line), std::string::npos) << line;
    }
    EXPECT_EQ(recorders(), 0);

    ASSERT_TRUE(select_tab(console, kTabProcesses));
    const std::vector<ListRow> rows = process_rows(console);
    ASSERT_EQ(rows.size(), 3u);
    for (const ListRow& row : rows) EXPECT_EQ(row.state, "Stopped") << row.process;
    open_panel(2);
    EXPECT_EQ(recorders(), 3);
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, ARecorderThatDoesNotListenIsEndedAfterEightSecondsWithAWarning) {
    order_workers({"capfile[0] finish 0", "capfile[2] finish 0"});
    start_with({"feed_count=3"});
    open_shared();
    open_panel();
    wait_for_recorders();
    close_panel();
    ASSERT_TRUE(panel_is_gone());
    const int64_t waited = log_ms_between(installation, kClosing, "WRN capture_panel: *");
    EXPECT_GE(waited, 7980);
    EXPECT_LT(waited, 8000 + 5000);
    EXPECT_TRUE(log_shows_in_order(
        installation,
        {kClosing, "WRN capture_panel: capfile[1] did not exit in 8000 ms — terminating (mp4 may miss moov atom)",
         "stopping capfile[1] *", kClosed}));
    EXPECT_EQ(log_count(installation, "WRN *"), 1);
    EXPECT_EQ(recorders(), 0);
    EXPECT_TRUE(console_answers(console, 1000));
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, ComesBackWhereItWasClosed) {
    start_and_open();
    ASSERT_TRUE(SetWindowPos(panel, nullptr, 431, 287, 0, 0, SWP_NOSIZE | SWP_NOZORDER));
    RECT before = {};
    ASSERT_TRUE(becomes(
        "left edge", [&] { return GetWindowRect(panel, &before) ? before.left : 0; }, LONG{431}));
    close_panel();
    ASSERT_TRUE(panel_is_gone());
    ASSERT_TRUE(log_shows(installation, kClosed));
    EXPECT_EQ(capture_position("x"), std::to_string(before.left));
    EXPECT_EQ(capture_position("y"), std::to_string(before.top));
    EXPECT_FALSE(installation_has(installation, "capture_panel.ini"));
    open_panel(2);
    RECT after = {};
    GetWindowRect(panel, &after);
    EXPECT_EQ(after.left, before.left);
    EXPECT_EQ(after.top, before.top);
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, HalfAPositionAndOneBesideEveryScreenCountAsNone) {
    order_workers({"capfile finish 0"});
    start_with({"feed_count=1"});
    open_panel();
    RECT usual = {};
    GetWindowRect(panel, &usual);
    close_panel();
    ASSERT_TRUE(panel_is_gone());
    const char* const positions[][2] = {{"500", nullptr}, {nullptr, "500"}, {"500", "high"}, {"90000", "500"}};
    int32_t times = 1;
    for (const auto& [x, y] : positions) {
        forget_capture_position();
        write_capture_position(x, y);
        open_panel(++times);
        RECT place = {};
        GetWindowRect(panel, &place);
        EXPECT_NE(place.left, 500) << times;
        EXPECT_EQ(place.left, usual.left) << times;
        EXPECT_EQ(place.top, usual.top) << times;
        close_panel();
        ASSERT_TRUE(panel_is_gone());
    }
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, RecordersThatCannotBeLaunchedAreLoggedAndThePanelGoesOn) {
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "capfile.exe").c_str()));
    start_with({"feed_count=3"});
    open_shared();
    open_panel();
    EXPECT_TRUE(log_shows_in_order(installation, {"ERR capture_panel: failed to launch capfile[0]",
                                                  "ERR capture_panel: failed to launch capfile[1]",
                                                  "ERR capture_panel: failed to launch capfile[2]", kOpened}));
    SendMessageW(toggle(), BM_CLICK, 0, 0);
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> capturing"));
    close_panel();
    ASSERT_TRUE(panel_is_gone());
    EXPECT_LT(log_ms_between(installation, kClosing, kClosed), 7980) << "nobody to wait for";
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, WithoutAControlBlockItStillOpensAndCloses) {
    const ScopedHandle taken(CreateSemaphoreA(nullptr, 0, 1, kControlBlockName));
    ASSERT_TRUE(taken.valid());
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "capfile.exe").c_str()));
    start_with({"feed_count=3"});
    open_panel();
    SendMessageW(toggle(), BM_CLICK, 0, 0);
    EXPECT_TRUE(log_shows(installation, "capture_panel: state -> capturing"));
    close_panel();
    EXPECT_TRUE(panel_is_gone());
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CapturePanelWindow, ClosingTheProgramClosesThePanelAndLeavesNoRecorder) {
    start_and_open();
    const std::vector<RunningProcess> children = children_of(console.pid);
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(log_shows_in_order(
        installation, {kOpened, kClosing, kClosed, "process manager shutting down", "controller exiting"}));
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 0) << "they finished by themselves";
    EXPECT_EQ(log_count(installation, kClosed), 1);
    EXPECT_NE(capture_position("x"), "");
    for (const RunningProcess& child : children) EXPECT_FALSE(is_running(child.pid)) << child.image;
}

// Without their program the recorders cost nothing, and the panel can be opened often.
TEST_F(CapturePanelWindow, OpeningAndClosingLeavesNothingBehind) {
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "capfile.exe").c_str()));
    start_with({"feed_count=1"});
    int32_t times = 0;
    const auto open_and_close = [&] {
        open_panel(++times);
        SendMessageW(toggle(), BM_CLICK, 0, 0);
        close_panel();
        ASSERT_TRUE(log_shows(installation, kClosed, times));
    };
    for (int32_t i = 0; i < 5; ++i) open_and_close();
    const Resources before = count_resources(console);
    for (int32_t i = 0; i < 12; ++i) open_and_close();
    // The main window may be painting at this moment.
    EXPECT_TRUE(wait_until([&] {
        const Resources after = count_resources(console);
        return after.gdi_objects <= before.gdi_objects && after.windows <= before.windows &&
               after.handles <= before.handles + 3;
    }));
    EXPECT_EQ(console_close(&console), 0);
}
