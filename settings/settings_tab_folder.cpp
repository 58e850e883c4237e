// What "Browse..." beside the output folder does: the choice goes into the box, Save takes it from there.
#include <windows.h>

#include <string>

#include "app/log.h"
#include "app/utf16.h"
#include "settings/folder_picker.h"
#include "settings/settings_tab_internal.h"

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

void settings_tab_browse_folder(SettingsTab* tab) {
    if (tab->rows.folder_row < 0) return;
    HWND box = tab->box[tab->rows.folder_row];
    std::string folder;
    switch (pick_folder(settings_tab_owner(tab),
                        "Select capfile output directory (cap_F_TIMESTAMP.mp4 files will land here)",
                        seed_folder(box), &folder)) {
        case FolderChoice::cancelled:
            return log_info("settings: Browse capfile_output_dir cancelled");
        case FolderChoice::no_path:
            return log_warn("settings: SHGetPathFromIDList failed for browsed folder");
        case FolderChoice::chosen:
            break;
    }
    settings_box_set_text(box, folder);
    settings_tab_set_state(tab, SettingsTabState::modified);
    log_info("settings: capfile_output_dir (edit field) -> %s (click Save to persist)", folder.c_str());
}
