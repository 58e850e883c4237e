// The operator draws a feed's motion or ignore region with two clicks into its picture, and moves the feed's overlay
// offset with the wheel. What a click hits, what the editor makes of it and what the settings store is decided here;
// the shell sets the button's text, writes the line and repaints.
#pragma once

#include <cstdint>

#include "preview/overlay.h"
#include "preview/preview_layout.h"

struct Settings;

// In feed-picture coordinates: x 0..1919, y 0..539 from the top.
struct PicturePoint {
    int32_t x, y;
};

// The point of the feed's picture under a click, for a feed drawn in `pane`; both in the same coordinates. The
// picture fills the pane's width; where the pane is higher, it stands in the middle and clicks beside it count as on
// its edge. False, with `point` untouched, for a click outside the pane and for a pane too narrow to show a row.
bool picture_point_at(const PlaceRect& pane, int32_t x, int32_t y, PicturePoint* point);

enum class EditedRegion : uint8_t { none = 0, motion, ignore };

// At most one region of one feed is being edited. Zeroed: none.
struct RegionEditor {
    EditedRegion region;
    int32_t feed;
    bool corner_pending;  // the first corner has been clicked
    PicturePoint corner;
};

// What the shell has to show after a step.
struct EditStep {
    int32_t button;    // whose text changes
    const char* text;  // to this
    char log[128];
};

// Begins with the first corner, and ends whatever was being edited. The button of that keeps its text until the
// regions are saved.
EditStep region_editor_start(RegionEditor* editor, EditedRegion region, int32_t feed);

// One click of the editor, which must be editing. The second corner makes `rect` valid, whichever two corners were
// clicked; then the next click begins anew. After the first, `rect` is as it was.
EditStep region_editor_click(RegionEditor* editor, PicturePoint point, RegionRect* rect);

// The inverse of regions_from_settings: rows are stored with the feed's overlay offset. A motion region that is not
// valid leaves the settings alone, an ignore region that is not valid is stored as none.
void regions_to_settings(Settings* settings, int32_t feed, const RegionRect& motion, const RegionRect& ignore);

inline constexpr int32_t kMaxOverlayOffset = 540;

// The overlay offset after the wheel has turned by `wheel_delta` (120 a notch, up is positive). Part of a notch does
// nothing; a notch brings any offset within 0..kMaxOverlayOffset.
int32_t offset_after_wheel(int32_t offset, int32_t wheel_delta);
