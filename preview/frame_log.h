// The frame log: what the preview saw at every refresh, as a table that shows after a run whether the feeds advanced
// in step and where frames were lost. Written for whole days of running: it ends itself at a fixed size, and then for
// good, so that a switch forgotten in the settings never fills the disk.
#pragma once

#include <cstdint>
#include <string>

inline constexpr char kFrameLogName[] = "frame_log.csv";
inline constexpr int32_t kFrameLogLimit = 10'485'760;  // bytes of rows

struct FrameLog {
    bool open = false;
    bool stopped = false;       // the limit was reached; never opened again
    int32_t bytes_written = 0;  // of the rows alone, their ends counted as one byte
    int64_t counter_frequency = 0;
    int64_t counter_start = 0;
};

// One refresh, everything 0 that could not be read.
struct FrameLogFeed {
    uint32_t nw = 0;
    uint32_t slot = 0;
    int64_t seq = 0;
    int64_t pts = 0;
};
struct FrameLogValues {
    int32_t channel = 0;
    FrameLogFeed feed[3] = {};
    uint32_t display_type = 0;  // these two of feed 1's frame
    uint32_t motion_flags = 0;
};

// Whether the file is to be opened now. `setting` is debug_frame_log, 0 where there are no settings. Once open it
// stays so, whatever becomes of the setting.
bool frame_log_wants_open(const FrameLog* log, int32_t setting);

// The file was opened at `counter_start`. Returns what goes into it first.
const char* frame_log_opened(FrameLog* log, int64_t counter_frequency, int64_t counter_start);

// Appends this refresh's row to `out`, nothing while the log is not open. The row that reaches the limit is followed
// by a last line, and the log is no longer open: write `out` and close the file.
void frame_log_row(FrameLog* log, int64_t counter_now, const FrameLogValues& values, std::string* out);
