// Thirty-two bytes at a time, in long stretches a hundred and twenty-eight.
#include "autosetup/byte_scan.h"

#ifdef __x86_64__
#include <immintrin.h>

#include <bit>
#include <cstring>

// For this file's functions only: what the compiler makes of the headers must run everywhere.
#define ORVEK_AVX2 __attribute__((target("avx2")))

static constexpr size_t kWidth = sizeof(__m256i);
static constexpr size_t kStretch = 4 * kWidth;

ORVEK_AVX2 static __m256i equal_bytes(const char* bytes, __m256i c) {
    return _mm256_cmpeq_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)), c);
}

ORVEK_AVX2 static uint32_t bits(__m256i equal) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(equal));
}

ORVEK_AVX2 static __m256i equal_pairs(const char* bytes, __m256i first, __m256i second) {
    return _mm256_and_si256(equal_bytes(bytes, first), equal_bytes(bytes + 1, second));
}

ORVEK_AVX2 static size_t find_text(std::string_view text, std::string_view wanted) {
    const size_t pair = wanted.size() - 2;
    const __m256i first = _mm256_set1_epi8(wanted[pair]);
    const __m256i second = _mm256_set1_epi8(wanted[pair + 1]);
    size_t from = 0;
    while (from + pair + 1 + kWidth <= text.size()) {
        for (; from + pair + 1 + kStretch <= text.size(); from += kStretch) {
            const char* const here = text.data() + from + pair;
            const __m256i front =
                _mm256_or_si256(equal_pairs(here, first, second), equal_pairs(here + kWidth, first, second));
            const __m256i back = _mm256_or_si256(equal_pairs(here + 2 * kWidth, first, second),
                                                 equal_pairs(here + 3 * kWidth, first, second));
            const __m256i any = _mm256_or_si256(front, back);
            if (!_mm256_testz_si256(any, any)) break;
        }
        // Somewhere in this stretch, or the text's last one.
        for (size_t i = 0; i < kStretch && from + pair + 1 + kWidth <= text.size(); i += kWidth, from += kWidth) {
            const char* const here = text.data() + from;
            uint32_t places = bits(equal_pairs(here + pair, first, second));
            for (; places != 0; places &= places - 1) {
                const auto place = static_cast<size_t>(std::countr_zero(places));
                if (memcmp(here + place, wanted.data(), wanted.size()) == 0) return from + place;
            }
        }
    }
    return text.find(wanted, from);
}

ORVEK_AVX2 static size_t find_last_byte(std::string_view text, char c) {
    const __m256i wanted = _mm256_set1_epi8(c);
    size_t end = text.size();
    for (; end >= kWidth; end -= kWidth) {
        const uint32_t places = bits(equal_bytes(text.data() + end - kWidth, wanted));
        if (places != 0) return end - kWidth + static_cast<size_t>(std::bit_width(places)) - 1;
    }
    return text.substr(0, end).rfind(c);
}

ORVEK_AVX2 static uint64_t mark_64(const char* bytes, __m256i c) {
    return bits(equal_bytes(bytes, c)) | uint64_t{bits(equal_bytes(bytes + kWidth, c))} << kWidth;
}

ORVEK_AVX2 static void mark_bytes(std::string_view text, char c, uint64_t* marks) {
    const __m256i wanted = _mm256_set1_epi8(c);
    size_t from = 0;
    for (; from + 64 <= text.size(); from += 64) *marks++ = mark_64(text.data() + from, wanted);
    if (from == text.size()) return;
    char rest[64] = {};
    memcpy(rest, text.data() + from, text.size() - from);
    *marks = mark_64(rest, wanted) & ((uint64_t{1} << (text.size() - from)) - 1);
}

const ByteScan kAvx2ByteScan = {"AVX2", find_text, find_last_byte, mark_bytes};
#endif
