#include "tests/support/settings_marker.h"

#include <memory>

#include "settings/pixel_frames_file.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

static std::unique_ptr<Settings> marked_settings(int32_t marker) {
    auto s = default_settings();
    for (int32_t i = 0; i < settings_info_count(); ++i) {
        settings_set_int(s.get(), i, marker);
        settings_set_pair(s.get(), i, {marker, marker});
    }
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed)
        for (int32_t x = 0; x < kPixelColumns; ++x) s->pixel_to_start[feed][x] = marker;
    return s;
}

void save_marker(const char* settings_path, int32_t marker) {
    settings_save(marked_settings(marker).get(), settings_path);
}

void save_markers_for_ever(const char* settings_path, int32_t first) {
    for (int32_t marker = first;; ++marker) save_marker(settings_path, marker);
}

int32_t whole_marker(const std::string& settings_path, std::string* problem) {
    char pixel_path[kPixelFramesPathSize];
    if (!pixel_frames_path(settings_path.c_str(), &pixel_path)) return -1;
    const std::string settings_text = read_whole_file(settings_path);
    const std::string pixel_text = read_whole_file(pixel_path);

    // What is on the disk must be, byte for byte, what one save writes: of the marker that stands in its first entry.
    const size_t at = settings_text.find("movie_pad=");
    const size_t pixel_at = pixel_text.find("[0][0] = ");
    if (at == std::string::npos || pixel_at == std::string::npos) {
        *problem = "a file is missing or cut";
        return -1;
    }
    const int32_t marker = atoi(settings_text.c_str() + at + 10);
    std::string expected;
    settings_format(marked_settings(marker).get(), &expected);
    if (settings_text != disk_lines(expected)) {
        *problem = "settings.txt is not whole";
        return -1;
    }
    expected.clear();
    const int32_t pixel_marker = atoi(pixel_text.c_str() + pixel_at + 9);
    pixel_frames_format(marked_settings(pixel_marker).get(), &expected);
    if (pixel_text != disk_lines(expected)) {
        *problem = "pixel_frames.txt is not whole";
        return -1;
    }
    if (pixel_marker > marker) {
        *problem = "pixel_frames.txt is of a later save than settings.txt";
        return -1;
    }
    return marker;
}
