// What the motion logs mean, said as plainly as possible: the text in a line buffer, searched key by key from its
// start. Slow, and the measure for the fast reader. In a header, since tests and fuzz targets share it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "autosetup/workspace.h"

// The line buffer's contents in turn, each as the text functions see it.
inline std::vector<std::string> plain_log_pieces(std::string_view log, size_t buffer_size) {
    std::string text;
    for (size_t i = 0; i < log.size(); ++i)
        if (log[i] != '\r' || i + 1 == log.size() || log[i + 1] != '\n') text += log[i];
    std::vector<std::string> pieces;
    std::string piece;
    for (size_t i = 0; i < text.size(); ++i) {
        piece += text[i];
        if (piece.size() < buffer_size - 1 && text[i] != '\n' && i + 1 < text.size()) continue;
        if (piece.back() == '\n') piece.pop_back();
        pieces.emplace_back(piece.substr(0, piece.find('\0')));
        piece.clear();
    }
    return pieces;
}
