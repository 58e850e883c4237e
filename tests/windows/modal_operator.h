// Drives a modal window from outside, as its operator: the test's own thread shows it and waits, a second thread
// finds it and presses.
#pragma once

#include <windows.h>

#include <string>
#include <thread>
#include <vector>

inline std::string text_in(HWND window) {
    char text[1100] = "";
    SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
    return text;
}

template <class Condition>
bool look_until(Condition happened, int32_t patience_ms = 20'000) {
    for (int32_t i = 0; i < patience_ms / 10; ++i) {
        if (happened()) return true;
        Sleep(10);
    }
    return false;
}

// The window of this class, by its title, once it is on the screen; null when it does not come.
inline HWND shown_window(const char* class_name, const char* title = nullptr) {
    HWND window = nullptr;
    look_until([&] {
        window = FindWindowA(class_name, title);
        return window && IsWindowVisible(window);
    });
    return window;
}

inline void click(HWND window, int32_t id) {
    SendMessageA(GetDlgItem(window, id), BM_CLICK, 0, 0);
}

inline RECT place_in(HWND window, HWND child) {
    RECT rect = {};
    GetWindowRect(child, &rect);
    MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

// "x,y wxh"
inline std::string place_text(HWND window, HWND child) {
    const RECT rect = place_in(window, child);
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + " " + std::to_string(rect.right - rect.left) +
           "x" + std::to_string(rect.bottom - rect.top);
}

// The texts and places of the children without an id of their own, in order of creation.
inline std::vector<std::string> captions_in(HWND window) {
    std::vector<std::string> captions;
    for (HWND child = GetWindow(window, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if (GetDlgCtrlID(child) == -1 || GetDlgCtrlID(child) == 0xFFFF)
            captions.push_back(text_in(child) + " " + place_text(window, child));
    return captions;
}

// Every line of a list, with the messages of its kind (LB_GETCOUNT and LB_GETTEXT, CB_GETCOUNT and CB_GETLBTEXT).
inline std::vector<std::string> items_in(HWND list, UINT count_message, UINT text_message) {
    std::vector<std::string> items;
    const LRESULT count = SendMessageA(list, count_message, 0, 0);
    for (LRESULT i = 0; i < count; ++i) {
        char text[600] = "";
        SendMessageA(list, text_message, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
        items.emplace_back(text);
    }
    return items;
}
