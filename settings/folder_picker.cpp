#include "settings/folder_picker.h"

#include <objbase.h>
#include <shlobj.h>

#include "app/utf16.h"

// The picker takes its first selection only once it is built.
static int CALLBACK select_start(HWND picker, UINT message, LPARAM /*lp*/, LPARAM start) {
    if (message == BFFM_INITIALIZED && start != 0) SendMessageW(picker, BFFM_SETSELECTIONW, TRUE, start);
    return 0;
}

static FolderChoice ask(BROWSEINFOW* browse, std::string* folder) {
    LPITEMIDLIST chosen = SHBrowseForFolderW(browse);
    if (!chosen) return FolderChoice::cancelled;
    wchar_t path[MAX_PATH] = L"";
    const bool known = SHGetPathFromIDListW(chosen, path) != FALSE;
    CoTaskMemFree(chosen);
    if (!known) return FolderChoice::no_path;
    *folder = utf8_from(path);
    return FolderChoice::chosen;
}

FolderChoice pick_folder(HWND owner, const char* title, const std::string& start, std::string* folder) {
    const std::wstring wide_title = utf16_from(title);
    const std::wstring wide_start = utf16_from(start);
    wchar_t name[MAX_PATH] = L"";
    BROWSEINFOW browse = {};
    browse.hwndOwner = owner;
    browse.pszDisplayName = name;
    browse.lpszTitle = wide_title.c_str();
    browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE | BIF_EDITBOX;
    browse.lpfn = select_start;
    browse.lParam = wide_start.empty() ? 0 : reinterpret_cast<LPARAM>(wide_start.c_str());
    // The new-style picker wants an apartment; one that another part of the program made will do.
    const HRESULT apartment = OleInitialize(nullptr);
    const FolderChoice choice = ask(&browse, folder);
    if (SUCCEEDED(apartment)) OleUninitialize();
    return choice;
}
