// Whether a window that goes back to its saved place can be found there, on the screens as they are now.
#pragma once

#include <cstdint>

// Size in pixels. False for numbers beyond any screen.
bool saved_place_is_reachable(int32_t x, int32_t y, int32_t width, int32_t height);
