// The table that names every persisted setting: key, kind, field, help and category. Reader, writer, editor, console
// tool and help page all work from it; none of them knows a key by name. The rows themselves are written in
// descriptor_rows.inc, one line each, in the order of settings.txt.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

enum SettingType : int32_t {
    SETTING_INT = 0,
    SETTING_FLOAT = 1,
    SETTING_STRING = 2,
    SETTING_PAIR = 3,
    SETTING_SEPARATOR = 4,  // one blank line in settings.txt
};

struct SettingDescriptor {
    const char* key;  // as in settings.txt, with "*", "@" and the blank of "@far[0][ 0]"; "" for a separator
    SettingType type;
    uint32_t offset;          // of the field in Settings; of the whole GridLine for a pair
    const char* description;  // help text, UTF-8, several lines joined by CR LF; "" for a separator
    const char* category;     // "" for a separator
};

inline constexpr int32_t kSettingRowCount = 426;   // without the terminating row
inline constexpr int32_t kSettingInfoCount = 388;  // rows that are not separators
inline constexpr int32_t kSettingKeySize = 64;     // no key is as long
inline constexpr int32_t kSettingNotSavedCount = 17;
inline constexpr int32_t kSettingCategoryCount = 15;

// The rows in file order, then one whose key is null.
extern const std::array<SettingDescriptor, kSettingRowCount + 1> kSettingTable;

// Keys that are read but never written, because the program works them out itself; ends with a null.
extern const std::array<const char*, kSettingNotSavedCount + 1> kSettingsNotSaved;

// The categories in order of first appearance; ends with a null.
extern const std::array<const char*, kSettingCategoryCount + 1> kSettingCategories;

// The row of a key, compared byte for byte; -1 when no setting has it (separators have none).
int32_t setting_row_find(std::string_view key);

// The row's key; "" for a separator. `row` in 0..kSettingRowCount-1.
std::string_view setting_row_key(int32_t row);

// Whether the writer writes this row: false for the keys of kSettingsNotSaved. `row` in 0..kSettingRowCount-1.
bool setting_row_is_saved(int32_t row);
