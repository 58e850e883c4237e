// See viewer_picture.h.
#include "rig/viewer_picture.h"

#include <algorithm>
#include <cstddef>

static uint32_t channel(int32_t value) {
    return static_cast<uint32_t>(std::clamp(value, 0, 255));
}

static void convert_row(const uint8_t* y, const uint8_t* u, const uint8_t* v, uint32_t* pixels) {
    for (ptrdiff_t x = 0; x < kViewWidth; ++x) {
        const int32_t luma = y[2 * x];
        const int32_t blue_shift = u[x] - 128;
        const int32_t red_shift = v[x] - 128;
        const uint32_t red = channel(luma + ((red_shift * 359) >> 8));
        const uint32_t green = channel(luma - ((blue_shift * 88 + red_shift * 183) >> 8));
        const uint32_t blue = channel(luma + ((blue_shift * 454) >> 8));
        pixels[x] = red << 16 | green << 8 | blue;
    }
}

void view_convert(const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t height, uint32_t* pixels) {
    for (int32_t row = 0; row < height / 2; ++row)
        convert_row(y + int64_t{2} * row * kFrameWidth, u + int64_t{row} * kViewWidth, v + int64_t{row} * kViewWidth,
                    pixels + int64_t{row} * kViewWidth);
}

int32_t view_grid_lines(const RigSettings& settings, int32_t feed, ViewGridLine (&lines)[kMostGridLines]) {
    const int32_t wanted = rig_settings_indexed(&settings, "meter_line_count", feed, 0);
    const int32_t start = rig_settings_indexed(&settings, "meter_line_start", feed, 0);
    const int32_t increment = rig_settings_indexed(&settings, "meter_line_increment", feed, 0);
    const int32_t offset = rig_settings_indexed(&settings, "overlay_frame_offsets", feed, 0);
    int32_t count = 0;
    for (int32_t line = 0; line < std::min(wanted, kMostGridLines); ++line) {
        ViewPoint far_point{0, 0};
        ViewPoint near_point{0, 0};
        rig_settings_anchor(&settings, false, feed, line, &far_point.x, &far_point.y);
        rig_settings_anchor(&settings, true, feed, line, &near_point.x, &near_point.y);
        const bool far_set = far_point.x != 0 || far_point.y != 0;
        const bool near_set = near_point.x != 0 || near_point.y != 0;
        if (!far_set || !near_set) continue;
        lines[count++] = {{far_point.x / 2, (far_point.y - offset) / 2},
                          {near_point.x / 2, (near_point.y - offset) / 2},
                          start + line * increment};
    }
    return count;
}

bool view_click(ViewPoint click, ViewPoint* picture) {
    if (click.x < 0 || click.x >= kViewWidth || click.y < 0 || click.y >= kFeedViewHeight) return false;
    *picture = {2 * click.x, 2 * click.y};
    return true;
}
