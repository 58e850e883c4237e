#include "app/window_placement.h"

#include <algorithm>

namespace {

constexpr int32_t kTitleHeight = 32;  // about a title bar
constexpr int32_t kGrabWidth = 100;   // what a hand with a mouse needs; both are guesses, and so is the next
constexpr int32_t kGrabHeight = 16;

}  // namespace

bool window_is_reachable(const ScreenRect& window, const ScreenRect* work_areas, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        const ScreenRect& area = work_areas[i];
        // 64 bits: a position comes from a file and may be any number.
        const int64_t width = std::min<int64_t>(window.right, area.right) - std::max<int64_t>(window.left, area.left);
        const int64_t title_bottom = std::min<int64_t>(window.bottom, int64_t{window.top} + kTitleHeight);
        const int64_t height = std::min<int64_t>(title_bottom, area.bottom) - std::max<int64_t>(window.top, area.top);
        if (width >= kGrabWidth && height >= kGrabHeight) return true;
    }
    return false;
}
