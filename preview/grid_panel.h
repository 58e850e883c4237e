// The Grid Line Setup panel: a small tool window of buttons, one per anchor point of the grid lines. A press asks the
// viewer, through the control block, for the operator's next click on that feed's picture; the answer becomes the
// anchor.
//
// The viewer is another program and may be absent or slow, so the panel never waits for it: it looks every 100 ms.
// One click is awaited at a time. Everything runs on the main thread.
#pragma once

#include <windows.h>

#include <cstdint>

#include "ipc/control_block.h"
#include "ipc/sync_set.h"
#include "preview/grid_points.h"
#include "settings/settings.h"

// What the panel needs of the window that opens it.
struct GridPanelHost {
    void (*redisplay_settings)(void* context);  // after settings have changed; null: nobody shows them
    void* context;
    bool attended;  // false: nobody could answer a message box, none is shown
};

// Starts as zeros.
struct GridPanel {
    HWND window;                                        // null while closed
    HWND button[kSettingsFeeds][2][kGridLinesPerFeed];  // [feed][1 = near][line]; null beyond the feed's lines
    uint32_t waiting;                                   // 1: the viewer was asked for `awaited`
    GridPoint awaited;
    Settings* settings;
    ControlBlock* control;
    IpcSyncSet* sync;
    const char* settings_path;
    GridPanelHost host;
};

// Creates and shows the panel, where it was last. All that is handed in outlives it. Returns 0; -1, logged, when
// there is no window to be had, or when the panel is open already.
int32_t grid_panel_open(GridPanel* panel, HWND parent, Settings* settings, ControlBlock* control, IpcSyncSet* sync,
                        const char* settings_path, const GridPanelHost& host);

void grid_panel_bring_to_front(const GridPanel* panel);

// A button of the panel. False for other commands, and for all while the panel is closed.
bool grid_panel_command(GridPanel* panel, int32_t id);

// Keeps the window's position, withdraws what was asked of the viewer, and destroys the window. Harmless on a closed
// panel.
void grid_panel_close(GridPanel* panel);
