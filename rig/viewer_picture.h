// What the viewer paints, as plain arithmetic: pictures at half size, grid lines in them, and clicks back to pixels.
#pragma once

#include <cstdint>

#include "ipc/frame_ring.h"
#include "rig/common/rig_settings.h"

inline constexpr int32_t kViewWidth = kFrameWidth / 2;     // of every view
inline constexpr int32_t kViewHeight = kOutputHeight / 2;  // a movie; a feed's picture fills the upper half
inline constexpr int32_t kFeedViewHeight = kFeedHeight / 2;

// Converts an I420 picture of the full width and `height` rows to kViewWidth x height/2 pixels of 0x00RRGGBB, top row
// first. Every second pixel is taken.
void view_convert(const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t height, uint32_t* pixels);

struct ViewPoint {
    int32_t x, y;
};

struct ViewGridLine {
    ViewPoint far_point, near_point;  // view pixels
    int32_t metre;
};

inline constexpr int32_t kMostGridLines = 30;

// The grid lines of `feed` as they lie in its picture shown at half size; lines without anchors are left out. Returns
// their number. An anchor's row counts from the full picture, so the feed's overlay offset is taken off.
int32_t view_grid_lines(const RigSettings& settings, int32_t feed, ViewGridLine (&lines)[kMostGridLines]);

// A click in the view of a feed's picture, in pixels of that picture. False when it is beside the picture.
bool view_click(ViewPoint click, ViewPoint* picture);
