// Any window-state file: sizes are usable after loading, and what is written reads back the same.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "app/window_state.h"

static void require(bool condition) {
    if (!condition) abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    WindowState state;
    window_state_parse(reinterpret_cast<const char*>(data), size, &state);
    require(state.loaded);
    require(state.width >= 400 && state.height >= 300);
    require(state.preview_panel_width >= 200 && state.jumper_panel_width >= 100);

    std::string text;
    window_state_format(&state, &text);
    WindowState again;
    window_state_parse(text.data(), text.size(), &again);
    require(again.x == state.x && again.y == state.y && again.width == state.width && again.height == state.height);
    require(again.maximized == state.maximized && again.preview_panel_width == state.preview_panel_width);
    require(again.jumper_panel_width == state.jumper_panel_width);

    std::string text_again;
    window_state_format(&again, &text_again);
    require(text_again == text);
    return 0;
}
