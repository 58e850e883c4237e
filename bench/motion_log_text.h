// Motion logs like those of a practice run, for the programs that measure how they are read.
#pragma once

#include <cstdint>
#include <string>

// Writes about `bytes` of feed `feed`'s log into the file at `path`: one line per frame, a jumper every 300 frames,
// who takes `percent` of them from the left edge to the right. False when the file cannot be written.
bool write_motion_log(const std::string& path, int32_t feed, int64_t bytes, int32_t percent);
