#include "preview/grid_panel.h"

#include <cstdio>

#include "app/log.h"
#include "app/message_table.h"
#include "app/screen_areas.h"
#include "app/window_class.h"
#include "app/window_state.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"

namespace {

constexpr char kClassName[] = "GridLineSetupClass";
constexpr char kTitle[] = "Grid Line Setup";
constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU;
constexpr UINT_PTR kPollTimer = 1;
constexpr UINT kPollMs = 100;

}  // namespace

template <class Visit>
static void for_each_button(const GridPanel* panel, Visit visit) {
    for (const auto& feed : panel->button)
        for (const auto& side : feed)
            for (HWND button : side)
                if (button) visit(button);
}

static HWND button_of(const GridPanel* panel, GridPoint point) {
    return panel->button[point.feed][point.near_side ? 1 : 0][point.line];
}

static HWND add_control(const GridPanel* panel, const char* window_class, const char* text, DWORD style,
                        const GridPlace& place, int32_t id) {
    HWND control = CreateWindowExA(0, window_class, text, WS_CHILD | WS_VISIBLE | style, place.x, place.y,
                                   place.width, place.height, panel->window, reinterpret_cast<HMENU>(INT_PTR{id}),
                                   GetModuleHandleA(nullptr), nullptr);
    if (!control) {
        const DWORD error = GetLastError();
        log_error("grid line setup: CreateWindow failed for control %d: %lu", id, error);
        return nullptr;
    }
    SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
    return control;
}

static void add_side(GridPanel* panel, int32_t feed, bool near_side) {
    add_control(panel, "STATIC", near_side ? "Near:" : "Far:", SS_RIGHT, grid_side_label_place(feed, near_side), -1);
    for (int32_t line = 0; line < grid_line_count(panel->settings, feed); ++line) {
        const GridPoint point = {feed, line, near_side};
        char label[kGridLabelSize];
        grid_button_label(grid_line_metre(panel->settings, feed, line),
                          grid_anchor_is_set(grid_anchor(panel->settings, point)), label);
        panel->button[feed][near_side ? 1 : 0][line] = add_control(panel, "BUTTON", label, WS_TABSTOP | BS_PUSHBUTTON,
                                                                   grid_button_place(point), grid_button_id(point));
    }
}

static void create_controls(GridPanel* panel) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        char label[kGridLabelSize];
        snprintf(label, sizeof label, "Feed %d", feed);
        add_control(panel, "STATIC", label, SS_LEFT, grid_feed_label_place(feed), -1);
        add_side(panel, feed, false);
        add_side(panel, feed, true);
    }
    add_control(panel, "BUTTON", "Save", WS_TABSTOP | BS_PUSHBUTTON, kGridSavePlace, kGridSave);
    add_control(panel, "BUTTON", "Exit", WS_TABSTOP | BS_PUSHBUTTON, kGridExitPlace, kGridExit);
}

// What the operator changed reaches the file and whoever shows settings.
static void keep_settings(GridPanel* panel) {
    settings_recompute_meter_values(panel->settings);
    settings_save(panel->settings, panel->settings_path);
    if (panel->host.redisplay_settings) panel->host.redisplay_settings(panel->host.context);
}

// ------------------------------------------------------------------------------------------------ asking the viewer

static void set_open(GridPanel* panel, uint32_t open) {
    ipc_lock(panel->sync, kMutexGrid);
    shared_store(panel->control->grid_setup_active, open);
    shared_store(panel->control->grid_click_wait, 0u);
    ipc_unlock(panel->sync, kMutexGrid);
}

static void post_request(GridPanel* panel, GridPoint point) {
    ControlBlock* control = panel->control;
    ipc_lock(panel->sync, kMutexGrid);
    shared_store(control->grid_feed, static_cast<uint32_t>(point.feed));
    shared_store(control->grid_line, static_cast<uint32_t>(point.line));
    shared_store(control->grid_near, point.near_side ? 1u : 0u);
    shared_store(control->grid_click_wait, 1u);
    shared_store(control->grid_click_ready, 0u);
    ipc_unlock(panel->sync, kMutexGrid);
    ipc_reset_event(panel->sync, kEventGridClick);
}

static bool take_answer(GridPanel* panel, int32_t* x, int32_t* y) {
    ControlBlock* control = panel->control;
    ipc_lock(panel->sync, kMutexGrid);
    const bool ready = shared_load(control->grid_click_ready) != 0;
    if (ready) {
        *x = shared_load(control->grid_click_x);
        *y = shared_load(control->grid_click_y);
        shared_store(control->grid_click_wait, 0u);
        shared_store(control->grid_click_ready, 0u);
    }
    ipc_unlock(panel->sync, kMutexGrid);
    return ready;
}

static void tell_viewer_to_reload(GridPanel* panel) {
    ipc_lock(panel->sync, kMutexGrid);
    const uint32_t generation = shared_load(panel->control->grid_generation);
    shared_store(panel->control->grid_generation, generation + 1);
    ipc_unlock(panel->sync, kMutexGrid);
}

static void await_click(GridPanel* panel, GridPoint point) {
    post_request(panel, point);
    panel->waiting = 1;
    panel->awaited = point;
    // A disabled button would keep the keyboard and answer nothing.
    if (GetFocus() == button_of(panel, point)) SetFocus(panel->window);
    for_each_button(panel, [](HWND button) { EnableWindow(button, FALSE); });
    char title[kGridTitleSize];
    grid_waiting_title(panel->settings, point, title);
    SetWindowTextA(panel->window, title);
    log_info("grid setup: waiting for click - feed=%d line=%d %s", point.feed, point.line,
             grid_side_name(point.near_side));
}

static void poll_viewer(GridPanel* panel) {
    int32_t x = 0;
    int32_t y = 0;
    if (panel->waiting == 0 || !take_answer(panel, &x, &y)) return;
    const GridPoint point = panel->awaited;
    const int32_t row = grid_store_click(panel->settings, point, x, y);
    keep_settings(panel);
    tell_viewer_to_reload(panel);
    char label[kGridLabelSize];
    grid_button_label(grid_line_metre(panel->settings, point.feed, point.line), true, label);
    HWND button = button_of(panel, point);
    SetWindowTextA(button, label);
    panel->waiting = 0;
    for_each_button(panel, [](HWND each) { EnableWindow(each, TRUE); });
    if (GetFocus() == panel->window) SetFocus(button);
    SetWindowTextA(panel->window, kTitle);
    log_info("grid setup: received click - feed=%d line=%d %s x=%d y=%d (adjusted y=%d)", point.feed, point.line,
             grid_side_name(point.near_side), x, y, row);
}

// ------------------------------------------------------------------------------------------------------- the window

static void save_now(GridPanel* panel) {
    keep_settings(panel);
    // The panel may be gone when the box closes: its message loop also serves the main window.
    const char* const path = panel->settings_path;
    if (panel->host.attended)
        MessageBoxA(panel->window, "Grid line settings saved.", "Saved", MB_OK | MB_ICONINFORMATION);
    log_info("grid line settings saved to %s", path);
}

bool grid_panel_command(GridPanel* panel, int32_t id) {
    if (!panel->window) return false;
    if (id == kGridSave) {
        save_now(panel);
    } else if (id == kGridExit) {
        grid_panel_close(panel);
    } else if (id >= kGridFirstLineButton && id <= kGridLastLineButton) {
        GridPoint point = {};
        if (grid_button_asks(id, panel->settings, panel->waiting != 0, &point)) await_click(panel, point);
    } else {
        return false;
    }
    return true;
}

static bool on_command(GridPanel* panel, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    return HIWORD(wp) == BN_CLICKED && grid_panel_command(panel, LOWORD(wp));
}

static bool on_timer(GridPanel* panel, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (wp != kPollTimer) return false;
    poll_viewer(panel);
    return true;
}

static bool on_close(GridPanel* panel, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    grid_panel_close(panel);
    return true;
}

static bool on_destroy(GridPanel* panel, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    KillTimer(panel->window, kPollTimer);
    *panel = {};
    return true;
}

namespace {

constexpr MessageEntry<GridPanel> kMessages[] = {
    {WM_COMMAND, on_command},
    {WM_TIMER, on_timer},
    {WM_CLOSE, on_close},
    {WM_DESTROY, on_destroy},
};

}  // namespace

static LRESULT CALLBACK grid_panel_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    return answer_message(kMessages, window, message, wp, lp);
}

// The class stays registered from one opening to the next.
static int32_t register_class() {
    const WindowClass window_class = {kClassName, grid_panel_proc, GetModuleHandleA(nullptr), COLOR_BTNFACE};
    if (window_class_register(window_class) == 0) return 0;
    const DWORD error = GetLastError();
    log_error("grid line setup: RegisterClassEx failed: %lu", error);
    return -1;
}

static POINT start_position(const char* settings_path, int32_t width) {
    char path[kGridPathSize];
    grid_position_path(settings_path, path);
    WindowState state;
    window_state_load(path, &state);
    if (!state.loaded || !saved_place_is_reachable(state.x, state.y, width, kGridPanelHeight))
        return {CW_USEDEFAULT, CW_USEDEFAULT};
    log_info("gridline panel: restoring position x=%d y=%d from %s", state.x, state.y, path);
    return {state.x, state.y};
}

static int32_t create_window(GridPanel* panel, HWND parent) {
    const int32_t width = grid_panel_width(panel->settings);
    const POINT at = start_position(panel->settings_path, width);
    HWND window = CreateWindowExA(WS_EX_TOOLWINDOW, kClassName, kTitle, kStyle, at.x, at.y, width, kGridPanelHeight,
                                  parent, nullptr, GetModuleHandleA(nullptr), panel);
    if (window) return 0;
    const DWORD error = GetLastError();
    log_error("grid line setup: CreateWindow failed: %lu", error);
    return -1;
}

int32_t grid_panel_open(GridPanel* panel, HWND parent, Settings* settings, ControlBlock* control, IpcSyncSet* sync,
                        const char* settings_path, const GridPanelHost& host) {
    if (panel->window) return -1;
    *panel = {};
    panel->settings = settings;
    panel->control = control;
    panel->sync = sync;
    panel->settings_path = settings_path;
    panel->host = host;
    if (register_class() != 0 || create_window(panel, parent) != 0) {
        *panel = {};
        return -1;
    }
    create_controls(panel);
    set_open(panel, 1);
    SetTimer(panel->window, kPollTimer, kPollMs, nullptr);
    ShowWindow(panel->window, SW_SHOW);
    log_info("grid line setup panel created");
    return 0;
}

void grid_panel_bring_to_front(const GridPanel* panel) {
    SetForegroundWindow(panel->window);
}

static void save_position(const GridPanel* panel) {
    char path[kGridPathSize];
    grid_position_path(panel->settings_path, path);
    RECT place = {};
    if (!GetWindowRect(panel->window, &place)) return;
    WindowState state;
    state.x = place.left;
    state.y = place.top;
    state.width = place.right - place.left;
    state.height = place.bottom - place.top;
    window_state_save(path, &state);
}

void grid_panel_close(GridPanel* panel) {
    if (!panel->window) return;
    save_position(panel);
    set_open(panel, 0);
    DestroyWindow(panel->window);
}
