// The list view of the jumper panel. Its texts go in as UTF-16: names and the marker lie outside every single-byte
// code page. The preview refreshes it up to sixty times a second, so only what has changed is touched.
#include <windows.h>

#include <commctrl.h>

#include <cstdio>
#include <iterator>

#include "app/log.h"
#include "app/utf16.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"
#include "jumpers/jumper_internal.h"

namespace {

constexpr wchar_t kMarker[] = L"\u25BA";
constexpr COLORREF kHighlightText = RGB(255, 255, 255);
constexpr COLORREF kHighlightGround = RGB(0, 0x66, 0xCC);
constexpr COLORREF kPlainText = RGB(0, 0, 0);
constexpr COLORREF kPlainGround = RGB(255, 255, 255);

struct ViewColumn {
    const char* title;
    int32_t width;
    int32_t format;
};
enum Column : int32_t { kMarkerColumn, kBibColumn, kNameColumn, kClubColumn, kFirstRoundColumn };
constexpr ViewColumn kColumns[] = {
    {"", 36, LVCFMT_CENTER},     {"#", 45, LVCFMT_RIGHT},    {"Name", 100, LVCFMT_LEFT}, {"Club", 80, LVCFMT_LEFT},
    {"Pract", 55, LVCFMT_RIGHT}, {"Rd 1", 55, LVCFMT_RIGHT}, {"Rd 2", 55, LVCFMT_RIGHT},
};
static_assert(std::size(kColumns) == kFirstRoundColumn + kRoundCount);

}  // namespace

void jumper_view_create(JumperPanel* panel) {
    if (!panel->list) return;
    ListView_SetExtendedListViewStyle(panel->list, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_DOUBLEBUFFER);
    // The first column of a list is always left-aligned, but one that only becomes the first keeps its alignment.
    LVCOLUMNA column = {};
    SendMessageA(panel->list, LVM_INSERTCOLUMNA, 0, reinterpret_cast<LPARAM>(&column));
    for (int32_t i = 0; i < static_cast<int32_t>(std::size(kColumns)); ++i) {
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT;
        column.fmt = kColumns[i].format;
        column.pszText = const_cast<char*>(kColumns[i].title);
        column.cx = kColumns[i].width;
        SendMessageA(panel->list, LVM_INSERTCOLUMNA, static_cast<WPARAM>(i + 1), reinterpret_cast<LPARAM>(&column));
    }
    SendMessageA(panel->list, LVM_DELETECOLUMN, 0, 0);
}

static void set_cell(HWND list, int32_t row, int32_t column, const wchar_t* text) {
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = const_cast<wchar_t*>(text);
    SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

static void set_cell_utf8(HWND list, int32_t row, int32_t column, const char* text) {
    set_cell(list, row, column, utf16_from(text).c_str());
}

static bool same(const JumperDistance& a, const JumperDistance& b) {
    // A distance that is no number differs from itself and costs a redraw; nothing worse.
    return a.measured == b.measured && a.metres == b.metres;
}

static void show_distance(JumperPanel* panel, int32_t row, int32_t round, const JumperDistance& distance) {
    char text[kDistanceTextSize];
    jumper_distance_text(distance, text);
    set_cell_utf8(panel->list, row, kFirstRoundColumn + round, text);
    panel->distance_shown[row][round] = distance;
}

static void append_row(JumperPanel* panel, const JumperRegion* region, int32_t row) {
    wchar_t nothing[] = L"";
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    item.iItem = row;
    item.pszText = nothing;
    SendMessageW(panel->list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));

    JumperRow jumper;
    jumper_list_row(region, row, &jumper);
    char bib[16];
    snprintf(bib, sizeof bib, "%d", jumper.bib);
    set_cell_utf8(panel->list, row, kBibColumn, bib);
    set_cell_utf8(panel->list, row, kNameColumn, jumper.name);
    set_cell_utf8(panel->list, row, kClubColumn, jumper.club);
    for (int32_t round = 0; round < kRoundCount; ++round)
        show_distance(panel, row, round, jumper_list_distance(region, row, round));
}

static void rebuild_rows(JumperPanel* panel, const JumperRegion* region, int32_t count) {
    SendMessageA(panel->list, WM_SETREDRAW, FALSE, 0);
    ListView_DeleteAllItems(panel->list);
    for (int32_t row = 0; row < count; ++row) append_row(panel, region, row);
    SendMessageA(panel->list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(panel->list, nullptr, TRUE);
    panel->rows_shown = count;
    panel->highlighted = -1;
}

static void update_distances(JumperPanel* panel, const JumperRegion* region) {
    for (int32_t row = 0; row < panel->rows_shown; ++row) {
        for (int32_t round = 0; round < kRoundCount; ++round) {
            const JumperDistance distance = jumper_list_distance(region, row, round);
            if (!same(distance, panel->distance_shown[row][round])) show_distance(panel, row, round, distance);
        }
    }
}

static void show_round(JumperPanel* panel, int32_t round) {
    constexpr int32_t kLabel = 2;
    if (round == panel->round_shown || !panel->control[kLabel]) return;
    char text[32];
    snprintf(text, sizeof text, "Round: %d", round);
    SetWindowTextA(panel->control[kLabel], text);
    panel->round_shown = round;
}

static void move_highlight(JumperPanel* panel, int32_t index) {
    if (index == panel->highlighted) return;
    constexpr UINT kStates = LVIS_SELECTED | LVIS_FOCUSED;
    HWND list = panel->list;
    const int32_t old = panel->highlighted;
    panel->highlighted = index;
    if (old >= 0 && old < panel->rows_shown) {
        ListView_SetItemState(list, old, 0, kStates);
        set_cell(list, old, kMarkerColumn, L"");
        ListView_RedrawItems(list, old, old);
    }
    if (index >= 0 && index < panel->rows_shown) {
        ListView_SetItemState(list, index, kStates, kStates);
        ListView_EnsureVisible(list, index, FALSE);
        set_cell(list, index, kMarkerColumn, kMarker);
        ListView_RedrawItems(list, index, index);
    }
    log_info("jumper highlight: index=%d", index);
}

void jumper_panel_refresh(JumperPanel* panel) {
    const JumperRegion* region = jumper_region(panel);
    if (!region || !panel->list) return;
    ipc_lock(panel->sync, kMutexJumpers);
    show_round(panel, shared_load(region->round));
    const int32_t count = jumper_list_count(region);
    if (count != panel->rows_shown) {
        rebuild_rows(panel, region, count);
    } else {
        update_distances(panel, region);
    }
    move_highlight(panel, shared_load(region->current_index));
    const int32_t current = jumper_list_current(region);
    panel->has_current = current >= 0;
    if (current >= 0) jumper_list_row(region, current, &panel->current);
    ipc_unlock(panel->sync, kMutexJumpers);
}

static bool on_custom_draw(const JumperPanel* panel, NMHDR* header, LRESULT* result) {
    auto* draw = reinterpret_cast<NMLVCUSTOMDRAW*>(header);
    *result = CDRF_DODEFAULT;
    if (draw->nmcd.dwDrawStage == CDDS_PREPAINT) {
        *result = CDRF_NOTIFYITEMDRAW;
    } else if (draw->nmcd.dwDrawStage == CDDS_ITEMPREPAINT) {
        const bool highlighted =
            panel->highlighted >= 0 && draw->nmcd.dwItemSpec == static_cast<DWORD_PTR>(panel->highlighted);
        draw->clrText = highlighted ? kHighlightText : kPlainText;
        draw->clrTextBk = highlighted ? kHighlightGround : kPlainGround;
        draw->nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED | CDIS_FOCUS);  // the list's own colours would win
        *result = CDRF_NEWFONT;
    }
    return true;
}

static bool on_click(JumperPanel* panel, int32_t row) {
    JumperRegion* region = jumper_region(panel);
    if (!region) return true;
    ipc_lock(panel->sync, kMutexJumpers);
    const bool selected = jumper_list_select_row(region, row);
    ipc_unlock(panel->sync, kMutexJumpers);
    if (selected) jumper_panel_refresh(panel);
    return true;
}

bool jumper_panel_notify(JumperPanel* panel, NMHDR* header, LRESULT* result) {
    if (!panel->list || header->hwndFrom != panel->list) return false;
    if (header->code == NM_CUSTOMDRAW) return on_custom_draw(panel, header, result);
    if (header->code == NM_CLICK || header->code == NM_DBLCLK) {
        return on_click(panel, reinterpret_cast<const NMITEMACTIVATE*>(header)->iItem);
    }
    return false;
}
