#include "settings/motion_range.h"

#include <cstdio>
#include <cstring>

#include "app/log.h"
#include "settings/text_numbers.h"

static constexpr int32_t kRangeNumbers = 4 * kSettingsFeeds;

// The field that the text's number `index` stands for.
static int32_t* range_field(Settings* settings, int32_t index) {
    int32_t* const fields[4] = {settings->motion_start_x, settings->motion_start_y, settings->motion_end_x,
                                settings->motion_end_y};
    return fields[index % 4] + index / 4;
}

void save_motion_range(Settings* settings) {
    char* const text = settings->saved_motion_range;
    size_t length = 0;
    for (int32_t i = 0; i < kRangeNumbers; ++i) {
        const int written = snprintf(text + length, kSettingTextSize - length, i > 0 ? ",%d" : "%d",
                                     static_cast<int>(*range_field(settings, i)));
        length += static_cast<size_t>(written);  // twelve of the longest numbers take 143 of the 256 bytes
    }
}

int32_t restore_motion_range(Settings* settings) {
    const char* const text = settings->saved_motion_range;
    TextCursor cursor{text, text + strnlen(text, kSettingTextSize)};
    int32_t values[kRangeNumbers];
    for (int32_t i = 0; i < kRangeNumbers; ++i) {
        if ((i > 0 && !scan_literal(&cursor, ",")) || !scan_int(&cursor, &values[i])) {
            log_error("auto_setup_restore_motion_range: failed to parse saved_motion_range");
            return -1;
        }
    }
    for (int32_t i = 0; i < kRangeNumbers; ++i) *range_field(settings, i) = values[i];
    return 0;
}
