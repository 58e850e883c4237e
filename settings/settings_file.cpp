#include "settings/settings_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "app/log.h"
#include "settings/descriptor_table.h"
#include "settings/pixel_frames_file.h"
#include "settings/settings_line.h"
#include "settings/settings_values.h"
#include "settings/text_numbers_out.h"
#include "settings/text_pieces.h"

namespace {

// The preview shows rows o+30 to o+529 of a feed whose overlay offset is o; regions outside cannot be seen or
// grabbed.
constexpr int64_t kBandFirstRow = 30;
constexpr int64_t kBandLastRow = 529;

constexpr size_t kSettingsTextGuess = 16384;  // a whole settings.txt with its anchors is about this long

}  // namespace

static void apply_piece(void* context, std::string_view piece) {
    apply_settings_line(static_cast<Settings*>(context), piece);
}

static void clear_populated(Settings* settings) {
    memset(settings->pixel_frames_populated, 0, sizeof settings->pixel_frames_populated);
}

void settings_parse(Settings* settings, const char* text, size_t size) {
    clear_populated(settings);
    for_each_piece({text, size}, kSettingsLineBuffer, apply_piece, settings);
}

// In 64 bits, because a hand-edited offset may lie at the end of the number range.
static int32_t to_int32(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

static void clamp_regions(Settings* settings, int32_t feed) {
    const int64_t offset = settings->overlay_frame_offsets[feed];
    const int32_t low = to_int32(offset + kBandFirstRow);
    const int32_t high = to_int32(offset + kBandLastRow);
    int32_t* start = &settings->motion_start_y[feed];
    int32_t* end = &settings->motion_end_y[feed];
    *start = std::max(*start, low);
    *end = std::min(*end, high);
    int32_t* ignore_start = &settings->ignore_start_y[feed];
    int32_t* ignore_end = &settings->ignore_end_y[feed];
    if (settings->ignore_start_x[feed] == 0 && *ignore_start == 0 && settings->ignore_end_x[feed] == 0 &&
        *ignore_end == 0)
        return;  // all zero means that the feed has no ignore region
    *ignore_start = std::max(*ignore_start, low);
    *ignore_end = std::min(*ignore_end, high);
}

static void default_outside(int32_t* value, const char* key, int32_t low, int32_t high, int32_t fallback,
                            bool quiet) {
    if (*value >= low && *value <= high) return;
    if (!quiet) {
        log_warn("settings: %s=%d out of range [%d,%d]; using default %d", key, *value, low, high, fallback);
    }
    *value = fallback;
}

static Settings default_settings() {
    Settings settings;
    settings_init_defaults(&settings);
    return settings;
}

static void default_when_empty(char (&text)[kSettingTextSize], const char (&fallback)[kSettingTextSize]) {
    if (text[0] == '\0') memcpy(text, fallback, sizeof text);
}

void settings_normalise(Settings* settings, bool quiet) {
    static const Settings defaults = default_settings();
    settings_recompute_meter_values(settings);
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) clamp_regions(settings, feed);
    default_outside(&settings->feed_count, "feed_count", 1, 4, defaults.feed_count, quiet);
    default_outside(&settings->movie_padding_before_frames, "movie_padding_before_frames", 0, 300,
                    defaults.movie_padding_before_frames, quiet);
    default_outside(&settings->movie_padding_after_frames, "movie_padding_after_frames", 0, 300,
                    defaults.movie_padding_after_frames, quiet);
    default_when_empty(settings->archive_dir, defaults.archive_dir);
    default_when_empty(settings->upload_host, defaults.upload_host);
    default_when_empty(settings->upload_path, defaults.upload_path);
    default_when_empty(settings->upload_signal_url, defaults.upload_signal_url);
    default_outside(&settings->upload_enabled, "upload_enabled", 0, 1, defaults.upload_enabled, quiet);
}

int32_t settings_load(Settings* settings, const char* path) {
    if (!settings || !path) return -1;
    FILE* file = fopen(path, "r");
    if (!file) {
        log_error("settings: cannot open '%s' for reading", path);
        return -1;
    }
    clear_populated(settings);
    for_each_piece_of_file(file, kSettingsLineBuffer, apply_piece, settings);
    fclose(file);
    settings_normalise(settings);
    const int32_t* populated = settings->pixel_frames_populated;
    log_info("settings: loaded from '%s' (pixel_frames populated: %d/%d/%d)", path, populated[0], populated[1],
             populated[2]);
    settings_load_pixel_frames(settings, path);
    return 0;
}

void settings_format(const Settings* settings, std::string* text) {
    text->reserve(text->size() + kSettingsTextGuess);
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (!setting_row_is_saved(row)) continue;
        char line[kSettingKeySize + kSettingValueRoom + 2];
        char* out = line;
        if (kSettingTable[row].type != SETTING_SEPARATOR)
            out = put_setting_value(put_text(put_text(out, setting_row_key(row)), "="), settings, row);
        text->append(line, put_text(out, "\n"));
    }
}

int32_t settings_write_keys(AtomicFile* file, const Settings* settings) {
    std::string text;
    settings_format(settings, &text);
    atomic_file_write(file, text);
    return 0;
}

namespace {

struct RecordWriter {
    SettingsWriter write;
    const Settings* settings;
};

}  // namespace

static int32_t write_record(AtomicFile* file, const void* context) {
    const auto* writer = static_cast<const RecordWriter*>(context);
    return writer->write(file, writer->settings);
}

int32_t settings_write_atomic(const char* path, SettingsWriter writer, const Settings* settings,
                              const FileOperations* operations) {
    const RecordWriter context{writer, settings};
    return write_file_atomic(path, write_record, &context, "settings", operations);
}

// A record nobody gave defaults to. Saving it would wipe a good file.
static bool looks_cleared(const Settings* settings) {
    return settings->frame_position_bar_height == 0 && settings->mouse_position_speed == 0.0f &&
           settings->big_window_width == 0 && settings->big_window_height == 0 && settings->min_blob_sizes[0] == 0 &&
           settings->min_blob_sizes[3] == 0;
}

static void save_pixel_frames(const Settings* settings, const char* settings_path, const FileOperations* operations) {
    char path[kPixelFramesPathSize];
    if (!pixel_frames_path(settings_path, &path)) {
        log_error("settings: cannot derive pixel_frames path from '%s'", settings_path);
    } else if (settings_write_atomic(path, settings_write_pixel_frames, settings, operations) == 0) {
        log_info("settings: saved pixel_frames to '%s' (1920 x 3 entries)", path);
        return;
    }
    log_warn(
        "settings: settings.txt saved but pixel_frames.txt save failed — runtime will fall back to the previous "
        "pixel_frames.txt");
}

int32_t settings_save(const Settings* settings, const char* path, const FileOperations* operations) {
    if (!settings || !path) return -1;
    if (looks_cleared(settings)) {
        log_error(
            "settings: refusing to save — struct appears uninitialized (frame_position_bar_height=0, "
            "big_window_width=0, min_blob_sizes[0]=0 — caller likely forgot settings_init_defaults or wired the "
            "wrong "
            "pointer).  File '%s' NOT overwritten.",
            path);
        return -1;
    }
    if (settings_write_atomic(path, settings_write_keys, settings, operations) != 0) return -1;
    log_info("settings: saved to '%s'", path);
    save_pixel_frames(settings, path, operations);
    return 0;
}
