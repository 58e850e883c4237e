#include <windows.h>

#include "tools/status_screen.h"

bool screen_is_console() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

static bool write_all(HANDLE console, const std::string& text) {
    DWORD written = 0;
    return WriteConsoleA(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0;
}

bool screen_paint(std::string_view text, bool first) {
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(console, &info)) return false;
    const int32_t rows = info.srWindow.Bottom - info.srWindow.Top + 1;
    // A line as wide as the window would wrap and leave an empty one behind it.
    const int32_t columns = info.srWindow.Right - info.srWindow.Left;
    if (first) {
        if (!write_all(console, std::string(static_cast<size_t>(rows), '\n'))) return false;
        if (!GetConsoleScreenBufferInfo(console, &info)) return false;
    }
    if (!SetConsoleCursorPosition(console, {0, info.srWindow.Top})) return false;
    return write_all(console, fit_to_screen(text, columns, rows));
}
