#include "tests/console/mouse.h"

#include "tests/support/wait.h"

static bool point_at(HWND window, int32_t x, int32_t y) {
    POINT point = {x, y};
    ClientToScreen(window, &point);
    if (WindowFromPoint(point) != window) return false;
    if (!SetCursorPos(point.x, point.y)) return false;
    return wait_until([&] {
        POINT now = {};
        return GetCursorPos(&now) && now.x == point.x && now.y == point.y;
    });
}

static bool send(DWORD flags, int32_t data = 0) {
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = flags;
    input.mi.mouseData = static_cast<DWORD>(data);
    return SendInput(1, &input, sizeof input) == 1;
}

bool click_at(HWND window, int32_t x, int32_t y) {
    return press_mouse_at(window, x, y) && release_mouse();
}

bool press_mouse_at(HWND window, int32_t x, int32_t y) {
    return point_at(window, x, y) && send(MOUSEEVENTF_LEFTDOWN);
}

bool release_mouse() {
    return send(MOUSEEVENTF_LEFTUP);
}

bool turn_wheel_at(HWND window, int32_t x, int32_t y, int32_t delta) {
    return point_at(window, x, y) && send(MOUSEEVENTF_WHEEL, delta);
}

bool drag(HWND window, int32_t from_x, int32_t from_y, int32_t to_x, int32_t to_y) {
    if (!point_at(window, from_x, from_y) || !send(MOUSEEVENTF_LEFTDOWN)) return false;
    const POINT steps[] = {{(from_x + to_x) / 2, (from_y + to_y) / 2}, {to_x, to_y}};
    for (POINT on_screen : steps) {
        ClientToScreen(window, &on_screen);
        SetCursorPos(on_screen.x, on_screen.y);
        Sleep(100);  // a movement is only seen where the pointer rests
    }
    return send(MOUSEEVENTF_LEFTUP);
}
