#include "preview/preview_panel.h"

#include "app/commands.h"
#include "app/log.h"
#include "app/timers.h"
#include "preview/preview_decisions.h"
#include "preview/preview_internal.h"
#include "settings/settings.h"

namespace {

constexpr int32_t kFirstBitmapWidth = 320, kFirstBitmapHeight = 180;
constexpr int32_t kFirstDivider = 700;
constexpr int32_t kCaptionHeight = 14;

}  // namespace

static void size_bitmap(PreviewPane* pane, int32_t width, int32_t height) {
    if (pane->header.biWidth == width && pane->header.biHeight == height) return;
    // What the bitmap holds has other rows now; the next refresh fills it again.
    pane->has_picture = false;
    pane->header.biWidth = width;
    pane->header.biHeight = height;
}

static void init_panes(PreviewPanel* panel) {
    for (int32_t i = 0; i < kPaneCount; ++i) {
        PreviewPane& pane = panel->pane[i];
        pane.feed = i == kCombinedPane ? -1 : i;
        pane.header.biSize = sizeof pane.header;
        pane.header.biPlanes = 1;
        pane.header.biBitCount = 24;
        pane.header.biCompression = BI_RGB;
        size_bitmap(&pane, kFirstBitmapWidth, kFirstBitmapHeight);
    }
}

static void create_buttons(PreviewPanel* panel) {
    const bool erase_shadows = panel->settings && panel->settings->erase_shadows != 0;
    HWND above = HWND_TOP;  // over the tab control, and among themselves in the table's order
    for (int32_t i = 0; i < kPreviewButtonCount; ++i) {
        const PreviewButton& row = kPreviewButtons[i];
        const char* text = row.id == kCmdShadowRemoval ? shadow_button_text(erase_shadows) : row.text;
        const bool flows = row.x == kFlowPlace;
        HWND button = CreateWindowExA(0, "BUTTON", text, WS_CHILD | WS_TABSTOP | WS_CLIPSIBLINGS | BS_PUSHBUTTON,
                                      flows ? 0 : row.x, flows ? 0 : row.y, row.width, row.height, panel->main_window,
                                      reinterpret_cast<HMENU>(INT_PTR{row.id}), panel->instance, nullptr);
        panel->button[i] = button;
        if (!button) continue;
        SendMessageA(button, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
        EnableWindow(button, row.usable);
        SetWindowPos(button, above, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
        above = button;
    }
}

int32_t preview_create(PreviewPanel* panel, HWND main_window, HINSTANCE instance, IpcSyncSet* sync,
                       Settings* settings, const char* settings_path) {
    panel->main_window = main_window;
    panel->instance = instance;
    panel->sync = sync;
    panel->settings = settings;
    panel->settings_path = settings_path;
    panel->divider = kFirstDivider;
    init_panes(panel);
    preview_map_sources(panel);
    panel->caption_font =
        CreateFontA(-kCaptionHeight, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                    CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_DONTCARE, "Segoe UI");
    create_buttons(panel);
    preview_window_create(panel);
    panel->highlight_on = true;
    panel->log_on = false;
    panel->offset_feed = -1;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) preview_load_regions(panel, feed);
    panel->created = true;
    return 0;
}

static void place_jumpers(PreviewPanel* panel, const PictureArea& area) {
    if (!panel->place_jumpers) return;
    const PlaceRect place = place_jumper_list(area, panel->places);
    RECT rect = {place.left, place.top, place.right, place.bottom};
    MapWindowPoints(panel->window, panel->main_window, reinterpret_cast<POINT*>(&rect), 2);
    panel->place_jumpers(panel->jumpers_context, rect);
}

void preview_place_pictures(PreviewPanel* panel) {
    RECT client;
    if (!panel->window || !GetClientRect(panel->window, &client) || client.right <= 0) return;
    const PictureArea area = {0, 0, static_cast<int32_t>(client.right), static_cast<int32_t>(client.bottom),
                              panel->divider};
    panel->places = place_pictures(area);
    for (int32_t i = 0; i < kPaneCount; ++i) {
        size_bitmap(&panel->pane[i], panel->places.pane[i].bitmap_width, panel->places.pane[i].bitmap_height);
    }
    place_jumpers(panel, area);
}

// After a move of the divider or the window: new bitmaps at once, not only with the next frame.
static void show_new_places(PreviewPanel* panel) {
    preview_place_pictures(panel);
    if (!panel->active) return;
    preview_render(panel);
    preview_repaint(panel);
}

void preview_layout(PreviewPanel* panel, const RECT& area) {
    const auto width = static_cast<int32_t>(area.right - area.left);
    const auto height = static_cast<int32_t>(area.bottom - area.top);
    if (!panel->created || width <= 0 || height <= 0) return;
    panel->area = area;
    const ButtonPlaces places = place_buttons(width);
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE;
    for (int32_t i = 0; i < kPreviewButtonCount; ++i) {
        const PlaceRect& place = places.button[i];
        if (panel->button[i]) {
            SetWindowPos(panel->button[i], nullptr, area.left + place.left, area.top + place.top,
                         place.right - place.left, place.bottom - place.top, kFlags);
        }
    }
    if (panel->window) {
        const int32_t picture_height = height > places.bottom ? height - places.bottom : 0;
        SetWindowPos(panel->window, nullptr, area.left, area.top + places.bottom, width, picture_height, kFlags);
    }
    show_new_places(panel);
}

static void show_windows(const PreviewPanel* panel, bool show) {
    const int command = show ? SW_SHOWNA : SW_HIDE;
    for (HWND button : panel->button) {
        if (button) ShowWindow(button, command);
    }
    if (panel->window) ShowWindow(panel->window, command);
}

void preview_set_active(PreviewPanel* panel, bool active) {
    if (!panel->created) return;
    panel->active = active;
    panel->thread.active.store(active);
    show_windows(panel, active);
    if (active) {
        if (!panel->timer_running) {
            panel->timer_running = SetTimer(panel->main_window, kTimerPreview, kPreviewMs, nullptr) != 0;
        }
        preview_thread_start(&panel->thread, panel->main_window, panel->sync);
    } else {
        if (panel->timer_running) KillTimer(panel->main_window, kTimerPreview);
        panel->timer_running = false;
        preview_thread_stop(&panel->thread);
    }
}

ControlBlock* preview_control_block(PreviewPanel* panel) {
    return static_cast<ControlBlock*>(panel->control.view);
}

void preview_set_button_text(PreviewPanel* panel, int32_t id, const char* text) {
    const int32_t index = preview_button_index(id);
    if (index >= 0 && panel->button[index]) SetWindowTextA(panel->button[index], text);
}

void preview_reset_button_text(PreviewPanel* panel, int32_t id) {
    preview_set_button_text(panel, id, kPreviewButtons[preview_button_index(id)].text);
}

void preview_set_play_text(PreviewPanel* panel, const char* text) {
    preview_set_button_text(panel, kCmdPlay, text);
}

void preview_set_auto_setup_text(PreviewPanel* panel, const char* text) {
    preview_set_button_text(panel, kCmdAutoSetup, text);
}

void preview_set_capture_buttons(PreviewPanel* panel, const char* capture_text, const char* pause_text,
                                 bool pause_usable) {
    preview_set_button_text(panel, kCmdCaptureFeeds, capture_text);
    preview_set_button_text(panel, kCmdPauseRecording, pause_text);
    if (HWND pause = panel->button[preview_button_index(kCmdPauseRecording)]) EnableWindow(pause, pause_usable);
}

void preview_set_divider(PreviewPanel* panel, int32_t width) {
    panel->divider = width;
    if (panel->created) show_new_places(panel);
}

int32_t preview_panel_width(const PreviewPanel* panel) {
    return panel->places.divider > 0 ? panel->places.divider : panel->divider;
}

void preview_destroy(PreviewPanel* panel) {
    if (!panel->created) return;
    panel->active = false;
    preview_close_frame_log(panel);
    panel->thread.active.store(false);
    preview_thread_stop(&panel->thread);
    if (panel->timer_running) KillTimer(panel->main_window, kTimerPreview);
    panel->timer_running = false;
    preview_window_destroy(panel);
    for (HWND& button : panel->button) {
        if (button) DestroyWindow(button);
        button = nullptr;
    }
    if (panel->caption_font) DeleteObject(panel->caption_font);
    panel->caption_font = nullptr;
    preview_unmap_sources(panel);
    panel->created = false;
}
