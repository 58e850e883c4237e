// The movie builder's own header at the start of an output region. The viewer reads it; the console does not need it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/frame_ring.h"

struct OutputHeader {
    uint32_t frames;              //   0  length of the movie in this region; 0 = none yet
    uint32_t forced;              //   4  1 when it was asked for
    int64_t serial;               //   8  its number, as in movie_serial
    int64_t first_seq, last_seq;  // 16, 24  of feed 1
    uint8_t reserved_32[2080];
};
static_assert(sizeof(OutputHeader) == kOutputHeaderSize && offsetof(OutputHeader, serial) == 8);
