// Rows with SSE4.1: 16 pixels, a half block, at a time.
#include <smmintrin.h>

#include <algorithm>

#include "preview/frame_convert_rows.h"

// All the instructions this file may use; the rest of the program is built without them.
#define ORVEK_SSE41 __attribute__((target("sse4.1")))

namespace {

// Blue, green and red of eight pixels in 16 bits.
struct Colours {
    __m128i b, g, r;
};

}  // namespace

ORVEK_SSE41 static inline __m128i load_128(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

ORVEK_SSE41 static inline void store_128(uint8_t* bytes, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value);
}

// The samples of a half block from `loads` loads.
ORVEK_SSE41 static inline __m128i pick(const uint8_t* source, const uint8_t* shuffles, int32_t loads) {
    __m128i samples = _mm_shuffle_epi8(load_128(source), load_128(shuffles));
    for (int32_t load = 1; load < loads; ++load) {
        source += kShuffleBytes;
        shuffles += ptrdiff_t{2} * kShuffleBytes;
        samples = _mm_or_si128(samples, _mm_shuffle_epi8(load_128(source), load_128(shuffles)));
    }
    return samples;
}

// From luma, from chroma with its top bit flipped in upper bytes, and from U and V side by side.
ORVEK_SSE41 static inline Colours colours_of(__m128i y, __m128i u_upper, __m128i v_upper, __m128i v, __m128i uv) {
    const __m128i products = _mm_maddubs_epi16(uv, _mm_set1_epi16(kGreenFactors));
    const __m128i sum = _mm_add_epi16(products, _mm_set1_epi16(kGreenOffset));
    return {_mm_add_epi16(y, _mm_mulhi_epi16(u_upper, _mm_set1_epi16(kBlueFactor))),
            _mm_add_epi16(_mm_sub_epi16(y, v), _mm_srli_epi16(sum, 8)),
            _mm_add_epi16(y, _mm_mulhi_epi16(v_upper, _mm_set1_epi16(kRedFactor)))};
}

// Interleaves the colours of 16 pixels into 48 bytes.
ORVEK_SSE41 static inline void store_bgr(__m128i b, __m128i g, __m128i r, uint8_t* bgr) {
    b = _mm_shuffle_epi8(b, load_128(kSpread[0]));
    g = _mm_shuffle_epi8(g, load_128(kSpread[1]));
    r = _mm_shuffle_epi8(r, load_128(kSpread[2]));
    const __m128i third0 = load_128(kThirds[0]), third1 = load_128(kThirds[1]), third2 = load_128(kThirds[2]);
    store_128(bgr, _mm_blendv_epi8(_mm_blendv_epi8(b, g, third1), r, third2));
    store_128(bgr + 16, _mm_blendv_epi8(_mm_blendv_epi8(b, g, third0), r, third1));
    store_128(bgr + 32, _mm_blendv_epi8(_mm_blendv_epi8(b, g, third2), r, third0));
}

ORVEK_SSE41 static inline void convert_half(__m128i y, __m128i u, __m128i v, uint8_t* bgr) {
    const __m128i zero = _mm_setzero_si128(), top_bits = _mm_set1_epi8(-128);
    const __m128i u_flipped = _mm_xor_si128(u, top_bits), v_flipped = _mm_xor_si128(v, top_bits);
    const Colours low =
        colours_of(_mm_unpacklo_epi8(y, zero), _mm_unpacklo_epi8(zero, u_flipped), _mm_unpacklo_epi8(zero, v_flipped),
                   _mm_unpacklo_epi8(v, zero), _mm_unpacklo_epi8(u, v));
    const Colours high =
        colours_of(_mm_unpackhi_epi8(y, zero), _mm_unpackhi_epi8(zero, u_flipped), _mm_unpackhi_epi8(zero, v_flipped),
                   _mm_unpackhi_epi8(v, zero), _mm_unpackhi_epi8(u, v));
    store_bgr(_mm_packus_epi16(low.b, high.b), _mm_packus_epi16(low.g, high.g), _mm_packus_epi16(low.r, high.r), bgr);
}

ORVEK_SSE41 static inline void convert_blocks(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan,
                                              int32_t luma_loads, int32_t chroma_loads, uint8_t* bgr) {
    const uint8_t* shuffles = plan.shuffles;
    for (int32_t i = 0; i < plan.block_count; ++i) {
        const ColumnBlock& block = plan.blocks[i];
        fetch_block(ahead, plan, i);
        const uint8_t* chroma_shuffles = shuffles + ptrdiff_t{luma_loads} * 2 * kShuffleBytes;
        for (int32_t half = 0; half < 2; ++half) {
            const ptrdiff_t second = ptrdiff_t{half} * kShuffleBytes;
            convert_half(pick(row.y + block.luma[half], shuffles + second, luma_loads),
                         pick(row.u + block.chroma[half], chroma_shuffles + second, chroma_loads),
                         pick(row.v + block.chroma[half], chroma_shuffles + second, chroma_loads),
                         bgr + (block.x + second) * 3);
        }
        shuffles = chroma_shuffles + ptrdiff_t{chroma_loads} * 2 * kShuffleBytes;
    }
}

// Samples of 16 columns, or of their chroma with a `shift` of one, straight into a register: gathered in memory, they
// would have to wait for their bytes to be written before all are read at once.
ORVEK_SSE41 static inline __m128i pick_each(const uint8_t* source, const uint16_t* column, int32_t shift) {
    const auto at = [=](int32_t i) { return static_cast<char>(source[column[i] >> shift]); };
    return _mm_setr_epi8(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7), at(8), at(9), at(10), at(11), at(12),
                         at(13), at(14), at(15));
}

ORVEK_SSE41 static void convert_narrow(const SourceRow& row, const ColumnPlan& plan, uint8_t* bgr) {
    int32_t done = 0;
    while (plan.width - done > kFewPixels) {
        const int32_t x = std::min(done, plan.width - kHalfPixels);
        const uint16_t* column = plan.column + x;
        convert_half(pick_each(row.y, column, 0), pick_each(row.u, column, 1), pick_each(row.v, column, 1),
                     bgr + ptrdiff_t{x} * 3);
        done = x + kHalfPixels;
    }
    convert_columns_plain(row, plan, done, bgr);
}

ORVEK_SSE41 void convert_row_sse41(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan,
                                   uint8_t* bgr) {
    if (plan.block_count == 0) {
        convert_narrow(row, plan, bgr);
    } else if (plan.luma_loads == 3 && plan.chroma_loads == 2) {
        convert_blocks(row, ahead, plan, 3, 2, bgr);  // the largest panes, with loops unrolled
    } else if (plan.luma_loads == 4 && plan.chroma_loads == 2) {
        convert_blocks(row, ahead, plan, 4, 2, bgr);
    } else {
        convert_blocks(row, ahead, plan, plan.luma_loads, plan.chroma_loads, bgr);
    }
}
