#include "autosetup/report_text.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

void put(std::string* html, const char* format, ...) {
    char piece[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(piece, sizeof piece, format, arguments);
    va_end(arguments);
    if (length < 0) return;
    const auto size = static_cast<size_t>(length);
    if (size < sizeof piece) {
        html->append(piece, size);
        return;
    }
    const size_t end = html->size();
    html->resize(end + size + 1);
    va_start(arguments, format);
    vsnprintf(html->data() + end, size + 1, format, arguments);
    va_end(arguments);
    html->pop_back();
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
