#include "procs/readiness.h"

#include <cstdio>

#include "app/log.h"
#include "procs/worker_commands.h"

void readiness_start(ReadinessWait* wait) {
    *wait = {kReadinessTicks, true};
}

bool workers_are_ready(const ReadinessInputs& inputs) {
    if (!inputs.has_control_block || inputs.videogen_state < static_cast<int32_t>(kReadyFrom)) return false;
    const FeedSlots active = active_feed_slots(inputs.feed_count);
    for (int32_t i = 0; i < active.count; ++i) {
        const int32_t feed = active.feed[i];
        if (inputs.source_ready[feed] < kReadyFrom || inputs.motion_ready[feed] < kReadyFrom) return false;
    }
    return true;
}

ReadinessAnswer readiness_step(ReadinessWait* wait, const ReadinessInputs& inputs) {
    if (!wait->running) return ReadinessAnswer::idle;
    --wait->countdown;
    const bool ready = workers_are_ready(inputs);
    if (!ready && wait->countdown > 0) return ReadinessAnswer::waiting;
    wait->running = false;
    return ready ? ReadinessAnswer::ready : ReadinessAnswer::timed_out;
}

std::string readiness_status_text(ReadinessAnswer answer, int32_t countdown) {
    switch (answer) {
        case ReadinessAnswer::ready:
            return "Practice: all processes running, viewer launched";
        case ReadinessAnswer::timed_out:
            return "Practice: timeout waiting for processes";
        case ReadinessAnswer::waiting:
            break;
        case ReadinessAnswer::idle:
            return {};
    }
    char text[64];
    snprintf(text, sizeof text, "Practice: waiting for processes... (%d)", countdown);
    return text;
}

void readiness_log(ReadinessAnswer answer) {
    if (answer == ReadinessAnswer::ready) log_info("practice: all processes ready, viewer launched, playing");
    if (answer == ReadinessAnswer::timed_out) log_warn("practice: timed out waiting for processes to be ready");
}
