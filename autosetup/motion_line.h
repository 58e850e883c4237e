// One line of a motion log: what it says of the largest blob. The motion workers write their keys in one order with
// plain numbers behind them, and such a line is read in a single walk, end included; any other is read key by key,
// wherever they stand, and where both can read a line they read the same.
#pragma once

#include <cstdint>
#include <string_view>

#include "autosetup/byte_scan.h"
#include "autosetup/log_lines.h"
#include "autosetup/workspace.h"

// Stands in every line that is read here.
inline constexpr std::string_view kBlobMark = "blob0_sz=";
inline constexpr size_t kMotionLineBuffer = 1024;

// The cumulated differences of the Y, U and V planes.
inline constexpr int32_t kPlanes = 3;
inline constexpr int32_t kNoTotal = INT32_MIN;

struct MotionLine {
    MotionBlob blob;  // without its meter
    int32_t feed;
    int32_t totals[kPlanes];  // kNoTotal where the line has none, or fewer than four numbers
};

// Reads a line from its beginning. A NUL must stand somewhere behind it, with kReadableBeyond readable bytes. Returns
// the size of the line with its end, or 0 when it is not written in the workers' way; such a line is always shorter
// than the buffer. *is_blob: whether it is a usable blob of at least `min_size`. Else what *line holds means nothing.
size_t read_usual_line(const char* text, int32_t min_size, bool* is_blob, MotionLine* line);

// Reads any line without its end, at most kMotionLineBuffer characters. Whether it is a usable blob of at least
// `min_size` with all that is needed of one. Else what *line holds means nothing.
bool read_any_line(std::string_view text, int32_t min_size, const ByteScan& scan, MotionLine* line);
