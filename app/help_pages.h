// Opens the help pages in whatever the system shows web pages with.
#pragma once

#include <windows.h>

#include <cstdint>

// Opens `page` ("index.html", "settings.html"); `exe_dir` has no trailing backslash. Returns 0 when the system took
// it, -1 when there is no such file or nothing to show it with (logged).
int32_t help_page_open(HWND owner, const char* exe_dir, const char* page);
