// The least that a window program can be, as a yardstick for a start: one window of the console's size, painted in
// the colour of an empty pane.
#include <windows.h>

static LRESULT CALLBACK window_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    if (message == WM_PAINT) {
        PAINTSTRUCT paint;
        HDC dc = BeginPaint(window, &paint);
        HBRUSH brush = CreateSolidBrush(RGB(32, 32, 32));
        FillRect(dc, &paint.rcPaint, brush);
        DeleteObject(brush);
        EndPaint(window, &paint);
        return 0;
    }
    if (message == WM_DESTROY) PostQuitMessage(0);
    return DefWindowProcA(window, message, wp, lp);
}

int main() {
    WNDCLASSA description = {};
    description.lpfnWndProc = window_proc;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = "OrvekEmptyWindow";
    RegisterClassA(&description);
    HWND window = CreateWindowExA(0, "OrvekEmptyWindow", "", WS_OVERLAPPEDWINDOW, 0, 0, 1600, 900, nullptr, nullptr,
                                  description.hInstance, nullptr);
    ShowWindow(window, SW_SHOWNORMAL);
    UpdateWindow(window);
    MSG message = {};
    while (GetMessageA(&message, nullptr, 0, 0) > 0) DispatchMessageA(&message);
    return 0;
}
