#include "procs/force_video.h"

#include "app/log.h"
#include "app/timers.h"
#include "app/ui_context.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "procs/feed_orchestration.h"
#include "procs/force_video_step.h"
#include "procs/live_counters.h"

static constexpr int32_t kReferenceFeed = 1;

namespace {

struct PressMoment {
    uint32_t slot;
    int64_t seq;
};

}  // namespace

static ForceVideoInputs gather_inputs(UiContext* ui) {
    const ControlBlock* control = ui_control_block(ui);
    ForceVideoInputs inputs;
    inputs.has_control_block = control != nullptr;
    inputs.has_settings = ui->settings != nullptr;
    inputs.viewer_running = is_kind_running(ui, kKindViewer);
    inputs.videogen_running = is_kind_running(ui, kKindVideogen);
    if (control) inputs.videogen_state = shared_load(control->videogen_state);
    return inputs;
}

// Which frame the operator has before his eyes.
static PressMoment read_press_moment(UiContext* ui, const ControlBlock* control) {
    const int32_t channel = read_live_channel(control, &ui->sync);
    const FeedChannelBlock& block = control->feed[kReferenceFeed][channel];
    ipc_lock(&ui->sync, kMutexNw + kReferenceFeed);
    const uint32_t slot = newest_slot(shared_load(block.nw));
    ipc_unlock(&ui->sync, kMutexNw + kReferenceFeed);

    const auto* ring = static_cast<const uint8_t*>(ui->preview.channel[kReferenceFeed][channel].view);
    int64_t slot_seq = 0;
    if (ring) slot_seq = shared_load(reinterpret_cast<const FrameSlotHeader*>(ring + feed_slot_offset(slot))->seq);
    return {slot, force_press_seq(ring != nullptr, slot_seq, shared_load<int64_t>(block.frame_seq))};
}

template <class T>
static void locked_store(UiContext* ui, int32_t mutex, T& field, T value) {
    ipc_lock(&ui->sync, mutex);
    shared_store(field, value);
    ipc_unlock(&ui->sync, mutex);
}

// The flag comes last: whoever sees it finds the window complete.
static void post_request(UiContext* ui, ForceWindow window) {
    ControlBlock* control = ui_control_block(ui);
    if (!control) return;
    const int32_t channel = read_live_channel(control, &ui->sync);
    locked_store(ui, kMutexOutput, control->force_ack[channel], 0u);
    locked_store(ui, kMutexForceResult, control->force_result, int64_t{-1});
    locked_store(ui, kMutexForceStart, control->force_start_seq, window.start);
    locked_store(ui, kMutexForceEnd, control->force_end_seq, window.end);
    shared_store(control->force_request, 1u);
    ipc_signal(&ui->sync, kEventForceRequest);
}

static void launch_videogen(UiContext* ui, ControlBlock* control) {
    shared_store(control->videogen_state, int32_t{0});
    start_worker(ui, kKindVideogen, -1);
    log_info("force video: videogen was not running — launched it; force request deferred until ready");
}

void force_video(UiContext* ui) {
    const ForceVideoInputs inputs = gather_inputs(ui);
    ControlBlock* control = ui_control_block(ui);
    const PressMoment press = control ? read_press_moment(ui, control) : PressMoment{};
    const ForceWindow window = force_window(press.seq);
    const ForceVideoPlan plan = force_video_press(&ui->force_video, inputs, window);
    if (plan.answer == ForceVideoAnswer::unavailable) {
        ui_set_status(ui, force_video_press_text(plan.answer));
        log_error("force video: shared memory or settings not available");
        return;
    }
    log_info("force video: frame=%d press_seq=%lld window start_seq=%lld end_seq=%lld (back=%d fwd=%d total=%d)",
             static_cast<int>(press.slot), static_cast<long long>(press.seq), static_cast<long long>(window.start),
             static_cast<long long>(window.end), static_cast<int>(kForceFramesBack),
             static_cast<int>(kForceFramesForward), static_cast<int>(kForceFrames));
    if (plan.launch_viewer) {
        start_worker(ui, kKindViewer, -1);
        log_info("force video: viewer was not running — launched it");
    }
    if (plan.answer == ForceVideoAnswer::post) {
        KillTimer(ui->window, kTimerForceVideoWait);
        post_request(ui, window);
    } else {
        if (plan.launch_videogen) launch_videogen(ui, control);
        SetTimer(ui->window, kTimerForceVideoWait, kForceVideoTickMs, nullptr);
    }
    ui_set_status(ui, force_video_press_text(plan.answer));
}

void force_video_wait_tick(UiContext* ui) {
    const ForceVideoAnswer answer = force_video_tick(&ui->force_video, force_video_ready(gather_inputs(ui)));
    if (answer == ForceVideoAnswer::waiting) return;
    KillTimer(ui->window, kTimerForceVideoWait);
    if (answer == ForceVideoAnswer::idle) return;
    const ForceWindow window = ui->force_video.window;
    if (answer == ForceVideoAnswer::post) post_request(ui, window);
    ui_set_status(ui, force_video_tick_text(answer));
    if (answer == ForceVideoAnswer::post) {
        log_info("force video: deferred request fired (videogen ready) start_seq=%lld end_seq=%lld",
                 static_cast<long long>(window.start), static_cast<long long>(window.end));
    } else {
        log_warn("force video: timed out waiting for videogen readiness — pending request cleared");
    }
}
