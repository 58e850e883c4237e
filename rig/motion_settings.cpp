// See motion_settings.h.
#include "rig/motion_settings.h"

#include <algorithm>

#include "ipc/frame_ring.h"

static PixelBox stored_box(const RigSettings& file, const char* kind, int32_t feed) {
    char key[32];
    int32_t values[4];
    static constexpr const char* kSides[4] = {"start_x", "start_y", "end_x", "end_y"};
    for (int32_t side = 0; side < 4; ++side) {
        snprintf(key, sizeof key, "%s_%s", kind, kSides[side]);
        values[side] = rig_settings_indexed(&file, key, feed, 0);
    }
    return {values[0], values[1], values[2], values[3]};
}

// Stored as a column by Auto Setup; before the first run there is only the fraction of the width.
static int32_t trigger_column(const RigSettings& file, int32_t feed) {
    const int32_t stored = rig_settings_indexed(&file, "center_of_blob_scene_trigger", feed, 0);
    if (stored > 0) return stored;
    const float fraction = rig_settings_float(&file, "scene_trigger_f0_fraction", 0.9f);
    const float usable = fraction > 0.0f && fraction <= 1.0f ? fraction : 0.9f;
    return std::min(static_cast<int32_t>(usable * static_cast<float>(kFrameWidth)), kFrameWidth - 1);
}

static int32_t positive_or(int32_t value, int32_t fallback) {
    return value > 0 ? value : fallback;
}

static int32_t region_width(const PixelBox& region) {
    if (region.x1 <= region.x0) return kFrameWidth;
    return std::min(region.x1, kFrameWidth - 1) - std::max(region.x0, 0) + 1;
}

int64_t forced_frame_us(const MotionSettings& settings, int32_t slow_above_width) {
    constexpr int64_t kBeyondThresholdUs = 1000;
    constexpr int64_t kLongestUs = 100'000;  // the worker must go on answering the console
    if (slow_above_width <= 0 || region_width(settings.detection.region) <= slow_above_width) return 0;
    return std::clamp<int64_t>(settings.slow_threshold_us + kBeyondThresholdUs, 0, kLongestUs);
}

bool frame_is_slow(const MotionSettings& settings, int32_t slow_above_width, int64_t took_us) {
    if (slow_above_width > 0) return region_width(settings.detection.region) > slow_above_width;
    return took_us > settings.slow_threshold_us;
}

MotionSettings motion_settings_for(const RigSettings& file, int32_t feed) {
    static constexpr int32_t kSmallestBlob[3] = {50, 200, 500};
    MotionSettings settings{};
    DetectionSettings& detection = settings.detection;
    const int32_t offset = rig_settings_indexed(&file, "overlay_frame_offsets", feed, 0);
    detection.y_min = rig_settings_indexed(&file, "ydiff_min", feed, 35);
    detection.u_min = rig_settings_indexed(&file, "udiff_min", feed, 5);
    detection.v_min = rig_settings_indexed(&file, "vdiff_min", feed, 6);
    detection.y_max = rig_settings_int(&file, "ydiff_max", 128);
    detection.u_max = rig_settings_int(&file, "udiff_max", 128);
    detection.v_max = rig_settings_int(&file, "vdiff_max", 128);
    detection.min_blob_size = rig_settings_indexed(&file, "min_blob_sizes", feed, kSmallestBlob[feed]);
    detection.region = region_in_picture(stored_box(file, "motion", feed), offset);
    detection.ignore = region_in_picture(stored_box(file, "ignore", feed), offset);
    settings.passage.begin_frames = positive_or(rig_settings_indexed(&file, "min_motion_count", feed, 0), 2);
    settings.passage.end_frames = positive_or(rig_settings_indexed(&file, "min_nomotion_count", feed, 0), 12);
    settings.passage.trigger_column = trigger_column(file, feed);
    settings.motion_on = rig_settings_indexed(&file, "feed_motion_on", feed, 1) != 0;
    settings.slow_threshold_us = rig_settings_int(&file, "auto_setup_adaptive_width_threshold_us", 14000);
    return settings;
}
