// A saved window position is only worth something while its screen is there. An operator who unplugged a screen must
// still find the window.
#pragma once

#include <cstdint>

struct ScreenRect {
    int32_t left, top, right, bottom;
};

// True when enough of the window's title bar lies on one of the screens' work areas to be seen and dragged.
bool window_is_reachable(const ScreenRect& window, const ScreenRect* work_areas, int32_t count);
