// The row functions behind the frame conversion: one per instruction set, all equal byte for byte, chosen at run
// time.
//
// The arithmetic, said once. With u = U - 128 and v = V - 128 a pixel is
//
//   B = Y + (454 u >> 8)      G = Y - ((88 U - 34688 + 183 V) >> 8)      R = Y + (359 v >> 8)
//
// clamped to 0..255. The fast rows stay within 16 bits and exact:
//   454 u >> 8   is the high half of the product (256 u) * 454, and 256 u is the sample, its top bit flipped, as the
//                upper byte of a 16-bit word. 359 v likewise.
//   - (n >> 8)   is (255 - n) >> 8. With n = 88 U + 183 V - 34688 and 183 = 256 - 73 green becomes
//                G = Y - V + ((73 V - 88 U + 34943) >> 8), where 34943 = 34688 + 255. The two products are one
//                multiply-add of bytes, -22440..18615, and the sum is 12503..53558: an unsigned word.
// The 8-bit results come from a saturating pack.
//
// Columns are a matter of the width alone, so they are worked out once per picture. Sixteen neighbouring pixels take
// their samples from a short run of source bytes: it is loaded 16 bytes at a time, and a shuffle per load puts the
// samples in their places. Where the run is long for what it yields, a narrow pane, samples are fetched one by one.
#pragma once

#include <cstdint>

#include "preview/frame_convert.h"

inline constexpr int32_t kBlockPixels = 32;  // converted at a time, as two halves of 16
inline constexpr int32_t kHalfPixels = 16;
inline constexpr int32_t kShuffleBytes = 16;
inline constexpr int32_t kMaxBlocks = kPaneMaxWidth / kBlockPixels;
inline constexpr int32_t kPlanShuffleBytes = 4096;

// Below this width samples are fetched one by one.
inline constexpr int32_t kShuffleMinWidth = 128;

// Where the samples of 32 pixels lie. The last block of a row begins early enough to end with the row.
struct ColumnBlock {
    uint16_t x;          // of the first pixel
    uint16_t luma[2];    // source column of the first load of each half
    uint16_t chroma[2];  // the same in the chroma planes
};

// Everything the rows need to know of one width.
struct ColumnPlan {
    int32_t width;
    int32_t luma_loads;              // per half block
    int32_t chroma_loads;            // per half block, from either plane
    int32_t block_count;             // 0: no shuffles, see kShuffleMinWidth
    uint16_t column[kPaneMaxWidth];  // source column of every pixel
    ColumnBlock blocks[kMaxBlocks];
    // Per block luma_loads, then chroma_loads shuffles; each for the first half, then for the second.
    uint8_t shuffles[kPlanShuffleBytes];
};

// Width is 1..kPaneMaxWidth. `with_shuffles` asks for the blocks, too; narrow widths never have them.
void column_plan_init(ColumnPlan* plan, int32_t width, bool with_shuffles);

// One source row of each plane.
struct SourceRow {
    const uint8_t* y;
    const uint8_t* u;
    const uint8_t* v;
};

// What both fast rows share. The factors above; green's are U's in the lower byte, V's in the upper.
inline constexpr int16_t kBlueFactor = 454, kRedFactor = 359;
inline constexpr int16_t kGreenFactors = static_cast<int16_t>(73 * 256 + (-88 & 0xFF));
inline constexpr int16_t kGreenOffset = static_cast<int16_t>(34943);

// Interleaving: of 48 target bytes every third is of one colour, and pixel p of it is byte 3 p + colour. kSpread
// brings the 16 pixels of a colour into the order in which the three 16-byte parts of the target show them, each at
// its place within its part; kThirds then picks every third byte, beginning with the first, the second or the third.
alignas(16) inline constexpr uint8_t kSpread[3][16] = {
    {0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5},
    {5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10},
    {10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15},
};
alignas(16) inline constexpr uint8_t kThirds[3][16] = {
    {255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255},
    {0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0},
    {0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0},
};

// As many pixels at the end of a narrow row cost less by the plain formula than another half block would.
inline constexpr int32_t kFewPixels = 4;

// The pixels of a row from column `from` on; `bgr` is where the row begins.
void convert_columns_plain(const SourceRow& row, const ColumnPlan& plan, int32_t from, uint8_t* bgr);

// Asks for the cache lines of `row` between two source columns. Always inlined: the compiler takes a function that
// only prefetches for one without effect, and drops its calls.
[[gnu::always_inline]] inline void fetch_columns(const SourceRow& row, int32_t from, int32_t to) {
    constexpr int32_t kLine = 64;
    for (int32_t column = from; column < to; column += kLine) __builtin_prefetch(row.y + column);
    for (int32_t column = from / 2; column < to / 2; column += kLine) {
        __builtin_prefetch(row.u + column);
        __builtin_prefetch(row.v + column);
    }
}

// The share of `row` that falls to block `index`.
[[gnu::always_inline]] inline void fetch_block(const SourceRow& row, const ColumnPlan& plan, int32_t index) {
    const ColumnBlock& block = plan.blocks[index];
    fetch_columns(row, block.luma[0], 2 * block.luma[1] - block.luma[0]);
}

// One row: `plan.width` pixels as B, G, R. Writes exactly 3 * width bytes and reads nothing behind the last sample.
// `ahead` is the row wanted after this one; it may be fetched into the cache meanwhile.
using ConvertRow = void (*)(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan, uint8_t* bgr);

void convert_row_plain(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan, uint8_t* bgr);

// Need the instructions they are named for and a width of at least kHalfPixels, kShuffleMinWidth.
void convert_row_sse41(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan, uint8_t* bgr);
void convert_row_avx2(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan, uint8_t* bgr);

enum class RowsKind { plain, sse41, avx2 };

// Whether this machine has the instructions.
bool rows_supported(RowsKind kind);

// convert_slot and convert_stacked with the rows of one kind, which must be supported.
void convert_slot_by(RowsKind kind, const SlotPicture& picture, const PaneBitmap& bitmap);
void convert_stacked_by(RowsKind kind, const SlotPicture& top, const SlotPicture& bottom, const PaneBitmap& bitmap);
