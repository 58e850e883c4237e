#include "app/capture_schedule.h"

#include <algorithm>

static uint32_t milliseconds(int32_t seconds, int64_t least) {
    return static_cast<uint32_t>(std::clamp<int64_t>(int64_t{seconds} * 1000, least, kLongestTimerMs));
}

uint32_t capture_start_delay_ms(int32_t pause_seconds) {
    return milliseconds(pause_seconds, 100);
}

uint32_t capture_recording_ms(int32_t duration_seconds) {
    return milliseconds(duration_seconds, 1000);
}
