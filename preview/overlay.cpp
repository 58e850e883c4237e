#include "preview/overlay.h"

#include <algorithm>

#include "ipc/frame_ring.h"

namespace {

constexpr int32_t kBorder = 2;  // pixels of an outline
constexpr int32_t kTint = 30;   // how far the ignore region leans to green

// A region in bitmap pixels, rows from the top, both corners inside. Not clipped: where the border runs is decided
// before the part outside the picture is cut away.
struct ScaledRect {
    int64_t x0, y0, x1, y1;
};

}  // namespace

// 64 bits, because settings may hold any number.
static ScaledRect scale(const RegionRect& region, const PaneBitmap& bitmap) {
    return {int64_t{region.x0} * bitmap.width / kFrameWidth, int64_t{region.y0} * bitmap.height / kFeedHeight,
            int64_t{region.x1} * bitmap.width / kFrameWidth, int64_t{region.y1} * bitmap.height / kFeedHeight};
}

static bool contains(const ScaledRect& rect, int32_t x, int32_t y) {
    return x >= rect.x0 && x <= rect.x1 && y >= rect.y0 && y <= rect.y1;
}

static bool on_border(const ScaledRect& rect, int32_t x, int32_t y) {
    return x < rect.x0 + kBorder || x > rect.x1 - kBorder || y < rect.y0 + kBorder || y > rect.y1 - kBorder;
}

// Calls paint(pixel, x, y) for every pixel of the bitmap inside `rect`.
template <class Paint>
static void for_each_pixel(const PaneBitmap& bitmap, const ScaledRect& rect, Paint paint) {
    const auto left = static_cast<int32_t>(std::clamp<int64_t>(rect.x0, 0, bitmap.width));
    const auto right = static_cast<int32_t>(std::clamp<int64_t>(rect.x1, -1, bitmap.width - 1));
    const auto top = static_cast<int32_t>(std::clamp<int64_t>(rect.y0, 0, bitmap.height));
    const auto bottom = static_cast<int32_t>(std::clamp<int64_t>(rect.y1, -1, bitmap.height - 1));
    for (int32_t y = top; y <= bottom; ++y) {
        uint8_t* row = pane_row(bitmap, y);
        for (int32_t x = left; x <= right; ++x) paint(row + ptrdiff_t{3} * x, x, y);
    }
}

void overlay_mark_motion(const PaneBitmap& bitmap, const RegionRect& motion, const RegionRect& ignore, uint8_t mark) {
    if (!motion.valid) return;
    const ScaledRect hole = scale(ignore, bitmap);
    for_each_pixel(bitmap, scale(motion, bitmap), [&](uint8_t* pixel, int32_t x, int32_t y) {
        if (ignore.valid && contains(hole, x, y)) return;
        for (int32_t i = 0; i < 3; ++i) pixel[i] = static_cast<uint8_t>(pixel[i] ^ mark);
    });
}

void overlay_motion_outline(const PaneBitmap& bitmap, const RegionRect& motion) {
    if (!motion.valid) return;
    const ScaledRect rect = scale(motion, bitmap);
    for_each_pixel(bitmap, rect, [&](uint8_t* pixel, int32_t x, int32_t y) {
        if (!on_border(rect, x, y)) return;
        for (int32_t i = 0; i < 3; ++i) pixel[i] = static_cast<uint8_t>(~pixel[i]);
    });
}

void overlay_ignore_region(const PaneBitmap& bitmap, const RegionRect& ignore) {
    if (!ignore.valid) return;
    const ScaledRect rect = scale(ignore, bitmap);
    for_each_pixel(bitmap, rect, [&](uint8_t* pixel, int32_t x, int32_t y) {
        const bool border = on_border(rect, x, y);
        pixel[0] = border ? uint8_t{0} : static_cast<uint8_t>(std::max(pixel[0] - kTint, 0));
        pixel[1] = border ? uint8_t{255} : static_cast<uint8_t>(std::min(pixel[1] + kTint, 255));
        pixel[2] = border ? uint8_t{0} : static_cast<uint8_t>(std::max(pixel[2] - kTint, 0));
    });
}
