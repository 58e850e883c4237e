// What loading a settings.txt would ignore or change, told line by line. Loading itself is silent about nearly all of
// it, so a mistyped key looks like a setting that does not work.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct SettingsFinding {
    int32_t line;             // from 1
    std::string_view reason;  // for people, no TAB
    std::string_view text;    // the line, or the piece of it that was read at once, without its line end
};

using SettingsFindingFunction = void (*)(void* context, const SettingsFinding& finding);

// Reports every such line of `text` in order and returns their number. The views end with the call.
int32_t settings_check(std::string_view text, SettingsFindingFunction report, void* context);
