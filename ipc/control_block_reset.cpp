#include "ipc/control_block_reset.h"

#include "app/log.h"
#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "settings/settings.h"

static constexpr int32_t kDefaultFeeds = 3;
static constexpr int32_t kMaxFeeds = 4;

// In whole words, so that no reader sees half of a counter gone. The word may alias every field of the block.
static void zero_block(ControlBlock* block) {
    using Word [[gnu::may_alias]] = uint64_t;
    static_assert(sizeof(ControlBlock) % sizeof(Word) == 0);
    static_assert(alignof(ControlBlock) % alignof(Word) == 0);
    Word* const words = reinterpret_cast<Word*>(block);
    for (size_t i = 0; i < sizeof(ControlBlock) / sizeof(Word); ++i) __atomic_store_n(words + i, 0, __ATOMIC_RELAXED);
}

static uint32_t feeds_in_use(const Settings* settings) {
    if (!settings || settings->feed_count < 1 || settings->feed_count > kMaxFeeds) return kDefaultFeeds;
    return static_cast<uint32_t>(settings->feed_count);
}

int64_t performance_counter_us(int64_t counter, int64_t frequency) {
    if (frequency <= 0) return 0;
    // 64 bits would overflow after eleven days of a 10 MHz counter.
    return static_cast<int64_t>(static_cast<__int128>(counter) * 1'000'000 / frequency);
}

void control_block_reset_fresh(ControlBlock* block, const Settings* settings, int64_t counter, int64_t frequency) {
    constexpr uint32_t kPaused = 1;
    const int64_t epoch_us = performance_counter_us(counter, frequency);
    const int32_t erase_shadows = settings ? settings->erase_shadows : 0;
    int32_t sync_offset[kFeedCount] = {};

    zero_block(block);
    shared_store(block->num_feeds, feeds_in_use(settings));
    shared_store(block->num_channels, static_cast<uint32_t>(kChannelCount));
    shared_store(block->ring_slots, kRingSlots);
    shared_store(block->size, kControlBlockSize);
    shared_store(block->paused, kPaused);
    shared_store(block->erase_shadows_on, static_cast<uint32_t>(erase_shadows));
    for (int32_t feed = 0; settings && feed < kFeedCount; ++feed) {
        sync_offset[feed] = settings->feed_sync_offset[feed];
        shared_store(block->feed_sync_offset[feed], sync_offset[feed]);
        shared_store(block->feed_offset_live[feed], settings->overlay_frame_offsets[feed]);
    }
    shared_store(block->sync_epoch_us, epoch_us);
    shared_store(block->epoch_reserved, int64_t{0});
    shared_store(block->force_frame, -1);
    shared_store(block->force_state, 0u);
    log_info(
        "shm_control: reset to fresh-create state on Orvek startup (paused=%d, erase_shadows_on=%d, "
        "feed_sync_offset=[%d,%d,%d] sync_epoch_us=%lld)",
        static_cast<int32_t>(kPaused), erase_shadows, sync_offset[0], sync_offset[1], sync_offset[2],
        static_cast<long long>(epoch_us));
}

void control_block_reset_run(ControlBlock* block) {
    shared_store(block->shutdown, 0u);
    shared_store(block->output_active, 0u);
    shared_store(block->output_frame_idx, -1);
    for (uint32_t& ack : block->force_ack) shared_store(ack, 0u);
    shared_store(block->force_result, int64_t{0});
    shared_store(block->force_start_seq, int64_t{0});
    shared_store(block->force_end_seq, int64_t{0});
    shared_store(block->force_request, 0u);
    shared_store(block->force_frame, -1);
    shared_store(block->force_state, 0u);
    log_info("shm_control: reset for a new run");
}
