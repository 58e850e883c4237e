// The unattended practice test's look at the run, once a second: count the movies that came out, and when a limit is
// reached end the run, on request only once the jumper in flight has landed.
#pragma once

#include <cstdint>

struct PracticeMonitor {
    int32_t last_published = 0;
    int64_t last_serial = 0;
    int32_t movies = 0;
    bool waiting = false;  // a limit is reached, motion is still active, and the log has said so
};

struct PracticeInputs {
    int32_t max_movies = 0, max_frames = 0;
    int32_t published_count = 0;  // movie_published_count
    int64_t serial = 0;           // movie_serial
    int32_t frames = 0;           // feed_frame_count of feed 1
    bool wait_for_active_motion = false;
    bool motion_active = false;  // of any feed
};

enum class PracticeAnswer { keep_running = 1, shut_down };

// The run counts from what is already published now.
void practice_monitor_start(PracticeMonitor* monitor, int32_t published_count, int64_t serial);

// One look; writes its own log lines. After shut_down the caller stops the timer, sets exit code 0 and `shutdown`,
// and closes the main window.
PracticeAnswer practice_monitor_step(PracticeMonitor* monitor, const PracticeInputs& inputs);

// Whether a feed's motion is active, from its entries of the control block. A worker that runs slow may still be busy
// with motion it has not reported yet.
bool feed_motion_is_active(uint32_t motion_slow, uint32_t motion_active);
bool any_motion_is_active(const uint32_t motion_slow[3], const uint32_t motion_active[3]);
