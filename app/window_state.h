// Where windows stood when they were last closed: small key=value files beside settings.txt (controller_window.ini
// for the main window; the grid line panel keeps its place in the same format).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct WindowState {
    int32_t x = 0, y = 0;  // of the restored window, in screen pixels
    int32_t width = 1600, height = 900;
    int32_t maximized = 0;
    int32_t preview_panel_width = 700;
    int32_t jumper_panel_width = 280;
    bool loaded = false;  // x and y mean something: they were read from a file
};

// Fills the record with the defaults and, when the file can be read, with its values; too small sizes become defaults
// again. Returns 0 when the file was read, -1 when it was not (`loaded` tells the same). Silent: at a first start
// there is no file.
int32_t window_state_load(const char* path, WindowState* state);

// Replaces the file as a whole. Returns 0, or -1 after one log line.
int32_t window_state_save(const char* path, const WindowState* state);

// The two without a file. Parsing applies the lines over what the record holds, then the lower bounds, and sets
// `loaded`. Lines are read in pieces of at most 127 bytes, the rest of a longer one counts as the next line.
void window_state_parse(const char* text, size_t size, WindowState* state);
void window_state_format(const WindowState* state, std::string* text);
