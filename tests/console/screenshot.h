// Pictures of the screen: single pixels to test, the whole screen for whoever has to find out why a test failed.
#pragma once

#include <windows.h>

#include <string>

// Writes the whole screen as a 24-bit BMP file.
bool save_screenshot(const std::string& path);

// The colour at a place in the window's client area, as it stands on the screen.
COLORREF screen_pixel(HWND window, POINT client_place);
