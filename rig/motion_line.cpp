// See motion_line.h.
#include "rig/motion_line.h"

#include <cinttypes>
#include <cstdio>

void format_motion_line(char* text, size_t size, int32_t feed, int64_t seq, int64_t pts, const Detection& found) {
    const int32_t(&y)[4] = found.y_cumulative;
    const int32_t(&u)[4] = found.u_cumulative;
    const int32_t(&v)[4] = found.v_cumulative;
    snprintf(text, size,
             "feed %" PRId32 " seq=%" PRId64 " ts=%" PRId64 " type=%" PRId32 " blobs=%" PRId32 " blob0_sz=%" PRId32
             " blob0_x=%" PRId32 " blob0_y=%" PRId32 " blob0_first_y=%" PRId32 " blob0_last_y=%" PRId32
             " ycum=%" PRId32 ",%" PRId32 ",%" PRId32 ",%" PRId32 " ucum=%" PRId32 ",%" PRId32 ",%" PRId32 ",%" PRId32
             " vcum=%" PRId32 ",%" PRId32 ",%" PRId32 ",%" PRId32,
             feed, seq, pts, found.type, found.blob_count, found.size, found.x, found.y, found.first_y, found.last_y,
             y[0], y[1], y[2], y[3], u[0], u[1], u[2], u[3], v[0], v[1], v[2], v[3]);
}
