// What the motion workers tell one another and the movie builder, in bytes of the control block that belong to the
// workers: 64 bytes per feed from offset 8192 on. The console neither reads nor writes them; it zeroes them with the
// block when it starts. All fields lie under mutex 9, like motion_active; the feed's motion worker is the only
// writer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/control_block.h"
#include "ipc/shared_access.h"

inline constexpr size_t kMotionShareOffset = 8192;

struct MotionShare {
    uint32_t passages;       //  0  passages begun in this feed, the present one included
    uint32_t active;         //  4  1 while a jumper is in the picture
    int64_t first_seq;       //  8  first frame of the newest passage
    int64_t first_pts;       // 16
    int64_t last_seq;        // 24  newest frame that shows him
    int64_t last_pts;        // 32
    int64_t trigger_pts;     // 40  frame in which he passed the scene-trigger column
    uint32_t triggers;       // 48  how often that has happened; rises with trigger_pts
    int32_t last_x, last_y;  // 52  his place in frame last_seq
    uint32_t reserved_60;
};
static_assert(sizeof(MotionShare) == 64 && offsetof(MotionShare, trigger_pts) == 40);
static_assert(offsetof(ControlBlock, workers_1268) <= kMotionShareOffset);
static_assert(kMotionShareOffset + kFeedCount * sizeof(MotionShare) <= offsetof(ControlBlock, force_frame));

inline MotionShare* motion_share(ControlBlock* control, int32_t feed) {
    auto* base = reinterpret_cast<uint8_t*>(control) + kMotionShareOffset;
    return reinterpret_cast<MotionShare*>(base) + feed;
}

// A copy, field by field. Take mutex 9 around it.
inline MotionShare motion_share_read(ControlBlock* control, int32_t feed) {
    const MotionShare* from = motion_share(control, feed);
    return {shared_load(from->passages),
            shared_load(from->active),
            shared_load(from->first_seq),
            shared_load(from->first_pts),
            shared_load(from->last_seq),
            shared_load(from->last_pts),
            shared_load(from->trigger_pts),
            shared_load(from->triggers),
            shared_load(from->last_x),
            shared_load(from->last_y),
            0};
}

inline void motion_share_write(ControlBlock* control, int32_t feed, const MotionShare& value) {
    MotionShare* to = motion_share(control, feed);
    shared_store(to->first_seq, value.first_seq);
    shared_store(to->first_pts, value.first_pts);
    shared_store(to->last_seq, value.last_seq);
    shared_store(to->last_pts, value.last_pts);
    shared_store(to->trigger_pts, value.trigger_pts);
    shared_store(to->last_x, value.last_x);
    shared_store(to->last_y, value.last_y);
    shared_store(to->triggers, value.triggers);
    shared_store(to->active, value.active);
    shared_store(to->passages, value.passages);
}
