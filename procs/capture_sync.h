// Keeping the capture and motion children in step with the assigned cameras: decided here from a picture of the
// moment, carried out by the caller action by action.
#pragma once

#include <cstdint>
#include <string>

struct CaptureSyncInputs {
    int32_t feed_count = 3;  // the setting
    bool camera_assigned[3] = {};
    bool capture_running[3] = {};
    bool motion_running[3] = {};
};

enum class SyncStep { spawn_capture = 1, stop_capture, spawn_motion, stop_motion };
enum class SyncReason { camera_assigned = 1, no_camera, feed_inactive };

struct SyncAction {
    SyncStep step;
    SyncReason reason;
    int32_t feed;
};

struct CaptureSyncPlan {
    int32_t count = 0;
    SyncAction action[6] = {};
};

// What to do, in the order to do it: the active feeds first, each capture before its motion, then the others.
CaptureSyncPlan plan_capture_sync(const CaptureSyncInputs& inputs);

// The log line that precedes an action. `device_path` is the feed's camera, used by spawn_capture only.
std::string capture_sync_text(const SyncAction& action, int32_t feed_count, const char* device_path);

// The log line when a practice run keeps the captures away.
inline constexpr char kCaptureSyncSkipped[] = "sync_captures: practice mode active, skipping";
