#include "preview/frame_convert.h"

#include <algorithm>
#include <cstring>

#include "ipc/frame_ring.h"

static SlotPicture picture_at(const uint8_t* slot, int32_t height) {
    return {slot + y_plane_offset(), slot + u_plane_offset(height), slot + v_plane_offset(height), height};
}

static uint8_t clamp_byte(int32_t value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

// Converts picture row `source` (of the picture's own height) into bitmap row `y`.
static void convert_row_of(const SlotPicture& picture, int32_t source, const ColumnMap& map, const PaneBitmap& bitmap,
                           int32_t y) {
    const int32_t chroma = source / 2 * (kFrameWidth / 2);
    uint8_t* row = pane_row(bitmap, y);
    convert_row_plain(picture.y + ptrdiff_t{source} * kFrameWidth, picture.u + chroma, picture.v + chroma, &map, row);
    std::memset(row + ptrdiff_t{bitmap.width} * 3, 0, static_cast<size_t>(bitmap.width & 3));
}

void column_map_init(ColumnMap* map, int32_t width) {
    map->width = width;
    for (int32_t x = 0; x < width; ++x) map->column[x] = static_cast<uint16_t>(x * kFrameWidth / width);
}

void convert_row_plain(const uint8_t* y, const uint8_t* u, const uint8_t* v, const ColumnMap* map, uint8_t* bgr) {
    for (int32_t x = 0; x < map->width; ++x, bgr += 3) {
        const int32_t column = map->column[x];
        const int32_t luma = y[column], cb = u[column / 2], cr = v[column / 2];
        bgr[0] = clamp_byte(luma + (((cb - 128) * 454) >> 8));
        bgr[1] = clamp_byte(luma - ((cb * 88 - 34688 + cr * 183) >> 8));  // 34688 = 128 * 88 + 128 * 183
        bgr[2] = clamp_byte(luma + (((cr - 128) * 359) >> 8));
    }
}

SlotPicture feed_slot_picture(const void* view, uint32_t slot) {
    return picture_at(static_cast<const uint8_t*>(view) + feed_slot_offset(slot), kFeedHeight);
}

SlotPicture output_slot_picture(const void* view, uint32_t slot) {
    return picture_at(static_cast<const uint8_t*>(view) + output_slot_offset(slot), kOutputHeight);
}

void convert_slot(const SlotPicture& picture, const PaneBitmap& bitmap) {
    ColumnMap map;
    column_map_init(&map, bitmap.width);
    for (int32_t y = bitmap.height - 1; y >= 0; --y) {
        convert_row_of(picture, y * picture.height / bitmap.height, map, bitmap, y);
    }
}

void convert_stacked(const SlotPicture& top, const SlotPicture& bottom, const PaneBitmap& bitmap) {
    ColumnMap map;
    column_map_init(&map, bitmap.width);
    for (int32_t y = bitmap.height - 1; y >= 0; --y) {
        const int32_t source = y * (top.height + bottom.height) / bitmap.height;
        if (source < top.height) {
            convert_row_of(top, source, map, bitmap, y);
        } else {
            convert_row_of(bottom, source - top.height, map, bitmap, y);
        }
    }
}
