// Numbers into text as printf writes them, without a format to interpret. Out to a character buffer, filled from the
// left; the answer is where the next character goes.
#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

inline constexpr size_t kIntTextRoom = 12;    // what put_int may touch; "-2147483648" has eleven characters
inline constexpr size_t kFloatTextRoom = 64;  // what put_float may touch; the largest float has 46 characters

inline char* put_text(char* out, std::string_view text) {
    memcpy(out, text.data(), text.size());
    return out + text.size();
}

struct SmallNumberText {
    char digits[3];
    uint8_t length;
};

constexpr std::array<SmallNumberText, 1000> all_small_number_texts() {
    std::array<SmallNumberText, 1000> all{};
    for (uint32_t i = 0; i < all.size(); ++i) {
        SmallNumberText* const text = &all[i];
        if (i >= 100) text->digits[text->length++] = static_cast<char>('0' + i / 100);
        if (i >= 10) text->digits[text->length++] = static_cast<char>('0' + i / 10 % 10);
        text->digits[text->length++] = static_cast<char>('0' + i % 10);
    }
    return all;
}
inline constexpr std::array<SmallNumberText, 1000> kSmallNumberTexts = all_small_number_texts();

// "%d". Nearly all numbers of our files have up to three digits: those come from a table.
inline char* put_int(char* out, int32_t value) {
    *out = '-';
    out += value < 0 ? 1 : 0;
    const uint32_t magnitude = value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    if (magnitude >= kSmallNumberTexts.size()) return std::to_chars(out, out + 10, magnitude).ptr;
    const SmallNumberText& text = kSmallNumberTexts[magnitude];
    memcpy(out, &text, sizeof text);
    return out + text.length;
}

// "%f". A float is an integer below 2^24 over a power of two; a million times that integer fits into 64 bits, so what
// is cut off behind the sixth decimal is known exactly. Large numbers, those that are none, and those exactly in the
// middle between two texts, where the choice is the C library's, are left to printf.
inline char* put_float(char* out, float value) {
    const auto bits = std::bit_cast<uint32_t>(value);
    const uint32_t exponent = bits >> 23 & 0xFF;
    const uint64_t mantissa = (bits & 0x7FFFFF) | (exponent > 0 ? 0x800000 : 0);
    uint32_t shift = 150 - (exponent > 0 ? exponent : 1);  // value = mantissa / 2^shift; wraps for large numbers
    if (shift > 150) shift = 0;
    if (shift > 63) shift = 63;  // far below half of the last decimal as it is
    const uint64_t millionths = mantissa * 1000000;
    uint64_t rounded = millionths >> shift;
    const uint64_t rest = millionths & ((uint64_t{1} << shift) - 1);
    const uint64_t half = (uint64_t{1} << shift) / 2;
    if (rest == half) return out + snprintf(out, kFloatTextRoom, "%f", static_cast<double>(value));
    rounded += rest > half ? 1 : 0;
    if (bits >> 31) *out++ = '-';
    out = put_int(out, static_cast<int32_t>(rounded / 1000000));
    *out++ = '.';
    auto decimals = static_cast<uint32_t>(rounded % 1000000);
    for (int32_t i = 5; i >= 0; --i, decimals /= 10) out[i] = static_cast<char>('0' + decimals % 10);
    return out + 6;
}
