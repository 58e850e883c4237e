// How our windows' classes are registered. All of them keep their record in the window's extra bytes, where
// answer_message looks for it.
#pragma once

#include <windows.h>

#include <cstdint>

inline constexpr int32_t kNoBackground = -1;  // the window paints all of itself

struct WindowClass {
    const char* name;
    WNDPROC procedure;
    HINSTANCE instance;
    int32_t background;    // a system colour, COLOR_WINDOW and so on
    HICON icon = nullptr;  // null: the system's
};

// A class that is there already, of an earlier opening of the same window, serves as well. -1: not registered, and
// GetLastError tells why; the caller logs it.
int32_t window_class_register(const WindowClass& window_class);
