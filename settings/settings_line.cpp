#include "settings/settings_line.h"

#include <algorithm>
#include <cstring>

#include "settings/descriptor_table.h"
#include "settings/text_numbers.h"
#include "settings/text_numbers_out.h"

namespace {
constexpr std::string_view kPixelFramesKey = "pixel_frames[";
}  // namespace

static bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

static std::string_view without_leading_blanks(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    return text;
}

static std::string_view without_trailing_blanks(std::string_view text) {
    while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
    return text;
}

// Up to the line's end or to an inline comment: a "#" inside a word belongs to the value, paths have them.
static std::string_view value_of(std::string_view after_equals) {
    const std::string_view text = without_leading_blanks(after_equals);
    size_t length = 0;
    while (length < text.size() && text[length] != '\r' && text[length] != '\n') {
        if (text[length] == '#' && (length == 0 || is_blank(text[length - 1]))) break;
        ++length;
    }
    return without_trailing_blanks(text.substr(0, length));
}

SettingsLine split_settings_line(std::string_view line) {
    SettingsLine result{LineKind::nothing, -1, {}, {}};
    line = without_leading_blanks(line);
    if (line.empty() || line[0] == '\r' || line[0] == '\n' || line[0] == '#') return result;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        result.kind = LineKind::no_equals;
        return result;
    }
    result.key = without_trailing_blanks(line.substr(0, equals));
    result.value = value_of(line.substr(equals + 1));
    if (result.value.empty()) {
        result.kind = LineKind::no_value;
    } else if (result.key.starts_with(kPixelFramesKey)) {
        result.kind = LineKind::pixel_entry;
    } else {
        result.row = setting_row_find(result.key);
        result.kind = result.row < 0 ? LineKind::unknown_key : LineKind::setting;
    }
    return result;
}

// "pixel_frames[%d][%d]"; as with scanf, nothing after the second number is looked at.
static bool scan_pixel_key(std::string_view key, int32_t* feed, int32_t* column) {
    TextCursor text{key.data(), key.data() + key.size()};
    return scan_literal(&text, kPixelFramesKey) && scan_int(&text, feed) && scan_literal(&text, "][") &&
           scan_int(&text, column);
}

static bool scan_comma(TextCursor* text) {
    scan_space(text);
    return scan_literal(text, ",");
}

static bool apply_pixel_entry(Settings* settings, std::string_view key, std::string_view value) {
    int32_t feed = 0;
    int32_t x = 0;
    if (!scan_pixel_key(key, &feed, &x)) return false;
    if (feed < 0 || feed >= kSettingsFeeds || x < 0 || x >= kPixelColumns) return false;
    TextCursor text{value.data(), value.data() + value.size()};
    int32_t start = 0;
    int32_t scene = 0;
    int32_t end = 0;
    if (!scan_int(&text, &start) || !scan_comma(&text) || !scan_int(&text, &scene)) return false;
    if (!scan_comma(&text) || !scan_int(&text, &end)) return false;
    settings->pixel_to_start[feed][x] = start;
    settings->pixel_to_scene[feed][x] = scene;
    settings->pixel_to_end[feed][x] = end;
    settings->pixel_frames_populated[feed] = 1;
    return true;
}

static void apply_setting(Settings* settings, const SettingDescriptor& row, std::string_view value) {
    void* const field = reinterpret_cast<char*>(settings) + row.offset;
    switch (row.type) {
        case SETTING_INT:
            *static_cast<int32_t*>(field) = text_to_int(value);
            break;
        case SETTING_FLOAT:
            *static_cast<float*>(field) = text_to_float(value);
            break;
        case SETTING_STRING: {
            const size_t length = std::min<size_t>(value.size(), kSettingTextSize - 1);
            auto* const text = static_cast<char*>(field);
            memcpy(text, value.data(), length);
            text[length] = '\0';
            break;
        }
        case SETTING_PAIR: {
            auto* anchor = static_cast<GridLine*>(field);
            const size_t comma = value.find(',');
            anchor->x = text_to_int(value);
            anchor->y = comma == std::string_view::npos ? 0 : text_to_int(value.substr(comma + 1));
            break;
        }
        case SETTING_SEPARATOR:
            break;
    }
}

SettingsLine apply_settings_line(Settings* settings, std::string_view line) {
    SettingsLine result = split_settings_line(line);
    if (result.kind == LineKind::setting) {
        apply_setting(settings, kSettingTable[result.row], result.value);
    } else if (result.kind == LineKind::pixel_entry && !apply_pixel_entry(settings, result.key, result.value)) {
        result.kind = LineKind::bad_pixel_entry;
    }
    return result;
}

char* put_setting_value(char* out, const Settings* settings, int32_t row) {
    const void* const field = reinterpret_cast<const char*>(settings) + kSettingTable[row].offset;
    switch (kSettingTable[row].type) {
        case SETTING_INT:
            return put_int(out, *static_cast<const int32_t*>(field));
        case SETTING_FLOAT:
            return put_float(out, *static_cast<const float*>(field));
        case SETTING_STRING: {
            const auto* const characters = static_cast<const char*>(field);
            return put_text(out, {characters, strnlen(characters, kSettingTextSize - 1)});
        }
        case SETTING_PAIR: {
            const auto* anchor = static_cast<const GridLine*>(field);
            return put_int(put_text(put_int(out, anchor->x), ","), anchor->y);
        }
        case SETTING_SEPARATOR:
            break;
    }
    return out;
}

void format_setting_value(const Settings* settings, int32_t row, std::string* text) {
    char value[kSettingValueRoom];
    text->append(value, put_setting_value(value, settings, row));
}
