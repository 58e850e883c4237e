// What settings.txt and pixel_frames.txt mean, said as plainly as possible: a line buffer, a linear search for the
// key, strtoll, strtod and snprintf. Slow, and the measure for the fast reader and writer. In a header, since tests
// and fuzz targets share it.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "settings/descriptor_table.h"
#include "settings/settings.h"

// The line buffer's contents in turn, each as the text functions see it.
inline std::vector<std::string> plain_pieces(std::string_view text, size_t buffer_size) {
    std::vector<std::string> pieces;
    std::string piece;
    for (size_t i = 0; i < text.size(); ++i) {
        piece += text[i];
        if (piece.size() < buffer_size - 1 && text[i] != '\n' && i + 1 < text.size()) continue;
        pieces.emplace_back(piece.c_str());
        piece.clear();
    }
    return pieces;
}

// A number of any length; the nearest of 32 bits.
inline bool plain_scan_int(const char** at, int32_t* value) {
    char* end = nullptr;
    const long long number = strtoll(*at, &end, 10);
    if (end == *at) return false;
    *at = end;
    *value = static_cast<int32_t>(std::clamp<long long>(number, INT32_MIN, INT32_MAX));
    return true;
}

// The characters of `literal`; a blank among them stands for any run of white space.
inline bool plain_scan_text(const char** at, const char* literal) {
    for (; *literal; ++literal) {
        if (*literal == ' ') {
            while (isspace(static_cast<unsigned char>(**at))) ++*at;
        } else if (*(*at)++ != *literal) {
            return false;
        }
    }
    return true;
}

inline int32_t plain_int(const char* text) {
    int32_t value = 0;
    plain_scan_int(&text, &value);
    return value;
}

inline bool plain_put_entry(Settings* s, int32_t feed, int32_t x, const int32_t (&values)[3]) {
    if (feed < 0 || feed > 2 || x < 0 || x >= kPixelColumns) return false;
    s->pixel_to_start[feed][x] = values[0];
    s->pixel_to_scene[feed][x] = values[1];
    s->pixel_to_end[feed][x] = values[2];
    s->pixel_frames_populated[feed] = 1;
    return true;
}

inline bool plain_inline_entry(Settings* s, const char* key, const char* value) {
    int32_t feed = 0;
    int32_t x = 0;
    int32_t values[3] = {};
    return plain_scan_text(&key, "pixel_frames[") && plain_scan_int(&key, &feed) && plain_scan_text(&key, "][") &&
           plain_scan_int(&key, &x) && plain_scan_int(&value, &values[0]) && plain_scan_text(&value, " ,") &&
           plain_scan_int(&value, &values[1]) && plain_scan_text(&value, " ,") &&
           plain_scan_int(&value, &values[2]) && plain_put_entry(s, feed, x, values);
}

inline void plain_put_value(Settings* s, const SettingDescriptor& row, const std::string& value) {
    char* const field = reinterpret_cast<char*>(s) + row.offset;
    if (row.type == SETTING_INT) {
        const int32_t number = plain_int(value.c_str());
        memcpy(field, &number, sizeof number);
    } else if (row.type == SETTING_FLOAT) {
        const auto number = static_cast<float>(strtod(value.c_str(), nullptr));
        memcpy(field, &number, sizeof number);
    } else if (row.type == SETTING_STRING) {
        const std::string kept = value.substr(0, 255);
        memcpy(field, kept.c_str(), kept.size() + 1);
    } else {
        auto* const anchor = reinterpret_cast<GridLine*>(field);
        anchor->x = plain_int(value.c_str());
        const size_t comma = value.find(',');
        anchor->y = comma == std::string::npos ? 0 : plain_int(value.c_str() + comma + 1);
    }
}

inline std::string plain_trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

inline void plain_settings_line(Settings* s, const std::string& piece) {
    const std::string line = plain_trimmed(piece);
    if (line.empty() || line[0] == '#' || line[0] == '\r' || line[0] == '\n') return;
    const size_t equals = line.find('=');
    if (equals == std::string::npos) return;
    const std::string key = plain_trimmed(line.substr(0, equals));
    std::string value = plain_trimmed(line.substr(equals + 1));
    value.resize(std::min(value.size(), value.find_first_of("\r\n")));
    for (size_t i = 0; i < value.size(); ++i)
        if (value[i] == '#' && (i == 0 || value[i - 1] == ' ' || value[i - 1] == '\t')) value.resize(i);
    value = plain_trimmed(value);
    if (value.empty()) return;
    if (key.substr(0, 13) == "pixel_frames[") {
        plain_inline_entry(s, key.c_str(), value.c_str());
        return;
    }
    for (const SettingDescriptor* row = kSettingTable.data(); row->key; ++row) {
        if (row->type != SETTING_SEPARATOR && strcmp(row->key, key.c_str()) == 0) {
            plain_put_value(s, *row, value);
            return;
        }
    }
}

inline void plain_settings_parse(Settings* s, std::string_view text) {
    memset(s->pixel_frames_populated, 0, sizeof s->pixel_frames_populated);
    for (const std::string& piece : plain_pieces(text, 512)) plain_settings_line(s, piece);
}

inline bool plain_pixel_line(Settings* s, const char* line) {
    line += strspn(line, " \t");
    if (*line == '\0' || *line == '#' || *line == '\r' || *line == '\n') return false;
    int32_t feed = 0;
    int32_t x = 0;
    int32_t values[3] = {};
    return plain_scan_text(&line, " pixel_frames[") && plain_scan_int(&line, &feed) && plain_scan_text(&line, "][") &&
           plain_scan_int(&line, &x) && plain_scan_text(&line, "] =") && plain_scan_int(&line, &values[0]) &&
           plain_scan_text(&line, ",") && plain_scan_int(&line, &values[1]) && plain_scan_text(&line, ",") &&
           plain_scan_int(&line, &values[2]) && plain_put_entry(s, feed, x, values);
}

inline int32_t plain_pixel_frames_parse(Settings* s, std::string_view text) {
    memset(s->pixel_frames_populated, 0, sizeof s->pixel_frames_populated);
    int32_t accepted = 0;
    for (const std::string& piece : plain_pieces(text, 256)) accepted += plain_pixel_line(s, piece.c_str()) ? 1 : 0;
    return accepted;
}

inline bool plain_is_saved(const char* key) {
    for (const char* const* other = kSettingsNotSaved.data(); *other; ++other)
        if (strcmp(key, *other) == 0) return false;
    return true;
}

inline std::string plain_settings_format(const Settings* s) {
    std::string text;
    char line[512];
    for (const SettingDescriptor* row = kSettingTable.data(); row->key; ++row) {
        const char* const field = reinterpret_cast<const char*>(s) + row->offset;
        if (row->type == SETTING_SEPARATOR) {
            snprintf(line, sizeof line, "\n");
        } else if (!plain_is_saved(row->key)) {
            continue;
        } else if (row->type == SETTING_INT) {
            snprintf(line, sizeof line, "%s=%d\n", row->key, *reinterpret_cast<const int32_t*>(field));
        } else if (row->type == SETTING_FLOAT) {
            float number = 0;
            memcpy(&number, field, sizeof number);
            snprintf(line, sizeof line, "%s=%f\n", row->key, static_cast<double>(number));
        } else if (row->type == SETTING_STRING) {
            snprintf(line, sizeof line, "%s=%.255s\n", row->key, field);
        } else {
            const auto* const anchor = reinterpret_cast<const GridLine*>(field);
            snprintf(line, sizeof line, "%s=%d,%d\n", row->key, anchor->x, anchor->y);
        }
        text += line;
    }
    return text;
}

inline std::string plain_pixel_frames_format(const Settings* s) {
    std::string text =
        "# Orvekline \xE2\x80\x94 pixel_frames.txt\n"
        "# Per-pixel frame-offset tables, 1920 entries x 3 feeds.\n"
        "# Generated by auto-setup; written as a full dense table\n"
        "# (all X values interpolated/extrapolated from observed blobs).\n"
        "#\n"
        "# Line format: pixel_frames[FEED][X] = to_start, to_scene, to_end\n"
        "#   to_start = frames back to movie start on feed 1's timeline\n"
        "#   to_scene = signed frames to scene-change (positive=future)\n"
        "#   to_end   = frames forward to movie end\n"
        "#\n";
    char line[128];
    const int32_t* populated = s->pixel_frames_populated;
    snprintf(line, sizeof line, "# populated_flags: feed0=%d feed1=%d feed2=%d\n", populated[0], populated[1],
             populated[2]);
    text += line;
    text += "# -----------------------------------------------------------\n\n";
    for (int32_t feed = 0; feed < 3; ++feed) {
        snprintf(line, sizeof line, "# --- feed %d ---\n", feed);
        text += line;
        for (int32_t x = 0; x < kPixelColumns; ++x) {
            snprintf(line, sizeof line, "pixel_frames[%d][%d] = %d, %d, %d\n", feed, x, s->pixel_to_start[feed][x],
                     s->pixel_to_scene[feed][x], s->pixel_to_end[feed][x]);
            text += line;
        }
        text += "\n";
    }
    return text;
}
