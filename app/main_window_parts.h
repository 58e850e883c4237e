// What the main window's own files share: building it, placing its children, and its tables of messages, commands and
// timers.
#pragma once

#include <windows.h>

#include <cstdint>

struct UiContext;

inline constexpr char kMainWindowClass[] = "SkiJumpController";

// main_window_layout.cpp: the children, where they lie and which of them are shown.
void main_window_create_children(UiContext* ui);
void main_window_layout(UiContext* ui);
void main_window_select_tab(UiContext* ui, int32_t tab);
void main_window_refresh_feeds_tab(UiContext* ui);

// main_window_state.cpp: where the window stands, now and at the next start.
void main_window_load_state(UiContext* ui);
void main_window_save_state(UiContext* ui);
struct WindowPlace {
    int x, y, width, height;
};
WindowPlace main_window_start_place(const UiContext* ui);

// main_window_title.cpp: the frame-rate monitor.
void main_window_update_title(UiContext* ui);

// main_window_commands.cpp. A command nobody knows does nothing.
void main_window_command(UiContext* ui, int32_t id);
void main_window_open_help(UiContext* ui);

// main_window_timers.cpp
void main_window_timer(UiContext* ui, uintptr_t id);

// main_window_close.cpp: saves, tells the workers to end, ends them, and leaves the message loop.
void main_window_close(UiContext* ui);

// main_window_end_session.cpp: Windows asks whether it may end the session, and says whether it does.
void main_window_session_may_end(UiContext* ui);
void main_window_session_ends(UiContext* ui, bool ends);
