#include "tests/console/screenshot.h"

#include <cstdio>

static Picture take_picture(int32_t left, int32_t top, int32_t width, int32_t height) {
    Picture picture = {width, height, (static_cast<size_t>(width) * 3 + 3) / 4 * 4, {}};
    picture.bytes.resize(picture.stride * static_cast<size_t>(height));
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, left, top, SRCCOPY);
    SelectObject(memory, before);
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), picture.bytes.data(), &info, DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return picture;
}

static bool save_picture(const Picture& picture, const std::string& path) {
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    const auto size = static_cast<DWORD>(picture.bytes.size());
    BITMAPINFOHEADER info = {sizeof info, picture.width, picture.height, 1, 24, BI_RGB, size, 0, 0, 0, 0};
    BITMAPFILEHEADER header = {0x4D42, static_cast<DWORD>(sizeof header + sizeof info) + size, 0, 0,
                               static_cast<DWORD>(sizeof header + sizeof info)};
    fwrite(&header, sizeof header, 1, file);
    fwrite(&info, sizeof info, 1, file);
    fwrite(picture.bytes.data(), 1, picture.bytes.size(), file);
    return fclose(file) == 0;
}

bool save_screenshot(const std::string& path) {
    return save_screen_area({0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}, path);
}

bool save_screen_area(RECT area, const std::string& path) {
    return save_picture(take_picture(area.left, area.top, area.right - area.left, area.bottom - area.top), path);
}

Picture picture_of(HWND window, RECT client_area) {
    POINT corner = {client_area.left, client_area.top};
    ClientToScreen(window, &corner);
    return take_picture(corner.x, corner.y, client_area.right - client_area.left,
                        client_area.bottom - client_area.top);
}

COLORREF pixel(const Picture& picture, int32_t x, int32_t y) {
    const size_t at = static_cast<size_t>(picture.height - 1 - y) * picture.stride + static_cast<size_t>(x) * 3;
    return RGB(picture.bytes[at + 2], picture.bytes[at + 1], picture.bytes[at]);
}
