#include <string>
#include <utility>

#include "app/main_window_parts.h"
#include "app/ui_context.h"
#include "ipc/shared_access.h"
#include "procs/live_counters.h"

static FrameRateInputs gather_counters(UiContext* ui, const ControlBlock* control) {
    FrameRateInputs inputs;
    inputs.tick_ms = GetTickCount();
    inputs.feed_count = ui->settings->feed_count;
    inputs.channel = read_live_nw(control, &ui->sync, inputs.nw);
    read_motion_idx(control, &ui->sync, inputs.motion_idx);
    ipc_lock(&ui->sync, kMutexOutputFrame);
    inputs.output_frame_idx = shared_load(control->output_frame_idx);
    ipc_unlock(&ui->sync, kMutexOutputFrame);
    for (int32_t f = 0; f < kFeedCount; ++f) {
        inputs.feed_frame_count[f] = shared_load(control->feed_frame_count[f]);
        inputs.motion_slow[f] = shared_load(control->motion_slow[f]);
    }
    return inputs;
}

void main_window_update_title(UiContext* ui) {
    const ControlBlock* control = ui_control_block(ui);
    if (!control) return;
    std::string title = frame_rate_title_step(&ui->frame_rates, gather_counters(ui, control));
    // The frame is repainted by every rewrite, the same text or not.
    if (title == ui->title) return;
    ui->title = std::move(title);
    SetWindowTextA(ui->window, ui->title.c_str());
}
