// Pictures of the screen: single pixels to test, the whole screen for whoever has to find out why a test failed.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

struct Picture {
    int32_t width, height;
    size_t stride;
    std::vector<uint8_t> bytes;  // bottom-up BGR
};

// A rectangle of the window's client area as it stands on the screen.
Picture picture_of(HWND window, RECT client_area);
COLORREF pixel(const Picture& picture, int32_t x, int32_t y);

// Writes the whole screen, or a part of it, as a 24-bit BMP file.
bool save_screenshot(const std::string& path);
bool save_screen_area(RECT area, const std::string& path);
