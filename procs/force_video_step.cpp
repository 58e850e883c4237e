#include "procs/force_video_step.h"

#include <algorithm>

#include "procs/readiness.h"

int64_t force_press_seq(bool ring_mapped, int64_t slot_seq, int64_t frame_seq) {
    if (ring_mapped && slot_seq >= 1) return slot_seq;
    return frame_seq >= 1 ? frame_seq - 1 : 0;
}

ForceWindow force_window(int64_t press_seq) {
    // A number that no camera reaches is some worker's mistake; it must not run over.
    const int64_t press = std::min(press_seq, INT64_MAX - kForceFramesForward);
    return {std::max<int64_t>(press - kForceFramesBack, 0), press + kForceFramesForward};
}

bool force_video_ready(const ForceVideoInputs& inputs) {
    return inputs.has_control_block && inputs.videogen_running &&
           inputs.videogen_state >= static_cast<int32_t>(kReadyFrom);
}

ForceVideoPlan force_video_press(ForceVideoWait* wait, const ForceVideoInputs& inputs, ForceWindow window) {
    if (!inputs.has_control_block || !inputs.has_settings) return {ForceVideoAnswer::unavailable, false, false};
    wait->window = window;
    const bool ready = force_video_ready(inputs);
    wait->countdown = ready ? 0 : kForceVideoTicks;
    return {ready ? ForceVideoAnswer::post : ForceVideoAnswer::defer, !inputs.viewer_running,
            !inputs.videogen_running};
}

ForceVideoAnswer force_video_tick(ForceVideoWait* wait, bool ready) {
    if (wait->countdown <= 0) return ForceVideoAnswer::idle;
    --wait->countdown;
    if (ready) {
        wait->countdown = 0;
        return ForceVideoAnswer::post;
    }
    return wait->countdown > 0 ? ForceVideoAnswer::waiting : ForceVideoAnswer::timed_out;
}

const char* force_video_press_text(ForceVideoAnswer answer) {
    switch (answer) {
        case ForceVideoAnswer::unavailable:
            return "Force Video: shared memory or settings not available";
        case ForceVideoAnswer::post:
            return "Force Video: requested 520-frame movie";
        case ForceVideoAnswer::defer:
            return "Force Video: launching videogen — movie will build once ready";
        default:
            return nullptr;
    }
}

const char* force_video_tick_text(ForceVideoAnswer answer) {
    switch (answer) {
        case ForceVideoAnswer::post:
            return "Force Video: videogen ready — requested 520-frame movie";
        case ForceVideoAnswer::timed_out:
            return "Force video: videogen did not start";
        default:
            return nullptr;
    }
}
