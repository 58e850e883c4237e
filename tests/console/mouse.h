// The mouse as the system delivers it: the pointer is moved, the button pressed, the wheel turned, and whichever
// window lies there gets what an operator's hand would send it. Points are in the window's client coordinates.
#pragma once

#include <windows.h>

#include <cstdint>

// False, with nothing done, when another window lies over the point.
bool click_at(HWND window, int32_t x, int32_t y);

// The two halves of a click: whoever presses also lets go.
bool press_mouse_at(HWND window, int32_t x, int32_t y);
bool release_mouse();

// One movement of the wheel over the point, 120 a notch, up is positive.
bool turn_wheel_at(HWND window, int32_t x, int32_t y, int32_t delta);

// Presses, moves in between, and lets go.
bool drag(HWND window, int32_t from_x, int32_t from_y, int32_t to_x, int32_t to_y);
