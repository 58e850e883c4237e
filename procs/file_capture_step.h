// What the two recording buttons decide and say: Capture Feeds, which begins and ends a recording, and Pause
// Recording. Pausing does not close the files, so that one recording can leave out what nobody wants to see.
#pragma once

#include <cstdint>

struct FileCapture {
    uint32_t capturing = 0;  // since a start that succeeded
    uint32_t paused = 0;     // 0 while not capturing
};

inline constexpr char kCaptureFolderTitle[] =
    "Select directory for captured .mp4 files (cap_0_TS.mp4, cap_1_TS.mp4, cap_2_TS.mp4)";

enum class CapturePress {
    ask = 1,       // for the folder, then start
    stop,          // the recording
    nobody_to_ask  // a start is wanted, but no question can be put now
};

// A press of Capture Feeds. Stopping never asks anything.
CapturePress capture_feeds_press(const FileCapture& state, bool may_ask);

// How a press of Capture Feeds ended.
enum class CaptureOutcome { cancelled = 1, launch_failed, started, stopped };

// The state afterwards: a start that failed or was not wanted leaves it alone.
void capture_feeds_done(FileCapture* state, CaptureOutcome outcome);
const char* capture_feeds_status(CaptureOutcome outcome);

enum class PausePress { ignored = 1, paused, resumed };

// A press of Pause Recording, which flips `state->paused` while capturing.
PausePress pause_recording_press(FileCapture* state);
const char* pause_recording_status(PausePress press);  // null where it stays as it is

// The buttons as they stand in a state.
struct CaptureButtons {
    const char* capture_text;
    const char* pause_text;
    bool pause_usable;
};
CaptureButtons capture_buttons(const FileCapture& state);
