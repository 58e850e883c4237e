#include "rig/common/feed_source.h"

#include <algorithm>

int32_t feed_source_open(Worker* worker, int32_t feed, int32_t channel, FeedSource* source) {
    *source = FeedSource{worker, {}, feed, channel, 0};
    char name[32];
    feed_region_name(name, feed, channel);
    if (worker_create_region(worker, name, kFeedRegionSize, &source->region) != 0) return -1;
    source->nw = worker_read_nw(worker, feed, channel);
    return 0;
}

void feed_source_close(FeedSource* source) {
    worker_close_region(&source->region);
}

int32_t feed_source_first_row(const FeedSource* source) {
    const int32_t offset = shared_load(source->worker->control->feed_offset_live[source->feed]);
    return std::clamp(offset, 0, kOutputHeight - kFeedHeight);
}

FeedPlanes feed_source_begin(FeedSource* source, int64_t pts_us, uint32_t display_type) {
    uint8_t* slot = source->region.view + feed_slot_offset(source->nw % kRingSlots);
    auto* header = reinterpret_cast<FrameSlotHeader*>(slot);
    shared_store<uint32_t>(header->motion_flags, 0);
    shared_store(header->display_type, display_type);
    shared_store(header->pts, pts_us);
    shared_store<int64_t>(header->seq, source->nw);
    return FeedPlanes{slot + y_plane_offset(), slot + u_plane_offset(kFeedHeight),
                      slot + v_plane_offset(kFeedHeight)};
}

void feed_source_finish(FeedSource* source) {
    worker_publish_feed_frame(source->worker, source->feed, source->channel, source->nw, source->nw);
    ++source->nw;
}
