// The motion log's frame line: key=value tokens, one line per frame looked at.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rig/detection.h"

// Writes the line without a newline, terminated, at most `size` bytes. `pts` in microseconds.
void format_motion_line(char* text, size_t size, int32_t feed, int64_t seq, int64_t pts, const Detection& found);
