// Frame slots to small 24-bit bitmaps. A pane needs at most 640 x 360 of a frame's pixels, so nothing is copied: the
// samples are taken straight from the shared ring, nearest neighbour, and turned into blue, green and red on the way.
//
// The arithmetic of a row is done by a row function, the fastest that the machine has the instructions for; the frame
// functions around it own source rows, columns and strides. See frame_convert_rows.h.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int32_t kPaneMinWidth = 32, kPaneMaxWidth = 640;
inline constexpr int32_t kPaneMinHeight = 18, kPaneMaxHeight = 360;

// Bytes of one bitmap row: three per pixel, rounded up to a multiple of four.
constexpr int32_t pane_stride(int32_t width) {
    return width * 3 + (width & 3);
}
inline constexpr int32_t kPaneMaxBytes = pane_stride(kPaneMaxWidth) * kPaneMaxHeight;

// A bottom-up BGR bitmap: the first row in memory is the lowest of the picture. The caller owns `pixels`, which holds
// at least pane_stride(width) * height bytes; width is 1..kPaneMaxWidth, height 1..kPaneMaxHeight.
struct PaneBitmap {
    int32_t width;
    int32_t height;
    uint8_t* pixels;
};

// Where picture row `y`, counted from the top, starts in the bitmap.
constexpr uint8_t* pane_row(const PaneBitmap& bitmap, int32_t y) {
    return bitmap.pixels + ptrdiff_t{bitmap.height - 1 - y} * pane_stride(bitmap.width);
}

// The three planes of one 1920-column I420 picture inside a ring slot.
struct SlotPicture {
    const uint8_t* y;
    const uint8_t* u;
    const uint8_t* v;
    int32_t height;
};

// The picture in slot `slot` of the ring mapped at `view`. An impossible slot means slot 0.
SlotPicture feed_slot_picture(const void* view, uint32_t slot);
SlotPicture output_slot_picture(const void* view, uint32_t slot);

// Fills the bitmap from one picture, padding bytes included (zero).
void convert_slot(const SlotPicture& picture, const PaneBitmap& bitmap);

// The same from two feed pictures, `top` over `bottom`, taken as one picture of 1920 x 1080.
void convert_stacked(const SlotPicture& top, const SlotPicture& bottom, const PaneBitmap& bitmap);
