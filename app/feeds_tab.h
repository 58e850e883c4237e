// The Feeds tab: one row per feed with its motion switch, its camera and what it is doing just now.
#pragma once

#include <windows.h>

#include <cstdint>

#include "ipc/control_block.h"
#include "settings/settings.h"

struct FeedsTab {
    HWND motion[kFeedCount];
    HWND camera[kFeedCount];
    HWND counters[kFeedCount];
};

struct FeedCounters {
    bool available;  // false without a control block
    uint32_t nw;
    uint32_t motion_idx;
    uint32_t frame_count;
    double fps;
};

// Creates the rows, hidden, as children of the main window.
void feeds_tab_create(FeedsTab* tab, HWND main_window, HINSTANCE instance);
void feeds_tab_layout(FeedsTab* tab, const RECT& area);
void feeds_tab_show(FeedsTab* tab, bool show);

// Motion switches and cameras as the settings have them.
void feeds_tab_show_settings(FeedsTab* tab, const Settings* settings);
void feeds_tab_show_counters(FeedsTab* tab, const FeedCounters counters[kFeedCount]);
