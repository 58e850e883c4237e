#include "procs/file_capture_step.h"

CapturePress capture_feeds_press(const FileCapture& state, bool may_ask) {
    if (state.capturing != 0) return CapturePress::stop;
    return may_ask ? CapturePress::ask : CapturePress::nobody_to_ask;
}

void capture_feeds_done(FileCapture* state, CaptureOutcome outcome) {
    if (outcome == CaptureOutcome::started) *state = {1, 0};
    if (outcome == CaptureOutcome::stopped) *state = {};
}

const char* capture_feeds_status(CaptureOutcome outcome) {
    switch (outcome) {
        case CaptureOutcome::cancelled:
            return "Capture Feeds cancelled — no directory selected";
        case CaptureOutcome::launch_failed:
            return "Capture Feeds failed — see controller log";
        case CaptureOutcome::started:
            return "Capturing all 3 feeds — press \"Stop Capturing\" to finish";
        case CaptureOutcome::stopped:
            return "Capture Feeds stopped — files finalized in selected directory";
    }
    return "";
}

PausePress pause_recording_press(FileCapture* state) {
    if (state->capturing == 0) return PausePress::ignored;
    state->paused = state->paused != 0 ? 0 : 1;
    return state->paused != 0 ? PausePress::paused : PausePress::resumed;
}

const char* pause_recording_status(PausePress press) {
    switch (press) {
        case PausePress::paused:
            return "Recording paused — files stay open, click \"Resume Recording\" to continue";
        case PausePress::resumed:
            return "Recording resumed";
        case PausePress::ignored:
            break;
    }
    return nullptr;
}

CaptureButtons capture_buttons(const FileCapture& state) {
    const bool capturing = state.capturing != 0;
    return {capturing ? "Stop Capturing" : "Capture Feeds",
            capturing && state.paused != 0 ? "Resume Recording" : "Pause Recording", capturing};
}
