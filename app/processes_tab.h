// The Processes tab: one start and stop button per worker, and the table of all children.
#pragma once

#include <windows.h>

#include <cstdint>

#include "procs/process_manager.h"

inline constexpr int32_t kProcessButtonCount = 18;

struct ProcessesTab {
    HWND list;
    HWND button[kProcessButtonCount];
};

// Creates list and buttons, hidden, as children of the main window, which gets their commands.
void processes_tab_create(ProcessesTab* tab, HWND main_window, HINSTANCE instance);

// Places everything in `area` (main window coordinates).
void processes_tab_layout(ProcessesTab* tab, const RECT& area);

void processes_tab_show(ProcessesTab* tab, bool show);

// Fills the list anew: one row per slot that is not empty. Selection and scroll position survive.
void processes_tab_rebuild(ProcessesTab* tab, const ProcessManager* manager);
