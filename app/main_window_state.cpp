#include <cstdio>
#include <cstring>

#include "app/main_window_parts.h"
#include "app/screen_areas.h"
#include "app/ui_context.h"

void main_window_load_state(UiContext* ui) {
    const char* cut = strrchr(ui->settings_path, '\\');
    if (!cut) cut = strrchr(ui->settings_path, '/');
    const int directory = cut ? static_cast<int>(cut - ui->settings_path + 1) : 0;
    snprintf(ui->window_state_path, sizeof ui->window_state_path, "%.*scontroller_window.ini", directory,
             ui->settings_path);
    window_state_load(ui->window_state_path, &ui->window_state);
}

WindowPlace main_window_start_place(const UiContext* ui) {
    const WindowState& state = ui->window_state;
    WindowPlace place = {CW_USEDEFAULT, CW_USEDEFAULT, state.width, state.height};
    if (state.loaded && saved_place_is_reachable(state.x, state.y, state.width, state.height)) {
        place.x = state.x;
        place.y = state.y;
    }
    return place;
}

void main_window_save_state(UiContext* ui) {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof placement;
    if (!ui->window || !GetWindowPlacement(ui->window, &placement)) return;

    // The restored rectangle is relative to the work area, windows are created relative to the screen: without the
    // difference the window would creep by a task bar's height with every start.
    MONITORINFO info = {};
    info.cbSize = sizeof info;
    POINT shift = {};
    if (GetMonitorInfoA(MonitorFromWindow(ui->window, MONITOR_DEFAULTTONEAREST), &info))
        shift = {info.rcWork.left - info.rcMonitor.left, info.rcWork.top - info.rcMonitor.top};

    const RECT& normal = placement.rcNormalPosition;
    WindowState& state = ui->window_state;
    state.x = normal.left + shift.x;
    state.y = normal.top + shift.y;
    state.width = normal.right - normal.left;
    state.height = normal.bottom - normal.top;
    state.maximized =
        IsZoomed(ui->window) || (IsIconic(ui->window) && (placement.flags & WPF_RESTORETOMAXIMIZED) != 0) ? 1 : 0;
    state.preview_panel_width = preview_panel_width(&ui->preview);
    state.jumper_panel_width = kJumperPanelWidth;
    window_state_save(ui->window_state_path, &state);
}
