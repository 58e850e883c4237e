#include "app/screen_areas.h"

#include <windows.h>

#include "app/window_placement.h"

namespace {

constexpr int32_t kMaxScreens = 16;

struct Screens {
    ScreenRect work_area[kMaxScreens];
    int32_t count;
};

}  // namespace

static BOOL CALLBACK add_screen(HMONITOR monitor, HDC /*dc*/, LPRECT /*rect*/, LPARAM param) {
    auto* screens = reinterpret_cast<Screens*>(param);
    MONITORINFO info = {};
    info.cbSize = sizeof info;
    if (GetMonitorInfoA(monitor, &info) && screens->count < kMaxScreens) {
        const RECT& area = info.rcWork;
        screens->work_area[screens->count++] = {area.left, area.top, area.right, area.bottom};
    }
    return TRUE;
}

bool saved_place_is_reachable(int32_t x, int32_t y, int32_t width, int32_t height) {
    const int64_t right = int64_t{x} + width;
    const int64_t bottom = int64_t{y} + height;
    if (right > INT32_MAX || bottom > INT32_MAX) return false;
    Screens screens = {};
    EnumDisplayMonitors(nullptr, nullptr, add_screen, reinterpret_cast<LPARAM>(&screens));
    const ScreenRect wanted = {x, y, static_cast<int32_t>(right), static_cast<int32_t>(bottom)};
    return window_is_reachable(wanted, screens.work_area, screens.count);
}
