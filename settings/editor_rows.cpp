#include "settings/editor_rows.h"

#include <algorithm>
#include <cstring>

#include "settings/descriptor_table.h"
#include "settings/settings_line.h"
#include "settings/text_numbers.h"
#include "settings/text_pieces.h"

namespace {

constexpr int32_t kFirstY = 6;
constexpr int32_t kHeadingGap = 6;  // not above the first heading
constexpr int32_t kHeadingHeight = 22;
constexpr int32_t kRowStep = 21;
constexpr int32_t kBottomMargin = 6;
constexpr int32_t kTextBoxWidth = 720;
constexpr int32_t kNumberBoxWidth = 120;
constexpr int32_t kWheelNotch = 120;

}  // namespace

void lay_out_editor(EditorRows* rows, int32_t count, SettingInfoAt info_at) {
    *rows = {};
    rows->folder_row = -1;
    const char* heading = "";
    int32_t y = kFirstY;
    for (int32_t i = 0; i < count && rows->count < kEditorMaxRows; ++i) {
        const SettingInfo* info = info_at(i);
        EditorRow& row = rows->row[rows->count];
        row.index = i;
        if (info->category[0] != '\0' && strcmp(info->category, heading) != 0) {
            heading = info->category;
            row.heading = heading;
            row.heading_place = {10, y > kFirstY ? y + kHeadingGap : y, 380, kHeadingHeight};
            y = row.heading_place.y + kHeadingHeight;
        }
        row.label = {10, y + 2, 260, 18};
        row.box = {275, y, info->type == SETTING_STRING ? kTextBoxWidth : kNumberBoxWidth, 20};
        if (info->key == kEditorFolderKey) {
            rows->folder_row = rows->count;
            rows->folder_button = {row.box.width + 281, y - 1, 90, 22};
        }
        ++rows->count;
        y += kRowStep;
    }
    rows->content_height = y + kBottomMargin;
}

std::string editor_value_text(const Settings* settings, int32_t index) {
    std::string text;
    if (const SettingInfo* info = settings_info_at(index))
        format_setting_value(settings, setting_row_find(info->key), &text);
    return text;
}

// scanf's "%d,%d" over zeros.
static SettingPair pair_from(std::string_view text) {
    SettingPair pair = {};
    TextCursor cursor{text.data(), text.data() + text.size()};
    if (scan_int(&cursor, &pair.x) && scan_literal(&cursor, ",")) scan_int(&cursor, &pair.y);
    return pair;
}

void editor_store_text(Settings* settings, int32_t index, std::string_view text) {
    const SettingInfo* info = settings_info_at(index);
    if (!info) return;
    switch (info->type) {
        case SETTING_INT:
            settings_set_int(settings, index, text_to_int(text));
            break;
        case SETTING_FLOAT:
            settings_set_float(settings, index, text_to_float(text));
            break;
        case SETTING_STRING:
            settings_set_string(settings, index,
                                std::string(text.substr(0, text_cut(text, kSettingTextSize - 1))).c_str());
            break;
        case SETTING_PAIR:
            settings_set_pair(settings, index, pair_from(text));
            break;
        case SETTING_SEPARATOR:
            break;
    }
}

int32_t editor_motion_end_x(int32_t percent) {
    const auto end = static_cast<int32_t>(percent * static_cast<double>(kPixelColumns) / 100.0);
    return end < kPixelColumns ? std::max(end, 1) : kPixelColumns - 1;
}

int32_t editor_scroll_position(int32_t wanted, int32_t content, int32_t page) {
    const int32_t last = content - std::max(page - 1, 0);
    return std::clamp(wanted, 0, std::max(last, 0));
}

int32_t editor_wheel_pixels(int32_t* rest, int32_t delta) {
    if ((delta > 0) != (*rest > 0)) *rest = 0;  // the other way: what was left over no longer counts
    const int32_t turned = *rest + delta;
    *rest = turned % kWheelNotch;
    return -(turned / kWheelNotch) * kEditorLinePixels;
}
