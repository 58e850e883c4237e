// Rows with AVX2: 32 pixels at a time, a half block in each half of a register.
#include <immintrin.h>

#include "preview/frame_convert_rows.h"

// All the instructions this file may use; the rest of the program is built without them.
#define ORVEK_AVX2 __attribute__((target("avx2")))

namespace {

// Blue, green and red of eight pixels of each half in 16 bits.
struct Colours {
    __m256i b, g, r;
};

}  // namespace

ORVEK_AVX2 static inline __m256i load_halves(const uint8_t* first, const uint8_t* second) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(second));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

ORVEK_AVX2 static inline __m256i load_256(const uint8_t* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

ORVEK_AVX2 static inline __m256i load_twice(const uint8_t* bytes) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

ORVEK_AVX2 static inline void store_256(uint8_t* bytes, __m256i value) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), value);
}

// The samples of a block from `loads` loads per half.
ORVEK_AVX2 static inline __m256i pick(const uint8_t* first, const uint8_t* second, const uint8_t* shuffles,
                                      int32_t loads) {
    __m256i samples = _mm256_shuffle_epi8(load_halves(first, second), load_256(shuffles));
    for (int32_t load = 1; load < loads; ++load) {
        first += kShuffleBytes;
        second += kShuffleBytes;
        shuffles += ptrdiff_t{2} * kShuffleBytes;
        samples = _mm256_or_si256(samples, _mm256_shuffle_epi8(load_halves(first, second), load_256(shuffles)));
    }
    return samples;
}

// From luma, from chroma with its top bit flipped in upper bytes, and from U and V side by side.
ORVEK_AVX2 static inline Colours colours_of(__m256i y, __m256i u_upper, __m256i v_upper, __m256i v, __m256i uv) {
    const __m256i products = _mm256_maddubs_epi16(uv, _mm256_set1_epi16(kGreenFactors));
    const __m256i sum = _mm256_add_epi16(products, _mm256_set1_epi16(kGreenOffset));
    return {_mm256_add_epi16(y, _mm256_mulhi_epi16(u_upper, _mm256_set1_epi16(kBlueFactor))),
            _mm256_add_epi16(_mm256_sub_epi16(y, v), _mm256_srli_epi16(sum, 8)),
            _mm256_add_epi16(y, _mm256_mulhi_epi16(v_upper, _mm256_set1_epi16(kRedFactor)))};
}

// Interleaves the colours (b, g, r) of a block into its 96 bytes.
ORVEK_AVX2 static inline void store_bgr(__m256i b, __m256i g, __m256i r, uint8_t* bgr) {
    b = _mm256_shuffle_epi8(b, load_twice(kSpread[0]));
    g = _mm256_shuffle_epi8(g, load_twice(kSpread[1]));
    r = _mm256_shuffle_epi8(r, load_twice(kSpread[2]));
    const __m256i third0 = load_twice(kThirds[0]), third1 = load_twice(kThirds[1]), third2 = load_twice(kThirds[2]);
    const __m256i part0 = _mm256_blendv_epi8(_mm256_blendv_epi8(b, g, third1), r, third2);
    const __m256i part1 = _mm256_blendv_epi8(_mm256_blendv_epi8(b, g, third0), r, third1);
    const __m256i part2 = _mm256_blendv_epi8(_mm256_blendv_epi8(b, g, third2), r, third0);
    store_256(bgr, _mm256_permute2x128_si256(part0, part1, 0x20));
    store_256(bgr + 32, _mm256_blend_epi32(part2, part0, 0xF0));
    store_256(bgr + 64, _mm256_permute2x128_si256(part1, part2, 0x31));
}

ORVEK_AVX2 static inline void convert_block(__m256i y, __m256i u, __m256i v, uint8_t* bgr) {
    const __m256i zero = _mm256_setzero_si256(), top_bits = _mm256_set1_epi8(-128);
    const __m256i u_flipped = _mm256_xor_si256(u, top_bits), v_flipped = _mm256_xor_si256(v, top_bits);
    const Colours low =
        colours_of(_mm256_unpacklo_epi8(y, zero), _mm256_unpacklo_epi8(zero, u_flipped),
                   _mm256_unpacklo_epi8(zero, v_flipped), _mm256_unpacklo_epi8(v, zero), _mm256_unpacklo_epi8(u, v));
    const Colours high =
        colours_of(_mm256_unpackhi_epi8(y, zero), _mm256_unpackhi_epi8(zero, u_flipped),
                   _mm256_unpackhi_epi8(zero, v_flipped), _mm256_unpackhi_epi8(v, zero), _mm256_unpackhi_epi8(u, v));
    store_bgr(_mm256_packus_epi16(low.b, high.b), _mm256_packus_epi16(low.g, high.g),
              _mm256_packus_epi16(low.r, high.r), bgr);
}

ORVEK_AVX2 static inline void convert_blocks(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan,
                                             int32_t luma_loads, int32_t chroma_loads, uint8_t* bgr) {
    const uint8_t* shuffles = plan.shuffles;
    for (int32_t i = 0; i < plan.block_count; ++i) {
        const ColumnBlock& block = plan.blocks[i];
        fetch_block(ahead, plan, i);
        const uint8_t* chroma_shuffles = shuffles + ptrdiff_t{luma_loads} * 2 * kShuffleBytes;
        convert_block(pick(row.y + block.luma[0], row.y + block.luma[1], shuffles, luma_loads),
                      pick(row.u + block.chroma[0], row.u + block.chroma[1], chroma_shuffles, chroma_loads),
                      pick(row.v + block.chroma[0], row.v + block.chroma[1], chroma_shuffles, chroma_loads),
                      bgr + ptrdiff_t{block.x} * 3);
        shuffles = chroma_shuffles + ptrdiff_t{chroma_loads} * 2 * kShuffleBytes;
    }
}

ORVEK_AVX2 void convert_row_avx2(const SourceRow& row, const SourceRow& ahead, const ColumnPlan& plan, uint8_t* bgr) {
    if (plan.luma_loads == 3 && plan.chroma_loads == 2) {
        convert_blocks(row, ahead, plan, 3, 2, bgr);  // the largest panes, with loops unrolled
    } else if (plan.luma_loads == 4 && plan.chroma_loads == 2) {
        convert_blocks(row, ahead, plan, 4, 2, bgr);
    } else {
        convert_blocks(row, ahead, plan, plan.luma_loads, plan.chroma_loads, bgr);
    }
}
