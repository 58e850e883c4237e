#include "settings/modal_dialog.h"

#include <algorithm>

#include "app/log.h"
#include "app/window_class.h"

namespace {

constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;
constexpr DWORD kExtendedStyle = WS_EX_DLGMODALFRAME;

}  // namespace

// Over the middle of the owner, wholly on the owner's monitor when it fits.
static ModalPlace centred_place(const ModalLook& look, HWND owner) {
    RECT frame = {0, 0, look.client_width, look.client_height};
    AdjustWindowRectEx(&frame, kStyle, FALSE, kExtendedStyle);
    const int32_t width = frame.right - frame.left;
    const int32_t height = frame.bottom - frame.top;

    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoA(MonitorFromWindow(owner, MONITOR_DEFAULTTOPRIMARY), &monitor);
    const RECT& work = monitor.rcWork;
    RECT over = work;
    if (owner && !IsIconic(owner)) GetWindowRect(owner, &over);
    const LONG x = std::min(over.left + (over.right - over.left - width) / 2, work.right - width);
    const LONG y = std::min(over.top + (over.bottom - over.top - height) / 2, work.bottom - height);
    return {std::max(x, work.left), std::max(y, work.top), width, height};
}

HWND modal_create_window(ModalDialog* dialog, void* record, const ModalLook& look, HWND owner) {
    dialog->owner = owner;
    dialog->default_id = look.default_id;
    dialog->result = DialogResult::cancelled;
    HINSTANCE instance = GetModuleHandleA(nullptr);
    if (window_class_register({look.class_name, look.procedure, instance, COLOR_BTNFACE}) != 0) return nullptr;
    const ModalPlace place = centred_place(look, owner);
    HWND window = CreateWindowExA(kExtendedStyle, look.class_name, look.title, kStyle, place.x, place.y, place.width,
                                  place.height, owner, nullptr, instance, record);
    if (!window) return nullptr;
    const int height = -MulDiv(9, 96, 72);  // as in the main window
    dialog->font = CreateFontA(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                               CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_SWISS, "Segoe UI");
    return window;
}

HWND modal_add_control(const ModalDialog* dialog, const char* window_class, const char* text, DWORD style,
                       DWORD extended_style, const ModalPlace& place, int32_t id) {
    HWND control = CreateWindowExA(extended_style, window_class, text, WS_CHILD | WS_VISIBLE | style, place.x,
                                   place.y, place.width, place.height, dialog->window,
                                   reinterpret_cast<HMENU>(INT_PTR{id}), GetModuleHandleA(nullptr), nullptr);
    if (!control) {
        const DWORD error = GetLastError();
        log_error("dialog: CreateWindow failed for control %d: %lu", id, error);
        return nullptr;
    }
    SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(dialog->font), FALSE);
    return control;
}

void modal_show(ModalDialog* dialog, HWND first_focus) {
    dialog->owner_focus = GetFocus();
    dialog->owner_disabled = dialog->owner && !EnableWindow(dialog->owner, FALSE);
    dialog->focus = first_focus;
    ShowWindow(dialog->window, SW_SHOW);
    if (first_focus) SetFocus(first_focus);
    UpdateWindow(dialog->window);
}

// The owner is enabled before the dialog goes: the system would otherwise activate some other program's window.
static void close(ModalDialog* dialog) {
    const bool was_active = dialog->window && GetActiveWindow() == dialog->window;
    if (dialog->owner_disabled && IsWindow(dialog->owner)) EnableWindow(dialog->owner, TRUE);
    if (dialog->window) DestroyWindow(dialog->window);
    if (dialog->font) DeleteObject(dialog->font);
    dialog->font = nullptr;
    if (was_active && IsWindow(dialog->owner)) SetActiveWindow(dialog->owner);
    if (was_active && IsWindow(dialog->owner_focus)) SetFocus(dialog->owner_focus);
}

DialogResult modal_wait(ModalDialog* dialog) {
    while (!dialog->ended && dialog->window) {
        MSG message = {};
        const BOOL got = GetMessageA(&message, nullptr, 0, 0);
        if (got < 0) break;
        if (got == 0) {
            PostQuitMessage(static_cast<int>(message.wParam));  // meant for the program's own loop as well
            break;
        }
        if (IsDialogMessageA(dialog->window, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    close(dialog);
    return dialog->result;
}

// GetMessage does not return for a message that another thread or program sent: one must be posted for the loop to
// look again.
static void wake() {
    PostThreadMessageA(GetCurrentThreadId(), WM_NULL, 0, 0);
}

void modal_end(ModalDialog* dialog, DialogResult result) {
    dialog->result = result;
    dialog->ended = true;
    wake();
}

// A push button with the focus takes Enter for itself.
static int32_t enter_id(const ModalDialog* dialog) {
    HWND focus = GetFocus();
    if (!focus || GetParent(focus) != dialog->window) return dialog->default_id;
    const LRESULT code = SendMessageA(focus, WM_GETDLGCODE, 0, 0);
    const bool is_button = (code & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON)) != 0;
    return is_button ? GetDlgCtrlID(focus) : dialog->default_id;
}

static bool keep_focus(ModalDialog* dialog, WPARAM wp) {
    if (LOWORD(wp) == WA_INACTIVE) {
        HWND focus = GetFocus();
        if (focus && GetParent(focus) == dialog->window) dialog->focus = focus;
        return false;
    }
    if (!IsWindow(dialog->focus)) return false;
    SetFocus(dialog->focus);
    return true;
}

bool modal_message(ModalDialog* dialog, UINT message, WPARAM wp, LPARAM /*lp*/, LRESULT* result) {
    switch (message) {
        case WM_CLOSE:
            modal_end(dialog, DialogResult::cancelled);
            return true;
        case DM_GETDEFID:
            *result = MAKELRESULT(enter_id(dialog), DC_HASDEFID);
            return true;
        case WM_ACTIVATE:
            return keep_focus(dialog, wp);
        case WM_DESTROY:
            dialog->window = nullptr;
            return false;
        default:
            return false;
    }
}
