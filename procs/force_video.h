// Force Video: a movie of what the cameras show right now, without waiting for motion. The console only computes the
// window and posts the request in the control block; the movie builder, started where it is missing, does the rest.
#pragma once

struct UiContext;

// The button and F8.
void force_video(UiContext* ui);

// Timer kTimerForceVideoWait.
void force_video_wait_tick(UiContext* ui);
