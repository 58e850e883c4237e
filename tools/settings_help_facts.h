// What the help page tells of a setting beyond the table: unit, range and who reads it. Only what is certain stands
// here; a setting without a row, or a row without a unit, is one of which the program knows no more than its help
// text.
#pragma once

#include <span>
#include <string_view>

struct SettingFact {
    const char* base;     // the key without "*", "@" and index
    const char* unit;     // "" when it has none or none is known
    const char* range;    // what is accepted, and what becomes of anything else; "" when nothing checks it
    const char* read_by;  // "" when the controller only keeps the value for the worker programs
};

std::span<const SettingFact> setting_facts();

// "@far[0][ 3]" -> "far".
std::string_view setting_key_base(std::string_view key);

// The facts of a key, null when there are none.
const SettingFact* setting_fact_find(std::string_view key);
