// Finds bytes sixteen at a time, which is what makes gigabytes of log short work.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

inline constexpr size_t kScanWidth = 16;

// Bit i is set when bytes[i] is `c`, of the sixteen bytes there.
inline uint32_t equal_bytes(const char* bytes, char c) {
#ifdef __SSE2__
    const __m128i sixteen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(sixteen, _mm_set1_epi8(c))));
#else
    uint32_t places = 0;
    for (size_t i = 0; i < kScanWidth; ++i) places |= static_cast<uint32_t>(bytes[i] == c) << i;
    return places;
#endif
}

// As text.find. Where the wanted text stands, both its first and its last character do, which in a log is rare enough
// to look closer. `wanted` is not empty.
inline size_t find_text(std::string_view text, std::string_view wanted) {
    const size_t last = wanted.size() - 1;
    size_t from = 0;
    for (; from + last + kScanWidth <= text.size(); from += kScanWidth) {
        const char* const here = text.data() + from;
        uint32_t places = equal_bytes(here, wanted.front()) & equal_bytes(here + last, wanted.back());
        for (; places != 0; places &= places - 1) {
            const auto place = static_cast<size_t>(std::countr_zero(places));
            if (memcmp(here + place, wanted.data(), wanted.size()) == 0) return from + place;
        }
    }
    return text.find(wanted, from);
}

// As text.rfind.
inline size_t find_last_byte(std::string_view text, char c) {
    size_t end = text.size();
    for (; end >= kScanWidth; end -= kScanWidth) {
        const uint32_t places = equal_bytes(text.data() + end - kScanWidth, c);
        if (places != 0) return end - 1 - static_cast<size_t>(std::countl_zero(places << 16));
    }
    return text.substr(0, end).rfind(c);
}

// Calls visit(place) for every `c`, in order.
template <class Visit>
inline void for_each_byte(std::string_view text, char c, Visit visit) {
    size_t from = 0;
    for (; from + kScanWidth <= text.size(); from += kScanWidth) {
        for (uint32_t places = equal_bytes(text.data() + from, c); places != 0; places &= places - 1)
            visit(from + static_cast<size_t>(std::countr_zero(places)));
    }
    for (; from < text.size(); ++from)
        if (text[from] == c) visit(from);
}
