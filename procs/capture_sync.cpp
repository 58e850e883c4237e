#include "procs/capture_sync.h"

#include <cstdio>

#include "procs/worker_commands.h"

static void add(CaptureSyncPlan* plan, SyncStep step, SyncReason reason, int32_t feed) {
    plan->action[plan->count++] = {step, reason, feed};
}

static void plan_active_feed(const CaptureSyncInputs& inputs, int32_t feed, CaptureSyncPlan* plan) {
    const bool wanted = inputs.camera_assigned[feed];
    const SyncReason reason = wanted ? SyncReason::camera_assigned : SyncReason::no_camera;
    if (inputs.capture_running[feed] != wanted)
        add(plan, wanted ? SyncStep::spawn_capture : SyncStep::stop_capture, reason, feed);
    if (inputs.motion_running[feed] != wanted)
        add(plan, wanted ? SyncStep::spawn_motion : SyncStep::stop_motion, reason, feed);
}

static void plan_inactive_feed(const CaptureSyncInputs& inputs, int32_t feed, CaptureSyncPlan* plan) {
    if (inputs.capture_running[feed]) add(plan, SyncStep::stop_capture, SyncReason::feed_inactive, feed);
    if (inputs.motion_running[feed]) add(plan, SyncStep::stop_motion, SyncReason::feed_inactive, feed);
}

CaptureSyncPlan plan_capture_sync(const CaptureSyncInputs& inputs) {
    CaptureSyncPlan plan;
    const FeedSlots active = active_feed_slots(inputs.feed_count);
    for (int32_t i = 0; i < active.count; ++i) plan_active_feed(inputs, active.feed[i], &plan);
    for (int32_t feed = 0; feed < 3; ++feed)
        if (!feed_is_active(inputs.feed_count, feed)) plan_inactive_feed(inputs, feed, &plan);
    return plan;
}

std::string capture_sync_text(const SyncAction& action, int32_t feed_count, const char* device_path) {
    char text[400];
    const int32_t feed = action.feed;
    if (action.step == SyncStep::spawn_capture) {
        snprintf(text, sizeof text, "sync_captures: spawning capture[%d] for device %s", feed, device_path);
    } else if (action.step == SyncStep::spawn_motion) {
        snprintf(text, sizeof text, "sync_captures: spawning motion[%d] (follows capture[%d])", feed, feed);
    } else {
        const char* const child = action.step == SyncStep::stop_capture ? "capture" : "motion";
        if (action.reason == SyncReason::feed_inactive) {
            snprintf(text, sizeof text, "sync_captures: stopping %s[%d] (slot inactive at feed_count=%d)", child,
                     feed, feed_count);
        } else {
            snprintf(text, sizeof text, "sync_captures: stopping %s[%d] (no device assigned)", child, feed);
        }
    }
    return text;
}
