// The columns of a width and the plain row: the reference for the other rows, and the one for machines without their
// instructions.
#include <algorithm>
#include <cstring>

#include "ipc/frame_ring.h"
#include "preview/frame_convert_rows.h"

// Loads it takes to cover `span` bytes.
static constexpr int32_t loads_for(int32_t span) {
    return (span + kShuffleBytes - 1) / kShuffleBytes;
}

// Farthest that the last of 16 neighbouring columns may lie from the first.
static constexpr int32_t half_reach(int32_t width) {
    return ((kHalfPixels - 1) * kFrameWidth + width - 1) / width;
}

static constexpr int32_t luma_loads(int32_t width) {
    return loads_for(half_reach(width) + 1);
}

static constexpr int32_t chroma_loads(int32_t width) {
    return loads_for((half_reach(width) + 1) / 2 + 1);
}

static constexpr int32_t block_count(int32_t width) {
    return (width + kBlockPixels - 1) / kBlockPixels;
}

static constexpr bool shuffles_fit() {
    for (int32_t width = kShuffleMinWidth; width <= kPaneMaxWidth; ++width) {
        const int32_t loads = block_count(width) * 2 * (luma_loads(width) + chroma_loads(width));
        if (loads * kShuffleBytes > kPlanShuffleBytes) return false;
    }
    return true;
}
static_assert(shuffles_fit());

// Whole and remainder are carried along: a division per column would cost as much as many pixels.
static void map_columns(ColumnPlan* plan) {
    const int32_t step = kFrameWidth / plan->width, fraction = kFrameWidth % plan->width;
    int32_t column = 0, remainder = 0;
    for (int32_t x = 0; x < plan->width; ++x) {
        plan->column[x] = static_cast<uint16_t>(column);
        column += step;
        remainder += fraction;
        if (remainder >= plan->width) {
            remainder -= plan->width;
            ++column;
        }
    }
}

// The shuffles of one half block in one plane: `loads` loads from the returned column on. `column` holds the half's
// 16 columns, `last` is the last column any pixel of the row samples: no load reaches behind it. Successive shuffles
// lie two apart, the other half's between them.
static uint16_t plan_half(const int32_t* column, int32_t last, int32_t loads, uint8_t* shuffles) {
    const int32_t first = std::min(column[0], last + 1 - loads * kShuffleBytes);
    for (int32_t load = 0; load < loads; ++load, shuffles += ptrdiff_t{2} * kShuffleBytes) {
        for (int32_t i = 0; i < kHalfPixels; ++i) {
            const uint32_t at = static_cast<uint32_t>(column[i] - first - load * kShuffleBytes);
            shuffles[i] = static_cast<uint8_t>(at < kShuffleBytes ? at : 0x80);  // 0x80: a zero byte
        }
    }
    return static_cast<uint16_t>(first);
}

static void plan_blocks(ColumnPlan* plan) {
    const int32_t last = plan->column[plan->width - 1];
    uint8_t* shuffles = plan->shuffles;
    for (int32_t index = 0; index < plan->block_count; ++index) {
        ColumnBlock& block = plan->blocks[index];
        block.x = static_cast<uint16_t>(std::min(index * kBlockPixels, plan->width - kBlockPixels));
        for (int32_t half = 0; half < 2; ++half) {
            int32_t luma[kHalfPixels], chroma[kHalfPixels];
            for (int32_t i = 0; i < kHalfPixels; ++i) {
                luma[i] = plan->column[block.x + half * kHalfPixels + i];
                chroma[i] = luma[i] / 2;
            }
            uint8_t* of_half = shuffles + ptrdiff_t{half} * kShuffleBytes;
            block.luma[half] = plan_half(luma, last, plan->luma_loads, of_half);
            of_half += ptrdiff_t{plan->luma_loads} * 2 * kShuffleBytes;
            block.chroma[half] = plan_half(chroma, last / 2, plan->chroma_loads, of_half);
        }
        shuffles += ptrdiff_t{plan->luma_loads + plan->chroma_loads} * 2 * kShuffleBytes;
    }
}

void column_plan_init(ColumnPlan* plan, int32_t width, bool with_shuffles) {
    plan->width = width;
    plan->block_count = 0;
    map_columns(plan);
    if (!with_shuffles || width < kShuffleMinWidth) return;
    plan->block_count = block_count(width);
    plan->luma_loads = luma_loads(width);
    plan->chroma_loads = chroma_loads(width);
    plan_blocks(plan);
}

static uint8_t clamp_byte(int32_t value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

void convert_columns_plain(const SourceRow& row, const ColumnPlan& plan, int32_t from, uint8_t* bgr) {
    bgr += ptrdiff_t{from} * 3;
    for (int32_t x = from; x < plan.width; ++x, bgr += 3) {
        const int32_t column = plan.column[x];
        const int32_t luma = row.y[column], cb = row.u[column / 2], cr = row.v[column / 2];
        bgr[0] = clamp_byte(luma + (((cb - 128) * 454) >> 8));
        bgr[1] = clamp_byte(luma - ((cb * 88 - 34688 + cr * 183) >> 8));  // 34688 = 128 * 88 + 128 * 183
        bgr[2] = clamp_byte(luma + (((cr - 128) * 359) >> 8));
    }
}

void convert_row_plain(const SourceRow& row, const SourceRow& /*ahead*/, const ColumnPlan& plan, uint8_t* bgr) {
    convert_columns_plain(row, plan, 0, bgr);
}
