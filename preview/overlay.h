// What the operator's pane shows on top of the picture: the motion mark, the outline of the motion region and the
// green tint of the ignore region. Drawn into the small pane bitmap after every conversion, never into the shared
// frame.
#pragma once

#include <cstdint>

#include "preview/frame_convert.h"

// A rectangle in feed-picture coordinates (x 0..1919, y 0..539 from the top), both corners inside it. Settings may
// put it anywhere; what lies outside the picture is not drawn.
struct RegionRect {
    int32_t x0, y0, x1, y1;
    bool valid;

    bool operator==(const RegionRect&) const = default;
};

// XORs all three bytes of every pixel inside `motion` and outside `ignore` with `mark`. An ignore rectangle that is
// not valid excludes nothing; a motion rectangle that is not valid marks nothing.
void overlay_mark_motion(const PaneBitmap& bitmap, const RegionRect& motion, const RegionRect& ignore, uint8_t mark);

// Inverts the two outermost pixels of `motion`'s rectangle, each pixel once.
void overlay_motion_outline(const PaneBitmap& bitmap, const RegionRect& motion);

// Tints `ignore`'s rectangle green and gives it a border of two pure green pixels.
void overlay_ignore_region(const PaneBitmap& bitmap, const RegionRect& ignore);
