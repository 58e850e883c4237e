#include "procs/capture_panel.h"

#include <cstdio>
#include <string>

#include "app/log.h"
#include "app/message_table.h"
#include "app/screen_areas.h"
#include "app/utf16.h"
#include "app/window_class.h"
#include "procs/capture_panel_view.h"

namespace {

constexpr char kClassName[] = "SkiJumpCapturePanel";
constexpr DWORD kStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;
constexpr DWORD kExtendedStyle = WS_EX_TOPMOST | WS_EX_TOOLWINDOW;
constexpr int32_t kFontHeight = 14;

// Without a folder: the system's profile functions keep it in their own place, whatever settings file is in use.
constexpr char kPositionFile[] = "capture_panel.ini";
constexpr char kPositionSection[] = "window";

}  // namespace

// --------------------------------------------------------------------------------------------------- drawing

static COLORREF colour_of(CaptureColour colour) {
    return RGB(colour.red, colour.green, colour.blue);
}

// GDI's own text does not follow the program's code page, so what we draw goes through UTF-16.
static void draw_centred(HDC dc, const char* text, RECT rect) {
    const std::wstring wide = utf16_from(text);
    DrawTextW(dc, wide.c_str(), static_cast<int>(wide.size()), &rect, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
}

static void draw_toggle(const CapturePanel* panel, const DRAWITEMSTRUCT& item) {
    const CaptureButtonLook look = capture_button_look(
        {panel->capturing != 0, (item.itemState & ODS_SELECTED) != 0, (item.itemState & ODS_FOCUS) != 0});
    const int32_t saved = SaveDC(item.hDC);
    SetDCBrushColor(item.hDC, colour_of(look.fill));
    FillRect(item.hDC, &item.rcItem, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    FrameRect(item.hDC, &item.rcItem, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
    if (panel->font) SelectObject(item.hDC, panel->font);
    SetBkMode(item.hDC, TRANSPARENT);
    SetTextColor(item.hDC, colour_of(look.text_colour));
    draw_centred(item.hDC, look.text, item.rcItem);
    RestoreDC(item.hDC, saved);
    if (look.focus_inset == 0) return;
    RECT inside = item.rcItem;
    InflateRect(&inside, -look.focus_inset, -look.focus_inset);
    DrawFocusRect(item.hDC, &inside);
}

// ------------------------------------------------------------------------------------------------ the position

static POINT start_position() {
    char text[2][32];
    GetPrivateProfileStringA(kPositionSection, "x", "", text[0], sizeof text[0], kPositionFile);
    GetPrivateProfileStringA(kPositionSection, "y", "", text[1], sizeof text[1], kPositionFile);
    int32_t x = 0;
    int32_t y = 0;
    if (!capture_panel_position(text[0], text[1], &x, &y) ||
        !saved_place_is_reachable(x, y, kCapturePanelWidth, kCapturePanelHeight))
        return {CW_USEDEFAULT, CW_USEDEFAULT};
    return {x, y};
}

static void save_coordinate(const char* key, LONG value) {
    char text[32];
    snprintf(text, sizeof text, "%ld", value);
    WritePrivateProfileStringA(kPositionSection, key, text, kPositionFile);
}

static void save_position(const CapturePanel* panel) {
    RECT place = {};
    if (!GetWindowRect(panel->window, &place)) return;
    save_coordinate("x", place.left);
    save_coordinate("y", place.top);
}

// ------------------------------------------------------------------------------------------------ the recorders

static void start_recorders(CapturePanel* panel) {
    recorders_set_paused(panel->recorders, 1);
    recorders_set_shutdown(panel->recorders, 0);
    panel->capturing = 0;
    for (int32_t feed = 0; feed < kRecorders; ++feed)
        if (recorder_launch(panel->recorders, feed) != 0)
            log_error("capture_panel: failed to launch capfile[%d]", feed);
    recorders_signal(panel->recorders);
}

static void warn_of_straggler(int32_t feed) {
    log_warn("capture_panel: capfile[%d] did not exit in %d ms — terminating (mp4 may miss moov atom)", feed,
             static_cast<int>(kRecorderGraceMs));
}

// What has to be done while the window is still there. Once: the window's destruction asks again.
static void finish(CapturePanel* panel) {
    if (panel->open == 0 || panel->closing != 0) return;
    panel->closing = 1;
    log_info("capture_panel: closing (flip capfile_shutdown, wait for exit)");
    recorders_set_shutdown(panel->recorders, 1);
    recorders_signal(panel->recorders);
    recorders_finish(panel->recorders, warn_of_straggler);
    save_position(panel);
}

static void toggle(CapturePanel* panel) {
    panel->capturing = panel->capturing == 0 ? 1 : 0;
    recorders_set_paused(panel->recorders, panel->capturing == 0 ? 1 : 0);
    recorders_signal(panel->recorders);
    InvalidateRect(panel->toggle, nullptr, FALSE);
    log_info("capture_panel: state -> %s", panel->capturing != 0 ? "capturing" : "paused");
}

// ---------------------------------------------------------------------------------------------------- the window

bool capture_panel_command(CapturePanel* panel, int32_t id) {
    if (panel->open == 0 || panel->closing != 0) return false;
    if (id == kCapturePanelToggle) {
        toggle(panel);
    } else if (id == kCapturePanelExit) {
        capture_panel_close(panel);
    } else {
        return false;
    }
    return true;
}

// An owner-drawn button reports the second of two quick clicks as a double click. Both are meant.
static bool on_command(CapturePanel* panel, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    const bool clicked = HIWORD(wp) == BN_CLICKED || HIWORD(wp) == BN_DOUBLECLICKED;
    return clicked && capture_panel_command(panel, LOWORD(wp));
}

static bool on_draw_item(CapturePanel* panel, WPARAM /*wp*/, LPARAM lp, LRESULT* result) {
    const auto* item = reinterpret_cast<const DRAWITEMSTRUCT*>(lp);
    if (item->CtlID != static_cast<UINT>(kCapturePanelToggle)) return false;
    draw_toggle(panel, *item);
    *result = TRUE;
    return true;
}

// The window itself has no use for the keyboard; the button that had it last gets it.
static bool on_set_focus(CapturePanel* panel, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    if (!panel->focus) return false;
    SetFocus(panel->focus);
    return true;
}

static bool on_activate(CapturePanel* panel, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    HWND focus = GetFocus();
    if (LOWORD(wp) == WA_INACTIVE && (focus == panel->toggle || focus == panel->exit)) panel->focus = focus;
    return false;
}

static bool on_close(CapturePanel* panel, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    capture_panel_close(panel);
    return true;
}

static bool on_destroy(CapturePanel* panel, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    finish(panel);
    return true;
}

// The last message: the buttons are gone, nobody uses the font any more.
static bool on_nc_destroy(CapturePanel* panel, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    const bool was_open = panel->open != 0;
    if (panel->font) DeleteObject(panel->font);
    *panel = {};
    if (was_open) log_info("capture_panel: closed");
    return false;
}

namespace {

constexpr MessageEntry<CapturePanel> kMessages[] = {
    {WM_COMMAND, on_command}, {WM_DRAWITEM, on_draw_item}, {WM_SETFOCUS, on_set_focus},   {WM_ACTIVATE, on_activate},
    {WM_CLOSE, on_close},     {WM_DESTROY, on_destroy},    {WM_NCDESTROY, on_nc_destroy},
};

}  // namespace

static LRESULT CALLBACK capture_panel_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    return answer_message(kMessages, window, message, wp, lp);
}

// The class stays registered from one opening to the next.
static int32_t register_class(HINSTANCE instance) {
    const WindowClass window_class = {kClassName, capture_panel_proc, instance, COLOR_BTNFACE};
    if (window_class_register(window_class) == 0) return 0;
    const DWORD error = GetLastError();
    log_error("capture_panel: RegisterClassEx failed: %lu", error);
    return -1;
}

static HWND add_button(const CapturePanel* panel, HINSTANCE instance, const char* text, DWORD style,
                       const CapturePanelPlace& place, int32_t id) {
    HWND button =
        CreateWindowExA(0, "BUTTON", text, WS_CHILD | WS_VISIBLE | WS_TABSTOP | style, place.x, place.y, place.width,
                        place.height, panel->window, reinterpret_cast<HMENU>(INT_PTR{id}), instance, nullptr);
    if (button && panel->font) SendMessageA(button, WM_SETFONT, reinterpret_cast<WPARAM>(panel->font), FALSE);
    return button;
}

static int32_t create_window(CapturePanel* panel, HWND owner, HINSTANCE instance) {
    const POINT at = start_position();
    HWND window = CreateWindowExA(kExtendedStyle, kClassName, "File Capture", kStyle, at.x, at.y, kCapturePanelWidth,
                                  kCapturePanelHeight, owner, nullptr, instance, panel);
    if (!window) {
        const DWORD error = GetLastError();
        log_error("capture_panel: CreateWindow failed: %lu", error);
        return -1;
    }
    panel->font =
        CreateFontA(-kFontHeight, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                    CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_SWISS, "Segoe UI");
    panel->toggle = add_button(panel, instance, "", BS_OWNERDRAW, kCaptureTogglePlace, kCapturePanelToggle);
    panel->exit = add_button(panel, instance, "Exit", BS_PUSHBUTTON, kCaptureExitPlace, kCapturePanelExit);
    panel->focus = panel->toggle;
    return 0;
}

int32_t capture_panel_open(CapturePanel* panel, HWND owner, HINSTANCE instance, const Recorders& recorders) {
    if (panel->open != 0) {
        SetForegroundWindow(panel->window);
        return 0;
    }
    *panel = {};
    panel->recorders = recorders;
    if (register_class(instance) != 0 || create_window(panel, owner, instance) != 0) {
        *panel = {};
        return -1;
    }
    start_recorders(panel);
    panel->open = 1;
    ShowWindow(panel->window, SW_SHOW);
    UpdateWindow(panel->window);
    log_info("capture_panel: opened (paused, %d capfile processes spawned)", static_cast<int>(kRecorders));
    return 0;
}

void capture_panel_close(CapturePanel* panel) {
    if (panel->open == 0 || panel->closing != 0) return;
    finish(panel);
    DestroyWindow(panel->window);
}

bool capture_panel_takes_key(CapturePanel* panel, const MSG& message) {
    if (panel->open == 0 || message.message != WM_KEYDOWN || message.wParam != VK_TAB) return false;
    if (message.hwnd != panel->toggle && message.hwnd != panel->exit) return false;
    SetFocus(message.hwnd == panel->toggle ? panel->exit : panel->toggle);
    return true;
}
