// What the operator's commands do to the children: live and practice, and the ways between them. motion.exe keeps
// running across such a change, so that the detector does not lose what it has learnt; only the frame sources are
// swapped, and a short pause of the detection hides the swap.
#pragma once

#include <cstdint>

struct UiContext;

// Buttons. Every one ends by rebuilding the process list.
void start_all(UiContext* ui);
void stop_all(UiContext* ui);
void go_live(UiContext* ui);
void launch_practice(UiContext* ui);

// One child of a ProcessKind; `feed` counts for kinds that run per feed. A start does not look for a running twin.
void start_worker(UiContext* ui, uint32_t kind, int32_t feed);
void stop_worker(UiContext* ui, uint32_t kind, int32_t feed);

// Starts and stops captures, and with them motion, to match the assigned cameras. Does nothing during practice.
void sync_captures(UiContext* ui);

// Ends the captures of all feeds and leaves motion running.
void stop_all_live_captures(UiContext* ui);

// Pauses motion detection for kMotionPauseMs; afterwards aligns the feeds when asked to.
void motion_pause(UiContext* ui, bool auto_sync_on_resume);

bool is_practice_active(const UiContext* ui);

// A child of a kind that runs once is running.
bool is_kind_running(const UiContext* ui, uint32_t kind);

// Flips a feed's motion switch in the settings; not saved here.
void toggle_feed_motion(UiContext* ui, int32_t feed);

// Tells every worker that waits for something to look at the `shutdown` flag.
void wake_workers_to_shut_down(UiContext* ui);

// Timers kTimerReadinessWait and kTimerMotionResume.
void readiness_tick(UiContext* ui);
void motion_resume_tick(UiContext* ui);
