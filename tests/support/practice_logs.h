// The logs of a practice run that went well: every camera sees every jumper pass at 48 columns a frame, each from ten
// frames before the camera above loses them, and the cameras' frame numbers differ by known offsets.
#pragma once

#include <cstdint>
#include <string>

#include "settings/settings.h"

inline constexpr int32_t kPracticeFrames = 40;                // that a camera sees a jumper
inline constexpr int32_t kPracticeStart[3] = {0, 30, 60};     // frame of the jump in which a feed sees the first blob
inline constexpr int64_t kPracticeNumbering[3] = {5, 0, -9};  // a feed's frame numbers are ahead of feed 1's by

// Feed `feed`'s log of `jumpers` jumpers.
inline std::string practice_log(int32_t feed, int32_t jumpers) {
    std::string log;
    for (int32_t jumper = 0; jumper < jumpers; ++jumper) {
        for (int32_t i = 0; i < kPracticeFrames; ++i) {
            const int64_t frame = 1000 + 300 * jumper + kPracticeStart[feed] + i;
            log += "feed " + std::to_string(feed) + " seq=" + std::to_string(frame + kPracticeNumbering[feed]) +
                   " ts=" + std::to_string(frame * 16'667) +
                   " type=1 blobs=1 blob0_sz=400 blob0_x=" + std::to_string(48 * i) +
                   " blob0_y=260 blob0_first_y=250 blob0_last_y=270 ycum=1,2,3,30\n";
        }
    }
    return log;
}

// Grid lines with which every camera shows a metre a frame: 60 m where feed 0 sees the first blob.
inline void set_practice_grid(Settings* settings) {
    for (int32_t feed = 0; feed < 3; ++feed) {
        settings->meter_line_count[feed] = 2;
        settings->meter_line_start[feed] = 70 + kPracticeStart[feed];
        settings->meter_line_increment[feed] = 20;
        for (int32_t line = 0; line < 2; ++line) {
            const int32_t x = 480 + 960 * line;
            settings->far_lines[feed][line].x = settings->near_lines[feed][line].x = x;
            settings->far_lines[feed][line].y = 10;
            settings->near_lines[feed][line].y = 500;
        }
    }
}
