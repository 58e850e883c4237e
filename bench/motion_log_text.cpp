#include "bench/motion_log_text.h"

#include <cstdio>
#include <vector>

static constexpr size_t kWriteBuffer = size_t{1} << 20;

// As a motion worker writes it.
static int format_line(char* line, size_t size, int32_t feed, int64_t frame, int32_t percent) {
    const auto number = static_cast<long long>(frame);
    const auto seen = static_cast<int>(frame % 300);
    const bool with_blob = seen < 3 * percent;
    const int head = snprintf(line, size, "feed %d seq=%lld ts=%lld type=%d blobs=%d", static_cast<int>(feed), number,
                              number * 16'667, with_blob ? 1 : 0, with_blob ? 2 : 0);
    const auto used = static_cast<size_t>(head);
    const auto noise = static_cast<int>(frame * 37 % 1920);
    if (!with_blob) {
        return head + snprintf(line + used, size - used, " ydiff=%d udiff=%d vdiff=%d took=%d us ycum=0,0,0,%d\n",
                               noise % 31, noise % 17, noise % 13, 2100 + noise, noise % 90);
    }
    const int column = seen * 1920 / (3 * static_cast<int>(percent));
    return head + snprintf(line + used, size - used,
                           " blob0_sz=%d blob0_x=%d blob0_y=%d blob0_first_y=%d blob0_last_y=%d ycum=1,2,3,%d "
                           "ucum=4,5,6,7 vcum=8,9,10,11\n",
                           400 + noise % 99, column, 260 + noise % 9, 250, 280, noise % 90);
}

bool write_motion_log(const std::string& path, int32_t feed, int64_t bytes, int32_t percent) {
    FILE* file = fopen(path.c_str(), "wb");
    if (!file) return false;
    // In large pieces the system caches it in large pieces, as it does when it has read it from the disk itself.
    std::vector<char> buffer(kWriteBuffer);
    setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    char line[512];
    bool good = true;
    int64_t written = 0;
    for (int64_t frame = 1000; good && written < bytes; ++frame) {
        const int length = format_line(line, sizeof line, feed, frame, percent);
        good = fwrite(line, 1, static_cast<size_t>(length), file) == static_cast<size_t>(length);
        written += length;
    }
    return fclose(file) == 0 && good;
}
