// The folder picker behind the output folder's "Browse...".
#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <string>

#include "app/log.h"
#include "app/utf16.h"
#include "settings/settings_tab_internal.h"

// The picker takes its first selection only once it is built.
static int CALLBACK select_seed(HWND picker, UINT message, LPARAM /*lp*/, LPARAM seed) {
    if (message == BFFM_INITIALIZED && seed != 0) SendMessageW(picker, BFFM_SETSELECTIONW, TRUE, seed);
    return 0;
}

static std::string current_folder() {
    wchar_t folder[MAX_PATH] = L"";
    const DWORD length = GetCurrentDirectoryW(MAX_PATH, folder);
    return length > 0 && length < MAX_PATH ? utf8_from(folder) : "";
}

static std::string seed_folder(HWND box) {
    std::string seed = settings_box_text(box);
    if (!seed.empty()) return seed;
    seed = current_folder();
    log_info("settings: Browse capfile_output_dir empty, seeding dialog with cwd '%s'", seed.c_str());
    return seed;
}

static void browse(SettingsTab* tab, HWND box) {
    const std::wstring seed = utf16_from(seed_folder(box));
    wchar_t name[MAX_PATH] = L"";
    BROWSEINFOW browse = {};
    browse.hwndOwner = settings_tab_owner(tab);
    browse.pszDisplayName = name;
    browse.lpszTitle = L"Select capfile output directory (cap_F_TIMESTAMP.mp4 files will land here)";
    browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE | BIF_EDITBOX;
    browse.lpfn = select_seed;
    browse.lParam = seed.empty() ? 0 : reinterpret_cast<LPARAM>(seed.c_str());
    LPITEMIDLIST chosen = SHBrowseForFolderW(&browse);
    if (!chosen) return log_info("settings: Browse capfile_output_dir cancelled");
    wchar_t path[MAX_PATH] = L"";
    const bool known = SHGetPathFromIDListW(chosen, path) != FALSE;
    CoTaskMemFree(chosen);
    if (!known) return log_warn("settings: SHGetPathFromIDList failed for browsed folder");
    const std::string folder = utf8_from(path);
    settings_box_set_text(box, folder);
    settings_tab_set_state(tab, SettingsTabState::modified);
    log_info("settings: capfile_output_dir (edit field) -> %s (click Save to persist)", folder.c_str());
}

void settings_tab_browse_folder(SettingsTab* tab) {
    if (tab->rows.folder_row < 0) return;
    // The new-style picker wants an apartment; one that another part of the program made will do.
    const HRESULT apartment = OleInitialize(nullptr);
    browse(tab, tab->box[tab->rows.folder_row]);
    if (SUCCEEDED(apartment)) OleUninitialize();
}
