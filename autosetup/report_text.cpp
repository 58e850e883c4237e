#include "autosetup/report_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

void put(std::string* html, const char* format, ...) {
    // The pieces are short; the longest holds a settings key, a few numbers and a reason.
    char piece[2048];
    va_list arguments;
    va_start(arguments, format);
    // The analyzer forgets va_start when it checks several files in one run.
    const int length =
        vsnprintf(piece, sizeof piece, format, arguments);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(arguments);
    if (length > 0) html->append(piece, std::min(static_cast<size_t>(length), sizeof piece - 1));
}

void put_escaped(std::string* html, std::string_view text) {
    for (const char c : text) {
        if (c == '&') {
            *html += "&amp;";
        } else if (c == '<') {
            *html += "&lt;";
        } else if (c == '>') {
            *html += "&gt;";
        } else if (c == '"') {
            *html += "&quot;";
        } else if ((static_cast<uint8_t>(c) < 0x20 && c != '\t' && c != '\n') || c == 0x7F) {
            *html += "\uFFFD";
        } else {
            *html += c;
        }
    }
}
