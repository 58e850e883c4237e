#include "tools/status_screen.h"

static bool continues_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

static void append_fitted(std::string* out, std::string_view line, int32_t columns) {
    int32_t used = 0;
    for (const char c : line) {
        if (!continues_character(c) && used++ >= columns) return;
        out->push_back(c);
    }
    out->append(static_cast<size_t>(columns - used), ' ');
}

std::string fit_to_screen(std::string_view text, int32_t columns, int32_t rows) {
    std::string out;
    if (columns < 1) return out;
    for (int32_t row = 0; row < rows; ++row) {
        const size_t end = text.find('\n');
        append_fitted(&out, text.substr(0, end), columns);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (row + 1 < rows) out.append("\r\n");
    }
    return out;
}
