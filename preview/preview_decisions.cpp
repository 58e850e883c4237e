#include "preview/preview_decisions.h"

#include <algorithm>

#include "ipc/frame_ring.h"
#include "settings/settings.h"

// Settings may hold any number; where the difference leaves 32 bits the row is far outside every picture anyway.
static int32_t without_offset(int32_t row, int32_t offset) {
    return static_cast<int32_t>(std::clamp(int64_t{row} - offset, int64_t{INT32_MIN}, int64_t{INT32_MAX}));
}

static RegionRect region_of(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t offset) {
    const bool valid = x0 != 0 || y0 != 0 || x1 != 0 || y1 != 0;
    return {x0, without_offset(y0, offset), x1, without_offset(y1, offset), valid};
}

FeedRegions regions_from_settings(const Settings* settings, int32_t feed) {
    const int32_t offset = settings->overlay_frame_offsets[feed];
    return {region_of(settings->motion_start_x[feed], settings->motion_start_y[feed], settings->motion_end_x[feed],
                      settings->motion_end_y[feed], offset),
            region_of(settings->ignore_start_x[feed], settings->ignore_start_y[feed], settings->ignore_end_x[feed],
                      settings->ignore_end_y[feed], offset),
            offset};
}

bool marks_motion(bool highlight_on, uint32_t motion_active, uint32_t motion_flags, const RegionRect& motion) {
    return highlight_on && motion.valid && (motion_active != 0 || (motion_flags & 1) != 0);
}

int32_t output_to_show(uint32_t output_active) {
    return output_active == 0 ? 1 : 0;
}

CombinedSource combined_source(const CombinedInputs& inputs) {
    if (inputs.output_source && inputs.output_frame_idx >= 0) {
        const auto slot = static_cast<uint32_t>(inputs.output_frame_idx);
        return {CombinedKind::output, std::min(slot, kRingSlots - 1), 0};
    }
    const int32_t bottom_feed = inputs.display_type == 2 ? 2 : 0;
    if (inputs.feed_connected[1] && inputs.feed_connected[bottom_feed]) {
        return {CombinedKind::stacked, 0, bottom_feed};
    }
    return {CombinedKind::nothing, 0, 0};
}

bool needs_drawing(bool has_picture, const PaneContent& drawn, const PaneContent& wanted) {
    return !has_picture || drawn != wanted;
}

const char* highlight_button_text(bool on) {
    return on ? "Highlight ON" : "Highlight OFF";
}

const char* log_button_text(bool on) {
    return on ? "Log Off" : "Log On";
}

const char* circles_button_text(bool on) {
    return on ? "Circles Off" : "Circles On";
}

const char* shadow_button_text(bool on) {
    return on ? "motion shadow remove currently on" : "motion shadow remove currently off";
}
