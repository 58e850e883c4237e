// See jump_machine.h.
#include "rig/jump_machine.h"

#include <algorithm>

#include "ipc/frame_ring.h"

namespace {
constexpr int32_t kShortestJump = 10;    // frames with a jumper in sight
constexpr int32_t kLostFrames = 90;      // so long nowhere in sight: he will not show up any more
constexpr int64_t kMovieFrames = 520;    // the output ring
constexpr int32_t kSettleAfterExit = 5;  // the last camera must have stayed empty that long
static_assert(kMovieFrames == kRingSlots);
}  // namespace

static JumpAnswer finish(JumpMachine* machine, int64_t end) {
    const JumpEvent event = machine->active_frames < kShortestJump ? JumpEvent::abandoned : JumpEvent::finished;
    machine->recording = false;
    return {event, machine->start, end};
}

static JumpAnswer begin(JumpMachine* machine, const JumpLimits& limits, int64_t frame) {
    machine->recording = true;
    machine->seen_last_feed = false;
    machine->active_frames = 1;
    machine->start = std::max<int64_t>(0, frame - limits.frames_before);
    machine->last_active = frame;
    return {JumpEvent::started, machine->start, -1};
}

JumpAnswer jump_step(JumpMachine* machine, const JumpLimits& limits, int64_t frame,
                     const bool (&active)[kFeedCount]) {
    if (frame < machine->next_frame && frame + kMovieFrames > machine->next_frame) return {JumpEvent::none, 0, 0};
    const bool counter_restarted =
        frame < machine->next_frame;  // another source: its frames have nothing to do with ours
    machine->next_frame = frame + 1;
    const bool any = active[0] || active[1] || active[2];
    if (counter_restarted && machine->recording) {
        machine->recording = false;
        return {JumpEvent::abandoned, machine->start, frame};
    }
    machine->waits_for_quiet &= any;
    if (!machine->recording) {
        const bool starts = any && !machine->waits_for_quiet;
        return starts ? begin(machine, limits, frame) : JumpAnswer{JumpEvent::none, 0, 0};
    }

    if (any) {
        machine->last_active = frame;
        ++machine->active_frames;
    }
    machine->seen_last_feed |= active[limits.last_feed];
    const int64_t ring_end = machine->start + kMovieFrames - 1;
    const int64_t end = std::min(machine->last_active + limits.frames_after, ring_end);
    const int64_t quiet = frame - machine->last_active;
    if (frame >= ring_end) {
        machine->waits_for_quiet = any;
        return finish(machine, ring_end);
    }
    if (machine->seen_last_feed && !any && quiet >= kSettleAfterExit) return finish(machine, end);
    if (quiet >= kLostFrames) return finish(machine, end);
    return {JumpEvent::none, 0, 0};
}
