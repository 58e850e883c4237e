// What the Settings tab's own files share.
#pragma once

#include <string>

#include "settings/settings_tab.h"

inline constexpr int32_t kIdSettingsList = 800;
inline constexpr int32_t kIdSettingsFirstBox = 1000;  // + row

enum SettingsTabCommand : int32_t {
    kCmdTabSave = 801,
    kCmdTabLoad = 802,
    kIdTabStatus = 803,
    kCmdTabMotionThird = 804,
    kCmdTabMotionHalf = 805,
    kCmdTabMotionWhole = 806,
    kCmdTabSelectGpu = 807,
    kCmdTabSelectPracticeFiles = 808,
    kCmdTabSelectFolder = 809,
};

// settings_tab_list.cpp: the scrolled list with its children and tooltips. -1, logged, without a list.
int32_t settings_list_create(SettingsTab* tab);
void settings_list_scroll_to(SettingsTab* tab, int32_t wanted);
void settings_list_destroy(SettingsTab* tab);

// The text of a box, at most 255 characters; and the way in. UTF-8.
std::string settings_box_text(HWND box);
void settings_box_set_text(HWND box, const std::string& text);

// The box of a key, null when no row has the key.
HWND settings_tab_box(const SettingsTab* tab, const char* key);
void settings_tab_set_state(SettingsTab* tab, SettingsTabState state);
// The window a chooser is owned by.
HWND settings_tab_owner(const SettingsTab* tab);

// settings_tab_folder.cpp
void settings_tab_browse_folder(SettingsTab* tab);

// settings_tab_choosers.cpp
void settings_tab_select_gpu(SettingsTab* tab);
void settings_tab_select_practice_files(SettingsTab* tab);
