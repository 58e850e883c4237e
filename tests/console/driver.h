// Starts Orvek.exe and works its window from outside: reads what an operator can read, presses what he can press.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/console/installation.h"

inline constexpr int32_t kTabPreview = 0, kTabProcesses = 1, kTabFeeds = 2, kTabSettings = 3;
inline constexpr UINT kRefreshMessage = WM_APP + 1;

struct Console {
    HANDLE process;
    uint32_t pid;
    HWND window;
    void* remote;  // a page in the program's address space, for messages that carry pointers
};

// Starts the program and waits until its window answers. False: it did not come up (and said why on standard error).
bool console_start(const Installation& installation, const std::string& arguments, Console* console,
                   const std::string& image = "Orvek.exe");

// As console_start, for a run that shows no window: waits for its end. `output` receives what it printed.
// Returns the exit code, -1 when it did not end.
int32_t console_run(const Installation& installation, const std::string& arguments, std::string* output);

// Asks the window to close and waits. Returns the exit code, -1 when the program does not end.
int32_t console_close(Console* console);
int32_t console_wait_for_exit(Console* console, uint32_t patience_ms);

// Ends the program without its knowledge; its children live on.
void console_kill(Console* console);

// Forgets the process; harmless on a closed one.
void console_release(Console* console);

// Whether the message loop takes a message within this time.
bool console_answers(const Console& console, uint32_t patience_ms);

// A message box of the program; null when it shows none. Its text, button captions included.
HWND message_box(const Console& console);
std::string message_box_text(HWND box);

// What can be read. Text is UTF-8.
std::string window_text(HWND window);
std::string window_class(HWND window);
std::string console_title(const Console& console);
std::string status_text(const Console& console);
HWND control(const Console& console, int32_t id);
std::string button_text(const Console& console, int32_t id);
bool is_shown(const Console& console, int32_t id);      // visible on the screen
bool is_enabled(const Console& console, int32_t id);    // can be pressed
RECT client_place(const Console& console, HWND child);  // in main-window client coordinates

std::vector<std::string> tab_texts(const Console& console);
int32_t current_tab(const Console& console);
RECT tab_display_area(const Console& console);  // in main-window client coordinates

struct ListRow {
    std::string process, pid, state, restarts, command, exit, age;
};
HWND process_list(const Console& console);
std::vector<std::string> process_list_columns(const Console& console, std::vector<int32_t>* widths);
std::vector<ListRow> process_rows(const Console& console);

struct MenuItem {
    std::string text;  // with "&" and the tabulator before its key; empty for a separator
    uint32_t id;
    bool enabled;
};
struct Menu {
    std::string text;
    std::vector<MenuItem> items;
};
std::vector<Menu> read_menus(const Console& console);

// What can be done.
bool select_tab(const Console& console, int32_t tab);   // by a click on it
bool press(const Console& console, int32_t id);         // false when hidden or disabled
void send_command(const Console& console, int32_t id);  // as a menu or another part of the program sends it
void press_key(const Console& console, WPARAM key, bool with_control);

// System resources of the program: GDI objects, windows, kernel handles.
struct Resources {
    uint32_t gdi_objects, windows, handles;
};
Resources count_resources(const Console& console);
