// Waiting, after Launch Practice and Go Live, until every worker has reported that it is ready; only then the viewer
// starts. One step per timer tick, given up after kReadinessTicks of them.
#pragma once

#include <cstdint>
#include <string>

inline constexpr int32_t kReadinessTicks = 20;
inline constexpr uint32_t kReadyFrom = 3;  // a worker counts as ready from this value on

struct ReadinessWait {
    int32_t countdown = 0;
    bool running = false;
};

struct ReadinessInputs {
    bool has_control_block = false;  // without it nothing is ready
    int32_t feed_count = 3;          // the setting: only its active feeds are asked
    uint32_t source_ready[3] = {};
    uint32_t motion_ready[3] = {};
    int32_t videogen_state = 0;
};

// idle: no wait is running (a timer message that was already on its way); do nothing.
enum class ReadinessAnswer { idle = 1, waiting, ready, timed_out };

void readiness_start(ReadinessWait* wait);

// One tick. It counts down before it looks, so that the last tick can still find everything ready. After `ready` and
// `timed_out` the wait is over.
ReadinessAnswer readiness_step(ReadinessWait* wait, const ReadinessInputs& inputs);

bool workers_are_ready(const ReadinessInputs& inputs);

// The status bar's text for an answer; empty for idle.
std::string readiness_status_text(ReadinessAnswer answer, int32_t countdown);

// Writes the log line that goes with an answer; idle and waiting have none. For `ready` call it last, once the viewer
// is launched and playback runs.
void readiness_log(ReadinessAnswer answer);
