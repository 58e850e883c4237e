#include "preview/region_editor.h"

#include <algorithm>
#include <cstdio>

#include "app/commands.h"
#include "ipc/frame_ring.h"
#include "settings/settings.h"

namespace {

constexpr char kClickFirst[] = "Click UL";
constexpr char kClickSecond[] = "Click LR";
constexpr int32_t kWheelNotch = 120;

}  // namespace

bool picture_point_at(const PlaceRect& pane, int32_t x, int32_t y, PicturePoint* point) {
    if (x < pane.left || x >= pane.right || y < pane.top || y >= pane.bottom) return false;
    const int32_t width = pane.right - pane.left;
    const int32_t height = pane.bottom - pane.top;
    const int32_t full_height = width * kFeedHeight / kFrameWidth;
    const int32_t picture_height = std::min(full_height, height);
    if (picture_height <= 0) return false;
    const int32_t margin = (height - picture_height) / 2;
    *point = {std::clamp((x - pane.left) * kFrameWidth / width, 0, kFrameWidth - 1),
              std::clamp((y - pane.top - margin) * kFeedHeight / picture_height, 0, kFeedHeight - 1)};
    return true;
}

static const char* region_word(EditedRegion region) {
    return region == EditedRegion::ignore ? "ignore" : "motion";
}

static EditStep step_of(const RegionEditor& editor, const char* text) {
    const int32_t first_button = editor.region == EditedRegion::ignore ? kCmdIgnoreRegion : kCmdSetRegion;
    return {first_button + editor.feed, text, ""};
}

EditStep region_editor_start(RegionEditor* editor, EditedRegion region, int32_t feed) {
    *editor = {region, feed, false, {}};
    EditStep step = step_of(*editor, kClickFirst);
    snprintf(step.log, sizeof step.log, "%s region: editing feed %d — click upper-left corner", region_word(region),
             static_cast<int>(feed));
    return step;
}

EditStep region_editor_click(RegionEditor* editor, PicturePoint point, RegionRect* rect) {
    const char* word = region_word(editor->region);
    const int feed = editor->feed;
    if (!editor->corner_pending) {
        editor->corner_pending = true;
        editor->corner = point;
        EditStep step = step_of(*editor, kClickSecond);
        snprintf(step.log, sizeof step.log, "%s region feed %d: UL = (%d, %d) — click lower-right", word, feed,
                 static_cast<int>(point.x), static_cast<int>(point.y));
        return step;
    }
    const PicturePoint corner = editor->corner;
    editor->corner_pending = false;
    *rect = {std::min(point.x, corner.x), std::min(point.y, corner.y), std::max(point.x, corner.x),
             std::max(point.y, corner.y), true};
    EditStep step = step_of(*editor, kClickFirst);
    snprintf(step.log, sizeof step.log, "%s region feed %d: (%d,%d)-(%d,%d) — click UL to redefine or Save", word,
             feed, static_cast<int>(rect->x0), static_cast<int>(rect->y0), static_cast<int>(rect->x1),
             static_cast<int>(rect->y1));
    return step;
}

// Settings may hold any number; the sum must not leave 32 bits.
static int32_t with_offset(int32_t row, int32_t offset) {
    return static_cast<int32_t>(std::clamp(int64_t{row} + offset, int64_t{INT32_MIN}, int64_t{INT32_MAX}));
}

void regions_to_settings(Settings* settings, int32_t feed, const RegionRect& motion, const RegionRect& ignore) {
    const int32_t offset = settings->overlay_frame_offsets[feed];
    if (motion.valid) {
        settings->motion_start_x[feed] = motion.x0;
        settings->motion_end_x[feed] = motion.x1;
        settings->motion_start_y[feed] = with_offset(motion.y0, offset);
        settings->motion_end_y[feed] = with_offset(motion.y1, offset);
    }
    settings->ignore_start_x[feed] = ignore.valid ? ignore.x0 : 0;
    settings->ignore_end_x[feed] = ignore.valid ? ignore.x1 : 0;
    settings->ignore_start_y[feed] = ignore.valid ? with_offset(ignore.y0, offset) : 0;
    settings->ignore_end_y[feed] = ignore.valid ? with_offset(ignore.y1, offset) : 0;
}

int32_t offset_after_wheel(int32_t offset, int32_t wheel_delta) {
    const int32_t notches = wheel_delta / kWheelNotch;
    if (notches == 0) return offset;
    return static_cast<int32_t>(std::clamp(int64_t{offset} + notches, int64_t{0}, int64_t{kMaxOverlayOffset}));
}
