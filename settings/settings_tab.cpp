#include "settings/settings_tab.h"

#include <cstdio>

#include "app/log.h"
#include "settings/settings_file.h"
#include "settings/settings_tab_internal.h"
#include "settings/settings_values.h"

namespace {

constexpr int32_t kListTop = 64;
constexpr int32_t kFeeds = 3;

// Relative to the tab's top left.
struct TopControl {
    int32_t id;
    const char* window_class;
    const char* text;
    int32_t x, y, width, height;
};
constexpr TopControl kTopControls[kSettingsTabTopControls] = {
    {kCmdTabSave, "BUTTON", "Save (Ctrl+S)", 10, 30, 120, 26},
    {kCmdTabLoad, "BUTTON", "Load (Ctrl+L)", 140, 30, 120, 26},
    {kIdTabStatus, "STATIC", "Loaded", 270, 34, 100, 20},
    {-1, "STATIC", "Motion X max:", 380, 34, 86, 20},
    {kCmdTabMotionThird, "BUTTON", "33%", 468, 30, 56, 26},
    {kCmdTabMotionHalf, "BUTTON", "50%", 528, 30, 56, 26},
    {kCmdTabMotionWhole, "BUTTON", "100%", 588, 30, 60, 26},
    {kCmdTabSelectGpu, "BUTTON", "Select GPU...", 660, 30, 120, 26},
    {kCmdTabSelectPracticeFiles, "BUTTON", "Select Feed Files...", 790, 30, 150, 26},
};

}  // namespace

HWND settings_tab_box(const SettingsTab* tab, const char* key) {
    const int32_t index = settings_info_find(key);
    return index >= 0 && index < tab->rows.count ? tab->box[index] : nullptr;  // rows are in public order, from 0
}

HWND settings_tab_owner(const SettingsTab* tab) {
    return GetAncestor(tab->parent, GA_ROOT);
}

void settings_tab_set_state(SettingsTab* tab, SettingsTabState state) {
    constexpr const char* kTexts[] = {"Loaded", "Saved", "Modified"};
    tab->state = state;
    SetWindowTextA(tab->status, kTexts[static_cast<int32_t>(state)]);
}

static HFONT create_font(const char* face, int32_t pixels, int32_t weight) {
    return CreateFontA(-pixels, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                       CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_DONTCARE, face);
}

static void create_top_row(SettingsTab* tab) {
    for (int32_t i = 0; i < kSettingsTabTopControls; ++i) {
        const TopControl& row = kTopControls[i];
        const bool button = row.window_class[0] == 'B';
        const DWORD style = WS_CHILD | WS_CLIPSIBLINGS | (button ? WS_TABSTOP | BS_PUSHBUTTON : SS_LEFT);
        tab->top[i] = CreateWindowExA(0, row.window_class, row.text, style, row.x, row.y, row.width, row.height,
                                      tab->parent, reinterpret_cast<HMENU>(INT_PTR{row.id}), tab->instance, nullptr);
        if (!tab->top[i]) {
            log_error("settings tab: CreateWindow failed for control %d: %lu", row.id, GetLastError());
            continue;
        }
        SendMessageA(tab->top[i], WM_SETFONT, reinterpret_cast<WPARAM>(tab->label_font), FALSE);
        if (row.id == kIdTabStatus) tab->status = tab->top[i];
    }
}

int32_t settings_tab_create(SettingsTab* tab, HWND parent, HINSTANCE instance, Settings* settings,
                            const char* settings_path, const char* exe_dir) {
    tab->parent = parent;
    tab->instance = instance;
    tab->settings = settings;
    snprintf(tab->settings_path, sizeof tab->settings_path, "%s", settings_path);
    snprintf(tab->exe_dir, sizeof tab->exe_dir, "%s", exe_dir);
    tab->label_font = create_font("Segoe UI", 11, FW_NORMAL);
    tab->box_font = create_font("Consolas", 11, FW_NORMAL);
    tab->heading_font = create_font("Segoe UI", 13, FW_BOLD);
    create_top_row(tab);
    return settings_list_create(tab);
}

void settings_tab_layout(SettingsTab* tab, const RECT& area) {
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE;
    for (int32_t i = 0; i < kSettingsTabTopControls; ++i) {
        const TopControl& row = kTopControls[i];
        if (tab->top[i])
            SetWindowPos(tab->top[i], nullptr, area.left + row.x, area.top + row.y, row.width, row.height, kFlags);
    }
    const int32_t width = area.right > area.left ? area.right - area.left : 0;
    const int32_t height = area.bottom > area.top + kListTop ? area.bottom - area.top - kListTop : 0;
    if (tab->window) SetWindowPos(tab->window, nullptr, area.left, area.top + kListTop, width, height, kFlags);
}

void settings_tab_show(SettingsTab* tab, bool show) {
    if (show) settings_tab_refill(tab);
    for (HWND control : tab->top)
        if (control) ShowWindow(control, show ? SW_SHOWNA : SW_HIDE);
    if (tab->window) ShowWindow(tab->window, show ? SW_SHOWNA : SW_HIDE);
}

bool settings_tab_owns(const SettingsTab* tab, HWND window) {
    for (HWND control : tab->top)
        if (control && control == window) return true;
    return tab->window && (tab->window == window || IsChild(tab->window, window));
}

void settings_tab_refill(SettingsTab* tab) {
    tab->refilling = true;
    for (int32_t i = 0; i < tab->rows.count; ++i) {
        const std::string text = editor_value_text(tab->settings, tab->rows.row[i].index);
        // A box that shows its value already keeps its caret and is not painted again.
        if (settings_box_text(tab->box[i]) != text || GetWindowTextLengthW(tab->box[i]) >= kSettingTextSize)
            settings_box_set_text(tab->box[i], text);
    }
    tab->refilling = false;
}

int32_t settings_tab_save(SettingsTab* tab) {
    for (int32_t i = 0; i < tab->rows.count; ++i)
        if (tab->box[i]) editor_store_text(tab->settings, tab->rows.row[i].index, settings_box_text(tab->box[i]));
    settings_recompute_meter_values(tab->settings);
    const int32_t result = settings_save(tab->settings, tab->settings_path);
    if (result == 0) {
        tab->state = SettingsTabState::saved;
        log_info("settings saved to %s", tab->settings_path);
    } else {
        log_error("failed to save settings to %s", tab->settings_path);
    }
    settings_tab_set_state(tab, tab->state);
    return result;
}

void settings_tab_load(SettingsTab* tab) {
    settings_init_defaults(tab->settings);
    settings_load(tab->settings, tab->settings_path);  // without the file the defaults stand, and the log says so
    settings_tab_refill(tab);
    settings_tab_set_state(tab, SettingsTabState::loaded);
    log_info("settings loaded from %s", tab->settings_path);
}

void settings_tab_set_int(SettingsTab* tab, const char* key, int32_t value) {
    if (HWND box = settings_tab_box(tab, key)) settings_box_set_text(box, std::to_string(value));
}

static void set_motion_x(SettingsTab* tab, int32_t percent) {
    const int32_t end = editor_motion_end_x(percent);
    for (int32_t feed = 0; feed < kFeeds; ++feed) {
        char key[32];
        snprintf(key, sizeof key, "motion_start_x[%d]", feed);
        settings_tab_set_int(tab, key, 0);
        snprintf(key, sizeof key, "motion_end_x[%d]", feed);
        settings_tab_set_int(tab, key, end);
    }
    log_info("settings: motion X set to 0..%d (%d%% of %d) for all feeds", end, percent, kPixelColumns);
    settings_tab_save(tab);
}

bool settings_tab_command(SettingsTab* tab, int32_t id, bool attended) {
    if (id < kCmdTabSave || id > kCmdTabSelectFolder || !tab->window) return false;
    // A command that was posted while a chooser stands open would open a second one over it.
    const bool may_ask = attended && IsWindowEnabled(settings_tab_owner(tab));
    if (id == kCmdTabSave) settings_tab_save(tab);
    if (id == kCmdTabLoad) settings_tab_load(tab);
    if (id == kCmdTabMotionThird) set_motion_x(tab, 33);
    if (id == kCmdTabMotionHalf) set_motion_x(tab, 50);
    if (id == kCmdTabMotionWhole) set_motion_x(tab, 100);
    if (id == kCmdTabSelectGpu && may_ask) settings_tab_select_gpu(tab);
    if (id == kCmdTabSelectPracticeFiles && may_ask) settings_tab_select_practice_files(tab);
    if (id == kCmdTabSelectFolder && may_ask) settings_tab_browse_folder(tab);
    return true;
}

void settings_tab_destroy(SettingsTab* tab) {
    settings_list_destroy(tab);
    for (HWND control : tab->top)
        if (control) DestroyWindow(control);
    for (HFONT font : {tab->label_font, tab->box_font, tab->heading_font})
        if (font) DeleteObject(font);
    *tab = {};
}
