// The part of the driver that needs the program's own address space: tabs, the process list, menus, resources.
#include <windows.h>  // before commctrl.h, which needs it

#include <commctrl.h>

#include "tests/console/driver.h"
#include "tests/console/remote.h"
#include "tests/support/process_resources.h"
#include "tests/support/wait.h"

static LRESULT ask(HWND window, UINT message, WPARAM wparam) {
    DWORD_PTR result = 0;
    SendMessageTimeoutW(window, message, wparam, 0, SMTO_NORMAL, kPatienceMs, &result);
    return static_cast<LRESULT>(static_cast<LONG>(result));
}

std::vector<std::string> tab_texts(const Console& console) {
    HWND tabs = control(console, 100);
    std::vector<std::string> texts;
    const LRESULT count = ask(tabs, TCM_GETITEMCOUNT, 0);
    for (LRESULT i = 0; i < count; ++i) {
        TCITEMW item = {};
        item.mask = TCIF_TEXT;
        item.pszText = static_cast<wchar_t*>(remote_text_place(console));
        item.cchTextMax = 256;
        send_with_data(console, tabs, TCM_GETITEMW, static_cast<WPARAM>(i), &item, sizeof item);
        const std::string text = remote_text(console, 256);
        texts.push_back(text.substr(0, text.find('\0')));
    }
    return texts;
}

int32_t current_tab(const Console& console) {
    return static_cast<int32_t>(ask(control(console, 100), TCM_GETCURSEL, 0));
}

RECT tab_display_area(const Console& console) {
    HWND tabs = control(console, 100);
    RECT area = {};
    GetClientRect(tabs, &area);
    send_with_data(console, tabs, TCM_ADJUSTRECT, FALSE, &area, sizeof area);
    MapWindowPoints(tabs, console.window, reinterpret_cast<POINT*>(&area), 2);
    return area;
}

bool select_tab(const Console& console, int32_t tab) {
    HWND tabs = control(console, 100);
    RECT place = {};
    send_with_data(console, tabs, TCM_GETITEMRECT, static_cast<WPARAM>(tab), &place, sizeof place);
    const LPARAM middle = MAKELPARAM((place.left + place.right) / 2, (place.top + place.bottom) / 2);
    PostMessageW(tabs, WM_LBUTTONDOWN, MK_LBUTTON, middle);
    PostMessageW(tabs, WM_LBUTTONUP, 0, middle);
    // The second question is answered after the handler of the switch has returned.
    return wait_until([&] { return current_tab(console) == tab; }) && console_answers(console, kPatienceMs);
}

static std::string column_text(const Console& console, HWND list, int32_t column, int32_t* width) {
    LVCOLUMNW info = {};
    info.mask = LVCF_TEXT | LVCF_WIDTH;
    info.pszText = static_cast<wchar_t*>(remote_text_place(console));
    info.cchTextMax = 256;
    if (send_with_data(console, list, LVM_GETCOLUMNW, static_cast<WPARAM>(column), &info, sizeof info) == 0)
        return "";
    if (width != nullptr) *width = info.cx;
    const std::string text = remote_text(console, 256);
    return text.substr(0, text.find('\0'));
}

HWND process_list(const Console& console) {
    for (HWND list = nullptr; (list = FindWindowExA(console.window, list, "SysListView32", nullptr)) != nullptr;)
        if (column_text(console, list, 0, nullptr) == "Process") return list;
    return nullptr;
}

std::vector<std::string> process_list_columns(const Console& console, std::vector<int32_t>* widths) {
    std::vector<std::string> texts;
    HWND list = process_list(console);
    for (int32_t column = 0; column < 16; ++column) {
        int32_t width = 0;
        const std::string text = column_text(console, list, column, &width);
        if (text.empty()) break;
        texts.push_back(text);
        widths->push_back(width);
    }
    return texts;
}

static std::string cell(const Console& console, HWND list, int32_t row, int32_t column) {
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = static_cast<wchar_t*>(remote_text_place(console));
    item.cchTextMax = 1024;
    const LRESULT length =
        send_with_data(console, list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), &item, sizeof item);
    return remote_text(console, static_cast<size_t>(length));
}

std::vector<ListRow> process_rows(const Console& console) {
    std::vector<ListRow> rows;
    HWND list = process_list(console);
    if (list == nullptr) return rows;
    const auto count = static_cast<int32_t>(ask(list, LVM_GETITEMCOUNT, 0));
    for (int32_t row = 0; row < count; ++row)
        rows.push_back({cell(console, list, row, 0), cell(console, list, row, 1), cell(console, list, row, 2),
                        cell(console, list, row, 3), cell(console, list, row, 4), cell(console, list, row, 5),
                        cell(console, list, row, 6)});
    return rows;
}

static uint64_t number_of(const void* handle) {
    return reinterpret_cast<uint64_t>(handle);
}

static std::string menu_text(const Console& console, HMENU menu, uint32_t position) {
    const uint64_t length = remote_call(console, reinterpret_cast<const void*>(GetMenuStringW), number_of(menu),
                                        position, number_of(remote_text_place(console)), 256, MF_BYPOSITION);
    return remote_text(console, static_cast<size_t>(static_cast<uint32_t>(length)));
}

std::vector<Menu> read_menus(const Console& console) {
    const auto call = [&](const void* function, uint64_t a, uint64_t b = 0, uint64_t c = 0) {
        return remote_call(console, function, a, b, c);
    };
    const auto* count_of = reinterpret_cast<const void*>(GetMenuItemCount);
    const auto* submenu_of = reinterpret_cast<const void*>(GetSubMenu);
    const auto* id_of = reinterpret_cast<const void*>(GetMenuItemID);
    const auto* state_of = reinterpret_cast<const void*>(GetMenuState);

    std::vector<Menu> menus;
    auto* bar = reinterpret_cast<HMENU>(call(reinterpret_cast<const void*>(GetMenu), number_of(console.window)));
    const auto count = static_cast<uint32_t>(call(count_of, number_of(bar)));
    for (uint32_t i = 0; i < count && i < 16; ++i) {
        Menu menu = {menu_text(console, bar, i), {}};
        auto* popup = reinterpret_cast<HMENU>(call(submenu_of, number_of(bar), i));
        const auto items = static_cast<uint32_t>(call(count_of, number_of(popup)));
        for (uint32_t k = 0; k < items && k < 32; ++k) {
            const auto state = static_cast<uint32_t>(call(state_of, number_of(popup), k, MF_BYPOSITION));
            menu.items.push_back({menu_text(console, popup, k),
                                  static_cast<uint32_t>(call(id_of, number_of(popup), k)),
                                  (state & (MF_GRAYED | MF_DISABLED)) == 0});
        }
        menus.push_back(menu);
    }
    return menus;
}

static BOOL CALLBACK count_window(HWND, LPARAM param) {
    ++*reinterpret_cast<uint32_t*>(param);
    return TRUE;
}

Resources count_resources(const Console& console) {
    Resources resources = {count_gdi_objects(console.process), 1, count_handles(console.process)};
    EnumChildWindows(console.window, count_window, reinterpret_cast<LPARAM>(&resources.windows));
    return resources;
}
