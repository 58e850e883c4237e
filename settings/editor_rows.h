// What the settings editor shows and how it takes texts back: the form is generated from the descriptor table, so the
// place of every row and heading, the text of a value and the meaning of a typed one are decided here, without a
// window.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "settings/settings.h"
#include "settings/settings_values.h"

inline constexpr int32_t kEditorMaxRows = 500;
inline constexpr int32_t kEditorLinePixels = 20;  // one step of the scroll bar's arrows, or one notch of the wheel

// The one key that has a button beside its box.
inline constexpr std::string_view kEditorFolderKey = "*capfile_output_dir";

struct EditorPlace {
    int32_t x, y, width, height;  // pixels from the top left of the unscrolled content
};

struct EditorRow {
    int32_t index;        // public index of the setting
    const char* heading;  // null: none above this row
    EditorPlace heading_place;
    EditorPlace label;
    EditorPlace box;
};

struct EditorRows {
    int32_t count;
    std::array<EditorRow, kEditorMaxRows> row;
    int32_t folder_row;  // that of kEditorFolderKey, -1 without one
    EditorPlace folder_button;
    int32_t content_height;
};

using SettingInfoAt = const SettingInfo* (*)(int32_t index);

// The form of `count` settings; what exceeds kEditorMaxRows is left out.
void lay_out_editor(EditorRows* rows, int32_t count = settings_info_count(),
                    SettingInfoAt info_at = settings_info_at);

// The text of a value box; empty for an index out of range.
std::string editor_value_text(const Settings* settings, int32_t index);

// Stores what was typed, as the C library's atoi, atof and scanf("%d,%d") read it: what is no number is 0. Of a text
// at most 255 bytes are kept, whole UTF-8 characters. No limits are applied.
void editor_store_text(Settings* settings, int32_t index, std::string_view text);

// The last column of a motion region that takes this part of the picture's width from the left.
int32_t editor_motion_end_x(int32_t percent);

// The nearest position that a scroll bar over `content` pixels with `page` pixels visible can take.
int32_t editor_scroll_position(int32_t wanted, int32_t content, int32_t page);

// Pixels to move down for a turn of the wheel: one line per 120 units, up for positive ones. `rest` keeps what is
// less than a line for the next turn.
int32_t editor_wheel_pixels(int32_t* rest, int32_t delta);
