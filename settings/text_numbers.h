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

// "%d": white space, a sign, at least one digit. False leaves *value as it was.
inline bool scan_int(TextCursor* text, int32_t* value) {
    scan_space(text);
    const char* at = text->at;
    const bool negative = at < text->end && *at == '-';
    if (at < text->end && (*at == '-' || *at == '+')) ++at;
    const char* first_digit = at;
    const int64_t limit = negative ? -static_cast<int64_t>(INT32_MIN) : INT32_MAX;
    int64_t magnitude = 0;
    for (; at < text->end && *at >= '0' && *at <= '9'; ++at) {
        magnitude = magnitude * 10 + (*at - '0');
        if (magnitude > limit) magnitude = limit;
    }
    if (at == first_digit) return false;
    text->at = at;
    *value = static_cast<int32_t>(negative ? -magnitude : magnitude);
    return true;
}

// atoi: what follows the number is ignored, no number gives 0.
inline int32_t text_to_int(std::string_view text) {
    TextCursor cursor{text.data(), text.data() + text.size()};
    int32_t value = 0;
    scan_int(&cursor, &value);
    return value;
}

// atof, narrowed to 32 bits. `used`, when given, receives the number of characters that belonged to the number.
inline float text_to_float(std::string_view text, size_t* used = nullptr) {
    const std::string copy(text);
    char* end = nullptr;
    const double value = strtod(copy.c_str(), &end);
    if (used) *used = static_cast<size_t>(end - copy.c_str());
    return static_cast<float>(value);
}
