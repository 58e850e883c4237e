#include <windows.h>

#include <commctrl.h>

#include "app/commands.h"
#include "ipc/shared_access.h"
#include "tests/soak/soak.h"
#include "tests/support/wait.h"

namespace {
struct WindowsOfProgram {
    uint32_t pid;
    HWND main;
    std::vector<HWND> others;
};
}  // namespace

static BOOL CALLBACK add_other_window(HWND window, LPARAM param) {
    auto* search = reinterpret_cast<WindowsOfProgram*>(param);
    DWORD pid = 0;
    GetWindowThreadProcessId(window, &pid);
    if (pid == search->pid && window != search->main && IsWindowVisible(window)) search->others.push_back(window);
    return TRUE;
}

static std::vector<HWND> other_windows(const Soak& soak) {
    WindowsOfProgram search = {soak.console.pid, soak.console.window, {}};
    EnumWindows(add_other_window, reinterpret_cast<LPARAM>(&search));
    return search.others;
}

static void close_other_windows(const Soak& soak) {
    for (HWND window : other_windows(soak)) {
        const std::string name = window_class(window);
        if (name == "#32770") PostMessageW(window, WM_COMMAND, IDOK, 0);
        if (name != "#32768" && name.find("tooltip") == std::string::npos) PostMessageW(window, WM_CLOSE, 0, 0);
    }
}

static int32_t dice(Soak* soak, int32_t from, int32_t to) {
    return from + static_cast<int32_t>(throw_dice(&soak->operator_dice, static_cast<uint32_t>(to - from + 1)));
}

static void resize(Soak* soak) {
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS;
    SetWindowPos(soak->console.window, nullptr, dice(soak, -200, 600), dice(soak, -100, 400), dice(soak, 200, 1900),
                 dice(soak, 150, 1180), kFlags);
}

static void minimise_or_restore(Soak* soak) {
    constexpr int kShow[] = {SW_SHOWMINNOACTIVE, SW_MAXIMIZE, SW_RESTORE, SW_RESTORE};
    ShowWindowAsync(soak->console.window, kShow[dice(soak, 0, 3)]);
}

static void click_a_tab(Soak* soak) {
    const int32_t x = 20 + 62 * dice(soak, 0, 3);
    HWND tabs = control(soak->console, kIdTabs);
    PostMessageW(tabs, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, 10));
    PostMessageW(tabs, WM_LBUTTONUP, 0, MAKELPARAM(x, 10));
}

static void open_a_menu(Soak* soak) {
    constexpr WPARAM kKeys[] = {'c', 't', 'h'};
    PostMessageW(soak->console.window, WM_SYSCOMMAND, SC_KEYMENU, static_cast<LPARAM>(kKeys[dice(soak, 0, 2)]));
    pause_ms(static_cast<uint32_t>(dice(soak, 50, 250)));
    PostMessageW(soak->console.window, WM_CANCELMODE, 0, 0);
}

// What changes a picture, a flag or a file, and starts or ends no worker.
static void press_a_button(Soak* soak) {
    constexpr int32_t kButtons[] = {kCmdPlay,          kCmdHighlight,        kCmdLogOn,
                                    kCmdCircles,       kCmdShadowRemoval,    kCmdSyncFeeds,
                                    kCmdSaveRegions,   kCmdSaveMotionRange,  kCmdSetRegion,
                                    kCmdSetRegion + 1, kCmdIgnoreRegion + 2, kCmdFeedOffset,
                                    kCmdFeedOffset,    kCmdFeedButton,       kCmdFeedButton,
                                    kCmdRoundUp,       kCmdRoundDown,        kCmdSaveSettings};
    press(soak->console, kButtons[dice(soak, 0, static_cast<int32_t>(std::size(kButtons)) - 1)]);
}

static void work_the_mouse(Soak* soak) {
    HWND picture = control(soak->console, kIdPreviewPicture);
    const LPARAM place = MAKELPARAM(dice(soak, 0, 900), dice(soak, 0, 900));
    PostMessageW(picture, WM_LBUTTONDOWN, MK_LBUTTON, place);
    PostMessageW(picture, WM_MOUSEMOVE, MK_LBUTTON, place + dice(soak, -40, 40));
    PostMessageW(picture, WM_LBUTTONUP, 0, place);
    PostMessageW(soak->console.window, WM_MOUSEWHEEL, MAKEWPARAM(0, 120 * dice(soak, -2, 2)), place);
}

static void type_a_number(Soak* soak) {
    HWND entry = control(soak->console, kIdJumperBib);
    PostMessageW(entry, WM_CHAR, static_cast<WPARAM>('0' + dice(soak, 0, 9)), 1);
    PostMessageW(entry, WM_KEYDOWN, VK_RETURN, 1);
}

static void open_or_close_a_window(Soak* soak) {
    if (dice(soak, 0, 1) == 0) {
        close_other_windows(*soak);
        return;
    }
    constexpr int32_t kWindows[] = {kCmdAbout, kCmdGridLines, kCmdAbout};
    send_command(soak->console, kWindows[dice(soak, 0, 2)]);
}

static void repaint(Soak* soak) {
    RedrawWindow(soak->console.window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

static void act(Soak* soak) {
    constexpr void (*kActs[])(Soak*) = {resize,         resize,         minimise_or_restore,    click_a_tab,
                                        click_a_tab,    open_a_menu,    press_a_button,         press_a_button,
                                        press_a_button, work_the_mouse, type_a_number,          repaint,
                                        repaint,        work_the_mouse, open_or_close_a_window, click_a_tab};
    kActs[dice(soak, 0, static_cast<int32_t>(std::size(kActs)) - 1)](soak);
    ++soak->operator_acts;
}

// What the stand-ins do not do themselves: frames are counted and announced.
static void pulse(Soak* soak) {
    if (soak->rig || !soak->has_shared || soak->pulse_stopped) return;
    ++soak->pulse;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        shared_store(soak->shared.block->feed[feed][0].nw, soak->pulse);
        shared_store(soak->shared.block->feed_frame_count[feed], soak->pulse);
    }
    SetEvent(soak->shared.event[kEventNewOutput]);
}

void operator_works(Soak* soak, uint32_t for_ms) {
    const uint64_t end = GetTickCount64() + for_ms;
    uint64_t next_act = 0;
    while (GetTickCount64() < end && console_lives(*soak)) {
        pulse(soak);
        if (GetTickCount64() >= next_act) {
            act(soak);
            next_act = GetTickCount64() + static_cast<uint64_t>(dice(soak, 50, 250));
        }
        pause_ms(15);
    }
}

void operator_tidies(Soak* soak) {
    PostMessageW(soak->console.window, WM_CANCELMODE, 0, 0);
    wait_until([&] {
        close_other_windows(*soak);
        return !console_lives(*soak) || other_windows(*soak).empty();
    });
    ShowWindowAsync(soak->console.window, SW_RESTORE);
    SetWindowPos(soak->console.window, nullptr, 20, 20, 1500, 1000,
                 SWP_NOZORDER | SWP_NOACTIVATE | SWP_ASYNCWINDOWPOS);
    console_answers(soak->console, kPatienceMs);
    if (current_tab(soak->console) != kTabPreview) select_tab(soak->console, kTabPreview);
    console_answers(soak->console, kPatienceMs);
}
