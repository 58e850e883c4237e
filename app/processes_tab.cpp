#include "app/processes_tab.h"

#include <commctrl.h>

#include <cstdio>
#include <iterator>

#include "app/commands.h"
#include "procs/exit_words.h"

namespace {

constexpr int32_t kMargin = 10;
constexpr int32_t kRowHeight = 26;
constexpr int32_t kRowPitch = 32;
constexpr int32_t kGap = 6;
constexpr int32_t kGroupGap = 18;
constexpr int32_t kFeedRows = 3;

struct ButtonPlace {
    int32_t id;
    const char* text;
    int32_t row;
    int32_t column;
};

// One row per feed; the programs that run once stand to the right, in rows of their own.
constexpr ButtonPlace kButtons[] = {
    {kCmdStartCapture + 0, "Start Capture 0", 0, 0},
    {kCmdStopCapture + 0, "Stop", 0, 1},
    {kCmdStartMotion + 0, "Start Motion 0", 0, 2},
    {kCmdStopMotion + 0, "Stop", 0, 3},
    {kCmdStartCapture + 1, "Start Capture 1", 1, 0},
    {kCmdStopCapture + 1, "Stop", 1, 1},
    {kCmdStartMotion + 1, "Start Motion 1", 1, 2},
    {kCmdStopMotion + 1, "Stop", 1, 3},
    {kCmdStartCapture + 2, "Start Capture 2", 2, 0},
    {kCmdStopCapture + 2, "Stop", 2, 1},
    {kCmdStartMotion + 2, "Start Motion 2", 2, 2},
    {kCmdStopMotion + 2, "Stop", 2, 3},
    {kCmdStartAll, "Start All", 0, 4},
    {kCmdStopAll, "Stop All", 0, 5},
    {kCmdStartVideogen, "Start VideoGen", 1, 4},
    {kCmdStopVideogen, "Stop", 1, 5},
    {kCmdStartViewer, "Start Viewer", 2, 4},
    {kCmdStopViewer, "Stop", 2, 5},
};
static_assert(std::size(kButtons) == kProcessButtonCount);

struct ButtonColumn {
    int32_t x;
    int32_t width;
};
constexpr int32_t kStartWidth = 120;
constexpr int32_t kStopWidth = 70;
constexpr int32_t kGroupWidth = kStartWidth + kGap + kStopWidth + kGroupGap;
constexpr ButtonColumn kButtonColumns[] = {
    {0, kStartWidth},
    {kStartWidth + kGap, kStopWidth},
    {kGroupWidth, kStartWidth},
    {kGroupWidth + kStartWidth + kGap, kStopWidth},
    {2 * kGroupWidth, kStartWidth},
    {2 * kGroupWidth + kStartWidth + kGap, kStopWidth},
};

struct ListColumn {
    const char* title;
    int32_t width;
};
constexpr ListColumn kListColumns[] = {{"Process", 120}, {"PID", 70},   {"State", 90}, {"Restarts", 70},
                                       {"Command", 380}, {"Exit", 170}, {"Age", 90}};

}  // namespace

static void create_list(ProcessesTab* tab, HWND main_window, HINSTANCE instance) {
    tab->list = CreateWindowExA(
        WS_EX_CLIENTEDGE, WC_LISTVIEWA, "",
        WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER,
        0, 0, 0, 0, main_window, reinterpret_cast<HMENU>(INT_PTR{kIdProcessList}), instance, nullptr);
    // Double buffering: the list is filled anew twice a second and must not flicker.
    ListView_SetExtendedListViewStyle(tab->list, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    for (int32_t i = 0; i < static_cast<int32_t>(std::size(kListColumns)); ++i) {
        LVCOLUMNA column = {};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.pszText = const_cast<char*>(kListColumns[i].title);
        column.cx = kListColumns[i].width;
        column.iSubItem = i;
        SendMessageA(tab->list, LVM_INSERTCOLUMNA, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&column));
    }
}

void processes_tab_create(ProcessesTab* tab, HWND main_window, HINSTANCE instance) {
    for (int32_t i = 0; i < kProcessButtonCount; ++i) {
        tab->button[i] = CreateWindowExA(
            0, "BUTTON", kButtons[i].text, WS_CHILD | WS_CLIPSIBLINGS | WS_TABSTOP | BS_PUSHBUTTON, 0, 0, 0, 0,
            main_window, reinterpret_cast<HMENU>(INT_PTR{kButtons[i].id}), instance, nullptr);
    }
    create_list(tab, main_window, instance);
}

void processes_tab_layout(ProcessesTab* tab, const RECT& area) {
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE;
    HDWP batch = BeginDeferWindowPos(kProcessButtonCount + 1);
    for (int32_t i = 0; i < kProcessButtonCount && batch; ++i) {
        const ButtonColumn& column = kButtonColumns[kButtons[i].column];
        batch = DeferWindowPos(batch, tab->button[i], nullptr, area.left + kMargin + column.x,
                               area.top + kMargin + kButtons[i].row * kRowPitch, column.width, kRowHeight, kFlags);
    }
    const LONG top = area.top + kMargin + kFeedRows * kRowPitch + kGap;
    const LONG width = area.right - area.left - 2 * kMargin;
    const LONG height = area.bottom - kMargin - top;
    if (batch) {
        batch = DeferWindowPos(batch, tab->list, nullptr, area.left + kMargin, top, width > 0 ? width : 0,
                               height > 0 ? height : 0, kFlags);
    }
    if (batch) EndDeferWindowPos(batch);
}

void processes_tab_show(ProcessesTab* tab, bool show) {
    const int how = show ? SW_SHOWNA : SW_HIDE;
    for (HWND button : tab->button) ShowWindow(button, how);
    ShowWindow(tab->list, how);
}

static void set_cell(HWND list, int32_t row, int32_t column, const char* text) {
    LVITEMA item = {};
    item.iSubItem = column;
    item.pszText = const_cast<char*>(text);
    SendMessageA(list, LVM_SETITEMTEXTA, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

static void append_row(HWND list, int32_t row, const ProcessSlot& slot, uint64_t now_ms) {
    LVITEMA item = {};
    item.mask = LVIF_TEXT;
    item.iItem = row;
    item.pszText = const_cast<char*>(slot.name);
    SendMessageA(list, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item));

    char text[32];
    snprintf(text, sizeof text, "%lu", static_cast<unsigned long>(slot.pid));
    set_cell(list, row, 1, text);
    set_cell(list, row, 2, procmgr_state_name(slot.state));
    snprintf(text, sizeof text, "%d", slot.restarts);
    set_cell(list, row, 3, text);
    set_cell(list, row, 4, slot.command_line);
    set_cell(list, row, 5, exit_words(slot).c_str());
    set_cell(list, row, 6, age_words(slot, now_ms).c_str());
}

void processes_tab_rebuild(ProcessesTab* tab, const ProcessManager* manager) {
    HWND list = tab->list;
    if (!list) return;
    const int selected = ListView_GetNextItem(list, -1, LVNI_SELECTED);
    const int top = ListView_GetTopIndex(list);
    const int across = GetScrollPos(list, SB_HORZ);
    const uint64_t now_ms = GetTickCount64();

    SendMessageA(list, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(list);
    int32_t rows = 0;
    for (const ProcessSlot& slot : manager->slots)
        if (slot.state != kSlotEmpty) append_row(list, rows++, slot, now_ms);

    // Slots keep their place for a whole run, so a row number is as good as a name.
    if (selected >= 0 && selected < rows) {
        ListView_SetItemState(list, selected, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    }
    if (top > 0 && rows > 0) {
        ListView_EnsureVisible(list, rows - 1, FALSE);
        ListView_EnsureVisible(list, top < rows ? top : rows - 1, FALSE);
    }
    // An emptied list may have gone back to its left end.
    const int moved = across - GetScrollPos(list, SB_HORZ);
    if (moved != 0) ListView_Scroll(list, moved, 0);
    SendMessageA(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, FALSE);
}
