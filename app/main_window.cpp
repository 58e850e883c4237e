#include "app/main_window.h"

#include <commctrl.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>

#include "app/commands.h"
#include "app/log.h"
#include "app/main_window_parts.h"
#include "app/message_table.h"
#include "app/timers.h"
#include "app/ui_context.h"
#include "app/window_class.h"

namespace {

constexpr char kStartTitle[] = "Orvek — Orvekline";
constexpr LONG kMinWidth = 400;  // the smallest size that the window state file knows
constexpr LONG kMinHeight = 300;
constexpr WORD kIconResource = 1;

}  // namespace

static bool on_command(UiContext* ui, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    // Static texts and edits report their own changes with the same message; a button's click, a menu item and an
    // accelerator carry 0 or 1. A command that was posted behind the close still arrives, and must not start children
    // which nobody would end.
    if (HIWORD(wp) <= 1 && !ui->closing) main_window_command(ui, LOWORD(wp));
    return true;
}

static bool on_timer(UiContext* ui, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (!ui->closing) main_window_timer(ui, wp);
    return true;
}

static bool on_notify(UiContext* ui, WPARAM /*wp*/, LPARAM lp, LRESULT* result) {
    auto* header = reinterpret_cast<NMHDR*>(lp);
    if (jumper_panel_notify(&ui->jumpers, header, result)) return true;
    if (header->hwndFrom != ui->tabs || header->code != TCN_SELCHANGE) return false;
    main_window_select_tab(ui, static_cast<int32_t>(SendMessageA(ui->tabs, TCM_GETCURSEL, 0, 0)));
    return true;
}

// Timers come last, behind every posted message. While frames arrive faster than a busy machine draws them, a refresh
// always waits, and no timer would fire for half a minute and more: not the one that lets the detectors go, nor the
// one that watches a run.
static void let_timers_fire() {
    constexpr int32_t kAtATime = 16;  // one that is always due must not stop the pictures
    MSG message = {};
    for (int32_t i = 0; i < kAtATime && PeekMessageA(&message, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE); ++i) {
        if (message.message == WM_QUIT) {  // passes every filter
            PostQuitMessage(static_cast<int32_t>(message.wParam));
            return;
        }
        DispatchMessageA(&message);
    }
}

static bool on_preview_refresh(UiContext* ui, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    preview_refresh(&ui->preview);
    let_timers_fire();
    main_window_update_title(ui);
    return true;
}

static void schedule_state_save(UiContext* ui) {
    SetTimer(ui->window, kTimerSaveWindowState, kSaveWindowStateMs, nullptr);
}

static bool on_size(UiContext* ui, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (wp != SIZE_MINIMIZED) main_window_layout(ui);
    schedule_state_save(ui);
    return true;
}

static bool on_move(UiContext* ui, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    schedule_state_save(ui);
    return true;
}

static bool on_min_max_info(UiContext* /*ui*/, WPARAM /*wp*/, LPARAM lp, LRESULT* /*result*/) {
    reinterpret_cast<MINMAXINFO*>(lp)->ptMinTrackSize = {kMinWidth, kMinHeight};
    return true;
}

// On its tab the picture takes the wheel, whichever control has the keyboard. It returns what it does not want to its
// parent, which is us: only a wheel that did not come from there goes to it.
static bool on_mouse_wheel(UiContext* ui, WPARAM wp, LPARAM lp, LRESULT* result) {
    if (ui->current_tab == kTabSettings) {
        settings_tab_wheel(&ui->settings_tab, GET_WHEEL_DELTA_WPARAM(wp));
        return true;
    }
    if (ui->current_tab != kTabPreview || !ui->preview.window || ui->forwarding_wheel) return false;
    ui->forwarding_wheel = true;
    *result = SendMessageA(ui->preview.window, WM_MOUSEWHEEL, wp, lp);
    ui->forwarding_wheel = false;
    return true;
}

static bool on_key_down(UiContext* ui, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (wp != VK_F1) return false;
    main_window_open_help(ui);
    return true;
}

// F1 in a child climbs to us as this message. For the main window itself the key's own message has done the work.
static bool on_help_key(UiContext* ui, WPARAM /*wp*/, LPARAM lp, LRESULT* result) {
    const auto* help = reinterpret_cast<const HELPINFO*>(lp);
    if (help && help->hItemHandle != ui->window) main_window_open_help(ui);
    *result = TRUE;
    return true;
}

static bool on_close(UiContext* ui, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    main_window_close(ui);
    return true;
}

static bool on_query_end_session(UiContext* ui, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* result) {
    main_window_session_may_end(ui);
    *result = TRUE;
    return true;
}

static bool on_end_session(UiContext* ui, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    main_window_session_ends(ui, wp != FALSE);
    return true;
}

static bool on_destroy(UiContext* /*ui*/, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    PostQuitMessage(0);
    return true;
}

namespace {

constexpr MessageEntry<UiContext> kMessages[] = {
    {WM_COMMAND, on_command},
    {WM_TIMER, on_timer},
    {WM_NOTIFY, on_notify},
    {kMsgPreviewRefresh, on_preview_refresh},
    {WM_SIZE, on_size},
    {WM_MOVE, on_move},
    {WM_GETMINMAXINFO, on_min_max_info},
    {WM_MOUSEWHEEL, on_mouse_wheel},
    {WM_KEYDOWN, on_key_down},
    {WM_HELP, on_help_key},
    {WM_CLOSE, on_close},
    {WM_QUERYENDSESSION, on_query_end_session},
    {WM_ENDSESSION, on_end_session},
    {WM_DESTROY, on_destroy},
};

}  // namespace

static LRESULT CALLBACK main_window_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    return answer_message(kMessages, window, message, wp, lp);
}

static int32_t register_class(UiContext* ui) {
    const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_TAB_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);

    const WindowClass window_class = {kMainWindowClass, main_window_proc, ui->instance, COLOR_BTNFACE,
                                      LoadIconA(ui->instance, MAKEINTRESOURCEA(kIconResource))};
    if (window_class_register(window_class) == 0) return 0;
    log_error("RegisterClassEx failed: %lu", GetLastError());
    return -1;
}

static int32_t create_window(UiContext* ui) {
    const WindowPlace place = main_window_start_place(ui);
    HWND window = CreateWindowExA(0, kMainWindowClass, kStartTitle, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, place.x,
                                  place.y, place.width, place.height, nullptr, nullptr, ui->instance, ui);
    if (window) return 0;
    const DWORD error = GetLastError();
    ui->window = nullptr;
    UnregisterClassA(kMainWindowClass, ui->instance);
    log_error("CreateWindow failed: %lu", error);
    return -1;
}

static void append_item(HMENU menu, UINT flags, int32_t id, const char* text) {
    AppendMenuA(menu, MF_STRING | flags, static_cast<UINT_PTR>(id), text);
}

static void create_menus(UiContext* ui) {
    HMENU capture = CreatePopupMenu();
    append_item(capture, 0, kCmdFileCapture, "&Start File Capture...");
    HMENU tools = CreatePopupMenu();
    append_item(tools, 0, kCmdSelectPracticeFiles, "&Select Practice Files...");
    append_item(tools, 0, kCmdSelectCameras, "Select &Cameras...");
    HMENU help = CreatePopupMenu();
    append_item(help, 0, kCmdHelp, "Documentation\tF1");
    AppendMenuA(help, MF_SEPARATOR, 0, nullptr);
    append_item(help, 0, kCmdAbout, "About...");

    HMENU bar = CreateMenu();
    AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(capture), "&Capture");
    AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(tools), "&Tools");
    AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(help), "&Help");
    SetMenu(ui->window, bar);
}

static void create_accelerators(UiContext* ui) {
    ACCEL keys[] = {{FCONTROL | FVIRTKEY, 'S', static_cast<WORD>(kCmdSaveSettings)},
                    {FCONTROL | FVIRTKEY, 'L', static_cast<WORD>(kCmdLoadSettings)},
                    {FVIRTKEY, VK_F8, static_cast<WORD>(kCmdForceVideo)}};
    ui->accelerators = CreateAcceleratorTableA(keys, static_cast<int>(std::size(keys)));
}

int32_t main_window_create(UiContext* ui, HINSTANCE instance, Settings* settings, ProcessManager* processes,
                           const char* settings_path) {
    // In place: with its picture buffers the context is too large for a temporary on the stack.
    std::destroy_at(ui);
    std::construct_at(ui);
    ui->instance = instance;
    ui->settings = settings;
    ui->processes = processes;
    snprintf(ui->settings_path, sizeof ui->settings_path, "%s", settings_path);
    GetModuleFileNameA(nullptr, ui->exe_dir, sizeof ui->exe_dir);
    if (char* cut = strrchr(ui->exe_dir, '\\')) *cut = '\0';

    if (ipc_init(&ui->sync) != 0) {
        log_warn("controller: IPC init failed (non-fatal)");
    } else {
        ipc_reset_all_events(&ui->sync);
    }
    main_window_load_state(ui);
    if (register_class(ui) != 0 || create_window(ui) != 0) {
        ipc_close(&ui->sync);
        return -1;
    }
    main_window_create_children(ui);
    create_menus(ui);
    create_accelerators(ui);
    main_window_select_tab(ui, kTabPreview);
    main_window_layout(ui);

    SetTimer(ui->window, kTimerProcessPoll, kProcessPollMs, nullptr);
    ShowWindow(ui->window, ui->window_state.maximized == 1 ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL);
    UpdateWindow(ui->window);
    ui_set_status(ui, "Ready");
    return 0;
}

int32_t main_window_run(UiContext* ui) {
    MSG message = {};
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        if (ui->accelerators && TranslateAcceleratorA(ui->window, ui->accelerators, &message)) continue;
        if (capture_panel_takes_key(&ui->capture, message)) continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return static_cast<int32_t>(message.wParam);
}

void main_window_destroy(UiContext* ui) {
    main_window_save_state(ui);
    for (const uintptr_t timer : {kTimerProcessPoll, kTimerReadinessWait, kTimerForceVideoWait})
        KillTimer(ui->window, timer);
    auto_setup_destroy(ui);
    capture_panel_close(&ui->capture);  // both while the control block that they hand over in is still there
    grid_panel_close(&ui->grid);
    jumper_panel_destroy(&ui->jumpers);
    preview_destroy(&ui->preview);
    settings_tab_destroy(&ui->settings_tab);
    if (ui->accelerators) DestroyAcceleratorTable(ui->accelerators);
    ui->accelerators = nullptr;
    ipc_close(&ui->sync);
    if (ui->window) DestroyWindow(ui->window);
    ui->window = nullptr;
    UnregisterClassA(kMainWindowClass, ui->instance);
    if (ui->font) DeleteObject(ui->font);
    ui->font = nullptr;
}
