// The Settings tab: every setting of the table as a text box under its category's heading, with its help text as a
// tooltip, and a row of buttons above. Nothing here knows a setting by name except the folder, the motion columns and
// the results of the choosers.
//
// Wiring: the buttons (ids 801..808) and the scrolled list (800) are direct children of the main window; the boxes
// (1000 + row) and the folder button (809) are children of the list, which passes on the folder button's clicks and
// nothing else, so that a box's id is never taken for a command. What is typed reaches the record only with Save,
// which writes every box back: whoever changes the record refills the tab. Everything runs on the main thread.
#pragma once

#include <windows.h>

#include <cstdint>

#include "settings/editor_rows.h"
#include "settings/settings.h"

inline constexpr int32_t kSettingsTabTopControls = 9;

enum class SettingsTabState : int32_t { loaded = 0, saved = 1, modified = 2 };

// Starts as zeros.
struct SettingsTab {
    HWND parent;
    HWND window;  // the scrolled list
    HWND top[kSettingsTabTopControls];
    HWND status;
    HWND label[kEditorMaxRows];
    HWND box[kEditorMaxRows];
    HWND folder_button;  // null when no row has one
    HWND tooltip;
    HFONT label_font, box_font, heading_font;
    HINSTANCE instance;

    Settings* settings;
    char settings_path[260];
    char exe_dir[MAX_PATH];

    EditorRows rows;
    int32_t scroll;  // pixels of the content above the visible part
    int32_t wheel_rest;
    bool refilling;  // the boxes are being set by us: clicks in the list are not passed on
    SettingsTabState state;
};

// Builds the controls, hidden. `settings` outlives the tab; the paths are copied, `exe_dir` without a trailing
// separator. Returns 0; -1, logged, when the list cannot be had.
int32_t settings_tab_create(SettingsTab* tab, HWND parent, HINSTANCE instance, Settings* settings,
                            const char* settings_path, const char* exe_dir);

// `area` in the parent's client coordinates.
void settings_tab_layout(SettingsTab* tab, const RECT& area);
// Showing refills: what was typed and not saved is gone then.
void settings_tab_show(SettingsTab* tab, bool show);
// Whether the window is one of the tab's or lies in one: they have their own fonts.
bool settings_tab_owns(const SettingsTab* tab, HWND window);

// Commands 801..809. False for others. May pump messages (choosers). Not attended: those that would open a dialog do
// nothing.
bool settings_tab_command(SettingsTab* tab, int32_t id, bool attended);
// A turn of the mouse wheel that another window received; `delta` as Windows counts, 120 a notch.
void settings_tab_wheel(SettingsTab* tab, int32_t delta);

// All boxes into the record, the record into the file. Returns 0; -1, logged, when the file was not written.
int32_t settings_tab_save(SettingsTab* tab);
// Defaults, then the file, then the boxes.
void settings_tab_load(SettingsTab* tab);
// The record into the boxes.
void settings_tab_refill(SettingsTab* tab);
// Puts the number into the box of the key; nothing for a key without a row. The record stays as it is.
void settings_tab_set_int(SettingsTab* tab, const char* key, int32_t value);

// Windows and fonts. Harmless on a tab that was not created.
void settings_tab_destroy(SettingsTab* tab);
