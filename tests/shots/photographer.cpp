// Photographs every tab, panel and chooser of the running console for the documentation, in one practice run on the
// simulated rig. `./dev shot` starts it and makes doc/screenshots of what it leaves in the folder ORVEK_SHOTS.
//
// It works the window from outside as the console's tests do, and is a test in so far as a panel that does not come
// fails it: a picture of something else is worse than none.
#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string>

#include "app/commands.h"
#include "preview/grid_points.h"
#include "procs/capture_panel_view.h"
#include "settings/select_cameras.h"
#include "settings/select_practice_files.h"
#include "tests/console/console_test.h"
#include "tests/console/mouse.h"
#include "tests/console/screenshot.h"

namespace {

constexpr int32_t kPaneWidth = 560, kPaneStep = kPaneWidth * 540 / 1920 + 5;
constexpr int32_t kSelectGpu = 807;
constexpr uint32_t kLongPatienceMs = 120'000;  // for a whole jump on a busy machine
constexpr RECT kWindow = {20, 20, 1260, 1040};

class PhotographerOnTheRig : public ConsoleTest {
protected:
    PhotographerOnTheRig() : ConsoleTest(true) {}

    void prepare();
    void launch_practice();
    void measure(const std::string& bib_round_metres);
    void await_jumper_in_feed(int32_t feed) {
        ASSERT_TRUE(wait_until([&] { return shared_load(shared.block->motion_active[feed]) != 0; }, kLongPatienceMs));
        Sleep(300);  // until he is well inside the picture
    }
    HWND await_window(const char* window_class) {
        HWND window = nullptr;
        wait_until([&] {
            window = FindWindowA(window_class, nullptr);
            return window != nullptr && IsWindowVisible(window);
        });
        EXPECT_NE(window, nullptr) << window_class;
        return window;
    }
    // The windows and what lies between them, from the top down to `height` when that is less.
    void shoot(const char* name, std::initializer_list<HWND> windows, int32_t height = INT32_MAX) {
        RECT all = {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
        for (HWND window : windows) {
            RECT place = {};
            GetWindowRect(window, &place);
            all = {std::min(all.left, place.left), std::min(all.top, place.top), std::max(all.right, place.right),
                   std::max(all.bottom, place.bottom)};
        }
        if (all.bottom - all.top > height) all.bottom = all.top + height;
        EXPECT_TRUE(save_screen_area(all, folder + "\\" + name + ".bmp")) << name;
    }
    // The window manager's frame and the last paint come after the fact.
    static void settle() {
        Sleep(700);
    }
    void close_chooser(HWND chooser, int32_t cancel_id, const char* window_class) {
        PostMessageW(GetDlgItem(chooser, cancel_id), BM_CLICK, 0, 0);
        ASSERT_TRUE(wait_until([&] { return FindWindowA(window_class, nullptr) == nullptr; })) << window_class;
    }
    void put_text(HWND box, const wchar_t* text) {
        DWORD_PTR done = 0;
        SendMessageTimeoutW(box, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text), SMTO_NORMAL, kPatienceMs, &done);
    }

    // The large button of the File Capture panel tells by its colour.
    template <class Is>
    bool toggle_becomes(HWND panel, Is is) {
        const RECT beside_its_text = {20, 6, 21, 7};
        HWND toggle = GetDlgItem(panel, kCapturePanelToggle);
        return wait_until([&] { return is(pixel(picture_of(toggle, beside_its_text), 0, 0)); });
    }

    void shoot_preview();
    void shoot_regions();
    void shoot_grid_panel();
    void shoot_capture_panel();
    void shoot_tabs();
    void shoot_choosers();

    std::string folder;
    HWND viewer = nullptr;
};

}  // namespace

// What a new user gets, in a window that fits on a page.
void PhotographerOnTheRig::prepare() {
    const char* named = getenv("ORVEK_SHOTS");
    ASSERT_NE(named, nullptr) << "ORVEK_SHOTS names no folder for the pictures";
    folder = named;
    installation_destroy(&installation, false);  // the test's name would stand in every command line
    ASSERT_TRUE(installation_create(&installation, "hill", true));
    for (const char* file : {"settings.txt", "jumpers.csv"}) {
        const std::string sample = std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/" + file;
        ASSERT_TRUE(CopyFileA(sample.c_str(), installation_path(installation, file).c_str(), FALSE)) << sample;
    }
    installation_write(installation, "controller_window.ini",
                       "x=" + std::to_string(kWindow.left) + "\ny=" + std::to_string(kWindow.top) +
                           "\nwidth=" + std::to_string(kWindow.right - kWindow.left) +
                           "\nheight=" + std::to_string(kWindow.bottom - kWindow.top) +
                           "\npreview_panel_width=" + std::to_string(kPaneWidth) + "\n");
    ASSERT_TRUE(installation_bring(installation, "measure.exe"));
    installation_bring(installation, "ffmpeg.exe");  // the recorders do without as well
}

void PhotographerOnTheRig::launch_practice() {
    press_on(kTabPreview, kCmdLaunchPractice);
    ASSERT_TRUE(
        log_shows(installation, "practice: all processes ready, viewer launched, playing", 1, kLongPatienceMs));
    open_shared();
    viewer = await_window("OrveklineViewer");
    ShowWindow(viewer, SW_MINIMIZE);  // it would lie over the window
}

void PhotographerOnTheRig::measure(const std::string& bib_round_metres) {
    HANDLE process = installation_start(installation, "measure.exe", bib_round_metres, nullptr, nullptr);
    ASSERT_NE(process, nullptr);
    WaitForSingleObject(process, kPatienceMs);
    CloseHandle(process);
}

void PhotographerOnTheRig::shoot_preview() {
    for (const char* result : {"1 0 88.5", "2 0 91.0", "3 0 79.5", "4 0 94.0", "5 0 86.0", "6 0 90.5", "7 0 92.0",
                               "1 1 90.0", "2 1 93.5", "3 1 84.0", "4 1 95.5", "5 1 88.0", "6 1 91.5"}) {
        measure(result);
    }
    press_on(kTabPreview, kCmdRoundUp);
    put_text(control(console, kIdJumperBib), L"7");
    PostMessageW(control(console, kIdJumperBib), WM_KEYDOWN, VK_RETURN, 1);
    ASSERT_TRUE(wait_until([&] { return shared_load(shared.block->movie_published_count) > 0; }, kLongPatienceMs));
    await_jumper_in_feed(1);
    shoot("preview", {console.window});
    shoot("jumper-list", {control(console, kIdJumperList), control(console, kIdJumperRound)}, 330);
}

// A motion region that has just been drawn anew, and an ignore region with its first corner set.
void PhotographerOnTheRig::shoot_regions() {
    HWND picture = control(console, kIdPreviewPicture);
    press_on(kTabPreview, kCmdSetRegion + 1);
    ASSERT_TRUE(button_becomes(console, kCmdSetRegion + 1, "Click UL"));
    ASSERT_TRUE(click_at(picture, 60, kPaneStep + 45));
    ASSERT_TRUE(button_becomes(console, kCmdSetRegion + 1, "Click LR"));
    ASSERT_TRUE(click_at(picture, kPaneWidth - 60, kPaneStep + 120));
    ASSERT_TRUE(button_becomes(console, kCmdSetRegion + 1, "Click UL"));
    press_on(kTabPreview, kCmdIgnoreRegion + 1);
    ASSERT_TRUE(button_becomes(console, kCmdIgnoreRegion + 1, "Click UL"));
    ASSERT_TRUE(click_at(picture, kPaneWidth - 160, kPaneStep + 50));
    ASSERT_TRUE(click_at(picture, kPaneWidth - 90, kPaneStep + 90));
    ASSERT_TRUE(click_at(picture, kPaneWidth - 150, kPaneStep + 55));
    ASSERT_TRUE(button_becomes(console, kCmdIgnoreRegion + 1, "Click LR"));
    settle();
    shoot("preview-regions", {console.window});
    press_on(kTabPreview, kCmdSaveRegions);
}

void PhotographerOnTheRig::shoot_grid_panel() {
    send_command(console, kCmdGridLines);
    HWND panel = await_window("GridLineSetupClass");
    ShowWindow(viewer, SW_SHOWNOACTIVATE);
    SetWindowPos(viewer, HWND_TOPMOST, 434, 140, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
    SetWindowPos(panel, HWND_TOPMOST, 40, 140, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
    PostMessageW(GetDlgItem(panel, kGridFirstLineButton + 60 + 3), BM_CLICK, 0, 0);
    settle();
    shoot("grid-panel", {panel, viewer}, kGridPanelHeight);
    ShowWindow(viewer, SW_MINIMIZE);
    PostMessageW(GetDlgItem(panel, kGridExit), BM_CLICK, 0, 0);
    ASSERT_TRUE(wait_until([] { return FindWindowA("GridLineSetupClass", nullptr) == nullptr; }));
}

void PhotographerOnTheRig::shoot_capture_panel() {
    send_command(console, kCmdFileCapture);
    HWND panel = await_window("SkiJumpCapturePanel");
    HWND toggle = GetDlgItem(panel, kCapturePanelToggle);
    ASSERT_TRUE(toggle_becomes(panel, [](COLORREF c) { return GetRValue(c) == GetBValue(c); }));
    settle();
    shoot("file-capture-paused", {panel});
    PostMessageW(toggle, BM_CLICK, 0, 0);
    ASSERT_TRUE(toggle_becomes(panel, [](COLORREF c) { return GetRValue(c) > 3 * GetBValue(c); }));
    shoot("file-capture-capturing", {panel});
    PostMessageW(GetDlgItem(panel, kCapturePanelExit), BM_CLICK, 0, 0);
    ASSERT_TRUE(wait_until([] { return FindWindowA("SkiJumpCapturePanel", nullptr) == nullptr; }));
}

void PhotographerOnTheRig::shoot_tabs() {
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    settle();
    shoot("processes", {console.window}, 380);
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    Sleep(1500);  // rates want two looks
    shoot("feeds", {console.window}, 260);
    ASSERT_TRUE(select_tab(console, kTabSettings));
    settle();
    shoot("settings", {console.window}, 640);
}

void PhotographerOnTheRig::shoot_choosers() {
    send_command(console, kCmdSelectPracticeFiles);
    HWND chooser = await_window("SkiJumpSelectPracticeFiles");
    put_text(GetDlgItem(chooser, kPracticePathId), L"D:\\hill\\2026-02-14\\cap_0_101500.mp4");
    put_text(GetDlgItem(chooser, kPracticePathId + 1), L"D:\\hill\\2026-02-14\\cap_1_101500.mp4");
    put_text(GetDlgItem(chooser, kPracticePathId + 2), L"D:\\hill\\2026-02-14\\cap_2_101500.mp4");
    settle();
    shoot("choose-practice-files", {chooser});
    close_chooser(chooser, kPracticeCancelId, "SkiJumpSelectPracticeFiles");

    send_command(console, kCmdSelectCameras);
    chooser = await_window("SkiJumpSelectCameras");
    for (int32_t feed = 0; feed < 3; ++feed) {
        HWND list = GetDlgItem(chooser, kCameraListId + feed);
        ASSERT_TRUE(wait_until([&] { return SendMessageW(list, CB_GETCOUNT, 0, 0) > 3; })) << "the rig's cameras";
        SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(feed + 1), 0);
        SendMessageW(chooser, WM_COMMAND, MAKEWPARAM(kCameraListId + feed, CBN_SELCHANGE),
                     reinterpret_cast<LPARAM>(list));
    }
    settle();
    shoot("choose-cameras", {chooser});
    close_chooser(chooser, IDCANCEL, "SkiJumpSelectCameras");

    press_on(kTabSettings, kSelectGpu);
    chooser = await_window("SkiJumpSelectGPU");
    ASSERT_TRUE(wait_until([&] { return message_box_text(chooser).find("Enumerating") == std::string::npos; }));
    settle();
    shoot("choose-gpu", {chooser});
    close_chooser(chooser, IDCANCEL, "SkiJumpSelectGPU");
}

TEST_F(PhotographerOnTheRig, TakesAPictureOfEveryTabPanelAndChooser) {
    ASSERT_NO_FATAL_FAILURE(prepare());
    start();
    ASSERT_NO_FATAL_FAILURE(launch_practice());
    ASSERT_NO_FATAL_FAILURE(shoot_preview());
    ASSERT_NO_FATAL_FAILURE(shoot_tabs());
    ASSERT_NO_FATAL_FAILURE(shoot_choosers());
    ASSERT_TRUE(select_tab(console, kTabPreview));
    ASSERT_NO_FATAL_FAILURE(shoot_capture_panel());
    ASSERT_NO_FATAL_FAILURE(shoot_grid_panel());
    ASSERT_NO_FATAL_FAILURE(shoot_regions());
    EXPECT_EQ(console_close(&console), 0);
}
