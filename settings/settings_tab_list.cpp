// The scrolled list. Its boxes and labels are ordinary child windows, several hundred of them, so that the keyboard,
// the clipboard and whoever drives the program from outside find nothing unusual; scrolling moves them all at once.
#include <windows.h>

#include <commctrl.h>

#include <iterator>

#include "app/log.h"
#include "app/message_table.h"
#include "app/utf16.h"
#include "app/window_class.h"
#include "settings/settings_tab_internal.h"

namespace {

constexpr char kListClass[] = "SkiJumpSettingsScroll";
constexpr int kTooltipWidth = 400;  // wider text wraps
constexpr int kTooltipMs = 30'000;
constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;

}  // namespace

std::string settings_box_text(HWND box) {
    wchar_t text[kSettingTextSize] = L"";
    GetWindowTextW(box, text, static_cast<int>(std::size(text)));
    return utf8_from(text);
}

void settings_box_set_text(HWND box, const std::string& text) {
    SetWindowTextW(box, utf16_from(text).c_str());
}

// --------------------------------------------------------------------------------------------------------- scrolling

static int32_t page_height(const SettingsTab* tab) {
    RECT client = {};
    GetClientRect(tab->window, &client);
    return client.bottom;
}

void settings_list_scroll_to(SettingsTab* tab, int32_t wanted) {
    const int32_t position = editor_scroll_position(wanted, tab->rows.content_height, page_height(tab));
    const int32_t distance = tab->scroll - position;
    if (distance == 0) return;
    tab->scroll = position;
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_POS;
    info.nPos = position;
    SetScrollInfo(tab->window, SB_VERT, &info, TRUE);
    ScrollWindowEx(tab->window, 0, distance, nullptr, nullptr, nullptr, nullptr,
                   SW_SCROLLCHILDREN | SW_INVALIDATE | SW_ERASE);
    UpdateWindow(tab->window);  // at once: what a fast thumb uncovers must not wait for the queue to run dry
}

static bool on_size(SettingsTab* tab, WPARAM /*wp*/, LPARAM /*lp*/, LRESULT* /*result*/) {
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE;
    info.nMax = tab->rows.content_height;
    info.nPage = static_cast<UINT>(page_height(tab));
    SetScrollInfo(tab->window, SB_VERT, &info, TRUE);
    settings_list_scroll_to(tab, tab->scroll);  // a higher window may show more than the end
    return true;
}

static bool on_scroll(SettingsTab* tab, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    int32_t wanted = tab->scroll;
    switch (LOWORD(wp)) {
        case SB_LINEUP:
            wanted -= kEditorLinePixels;
            break;
        case SB_LINEDOWN:
            wanted += kEditorLinePixels;
            break;
        case SB_PAGEUP:
            wanted -= page_height(tab);
            break;
        case SB_PAGEDOWN:
            wanted += page_height(tab);
            break;
        case SB_TOP:
            wanted = 0;
            break;
        case SB_BOTTOM:
            wanted = tab->rows.content_height;
            break;
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION:
            wanted = HIWORD(wp);  // the content stays far below 65,536 pixels
            break;
        default:
            break;
    }
    settings_list_scroll_to(tab, wanted);
    return true;
}

void settings_tab_wheel(SettingsTab* tab, int32_t delta) {
    settings_list_scroll_to(tab, tab->scroll + editor_wheel_pixels(&tab->wheel_rest, delta));
}

static bool on_wheel(SettingsTab* tab, WPARAM wp, LPARAM /*lp*/, LRESULT* /*result*/) {
    settings_tab_wheel(tab, GET_WHEEL_DELTA_WPARAM(wp));
    return true;
}

// -------------------------------------------------------------------------------------------------------- the window

static bool on_command(SettingsTab* tab, WPARAM wp, LPARAM lp, LRESULT* /*result*/) {
    if (HIWORD(wp) == BN_CLICKED && LOWORD(wp) == kCmdTabSelectFolder && !tab->refilling)
        SendMessageA(tab->parent, WM_COMMAND, wp, lp);
    return true;
}

static bool on_label_color(SettingsTab* /*tab*/, WPARAM wp, LPARAM /*lp*/, LRESULT* result) {
    auto* dc = reinterpret_cast<HDC>(wp);
    SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
    SetBkColor(dc, GetSysColor(COLOR_WINDOW));
    *result = reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
    return true;
}

namespace {

constexpr MessageEntry<SettingsTab> kMessages[] = {
    {WM_COMMAND, on_command},
    {WM_SIZE, on_size},
    {WM_VSCROLL, on_scroll},
    {WM_MOUSEWHEEL, on_wheel},
    {WM_CTLCOLORSTATIC, on_label_color},
};

}  // namespace

static LRESULT CALLBACK list_proc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    return answer_message(kMessages, window, message, wp, lp);
}

static int32_t create_list(SettingsTab* tab) {
    const WindowClass list_class = {kListClass, list_proc, tab->instance, COLOR_WINDOW};
    if (window_class_register(list_class) != 0) {
        log_error("settings tab: RegisterClassEx failed: %lu", GetLastError());
        return -1;
    }
    CreateWindowExA(WS_EX_CLIENTEDGE | WS_EX_CONTROLPARENT, kListClass, "",
                    WS_CHILD | WS_VSCROLL | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, 0, 0, 0, 0, tab->parent,
                    reinterpret_cast<HMENU>(INT_PTR{kIdSettingsList}), tab->instance, tab);
    if (tab->window) return 0;
    log_error("settings tab: CreateWindow failed: %lu", GetLastError());
    return -1;
}

static HWND add(SettingsTab* tab, const wchar_t* window_class, const std::string& text, DWORD style,
                DWORD extended_style, const EditorPlace& place, int32_t id, HFONT font) {
    HWND control = CreateWindowExW(extended_style, window_class, utf16_from(text).c_str(), kChild | style, place.x,
                                   place.y, place.width, place.height, tab->window,
                                   reinterpret_cast<HMENU>(INT_PTR{id}), tab->instance, nullptr);
    if (!control) {
        log_error("settings tab: CreateWindow failed for '%s': %lu", text.c_str(), GetLastError());
        return nullptr;
    }
    SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    return control;
}

// Some systems' boxes of one line keep the wheel to themselves.
static LRESULT CALLBACK box_proc(HWND box, UINT message, WPARAM wp, LPARAM lp, UINT_PTR id, DWORD_PTR list) {
    if (message == WM_MOUSEWHEEL) return SendMessageA(reinterpret_cast<HWND>(list), message, wp, lp);
    if (message == WM_NCDESTROY) RemoveWindowSubclass(box, box_proc, id);
    return DefSubclassProc(box, message, wp, lp);
}

static void add_row(SettingsTab* tab, int32_t i) {
    const EditorRow& row = tab->rows.row[i];
    if (row.heading) add(tab, L"STATIC", row.heading, SS_NOPREFIX, 0, row.heading_place, -1, tab->heading_font);
    // Only a label that notifies its parent is seen by the mouse, and with it by the tooltip.
    tab->label[i] = add(tab, L"STATIC", settings_info_at(row.index)->key, SS_NOPREFIX | SS_NOTIFY | SS_ENDELLIPSIS, 0,
                        row.label, -1, tab->label_font);
    tab->box[i] = add(tab, L"EDIT", editor_value_text(tab->settings, row.index), WS_TABSTOP | ES_AUTOHSCROLL,
                      WS_EX_CLIENTEDGE, row.box, kIdSettingsFirstBox + i, tab->box_font);
    if (tab->box[i]) SetWindowSubclass(tab->box[i], box_proc, 0, reinterpret_cast<DWORD_PTR>(tab->window));
    if (i == tab->rows.folder_row)
        tab->folder_button = add(tab, L"BUTTON", "Browse...", WS_TABSTOP | BS_PUSHBUTTON, 0, tab->rows.folder_button,
                                 kCmdTabSelectFolder, tab->box_font);
}

// ---------------------------------------------------------------------------------------------------------- tooltips

static void add_tooltip(SettingsTab* tab, HWND control, wchar_t* text) {
    TTTOOLINFOW tool = {};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
    tool.hwnd = tab->window;
    tool.uId = reinterpret_cast<UINT_PTR>(control);
    tool.lpszText = text;
    if (control) SendMessageW(tab->tooltip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

static void create_tooltips(SettingsTab* tab) {
    tab->tooltip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                                   0, 0, 0, 0, tab->window, nullptr, tab->instance, nullptr);
    if (!tab->tooltip) return log_error("settings tab: no tooltips: %lu", GetLastError());
    SendMessageW(tab->tooltip, TTM_SETMAXTIPWIDTH, 0, kTooltipWidth);
    SendMessageW(tab->tooltip, TTM_SETDELAYTIME, TTDT_AUTOPOP, kTooltipMs);
    for (int32_t i = 0; i < tab->rows.count; ++i) {
        std::wstring text = utf16_from(settings_info_at(tab->rows.row[i].index)->description);
        if (text.empty()) continue;
        add_tooltip(tab, tab->label[i], text.data());
        add_tooltip(tab, tab->box[i], text.data());
    }
}

int32_t settings_list_create(SettingsTab* tab) {
    lay_out_editor(&tab->rows);
    if (create_list(tab) != 0) return -1;
    for (int32_t i = 0; i < tab->rows.count; ++i) add_row(tab, i);
    create_tooltips(tab);
    return 0;
}

void settings_list_destroy(SettingsTab* tab) {
    if (tab->tooltip) DestroyWindow(tab->tooltip);
    if (tab->window) DestroyWindow(tab->window);
    if (tab->instance) UnregisterClassA(kListClass, tab->instance);
}
