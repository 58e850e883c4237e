// What a press of Force Video and the wait for the movie builder decide. The operator wants a movie of what he has
// just seen, so the window is fixed at the moment of the press, in frame numbers: however long the movie builder
// takes to come up, the movie shows that moment.
#pragma once

#include <cstdint>

inline constexpr int64_t kForceFramesBack = 260;
inline constexpr int64_t kForceFramesForward = 259;
inline constexpr int64_t kForceFrames = kForceFramesBack + 1 + kForceFramesForward;  // 520, as long as an output ring
inline constexpr int32_t kForceVideoTicks = 20;

// Frame numbers of feed 1, first and last included.
struct ForceWindow {
    int64_t start, end;
};

struct ForceVideoWait {
    ForceWindow window = {};  // of the newest press that had to wait
    int32_t countdown = 0;    // ticks left; 0: nothing is pending
};

// The frame number of the press: that of the frame on show, or, where there is no ring to read it from or no frame in
// it yet, of the frame before `frame_seq`, feed 1's running count. Never negative.
int64_t force_press_seq(bool ring_mapped, int64_t slot_seq, int64_t frame_seq);

// The window around `press_seq`, which is not negative; within the first frames of a run it is cut short at 0.
ForceWindow force_window(int64_t press_seq);

struct ForceVideoInputs {
    bool has_control_block = false;
    bool has_settings = false;
    bool viewer_running = false;
    bool videogen_running = false;
    int32_t videogen_state = 0;
};

// The movie builder can take a request now.
bool force_video_ready(const ForceVideoInputs& inputs);

enum class ForceVideoAnswer {
    idle = 1,     // a tick that was already on its way when the wait ended: do nothing
    unavailable,  // press: nothing can be done
    post,         // post wait.window now; the wait, if there was one, is over
    defer,        // press: wait.window is pending from now on, ticks are wanted
    waiting,      // tick: not yet
    timed_out     // tick: the request is dropped
};

struct ForceVideoPlan {
    ForceVideoAnswer answer;  // unavailable, post or defer
    bool launch_viewer;       // first
    bool launch_videogen;     // then, its readiness cleared before, since it is its predecessor's
};

// A press. The newest one counts: it takes the place of a request that is still waiting.
ForceVideoPlan force_video_press(ForceVideoWait* wait, const ForceVideoInputs& inputs, ForceWindow window);

// One tick. It counts down before it looks, so that the last tick can still find the movie builder ready.
ForceVideoAnswer force_video_tick(ForceVideoWait* wait, bool ready);

// The status bar's text after a press and after a tick; null where it stays as it is.
const char* force_video_press_text(ForceVideoAnswer answer);
const char* force_video_tick_text(ForceVideoAnswer answer);
