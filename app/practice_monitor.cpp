#include "app/practice_monitor.h"

#include "app/log.h"

namespace {

// The limit that was reached: what the log calls it, how far the run is, where it should end.
struct ReachedLimit {
    const char* name;  // null: none
    int32_t value, limit;
};

}  // namespace

void practice_monitor_start(PracticeMonitor* monitor, int32_t published_count, int64_t serial) {
    *monitor = {};
    monitor->last_published = published_count;
    monitor->last_serial = serial;
}

static void count_movies(PracticeMonitor* monitor, const PracticeInputs& inputs) {
    if (inputs.published_count <= monitor->last_published) return;
    const int64_t published = int64_t{inputs.published_count} - monitor->last_published;
    const int64_t movies = monitor->movies + published;
    monitor->movies = movies < INT32_MAX ? static_cast<int32_t>(movies) : INT32_MAX;
    log_info("CLI practice-test: movie #%d (published_count=%d, +%d since last poll, serial=%lld, frames=%d)",
             monitor->movies, inputs.published_count, static_cast<int32_t>(published),
             static_cast<long long>(inputs.serial), inputs.frames);
    monitor->last_published = inputs.published_count;
    monitor->last_serial = inputs.serial;
}

static ReachedLimit reached_limit(const PracticeMonitor& monitor, const PracticeInputs& inputs) {
    if (monitor.movies >= inputs.max_movies) return {"movie", monitor.movies, inputs.max_movies};
    if (inputs.frames >= inputs.max_frames) return {"frame", inputs.frames, inputs.max_frames};
    return {nullptr, 0, 0};
}

PracticeAnswer practice_monitor_step(PracticeMonitor* monitor, const PracticeInputs& inputs) {
    count_movies(monitor, inputs);
    const ReachedLimit reached = reached_limit(*monitor, inputs);
    if (!reached.name) return PracticeAnswer::keep_running;
    if (!inputs.wait_for_active_motion || !inputs.motion_active) {
        log_info("CLI practice-test: %s limit reached (%d >= %d) — shutting down", reached.name, reached.value,
                 reached.limit);
        return PracticeAnswer::shut_down;
    }
    if (!monitor->waiting) {
        log_info("CLI practice-test: %s limit reached (%d >= %d) — waiting for active motion to complete",
                 reached.name, reached.value, reached.limit);
        monitor->waiting = true;
    }
    return PracticeAnswer::keep_running;
}

bool feed_motion_is_active(uint32_t motion_slow, uint32_t motion_active) {
    return static_cast<int32_t>(motion_slow) > 0 || motion_active != 0;
}

bool any_motion_is_active(const uint32_t motion_slow[3], const uint32_t motion_active[3]) {
    for (int32_t feed = 0; feed < 3; ++feed)
        if (feed_motion_is_active(motion_slow[feed], motion_active[feed])) return true;
    return false;
}
