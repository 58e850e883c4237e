// Start lists from files. The file is read before the mutex is taken: whoever waits for it shall not wait for a disk.
#include <windows.h>

#include <commdlg.h>

#include <cstdio>
#include <memory>
#include <new>

#include "app/file_exists.h"
#include "app/log.h"
#include "ipc/scoped_handle.h"
#include "ipc/sync_objects.h"
#include "jumpers/jumper_internal.h"

namespace {

constexpr char kBoxTitle[] = "Load Jumpers";
constexpr DWORD kChunkSize = 64 * 1024;

struct FileBuffers {
    JumperFileReader reader;
    char chunk[kChunkSize];
};

}  // namespace

static bool read_file(const char* path, FileBuffers* buffers) {
    // Shared with writers: organisers keep the list open in their editor.
    const ScopedFile file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) return false;
    DWORD got = 0;
    while (ReadFile(file.get(), buffers->chunk, kChunkSize, &got, nullptr) && got > 0) {
        if (!jumper_file_feed(&buffers->reader, buffers->chunk, got)) break;
    }
    jumper_file_finish(&buffers->reader);
    return true;
}

int32_t jumper_panel_load(JumperPanel* panel, const char* path) {
    JumperRegion* region = jumper_region(panel);
    const std::unique_ptr<FileBuffers> buffers(new (std::nothrow) FileBuffers());
    if (!region || !buffers || !read_file(path, buffers.get())) return -1;
    ipc_lock(panel->sync, kMutexJumpers);
    const int32_t count = jumper_list_fill(region, buffers->reader.entry, buffers->reader.count);
    ipc_unlock(panel->sync, kMutexJumpers);
    panel->rows_shown = -1;
    jumper_panel_refresh(panel);
    log_info("jumper_panel: loaded %d jumpers from %s", count, path);
    return count;
}

static bool ask_for_file(const JumperPanel* panel, char (&path)[kJumperPathSize]) {
    path[0] = '\0';
    OPENFILENAMEA dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = panel->main_window;
    dialog.lpstrTitle = "Load Jumper File";
    dialog.lpstrFilter = "Text Files (*.txt;*.csv)\0*.txt;*.csv\0All Files (*.*)\0*.*\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = sizeof path;
    // The children's relative paths count on the current directory.
    dialog.Flags = OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return GetOpenFileNameA(&dialog) != FALSE;
}

static void tell(const JumperPanel* panel, const char* text, UINT icon) {
    MessageBoxA(panel->main_window, text, kBoxTitle, MB_OK | icon);
}

int32_t jumper_panel_load_interactive(JumperPanel* panel) {
    if (!jumper_region(panel)) {
        tell(panel, "Jumper shared memory not available.", MB_ICONWARNING);
        return -1;
    }
    char path[kJumperPathSize];
    if (!ask_for_file(panel, path)) return -1;
    const int32_t count = jumper_panel_load(panel, path);
    char text[kJumperPathSize + 32];
    if (count < 0) {
        snprintf(text, sizeof text, "Cannot open file:\n%s", path);
        tell(panel, text, MB_ICONERROR);
    } else {
        snprintf(text, sizeof text, "Loaded %d jumpers.", count);
        tell(panel, text, MB_ICONINFORMATION);
    }
    return count;
}

void jumper_panel_auto_load(JumperPanel* panel, const char* settings_path) {
    char path[kJumperPathSize];
    if (!jumper_auto_load_path(settings_path, path)) return;
    if (!file_exists(nullptr, path)) return;
    const int32_t count = jumper_panel_load(panel, path);
    if (count >= 0) log_info("auto-loaded %d jumpers from %s", count, path);
}
