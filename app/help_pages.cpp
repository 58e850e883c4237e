#include "app/help_pages.h"

#include <shellapi.h>

#include "app/file_exists.h"
#include "app/help_search.h"
#include "app/log.h"

int32_t help_page_open(HWND owner, const char* exe_dir, const char* page) {
    char path[2 * MAX_PATH];
    if (help_page_find(exe_dir, page, file_exists, nullptr, path, sizeof path) != 0) {
        log_warn("help: no page \"%s\" below %s", page, exe_dir);
        return -1;
    }
    const INT_PTR result =
        reinterpret_cast<INT_PTR>(ShellExecuteA(owner, "open", path, nullptr, nullptr, SW_SHOWNORMAL));
    if (result <= 32) {
        log_warn("help: cannot open %s: %d", path, static_cast<int>(result));
        return -1;
    }
    log_info("help: opened %s", path);
    return 0;
}
