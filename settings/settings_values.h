// Defaults, and typed access to the settings by number, as the editor and the console tool need it. The public index
// of a setting is its position in the table with the separators left out: 0..kSettingInfoCount-1.
#pragma once

#include <cstdint>
#include <string_view>

#include "settings/descriptor_table.h"
#include "settings/settings.h"

struct SettingInfo {
    const char* key;
    const char* description;
    const char* category;
    SettingType type;
};

struct SettingPair {
    int32_t x, y;
};

// Clears the record and gives every field its default. To be called before any load: loading only overrides.
void settings_init_defaults(Settings* settings);

// Rewrites meter_values from meter_line_count, _start and _increment. A count above 30 is corrected to 30; slots
// beyond the count keep what they held, and so does the whole list for a count of 0 or less.
void settings_recompute_meter_values(Settings* settings);

int32_t settings_info_count();

// Null for an index out of range.
const SettingInfo* settings_info_at(int32_t index);

// The public index of a key, -1 for an unknown one.
int32_t settings_info_find(std::string_view key);

// A getter answers 0, 0.0, "" or (0, 0) when the index is out of range or the setting is of another kind. The text
// belongs to the record.
int32_t settings_get_int(const Settings* settings, int32_t index);
float settings_get_float(const Settings* settings, int32_t index);
const char* settings_get_string(const Settings* settings, int32_t index);
SettingPair settings_get_pair(const Settings* settings, int32_t index);

// A setter does nothing when the index is out of range or the setting is of another kind. At most 255 characters of a
// text are kept; a null text changes nothing. No limits are applied: those belong to the loader.
void settings_set_int(Settings* settings, int32_t index, int32_t value);
void settings_set_float(Settings* settings, int32_t index, float value);
void settings_set_string(Settings* settings, int32_t index, const char* value);
void settings_set_pair(Settings* settings, int32_t index, SettingPair value);
