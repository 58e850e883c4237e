// The picture area: a window that paints the four panes from their bitmaps and takes the mouse for the editors and
// the divider. Painted into an off-screen picture of the window's size first, so that nothing flickers.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <iterator>

#include "app/commands.h"
#include "app/log.h"
#include "app/message_table.h"
#include "app/window_class.h"
#include "preview/jumper_caption.h"
#include "preview/preview_internal.h"

namespace {

constexpr COLORREF kPlaceholderColor = RGB(32, 32, 32);
constexpr COLORREF kPlaceholderText = RGB(255, 255, 0);
constexpr COLORREF kCaptionText = RGB(255, 255, 255);
constexpr COLORREF kCaptionGround = RGB(0, 0, 128);
constexpr COLORREF kDividerPen = RGB(128, 128, 128);
constexpr COLORREF kDividerFill = RGB(200, 200, 200);

}  // namespace

static RECT rect_of(const PlaceRect& place) {
    return {place.left, place.top, place.right, place.bottom};
}

// GDI's own text does not follow the program's code page, so what we draw goes through UTF-16; on the stack, since a
// caption is drawn sixty times a second. No byte makes more than one unit.
static void draw_text(HDC dc, int32_t x, int32_t y, const char* text) {
    wchar_t wide[kJumperCaptionSize];
    const int size = static_cast<int>(strnlen(text, std::size(wide)));
    const int length = MultiByteToWideChar(CP_UTF8, 0, text, size, wide, static_cast<int>(std::size(wide)));
    if (length <= 0) return;
    RECT rect = {x, y, x, y};
    DrawTextW(dc, wide, length, &rect, DT_LEFT | DT_TOP | DT_SINGLELINE | DT_NOCLIP | DT_NOPREFIX);
}

static void fill(HDC dc, const RECT& rect, COLORREF color) {
    HBRUSH brush = CreateSolidBrush(color);
    FillRect(dc, &rect, brush);
    DeleteObject(brush);
}

static void draw_placeholder(HDC dc, const RECT& rect, int32_t pane) {
    fill(dc, rect, kPlaceholderColor);
    char text[16] = "COMBINED";
    if (pane != kCombinedPane) snprintf(text, sizeof text, "FEED %d", static_cast<int>(pane));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kPlaceholderText);
    draw_text(dc, rect.left + 5, rect.top + 3, text);
}

static void draw_pane(const PreviewPanel* panel, HDC dc, int32_t index) {
    const PreviewPane& pane = panel->pane[index];
    const RECT rect = rect_of(panel->places.pane[index].screen);
    if (!pane.has_picture) {
        draw_placeholder(dc, rect, index);
        return;
    }
    BITMAPINFO info = {};
    info.bmiHeader = pane.header;
    StretchDIBits(dc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, 0, 0, pane.header.biWidth,
                  pane.header.biHeight, pane.pixels, &info, DIB_RGB_COLORS, SRCCOPY);
}

// The caption to show now, "" for none.
static void find_caption(const PreviewPanel* panel, char (&caption)[kJumperCaptionSize]) {
    int32_t bib = 0;
    const char* name = nullptr;
    const char* club = nullptr;
    caption[0] = '\0';
    if (panel->current_jumper && panel->current_jumper(panel->jumpers_context, &bib, &name, &club))
        format_jumper_caption(caption, bib, name, club);
}

static void draw_caption(const PreviewPanel* panel, HDC dc) {
    char caption[kJumperCaptionSize];
    find_caption(panel, caption);
    if (caption[0] == '\0') return;
    const PlaceRect& pane = panel->places.pane[kCombinedPane].screen;
    const HGDIOBJ previous = SelectObject(dc, panel->caption_font);
    SetBkMode(dc, OPAQUE);
    SetBkColor(dc, kCaptionGround);
    SetTextColor(dc, kCaptionText);
    draw_text(dc, pane.left + (pane.right - pane.left) * 64 / 1920, pane.top + 2, caption);
    SelectObject(dc, previous);
}

static void draw_divider(const PreviewPanel* panel, HDC dc) {
    const PlaceRect& bar = panel->places.divider_bar;
    HPEN pen = CreatePen(PS_SOLID, 1, kDividerPen);
    HBRUSH brush = CreateSolidBrush(kDividerFill);
    const HGDIOBJ previous_pen = SelectObject(dc, pen), previous_brush = SelectObject(dc, brush);
    Rectangle(dc, bar.left, bar.top, bar.right, bar.bottom);
    SelectObject(dc, previous_pen);
    SelectObject(dc, previous_brush);
    DeleteObject(pen);
    DeleteObject(brush);
}

static void draw_all(const PreviewPanel* panel, HDC dc, const RECT& cleared) {
    FillRect(dc, &cleared, GetSysColorBrush(COLOR_BTNFACE));
    SetStretchBltMode(dc, COLORONCOLOR);
    for (int32_t pane = 0; pane < kPaneCount; ++pane) draw_pane(panel, dc, pane);
    draw_caption(panel, dc);
    draw_divider(panel, dc);
}

static void release_back_buffer(PreviewPanel* panel) {
    if (panel->back_dc) {
        SelectObject(panel->back_dc, panel->back_previous);
        DeleteDC(panel->back_dc);
    }
    if (panel->back_bitmap) DeleteObject(panel->back_bitmap);
    panel->back_dc = nullptr;
    panel->back_bitmap = nullptr;
    panel->back_previous = nullptr;
}

// Keeps an off-screen picture of the window's size. False when there is none to be had. A new one has nothing in it:
// then `dirty` grows to all of it.
static bool ensure_back_buffer(PreviewPanel* panel, HDC screen, const RECT& client, RECT* dirty) {
    const SIZE size = {client.right, client.bottom};
    if (panel->back_dc && panel->back_size.cx == size.cx && panel->back_size.cy == size.cy) return true;
    release_back_buffer(panel);
    panel->back_bitmap = CreateCompatibleBitmap(screen, size.cx, size.cy);
    if (!panel->back_bitmap) return false;
    panel->back_dc = CreateCompatibleDC(screen);
    if (!panel->back_dc) {
        release_back_buffer(panel);
        return false;
    }
    panel->back_previous = SelectObject(panel->back_dc, panel->back_bitmap);
    panel->back_size = size;
    *dirty = client;
    return true;
}

static bool on_paint(PreviewPanel* panel, WPARAM, LPARAM, LRESULT*) {
    PAINTSTRUCT paint;
    const HDC screen = BeginPaint(panel->window, &paint);
    RECT client;
    GetClientRect(panel->window, &client);
    RECT dirty = paint.rcPaint;
    if (client.right > 0 && client.bottom > 0 && ensure_back_buffer(panel, screen, client, &dirty)) {
        draw_all(panel, panel->back_dc, dirty);
        BitBlt(screen, dirty.left, dirty.top, dirty.right - dirty.left, dirty.bottom - dirty.top, panel->back_dc,
               dirty.left, dirty.top, SRCCOPY);
    }
    EndPaint(panel->window, &paint);
    return true;
}

// Painting covers every pixel; erasing first would only flicker.
static bool on_erase_background(PreviewPanel*, WPARAM, LPARAM, LRESULT* result) {
    *result = 1;
    return true;
}

static int32_t mouse_x(LPARAM lp) {
    return static_cast<int16_t>(LOWORD(lp));
}

static int32_t mouse_y(LPARAM lp) {
    return static_cast<int16_t>(HIWORD(lp));
}

static bool on_left_down(PreviewPanel* panel, WPARAM, LPARAM lp, LRESULT*) {
    if (preview_click(panel, mouse_x(lp), mouse_y(lp))) return true;
    if (!hits_divider(panel->places, mouse_x(lp), mouse_y(lp))) return false;
    panel->dragging = true;
    SetCapture(panel->window);
    return true;
}

static bool on_mouse_move(PreviewPanel* panel, WPARAM, LPARAM lp, LRESULT*) {
    if (!panel->dragging) return false;
    preview_set_divider(panel, mouse_x(lp));
    panel->divider = panel->places.divider;  // a drag beyond the limit is not remembered
    return true;
}

static bool on_left_up(PreviewPanel* panel, WPARAM, LPARAM, LRESULT*) {
    if (!panel->dragging) return false;
    ReleaseCapture();
    return true;
}

static bool on_capture_changed(PreviewPanel* panel, WPARAM, LPARAM, LRESULT*) {
    panel->dragging = false;
    return true;
}

static bool on_mouse_wheel(PreviewPanel* panel, WPARAM wp, LPARAM, LRESULT*) {
    return preview_wheel(panel, static_cast<int16_t>(HIWORD(wp)));
}

static bool on_set_cursor(PreviewPanel* panel, WPARAM, LPARAM lp, LRESULT* result) {
    POINT point;
    if (LOWORD(lp) != HTCLIENT || !GetCursorPos(&point) || !ScreenToClient(panel->window, &point)) return false;
    if (!panel->dragging && !hits_divider(panel->places, point.x, point.y)) return false;
    SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_SIZEWE)));
    *result = TRUE;
    return true;
}

static LRESULT CALLBACK preview_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    static constexpr MessageEntry<PreviewPanel> kMessages[] = {
        {WM_PAINT, on_paint},          {WM_ERASEBKGND, on_erase_background}, {WM_LBUTTONDOWN, on_left_down},
        {WM_MOUSEMOVE, on_mouse_move}, {WM_LBUTTONUP, on_left_up},           {WM_CAPTURECHANGED, on_capture_changed},
        {WM_SETCURSOR, on_set_cursor}, {WM_MOUSEWHEEL, on_mouse_wheel},
    };
    return answer_message(kMessages, window, message, wp, lp);
}

void preview_window_create(PreviewPanel* panel) {
    if (window_class_register({kPreviewWindowClass, preview_proc, panel->instance, kNoBackground}) != 0) {
        const DWORD error = GetLastError();
        log_error("preview: RegisterClassEx failed: %lu", error);
        return;
    }
    panel->window =
        CreateWindowExA(0, kPreviewWindowClass, "", WS_CHILD | WS_CLIPSIBLINGS, 0, 0, 0, 0, panel->main_window,
                        reinterpret_cast<HMENU>(INT_PTR{kIdPreviewPicture}), panel->instance, panel);
    if (!panel->window) {
        const DWORD error = GetLastError();
        log_error("preview: CreateWindow failed: %lu", error);
        return;
    }
    SetWindowPos(panel->window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

void preview_window_destroy(PreviewPanel* panel) {
    if (panel->window) DestroyWindow(panel->window);
    panel->window = nullptr;
    release_back_buffer(panel);
    if (panel->instance) UnregisterClassA(kPreviewWindowClass, panel->instance);
}

void preview_repaint(PreviewPanel* panel) {
    if (!panel->window) return;
    InvalidateRect(panel->window, nullptr, FALSE);
    UpdateWindow(panel->window);
}

void preview_repaint_pictures(PreviewPanel* panel) {
    if (!panel->window) return;
    char caption[kJumperCaptionSize];
    find_caption(panel, caption);
    if (strcmp(caption, panel->caption) != 0) {
        memcpy(panel->caption, caption, sizeof caption);  // a long one reaches beyond the panes
        return preview_repaint(panel);
    }
    RECT panes = {};
    GetClientRect(panel->window, &panes);
    panes.right = panel->places.divider_bar.left;
    InvalidateRect(panel->window, &panes, FALSE);
    UpdateWindow(panel->window);
}
