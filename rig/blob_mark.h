// Where the motion worker found the jumper in a frame: kept in the last bytes of the frame's slot header, which
// belong to the workers, so that the mark travels with the frame into a movie. Also the circle that shows it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/frame_ring.h"

struct BlobMark {
    int32_t x, y;    // centroid in the feed's picture
    int32_t size;    // pixels; 0 = nothing found
    uint32_t frame;  // low half of the frame's seq: a mark of the slot's former frame counts for nothing
};
inline constexpr size_t kBlobMarkOffset = kSlotHeaderSize - sizeof(BlobMark);
static_assert(offsetof(FrameSlotHeader, workers_48) <= kBlobMarkOffset && kBlobMarkOffset % alignof(BlobMark) == 0);

inline BlobMark* blob_mark(FrameSlotHeader* slot) {
    return reinterpret_cast<BlobMark*>(reinterpret_cast<uint8_t*>(slot) + kBlobMarkOffset);
}
inline const BlobMark* blob_mark(const FrameSlotHeader* slot) {
    return reinterpret_cast<const BlobMark*>(reinterpret_cast<const uint8_t*>(slot) + kBlobMarkOffset);
}

// Draws a circle around the mark into a luma plane of the full width and `rows` rows: wide enough to leave the jumper
// uncovered, cut off at the edges. Does nothing for a mark without size.
void draw_blob_circle(uint8_t* luma, int32_t rows, const BlobMark& mark);
