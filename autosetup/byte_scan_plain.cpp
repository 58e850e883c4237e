#include <algorithm>

#include "autosetup/byte_scan.h"

static size_t find_text(std::string_view text, std::string_view wanted) {
    return text.find(wanted);
}

static size_t find_last_byte(std::string_view text, char c) {
    return text.rfind(c);
}

static void mark_bytes(std::string_view text, char c, uint64_t* marks) {
    std::fill_n(marks, (text.size() + 63) / 64, uint64_t{0});
    for (size_t i = 0; i < text.size(); ++i) marks[i / 64] |= static_cast<uint64_t>(text[i] == c) << i % 64;
}

const ByteScan kPlainByteScan = {"plain", find_text, find_last_byte, mark_bytes};
