#include "jumpers/jumper_panel.h"

#include "app/commands.h"
#include "app/log.h"
#include "ipc/shared_access.h"
#include "ipc/sync_objects.h"
#include "jumpers/jumper_internal.h"

namespace {

constexpr int32_t kFirstHeight = 400;  // until the first layout
constexpr int32_t kListTop = 60;
constexpr int32_t kFontHeight = 14;
constexpr int32_t kBibTextSize = 16;
constexpr UINT_PTR kBibSubclass = 1;

// Places relative to the panel origin. The list, in the first row, takes what is left below them.
struct ControlRow {
    int32_t id;
    const char* window_class;
    const char* text;
    DWORD style;
    DWORD extended_style;
    int32_t x, y, width, height;
};
constexpr DWORD kButton = WS_TABSTOP | BS_PUSHBUTTON;
constexpr ControlRow kControls[kJumperControlCount] = {
    {kIdJumperList, WC_LISTVIEWA, "", WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER,
     WS_EX_CLIENTEDGE, 0, kListTop, kJumperPanelWidth, kFirstHeight - kListTop},
    {kIdJumperBib, "EDIT", "", WS_TABSTOP | ES_NUMBER | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE, 5, 30, 60, 22},
    {kIdJumperRound, "STATIC", "Round: 0", SS_LEFT | SS_NOPREFIX, 0, 5, 5, 80, 20},
    {kCmdRoundDown, "BUTTON", "-", kButton, 0, 90, 3, 24, 22},
    {kCmdRoundUp, "BUTTON", "+", kButton, 0, 118, 3, 24, 22},
    {kCmdLoadJumpers, "BUTTON", "Load...", kButton, 0, 70, 30, 60, 22},
};
static_assert(kControls[0].id == kIdJumperList && kControls[1].id == kIdJumperBib);

}  // namespace

// Attaching takes a region as it is, also one that another program made too small.
static bool is_large_enough(const void* view) {
    MEMORY_BASIC_INFORMATION info = {};
    return VirtualQuery(view, &info, sizeof info) != 0 && info.RegionSize >= kJumperRegionSize;
}

static void map_region(JumperPanel* panel) {
    const bool mapped = shmem_create(kJumperRegionName, kJumperRegionSize, &panel->region) == 0;
    if (!mapped || !is_large_enough(panel->region.view)) {
        shmem_close(&panel->region);
        log_warn("jumper panel: shared memory not available");
        return;
    }
    JumperRegion* region = jumper_region(panel);
    if (panel->region.created != 0) jumper_list_init(region);
    log_info("jumper panel: shared memory mapped (%d jumpers)", shared_load(region->count));
}

// Takes the number from the entry, which is empty afterwards.
static void take_bib(JumperPanel* panel, HWND entry) {
    char text[kBibTextSize] = "";
    const int length = GetWindowTextA(entry, text, sizeof text);
    if (length <= 0) return;
    jumper_panel_select_bib(panel, jumper_number(text, static_cast<size_t>(length)));
    SetWindowTextA(entry, "");
}

// A single-line edit only beeps at Return.
static LRESULT CALLBACK bib_entry_proc(HWND window, UINT message, WPARAM wp, LPARAM lp, UINT_PTR id,
                                       DWORD_PTR panel) {
    if (message == WM_KEYDOWN && wp == VK_RETURN) {
        take_bib(reinterpret_cast<JumperPanel*>(panel), window);
        return 0;
    }
    if (message == WM_CHAR && wp == '\r') return 0;
    if (message == WM_NCDESTROY) RemoveWindowSubclass(window, bib_entry_proc, id);
    return DefSubclassProc(window, message, wp, lp);
}

static void create_controls(JumperPanel* panel, HINSTANCE instance) {
    for (int32_t i = kJumperControlCount - 1; i >= 0; --i) {
        const ControlRow& row = kControls[i];
        HWND control = CreateWindowExA(
            row.extended_style, row.window_class, row.text, WS_CHILD | WS_CLIPSIBLINGS | row.style, row.x, row.y,
            row.width, row.height, panel->main_window, reinterpret_cast<HMENU>(INT_PTR{row.id}), instance, nullptr);
        panel->control[i] = control;
        if (!control) {
            const DWORD error = GetLastError();
            log_error("jumper panel: CreateWindow failed for control %d: %lu", row.id, error);
            continue;
        }
        SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(panel->font), FALSE);
        SetWindowPos(control, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }
    panel->list = panel->control[0];
    if (panel->control[1]) {
        SetWindowSubclass(panel->control[1], bib_entry_proc, kBibSubclass, reinterpret_cast<DWORD_PTR>(panel));
    }
}

void jumper_panel_create(JumperPanel* panel, HWND main_window, HINSTANCE instance, IpcSyncSet* sync) {
    panel->main_window = main_window;
    panel->sync = sync;
    panel->rows_shown = -1;
    panel->highlighted = -1;
    panel->round_shown = -1;
    panel->font =
        CreateFontA(kFontHeight, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                    CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_DONTCARE, "Segoe UI");
    create_controls(panel, instance);
    jumper_view_create(panel);
    map_region(panel);
}

void jumper_panel_layout(JumperPanel* panel, const RECT& area) {
    constexpr UINT kFlags = SWP_NOZORDER | SWP_NOACTIVATE;
    for (int32_t i = 0; i < kJumperControlCount; ++i) {
        const ControlRow& row = kControls[i];
        if (!panel->control[i]) continue;
        int width = row.width;
        int height = row.height;
        if (row.id == kIdJumperList) {
            width = area.right > area.left ? area.right - area.left : 0;
            height = area.bottom > area.top + kListTop ? area.bottom - area.top - kListTop : 0;
        }
        SetWindowPos(panel->control[i], nullptr, area.left + row.x, area.top + row.y, width, height, kFlags);
    }
}

void jumper_panel_show(JumperPanel* panel, bool show) {
    for (HWND control : panel->control)
        if (control) ShowWindow(control, show ? SW_SHOWNA : SW_HIDE);
}

bool jumper_panel_owns(const JumperPanel* panel, HWND window) {
    for (HWND control : panel->control)
        if (control && (control == window || IsChild(control, window))) return true;
    return false;
}

int32_t jumper_panel_count(JumperPanel* panel) {
    const JumperRegion* region = jumper_region(panel);
    if (!region) return 0;
    ipc_lock(panel->sync, kMutexJumpers);
    const int32_t count = jumper_list_count(region);
    ipc_unlock(panel->sync, kMutexJumpers);
    return count;
}

void jumper_panel_select_bib(JumperPanel* panel, int32_t bib) {
    JumperRegion* region = jumper_region(panel);
    if (!region) return;
    ipc_lock(panel->sync, kMutexJumpers);
    const int32_t row = jumper_list_select_bib(region, bib);
    ipc_unlock(panel->sync, kMutexJumpers);
    if (row >= 0) log_info("jumper_panel: selected jumper #%d (index %d)", bib, row);
    jumper_panel_refresh(panel);
}

static void change_round(JumperPanel* panel, void (*change)(JumperRegion*)) {
    JumperRegion* region = jumper_region(panel);
    if (!region) return;
    ipc_lock(panel->sync, kMutexJumpers);
    change(region);
    ipc_unlock(panel->sync, kMutexJumpers);
    jumper_panel_refresh(panel);
}

void jumper_panel_round_down(JumperPanel* panel) {
    change_round(panel, jumper_round_down);
}

void jumper_panel_round_up(JumperPanel* panel) {
    change_round(panel, jumper_round_up);
}

bool jumper_panel_current(const JumperPanel* panel, int32_t* bib, const char** name, const char** club) {
    if (!panel->has_current) return false;
    *bib = panel->current.bib;
    *name = panel->current.name;
    *club = panel->current.club;
    return true;
}

void jumper_panel_destroy(JumperPanel* panel) {
    for (HWND& control : panel->control) {
        if (control) DestroyWindow(control);
        control = nullptr;
    }
    panel->list = nullptr;
    panel->has_current = false;
    shmem_close(&panel->region);
    if (panel->font) DeleteObject(panel->font);
    panel->font = nullptr;
}
