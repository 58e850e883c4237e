// See movie_builder.h.
#include "rig/movie_builder.h"

#include <algorithm>
#include <cstring>

#include "rig/blob_mark.h"

namespace {

constexpr int32_t kFramesPerStep = 6;
constexpr int64_t kSourceDryUs = 3'000'000;
constexpr uint32_t kReadableFrames = 500;  // of the ring: the writer needs some room in front of it
constexpr uint32_t kPairWithFeed2 = 2;
constexpr uint8_t kBlackLuma = 16, kNeutralChroma = 128;

}  // namespace

static void copy_half(uint8_t* output_slot, int32_t half, const FrameSlotHeader* feed_slot, bool circle) {
    constexpr size_t luma = size_t{kFrameWidth} * kFeedHeight;
    constexpr size_t chroma = luma / 4;
    uint8_t* y = output_slot + y_plane_offset() + static_cast<size_t>(half) * luma;
    uint8_t* u = output_slot + u_plane_offset(kOutputHeight) + static_cast<size_t>(half) * chroma;
    uint8_t* v = output_slot + v_plane_offset(kOutputHeight) + static_cast<size_t>(half) * chroma;
    if (feed_slot == nullptr) {
        std::memset(y, kBlackLuma, luma);
        std::memset(u, kNeutralChroma, chroma);
        std::memset(v, kNeutralChroma, chroma);
        return;
    }
    std::memcpy(y, feed_slot_y(feed_slot), luma);
    std::memcpy(u, feed_slot_u(feed_slot), chroma);
    std::memcpy(v, feed_slot_v(feed_slot), chroma);
    const BlobMark* mark = blob_mark(feed_slot);
    if (!circle || shared_load(mark->frame) != static_cast<uint32_t>(shared_load(feed_slot->seq))) return;
    draw_blob_circle(y, kFeedHeight, {shared_load(mark->x), shared_load(mark->y), shared_load(mark->size), 0});
}

// The slot of `feed` that was filled when feed 1's frame `index` was, as far as the ring still has it.
static const FrameSlotHeader* paired_slot(Worker* worker, FeedRing* ring, int64_t index) {
    if (!feed_ring_follow(worker, ring, nullptr)) return nullptr;
    const int64_t written = feed_ring_written(worker, ring);
    if (written < 2) return nullptr;
    const int64_t wanted = index + worker_feed_sync_offset(worker, ring->feed);
    const int64_t oldest = std::max<int64_t>(0, written - kReadableFrames);
    return feed_ring_slot(ring, static_cast<uint32_t>(std::clamp(wanted, oldest, written - 2)));
}

static void copy_frame(MovieBuilder* builder, Worker* worker, FeedRing (&rings)[kFeedCount], uint8_t* output_view) {
    const FrameSlotHeader* reference = feed_ring_slot(&rings[1], static_cast<uint32_t>(builder->next));
    const int32_t partner = shared_load(reference->display_type) == kPairWithFeed2 ? 2 : 0;
    uint8_t* slot = output_view + output_slot_offset(static_cast<uint32_t>(builder->next - builder->start));
    std::memcpy(slot, reference, kSlotHeaderSize);
    const bool circles = shared_load(worker->control->blob_circles) != 0;
    copy_half(slot, 0, reference, circles);
    copy_half(slot, 1, paired_slot(worker, &rings[partner], builder->next), circles);
    builder->last_seq = shared_load(reference->seq);
    if (builder->next == builder->start) builder->first_seq = builder->last_seq;
}

void builder_start(MovieBuilder* builder, Worker* worker, FeedRing (&rings)[kFeedCount], int64_t start, int64_t end,
                   bool forced) {
    const int64_t oldest = int64_t{feed_ring_written(worker, &rings[1])} - kReadableFrames;
    const int64_t from = std::max({start, oldest, int64_t{0}});
    worker_lock(worker, kMutexOutput);
    const uint32_t output = shared_load(worker->control->output_active);
    worker_unlock(worker, kMutexOutput);
    *builder = {true, forced, output == 1 ? 1u : 0u, from, end, from, worker_now_us(), 0, 0};
}

bool builder_step(MovieBuilder* builder, Worker* worker, FeedRing (&rings)[kFeedCount],
                  const WorkerRegion (&outputs)[kOutputRegionCount]) {
    const int64_t written = feed_ring_written(worker, &rings[1]);
    const int64_t last = builder->end >= 0 ? builder->end : builder->start + kRingSlots - 1;
    const int64_t stop = std::min(last, builder->start + kRingSlots - 1);
    for (int32_t i = 0; i < kFramesPerStep && builder->next <= stop && builder->next + 2 <= written; ++i) {
        copy_frame(builder, worker, rings, outputs[builder->output].view);
        ++builder->next;
        builder->last_grow_us = worker_now_us();
    }
    if (builder->next > stop) return builder->end >= 0;
    return builder->end >= 0 && worker_now_us() - builder->last_grow_us > kSourceDryUs;
}

int64_t builder_frames(const MovieBuilder* builder) {
    return builder->next - builder->start;
}
