#include "app/feeds_tab.h"

#include <cstdio>
#include <cstring>

#include "app/commands.h"

namespace {

constexpr int32_t kMargin = 10;
constexpr int32_t kRowPitch = 56;
constexpr int32_t kButtonWidth = 150;
constexpr int32_t kButtonHeight = 28;
constexpr int32_t kTextLeft = kMargin + kButtonWidth + 16;
constexpr int32_t kTextHeight = 18;

}  // namespace

static HWND create_child(const char* window_class, DWORD style, int32_t id, HWND parent, HINSTANCE instance) {
    return CreateWindowExA(0, window_class, "", WS_CHILD | WS_CLIPSIBLINGS | style, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(INT_PTR{id}), instance, nullptr);
}

// Rewriting an unchanged text would make it flicker.
static void set_text(HWND window, const char* text) {
    char current[512] = "";
    GetWindowTextA(window, current, sizeof current);
    if (strcmp(current, text) != 0) SetWindowTextA(window, text);
}

void feeds_tab_create(FeedsTab* tab, HWND main_window, HINSTANCE instance) {
    for (int32_t f = 0; f < kFeedCount; ++f) {
        tab->motion[f] =
            create_child("BUTTON", WS_TABSTOP | BS_PUSHBUTTON, kCmdToggleMotion + f, main_window, instance);
        tab->camera[f] =
            create_child("STATIC", SS_LEFT | SS_NOPREFIX | SS_ENDELLIPSIS, kIdFeedCamera + f, main_window, instance);
        tab->counters[f] = create_child("STATIC", SS_LEFT | SS_NOPREFIX, kIdFeedCounters + f, main_window, instance);
    }
}

void feeds_tab_layout(FeedsTab* tab, const RECT& area) {
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE;
    const LONG width = area.right - area.left - kTextLeft - kMargin;
    for (int32_t f = 0; f < kFeedCount; ++f) {
        const LONG top = area.top + kMargin + f * kRowPitch;
        const LONG left = area.left + kTextLeft;
        SetWindowPos(tab->motion[f], nullptr, area.left + kMargin, top + 4, kButtonWidth, kButtonHeight, kFlags);
        SetWindowPos(tab->camera[f], nullptr, left, top, width > 0 ? width : 0, kTextHeight, kFlags);
        SetWindowPos(tab->counters[f], nullptr, left, top + kTextHeight + 2, width > 0 ? width : 0, kTextHeight,
                     kFlags);
    }
}

void feeds_tab_show(FeedsTab* tab, bool show) {
    const int how = show ? SW_SHOWNA : SW_HIDE;
    for (int32_t f = 0; f < kFeedCount; ++f) {
        ShowWindow(tab->motion[f], how);
        ShowWindow(tab->camera[f], how);
        ShowWindow(tab->counters[f], how);
    }
}

void feeds_tab_show_settings(FeedsTab* tab, const Settings* settings) {
    for (int32_t f = 0; f < kFeedCount; ++f) {
        char text[64];
        snprintf(text, sizeof text, "Feed %d: motion %s", f, settings->feed_motion_on[f] ? "ON" : "OFF");
        set_text(tab->motion[f], text);
        const char* camera = settings->camera_device_path[f];
        set_text(tab->camera[f], camera[0] != '\0' ? camera : "(no camera)");
    }
}

void feeds_tab_show_counters(FeedsTab* tab, const FeedCounters counters[kFeedCount]) {
    for (int32_t f = 0; f < kFeedCount; ++f) {
        char text[128] = "no counters: shared memory is not available";
        if (counters[f].available) {
            snprintf(text, sizeof text, "%u frames written, %u looked at for motion, frame counter %u, %.1f fps",
                     counters[f].nw, counters[f].motion_idx, counters[f].frame_count, counters[f].fps);
        }
        set_text(tab->counters[f], text);
    }
}
