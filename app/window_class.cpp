#include "app/window_class.h"

int32_t window_class_register(const WindowClass& window_class) {
    WNDCLASSEXA description = {};
    description.cbSize = sizeof description;
    description.lpfnWndProc = window_class.procedure;
    description.cbWndExtra = sizeof(void*);
    description.hInstance = window_class.instance;
    description.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
    description.hIcon = window_class.icon;
    if (window_class.background != kNoBackground)
        description.hbrBackground = reinterpret_cast<HBRUSH>(INT_PTR{window_class.background} + 1);
    description.lpszClassName = window_class.name;
    return RegisterClassExA(&description) || GetLastError() == ERROR_CLASS_ALREADY_EXISTS ? 0 : -1;
}
