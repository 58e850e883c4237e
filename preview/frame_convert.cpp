#include "preview/frame_convert.h"

#include <algorithm>
#include <cstring>

#include "ipc/frame_ring.h"
#include "preview/frame_convert_rows.h"

// A picture, or two of one height that are read as one: `second` below `first`.
namespace {
struct Source {
    const SlotPicture* first;
    const SlotPicture* second;
};
}  // namespace

static SlotPicture picture_at(const uint8_t* slot, int32_t height) {
    return {slot + y_plane_offset(), slot + u_plane_offset(height), slot + v_plane_offset(height), height};
}

static SourceRow picture_row(const SlotPicture& picture, int32_t row) {
    const ptrdiff_t chroma = ptrdiff_t{row / 2} * (kFrameWidth / 2);
    return {picture.y + ptrdiff_t{row} * kFrameWidth, picture.u + chroma, picture.v + chroma};
}

// What bitmap row `y` shows.
static SourceRow sampled_row(const Source& source, int32_t y, int32_t height) {
    const int32_t first_height = source.first->height;
    const int32_t row = y * (first_height + (source.second ? source.second->height : 0)) / height;
    return row < first_height ? picture_row(*source.first, row) : picture_row(*source.second, row - first_height);
}

// The fast rows convert whole (half) blocks; anything narrower is left to the plain one. Where samples are fetched
// one by one, halves have it: a block needs more registers than there are.
static ConvertRow row_function(RowsKind kind, int32_t width) {
    if (kind == RowsKind::avx2 && width >= kShuffleMinWidth) return convert_row_avx2;
    if (kind != RowsKind::plain && width >= kHalfPixels) return convert_row_sse41;
    return convert_row_plain;
}

// Reads a byte of every page between two samples of a plane.
static uint32_t touch_pages(const uint8_t* first, const uint8_t* last) {
    constexpr ptrdiff_t kPage = 4096;
    uint32_t sum = 0;
    for (ptrdiff_t at = 0; at < last - first; at += kPage) sum += first[at];
    return sum;
}

// Nearly every row begins on another page of a ring that is far larger than what the processor remembers of the page
// tables, and a cache line cannot be fetched ahead before its page is known. Asking for all pages at once lets the
// look-ups run side by side: a fifth of the time of a large pane. A small one skips too many pages.
static void look_up_pages(const SlotPicture& picture, int32_t sampled_rows) {
    if (picture.height > 6 * sampled_rows) return;
    const SourceRow first = picture_row(picture, 0);
    const SourceRow last = picture_row(picture, (sampled_rows - 1) * picture.height / sampled_rows);
    volatile uint32_t looked_up =
        touch_pages(first.y, last.y) + touch_pages(first.u, last.u) + touch_pages(first.v, last.v);
    static_cast<void>(looked_up);
}

static void convert(RowsKind kind, const Source& source, const PaneBitmap& bitmap) {
    const ConvertRow convert_row = row_function(kind, bitmap.width);
    ColumnPlan plan;
    column_plan_init(&plan, bitmap.width, convert_row != convert_row_plain);
    if (source.second) {
        look_up_pages(*source.first, bitmap.height / 2);
        look_up_pages(*source.second, bitmap.height / 2);
    } else {
        look_up_pages(*source.first, bitmap.height);
    }
    // From the top of the picture down, as the source lies in memory: the processor's own prefetching looks forward.
    SourceRow row = sampled_row(source, 0, bitmap.height);
    for (int32_t y = 0; y < bitmap.height; ++y) {
        const SourceRow next = sampled_row(source, std::min(y + 1, bitmap.height - 1), bitmap.height);
        uint8_t* bgr = pane_row(bitmap, y);
        convert_row(row, next, plan, bgr);
        std::memset(bgr + ptrdiff_t{bitmap.width} * 3, 0, static_cast<size_t>(bitmap.width & 3));
        row = next;
    }
}

static RowsKind best_rows() {
    if (rows_supported(RowsKind::avx2)) return RowsKind::avx2;
    return rows_supported(RowsKind::sse41) ? RowsKind::sse41 : RowsKind::plain;
}

bool rows_supported(RowsKind kind) {
    switch (kind) {
        case RowsKind::avx2:
            return __builtin_cpu_supports("avx2") != 0;
        case RowsKind::sse41:
            return __builtin_cpu_supports("sse4.1") != 0;
        default:
            return true;
    }
}

SlotPicture feed_slot_picture(const void* view, uint32_t slot) {
    return picture_at(static_cast<const uint8_t*>(view) + feed_slot_offset(slot), kFeedHeight);
}

SlotPicture output_slot_picture(const void* view, uint32_t slot) {
    return picture_at(static_cast<const uint8_t*>(view) + output_slot_offset(slot), kOutputHeight);
}

void convert_slot_by(RowsKind kind, const SlotPicture& picture, const PaneBitmap& bitmap) {
    convert(kind, {&picture, nullptr}, bitmap);
}

void convert_stacked_by(RowsKind kind, const SlotPicture& top, const SlotPicture& bottom, const PaneBitmap& bitmap) {
    convert(kind, {&top, &bottom}, bitmap);
}

void convert_slot(const SlotPicture& picture, const PaneBitmap& bitmap) {
    convert_slot_by(best_rows(), picture, bitmap);
}

void convert_stacked(const SlotPicture& top, const SlotPicture& bottom, const PaneBitmap& bitmap) {
    convert_stacked_by(best_rows(), top, bottom, bitmap);
}
