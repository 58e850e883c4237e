// Sixteen bytes at a time. Every x86-64 machine can.
#include "autosetup/byte_scan.h"

#ifdef __x86_64__
#include <emmintrin.h>

#include <bit>
#include <cstring>

static constexpr size_t kWidth = sizeof(__m128i);

static __m128i equal_bytes(const char* bytes, __m128i c) {
    return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), c);
}

static uint32_t bits(__m128i equal) {
    return static_cast<uint32_t>(_mm_movemask_epi8(equal));
}

static size_t find_text(std::string_view text, std::string_view wanted) {
    const size_t pair = wanted.size() - 2;
    const __m128i first = _mm_set1_epi8(wanted[pair]);
    const __m128i second = _mm_set1_epi8(wanted[pair + 1]);
    size_t from = 0;
    for (; from + pair + 1 + kWidth <= text.size(); from += kWidth) {
        const char* const here = text.data() + from;
        uint32_t places = bits(_mm_and_si128(equal_bytes(here + pair, first), equal_bytes(here + pair + 1, second)));
        for (; places != 0; places &= places - 1) {
            const auto place = static_cast<size_t>(std::countr_zero(places));
            if (memcmp(here + place, wanted.data(), wanted.size()) == 0) return from + place;
        }
    }
    return text.find(wanted, from);
}

static size_t find_last_byte(std::string_view text, char c) {
    const __m128i wanted = _mm_set1_epi8(c);
    size_t end = text.size();
    for (; end >= kWidth; end -= kWidth) {
        const uint32_t places = bits(equal_bytes(text.data() + end - kWidth, wanted));
        if (places != 0) return end - kWidth + static_cast<size_t>(std::bit_width(places)) - 1;
    }
    return text.substr(0, end).rfind(c);
}

static uint64_t mark_64(const char* bytes, __m128i c) {
    uint64_t word = 0;
    for (size_t i = 0; i < 64; i += kWidth) word |= uint64_t{bits(equal_bytes(bytes + i, c))} << i;
    return word;
}

static void mark_bytes(std::string_view text, char c, uint64_t* marks) {
    const __m128i wanted = _mm_set1_epi8(c);
    size_t from = 0;
    for (; from + 64 <= text.size(); from += 64) *marks++ = mark_64(text.data() + from, wanted);
    if (from == text.size()) return;
    char rest[64] = {};
    memcpy(rest, text.data() + from, text.size() - from);
    *marks = mark_64(rest, wanted) & ((uint64_t{1} << (text.size() - from)) - 1);
}

const ByteScan kSse2ByteScan = {"SSE2", find_text, find_last_byte, mark_bytes};
#endif
