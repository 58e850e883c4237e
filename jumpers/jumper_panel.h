// The jumper panel beside the preview: start list, round, and who is on the hill. It owns the mapped jumper region,
// because it is the only one to need it; the measuring programs watch the region and write distances into it.
//
// Wiring: the six controls (ids 600..605) are direct children of the main window and lie over the preview's picture
// area, right of its divider, where preview_layout leaves room for them. The main window forwards their commands and
// the list's notifications; the preview calls jumper_panel_refresh before it paints, so that list and caption always
// agree. Everything runs on the main thread.
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <cstdint>

#include "ipc/shared_region.h"
#include "ipc/sync_set.h"
#include "jumpers/jumper_list.h"

inline constexpr int32_t kJumperControlCount = 6;
// Before the first layout, which gives it the room beside the divider; and the width that is kept, whatever it has.
inline constexpr int32_t kJumperPanelWidth = 280;

// Starts as zeros.
struct JumperPanel {
    HWND main_window;
    HWND control[kJumperControlCount];  // in the order of their ids
    HWND list;                          // control of the first id
    HFONT font;
    IpcSyncSet* sync;
    SharedRegion region;

    int32_t rows_shown;   // -1: rebuild at the next refresh
    int32_t highlighted;  // row; -1 when none
    int32_t round_shown;  // -1 before the first refresh
    JumperDistance distance_shown[kJumperCapacity][kRoundCount];
    bool has_current;
    JumperRow current;  // as of the last refresh, when has_current
};

// Builds the controls, hidden, and makes or attaches the region; without a region the panel stays empty. `sync`
// outlives the panel.
void jumper_panel_create(JumperPanel* panel, HWND main_window, HINSTANCE instance, IpcSyncSet* sync);

// `area` in main window coordinates.
void jumper_panel_layout(JumperPanel* panel, const RECT& area);
void jumper_panel_show(JumperPanel* panel, bool show);

// Whether the window is one of the panel's or lies in one: they have their own font.
bool jumper_panel_owns(const JumperPanel* panel, HWND window);

// Brings the controls up to the region's state.
void jumper_panel_refresh(JumperPanel* panel);

// Loads the file, asking nobody and showing nothing. Returns the new count; -1, with the region unchanged, when there
// is no region or the file cannot be opened.
int32_t jumper_panel_load(JumperPanel* panel, const char* path);
// Asks the operator for a file and tells how it went. Returns as above, -1 also when he thought better of it. Pumps
// messages: the window may have been closed when it returns.
int32_t jumper_panel_load_interactive(JumperPanel* panel);
// Loads jumpers.csv from the folder of the settings file, if there is one.
void jumper_panel_auto_load(JumperPanel* panel, const char* settings_path);

// Records in the list now; 0 without a region.
int32_t jumper_panel_count(JumperPanel* panel);

void jumper_panel_select_bib(JumperPanel* panel, int32_t bib);
void jumper_panel_round_down(JumperPanel* panel);
void jumper_panel_round_up(JumperPanel* panel);

// False for notifications that are not the panel's.
bool jumper_panel_notify(JumperPanel* panel, NMHDR* header, LRESULT* result);

// Who is jumping now, as of the last refresh; false when nobody. The texts stay valid until the next refresh.
bool jumper_panel_current(const JumperPanel* panel, int32_t* bib, const char** name, const char** club);

// Releases controls, font and region. Harmless on a panel that was never created.
void jumper_panel_destroy(JumperPanel* panel);
