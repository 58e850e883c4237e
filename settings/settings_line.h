// One line of settings.txt: how it falls into key and value, what it does to the record, and how a value is written.
// Loader, writer, checker and console tool all mean the same line because they ask here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "settings/settings.h"

// The loader's line buffer. A line that does not fit is read in pieces, each of which counts as a line.
inline constexpr size_t kSettingsLineBuffer = 512;

enum class LineKind {
    nothing = 1,  // blank or comment
    no_equals,
    no_value,
    unknown_key,
    bad_pixel_entry,
    pixel_entry,  // an inline "pixel_frames[F][X] = a, b, c" of old files
    setting,
};

struct SettingsLine {
    LineKind kind;
    int32_t row;  // table row of a setting, else -1
    std::string_view key;
    std::string_view value;  // without comment and surrounding blanks
};

// Takes the line apart. Kinds from unknown_key on carry key and value; a pixel-frame key comes back as pixel_entry
// whether or not it makes sense.
SettingsLine split_settings_line(std::string_view line);

// Applies the line to the record. What it ignores leaves the record alone; a pixel-frame entry that was ignored comes
// back as bad_pixel_entry.
SettingsLine apply_settings_line(Settings* settings, std::string_view line);

// Appends the value of a table row as settings.txt writes it; nothing for a separator.
void format_setting_value(const Settings* settings, int32_t row, std::string* text);

// The same into a buffer with this much room; returns the value's end.
inline constexpr size_t kSettingValueRoom = 256;
char* put_setting_value(char* out, const Settings* settings, int32_t row);
