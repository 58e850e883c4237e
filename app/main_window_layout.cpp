// All controls of all tabs are direct children of the main window, laid over the tab control: their commands arrive
// here without a detour, and whoever drives the window from outside finds each of them by its id.
#include <windows.h>

#include <commctrl.h>

#include "app/commands.h"
#include "app/main_window_parts.h"
#include "app/ui_context.h"
#include "ipc/shared_access.h"
#include "procs/live_counters.h"

namespace {

constexpr int32_t kStatusHeight = 22;
constexpr RECT kGridButton = {380, -3, 380 + 150, -3 + 26};
constexpr const char* kTabTitles[] = {"Preview", "Processes", "Feeds", "Settings"};

}  // namespace

// The tab control would swallow the wheel; what turns with it belongs to the window.
static LRESULT CALLBACK tab_control_proc(HWND window, UINT message, WPARAM wp, LPARAM lp, UINT_PTR /*id*/,
                                         DWORD_PTR main_window) {
    if (message == WM_MOUSEWHEEL) return SendMessageA(reinterpret_cast<HWND>(main_window), message, wp, lp);
    if (message == WM_NCDESTROY) RemoveWindowSubclass(window, tab_control_proc, 0);
    return DefSubclassProc(window, message, wp, lp);
}

static void create_tabs(UiContext* ui) {
    RECT client = {};
    GetClientRect(ui->window, &client);
    ui->tabs = CreateWindowExA(0, WC_TABCONTROLA, "", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_TABSTOP, 0, 0,
                               client.right, client.bottom - kStatusHeight, ui->window,
                               reinterpret_cast<HMENU>(INT_PTR{kIdTabs}), ui->instance, nullptr);
    int32_t index = 0;
    for (const char* title : kTabTitles) {
        TCITEMA item = {};
        item.mask = TCIF_TEXT;
        item.pszText = const_cast<char*>(title);
        SendMessageA(ui->tabs, TCM_INSERTITEMA, static_cast<WPARAM>(index++), reinterpret_cast<LPARAM>(&item));
    }
    SetWindowSubclass(ui->tabs, tab_control_proc, 0, reinterpret_cast<DWORD_PTR>(ui->window));
    // A ground of one colour for the controls on the tabs, whatever a theme paints on the tab control's own.
    ui->page = CreateWindowExA(0, "STATIC", "", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, 0, 0, 0, 0, ui->window,
                               reinterpret_cast<HMENU>(INT_PTR{kIdPage}), ui->instance, nullptr);
}

static void create_settings_tab(UiContext* ui) {
    settings_tab_create(&ui->settings_tab, ui->window, ui->instance, ui->settings, ui->settings_path, ui->exe_dir);
}

static void create_grid_button(UiContext* ui) {
    CreateWindowExA(0, "BUTTON", "Setup Grid Lines", WS_CHILD | WS_CLIPSIBLINGS | BS_PUSHBUTTON, kGridButton.left,
                    kGridButton.top, kGridButton.right - kGridButton.left, kGridButton.bottom - kGridButton.top,
                    ui->window, reinterpret_cast<HMENU>(INT_PTR{kCmdGridLines}), ui->instance, nullptr);
}

static BOOL CALLBACK set_font(HWND child, LPARAM param) {
    const auto* ui = reinterpret_cast<const UiContext*>(param);
    if (!jumper_panel_owns(&ui->jumpers, child) && !settings_tab_owns(&ui->settings_tab, child))
        SendMessageA(child, WM_SETFONT, reinterpret_cast<WPARAM>(ui->font), FALSE);
    return TRUE;
}

static bool current_jumper(void* panel, int32_t* bib, const char** name, const char** club) {
    return jumper_panel_current(static_cast<const JumperPanel*>(panel), bib, name, club);
}

static void create_preview_tab(UiContext* ui) {
    preview_create(&ui->preview, ui->window, ui->instance, &ui->sync, ui->settings, ui->settings_path);
    jumper_panel_create(&ui->jumpers, ui->window, ui->instance, &ui->sync);
    ui->preview.jumpers_context = &ui->jumpers;
    ui->preview.current_jumper = current_jumper;
    ui->preview.place_jumpers = [](void* panel, const RECT& area) {
        jumper_panel_layout(static_cast<JumperPanel*>(panel), area);
    };
    ui->preview.refresh_jumpers = [](void* panel) { jumper_panel_refresh(static_cast<JumperPanel*>(panel)); };
    preview_set_divider(&ui->preview, ui->window_state.preview_panel_width);
    jumper_panel_auto_load(&ui->jumpers, ui->settings_path);
}

void main_window_create_children(UiContext* ui) {
    create_tabs(ui);
    feeds_tab_create(&ui->feeds, ui->window, ui->instance);
    feeds_tab_show_settings(&ui->feeds, ui->settings);
    processes_tab_create(&ui->process_tab, ui->window, ui->instance);
    create_preview_tab(ui);
    create_settings_tab(ui);
    create_grid_button(ui);
    ui->status = CreateWindowExA(0, STATUSCLASSNAMEA, "", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0,
                                 ui->window, reinterpret_cast<HMENU>(INT_PTR{kIdStatusBar}), ui->instance, nullptr);

    // Everything lies on the page, and the page on the tab control.
    SetWindowPos(ui->page, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    SetWindowPos(ui->tabs, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);

    const int height = -MulDiv(9, 96, 72);  // 9 points; the system scales what we draw to the screen's density
    ui->font = CreateFontA(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                           CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_SWISS, "Segoe UI");
    EnumChildWindows(ui->window, set_font, reinterpret_cast<LPARAM>(ui));
}

void main_window_layout(UiContext* ui) {
    RECT client = {};
    GetClientRect(ui->window, &client);
    if (!ui->status || client.right <= 0 || client.bottom <= 0) return;  // not built yet, or minimised

    SendMessageA(ui->status, WM_SIZE, 0, 0);
    const int tab_height = client.bottom > kStatusHeight ? client.bottom - kStatusHeight : 0;
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE;
    SetWindowPos(ui->tabs, nullptr, 0, 0, client.right, tab_height, kFlags);

    RECT area = {0, 0, client.right, tab_height};
    SendMessageA(ui->tabs, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
    const int width = area.right > area.left ? area.right - area.left : 0;
    const int height = area.bottom > area.top ? area.bottom - area.top : 0;
    SetWindowPos(ui->page, nullptr, area.left, area.top, width, height, kFlags);
    preview_layout(&ui->preview, area);
    processes_tab_layout(&ui->process_tab, area);
    feeds_tab_layout(&ui->feeds, area);
    settings_tab_layout(&ui->settings_tab, area);
}

void main_window_refresh_feeds_tab(UiContext* ui) {
    FeedCounters counters[kFeedCount] = {};
    if (const ControlBlock* control = ui_control_block(ui)) {
        uint32_t nw[kFeedCount];
        uint32_t motion_idx[kFeedCount];
        uint32_t frame_count[kFeedCount];
        read_live_nw(control, &ui->sync, nw);
        read_motion_idx(control, &ui->sync, motion_idx);
        for (int32_t f = 0; f < kFeedCount; ++f) frame_count[f] = shared_load(control->feed_frame_count[f]);
        feed_rates_step(&ui->feed_rates, GetTickCount(), frame_count);
        for (int32_t f = 0; f < kFeedCount; ++f)
            counters[f] = {true, nw[f], motion_idx[f], frame_count[f], ui->feed_rates.fps[f]};
    }
    feeds_tab_show_settings(&ui->feeds, ui->settings);
    feeds_tab_show_counters(&ui->feeds, counters);
}

void main_window_select_tab(UiContext* ui, int32_t tab) {
    ui->current_tab = tab;
    preview_set_active(&ui->preview, tab == kTabPreview);
    jumper_panel_show(&ui->jumpers, tab == kTabPreview);
    processes_tab_show(&ui->process_tab, tab == kTabProcesses);
    feeds_tab_show(&ui->feeds, tab == kTabFeeds);
    settings_tab_show(&ui->settings_tab, tab == kTabSettings);
    if (tab == kTabProcesses) ui_rebuild_processes(ui);
    if (tab == kTabFeeds) main_window_refresh_feeds_tab(ui);
}
