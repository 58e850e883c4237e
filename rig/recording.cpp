#include "rig/recording.h"

#include <algorithm>
#include <cstdio>

static constexpr int64_t kRate = 60;
static constexpr int64_t kMicroseconds = 1'000'000;
static constexpr int64_t kFarAwayUs = int64_t{1} << 50;  // 35 years
static constexpr int32_t kBestQuality = 15;
static constexpr int32_t kWorstQuality = 40;
static constexpr int32_t kUsualQuality = 35;

FramePlacer placer_begin_file() {
    return {0, 0, true};
}

void placer_cut(FramePlacer* placer) {
    placer->follows = true;
}

// Time stamps come from shared memory: any two may lie further apart than a number can tell.
static int64_t minus(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

// The nearest place; time stamps tremble by less than half a picture. Far away is far enough.
static int64_t place_of(const FramePlacer* placer, int64_t pts_us) {
    const int64_t since_zero = std::clamp(minus(pts_us, placer->zero_us), -kFarAwayUs, kFarAwayUs);
    const int64_t doubled = since_zero * kRate * 2 + kMicroseconds;
    const int64_t place = doubled / (2 * kMicroseconds);
    return doubled % (2 * kMicroseconds) < 0 ? place - 1 : place;
}

FramePlace placer_place(FramePlacer* placer, int64_t pts_us) {
    int64_t place = place_of(placer, pts_us);
    const bool other_clock = place < placer->next - kLongestHole || place > placer->next + kLongestHole;
    if (placer->follows || other_clock) {
        placer->zero_us = minus(pts_us, placer->next * kMicroseconds / kRate);
        placer->follows = false;
        place = placer->next;
    }
    if (place < placer->next) return {true, 0};
    const int64_t repeats = place - placer->next;
    placer->next = place + 1;
    return {false, repeats};
}

void plan_observe(RecordingPlan* plan, bool recording, int64_t readable) {
    const bool open = !plan->stretches.empty() && plan->stretches.back().end < 0;
    if (recording && !open) plan->stretches.push_back({readable, -1});
    if (!recording && open) plan->stretches.back().end = std::max(readable, plan->stretches.back().next);
}

PlanStep plan_next(RecordingPlan* plan, int64_t readable, int64_t oldest, int64_t* frame) {
    if (plan->stretches.empty()) return PlanStep::kWait;
    RecordingStretch* stretch = &plan->stretches.front();
    const int64_t end = stretch->end < 0 ? readable : stretch->end;
    const int64_t gone = std::min(oldest, end) - stretch->next;
    if (gone > 0) {
        plan->lost += gone;
        stretch->next += gone;
    }
    if (stretch->next < end) {
        *frame = stretch->next++;
        return PlanStep::kFrame;
    }
    if (stretch->end < 0) return PlanStep::kWait;
    plan->stretches.pop_front();
    return PlanStep::kStretchOver;
}

void plan_forget(RecordingPlan* plan) {
    plan->stretches.clear();
}

RecordingSettings recording_settings_from(const RigSettings* settings) {
    RecordingSettings recording;
    recording.folder = rig_settings_text(settings, "*capfile_output_dir", "");
    while (recording.folder.size() > 3 && (recording.folder.back() == '\\' || recording.folder.back() == '/'))
        recording.folder.pop_back();
    if (recording.folder.empty()) recording.folder = "CapturedVideos";
    recording.quality =
        std::clamp(rig_settings_int(settings, "capfile_quality_cq", kUsualQuality), kBestQuality, kWorstQuality);
    recording.stitch = rig_settings_int(settings, "capfile_stitch_across_pause", 1) != 0;
    return recording;
}

std::string recording_path(const std::string& folder, int32_t feed, const LocalMoment& moment, int32_t attempt,
                           const char* ending) {
    char name[96];
    snprintf(name, sizeof name, "cap_%d_%04d%02d%02d_%02d%02d%02d", feed, moment.year, moment.month, moment.day,
             moment.hour, moment.minute, moment.second);
    std::string path = folder + (folder.back() == '\\' ? "" : "\\") + name;
    if (attempt > 1) path.append("_").append(std::to_string(attempt));
    return path + ending;
}
