// Numbers out of text the way the C library's atoi, atof and scanf see them, because the files were always read that
// way, but over a view that need not end in a NUL, without a format to interpret and with a defined answer for
// numbers that are too large: the nearest one that fits.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

struct TextCursor {
    const char* at;
    const char* end;
};

inline bool text_is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// A blank in a scanf pattern: any run of white space, also none.
inline void scan_space(TextCursor* text) {
    while (text->at < text->end && text_is_space(*text->at)) ++text->at;
}

// Literal characters of a scanf pattern. False leaves the cursor where it was.
inline bool scan_literal(TextCursor* text, std::string_view literal) {
    if (static_cast<size_t>(text->end - text->at) < literal.size()) return false;
    if (memcmp(text->at, literal.data(), literal.size()) != 0) return false;
    text->at += literal.size();
    return true;
}

// Whether all but the last eighteen digits are zeros.
inline bool long_number_is_small(const char* first_digit, const char* end) {
    for (; end - first_digit > 18; ++first_digit)
        if (*first_digit != '0') return false;
    return true;
}

// "%d": white space, a sign, at least one digit. False leaves *value as it was.
inline bool scan_int(TextCursor* text, int32_t* value) {
    scan_space(text);
    const char* at = text->at;
    const bool negative = at < text->end && *at == '-';
    if (at < text->end && (*at == '-' || *at == '+')) ++at;
    const char* first_digit = at;
    uint64_t magnitude = 0;
    for (; at < text->end && static_cast<uint8_t>(*at - '0') <= 9; ++at)
        magnitude = magnitude * 10 + static_cast<uint8_t>(*at - '0');
    if (at == first_digit) return false;
    // Up to eighteen digits cannot have wrapped; a longer number is too large, unless it is made of leading zeros.
    const uint64_t limit = negative ? uint64_t{1} << 31 : INT32_MAX;
    if (at - first_digit > 18) magnitude = long_number_is_small(first_digit, at) ? magnitude : limit;
    if (magnitude > limit) magnitude = limit;
    text->at = at;
    *value = static_cast<int32_t>(negative ? -static_cast<int64_t>(magnitude) : static_cast<int64_t>(magnitude));
    return true;
}

// The same for a 64-bit number, as "%lld".
inline bool scan_int64(TextCursor* text, int64_t* value) {
    scan_space(text);
    const char* at = text->at;
    const bool negative = at < text->end && *at == '-';
    if (at < text->end && (*at == '-' || *at == '+')) ++at;
    const char* const first_digit = at;
    const uint64_t limit = negative ? uint64_t{1} << 63 : INT64_MAX;
    uint64_t magnitude = 0;
    for (; at < text->end && static_cast<uint8_t>(*at - '0') <= 9; ++at) {
        const auto digit = static_cast<uint8_t>(*at - '0');
        if (at - first_digit < 18) {  // cannot be too large yet
            magnitude = magnitude * 10 + digit;
        } else {
            magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
        }
    }
    if (at == first_digit) return false;
    text->at = at;
    *value = static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
    return true;
}

// atoi: what follows the number is ignored, no number gives 0.
inline int32_t text_to_int(std::string_view text) {
    TextCursor cursor{text.data(), text.data() + text.size()};
    int32_t value = 0;
    scan_int(&cursor, &value);
    return value;
}

inline int64_t text_to_int64(std::string_view text) {
    TextCursor cursor{text.data(), text.data() + text.size()};
    int64_t value = 0;
    scan_int64(&cursor, &value);
    return value;
}

// Whether the whole text is one number, with white space before it at most, that fits as it is written.
inline bool text_is_int(std::string_view text) {
    TextCursor cursor{text.data(), text.data() + text.size()};
    int32_t value = 0;
    if (!scan_int(&cursor, &value) || cursor.at != cursor.end) return false;
    if (value != INT32_MAX && value != INT32_MIN) return true;
    // A limit is also what too large a number becomes.
    return text.substr(text.find_first_of("123456789")) == (value == INT32_MAX ? "2147483647" : "2147483648");
}

// atof, narrowed to 32 bits. `used`, when given, receives the number of characters that belonged to the number.
inline float text_to_float(std::string_view text, size_t* used = nullptr) {
    const std::string copy(text);
    char* end = nullptr;
    const double value = strtod(copy.c_str(), &end);
    if (used) *used = static_cast<size_t>(end - copy.c_str());
    return static_cast<float>(value);
}
