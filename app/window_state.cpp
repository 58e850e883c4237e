#include "app/window_state.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "settings/atomic_file.h"

namespace {

constexpr int32_t kNoBound = INT32_MIN;
constexpr size_t kMaxLine = 127;  // bytes of one line; what follows counts as the next one
constexpr size_t kMaxKey = 63;

struct Row {
    const char* key;
    int32_t WindowState::*field;
    int32_t least;  // a smaller value becomes the default
};
constexpr Row kRows[] = {
    {"x", &WindowState::x, kNoBound},
    {"y", &WindowState::y, kNoBound},
    {"width", &WindowState::width, 400},
    {"height", &WindowState::height, 300},
    {"maximized", &WindowState::maximized, kNoBound},
    {"preview_panel_width", &WindowState::preview_panel_width, 200},
    {"jumper_panel_width", &WindowState::jumper_panel_width, 100},
};

}  // namespace

// Reads a decimal integer after blanks, as scanf's %d does; what follows it does not matter. A number beyond the type
// stays at its end. False when there is none.
static bool read_number(const char* text, int32_t* number) {
    char* end = nullptr;
    const long long value = strtoll(text, &end, 10);
    if (end == text) return false;
    *number = value > INT32_MAX ? INT32_MAX : value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
    return true;
}

static void apply_line(const char* line, WindowState* state) {
    if (line[0] == '\n' || line[0] == '\r' || line[0] == '#') return;
    const char* const equals = strchr(line, '=');
    if (!equals || equals == line || static_cast<size_t>(equals - line) > kMaxKey) return;
    const std::string_view key(line, static_cast<size_t>(equals - line));
    for (const Row& row : kRows)
        if (key == row.key) read_number(equals + 1, &(state->*row.field));
}

// The next line, its newline included, at most kMaxLine bytes.
static size_t line_length(const char* text, size_t size) {
    const size_t most = size < kMaxLine ? size : kMaxLine;
    const void* const newline = memchr(text, '\n', most);
    return newline ? static_cast<size_t>(static_cast<const char*>(newline) - text) + 1 : most;
}

void window_state_parse(const char* text, size_t size, WindowState* state) {
    while (size > 0) {
        char line[kMaxLine + 1];
        const size_t length = line_length(text, size);
        memcpy(line, text, length);
        line[length] = '\0';
        apply_line(line, state);
        text += length;
        size -= length;
    }
    const WindowState defaults;
    for (const Row& row : kRows)
        if (state->*row.field < row.least) state->*row.field = defaults.*row.field;
    state->loaded = true;
}

int32_t window_state_load(const char* path, WindowState* state) {
    *state = {};
    FILE* const file = fopen(path, "r");
    if (!file) return -1;
    std::string text;
    char chunk[1024];
    for (size_t got = fread(chunk, 1, sizeof chunk, file); got > 0; got = fread(chunk, 1, sizeof chunk, file))
        text.append(chunk, got);
    fclose(file);
    window_state_parse(text.data(), text.size(), state);
    return 0;
}

void window_state_format(const WindowState* state, std::string* text) {
    *text += "# Orvekline controller window state\n";
    for (const Row& row : kRows) {
        char line[64];
        snprintf(line, sizeof line, "%s=%d\n", row.key, state->*row.field);
        *text += line;
    }
}

int32_t window_state_save(const char* path, const WindowState* state) {
    std::string text;
    window_state_format(state, &text);
    return write_text_atomic(path, text, "window state");
}
