// See blob_mark.h.
#include "rig/blob_mark.h"

#include <algorithm>

namespace {
constexpr uint8_t kCircleLuma = 16;
constexpr int32_t kSmallestRadius = 20, kLargestRadius = 120, kStroke = 3;
}  // namespace

// A jumper is some three times as wide as high, so a circle of his area would cut through him: twice its radius.
static int32_t circle_radius(int32_t size) {
    int32_t radius = kSmallestRadius;
    while (radius < kLargestRadius && radius * radius * 3 / 4 < size) ++radius;
    return radius;
}

void draw_blob_circle(uint8_t* luma, int32_t rows, const BlobMark& mark) {
    if (mark.size <= 0) return;
    const int32_t radius = circle_radius(mark.size);
    const int32_t inner = (radius - kStroke) * (radius - kStroke);
    const int32_t outer = radius * radius;
    for (int32_t y = std::max(0, mark.y - radius); y <= std::min(rows - 1, mark.y + radius); ++y)
        for (int32_t x = std::max(0, mark.x - radius); x <= std::min(kFrameWidth - 1, mark.x + radius); ++x) {
            const int32_t distance = (x - mark.x) * (x - mark.x) + (y - mark.y) * (y - mark.y);
            if (distance >= inner && distance <= outer) luma[y * kFrameWidth + x] = kCircleLuma;
        }
}
