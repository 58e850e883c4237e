// A second description of the shared layouts: bytes at literal offsets in, named fields out. The offsets here come
// from the interface, not from the structs, so that a field which moves with its assert is still caught.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/jumper_region.h"

// Every byte of the image has a value of its own offset, so that a field read from anywhere else differs.
static uint8_t pattern(size_t offset) {
    return static_cast<uint8_t>(offset * 7 + offset / 256 * 13 + 1);
}

template <class Record>
static std::unique_ptr<Record> patterned() {
    auto record = std::make_unique<Record>();
    auto* const bytes = reinterpret_cast<uint8_t*>(record.get());
    for (size_t i = 0; i < sizeof(Record); ++i) bytes[i] = pattern(i);
    return record;
}

// The little-endian number of `size` bytes that the image holds at `offset`.
static uint64_t expected(size_t offset, size_t size) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) value |= uint64_t{pattern(offset + i)} << (8 * i);
    return value;
}

template <class Field>
static void expect_at(size_t offset, size_t size, Field field, const char* name) {
    ASSERT_EQ(sizeof(Field), size) << name;
    uint64_t got = 0;
    memcpy(&got, &field, sizeof field);
    EXPECT_EQ(got, expected(offset, size)) << name << " at " << offset;
}

TEST(ControlBlockLayout, EverySingleFieldLiesAtItsOffset) {
    ASSERT_EQ(sizeof(ControlBlock), 9776u);
    const auto b = patterned<ControlBlock>();
    expect_at(0, 4, b->size, "size");
    expect_at(8, 4, b->num_feeds, "num_feeds");
    expect_at(12, 4, b->num_channels, "num_channels");
    expect_at(16, 4, b->shutdown, "shutdown");
    expect_at(20, 4, b->paused, "paused");
    expect_at(28, 4, b->ring_slots, "ring_slots");
    expect_at(64, 4, b->output_active, "output_active");
    expect_at(80, 4, b->output_frame_idx, "output_frame_idx");
    expect_at(104, 1, b->channel, "channel");
    expect_at(112, 8, b->force_start_seq, "force_start_seq");
    expect_at(120, 8, b->force_end_seq, "force_end_seq");
    expect_at(128, 8, b->force_result, "force_result");
    expect_at(320, 4, b->movie_published_count, "movie_published_count");
    expect_at(348, 4, b->videogen_state, "videogen_state");
    expect_at(352, 4, b->viewer_state, "viewer_state");
    expect_at(356, 4, b->grid_setup_active, "grid_setup_active");
    expect_at(360, 4, b->grid_feed, "grid_feed");
    expect_at(364, 4, b->grid_line, "grid_line");
    expect_at(368, 4, b->grid_near, "grid_near");
    expect_at(372, 4, b->grid_click_wait, "grid_click_wait");
    expect_at(376, 4, b->grid_click_ready, "grid_click_ready");
    expect_at(380, 4, b->grid_click_x, "grid_click_x");
    expect_at(384, 4, b->grid_click_y, "grid_click_y");
    expect_at(388, 4, b->grid_generation, "grid_generation");
    expect_at(476, 4, b->settings_generation, "settings_generation");
    expect_at(528, 4, b->diag_logging, "diag_logging");
    expect_at(532, 4, b->blob_circles, "blob_circles");
    expect_at(536, 4, b->erase_shadows_on, "erase_shadows_on");
    expect_at(688, 8, b->movie_serial, "movie_serial");
    expect_at(728, 8, b->sync_epoch_us, "sync_epoch_us");
    expect_at(736, 8, b->epoch_reserved, "epoch_reserved");
    expect_at(9760, 4, b->force_frame, "force_frame");
    expect_at(9764, 4, b->force_state, "force_state");
    expect_at(9768, 4, b->force_request, "force_request");
}

TEST(ControlBlockLayout, EveryPerFeedFieldLiesAtItsOffset) {
    const auto b = patterned<ControlBlock>();
    for (size_t f = 0; f < 3; ++f) {
        expect_at(68 + 4 * f, 4, b->force_ack[f], "force_ack");
        expect_at(84 + 4 * f, 4, b->feed_frame_count[f], "feed_frame_count");
        expect_at(324 + 4 * f, 4, b->source_ready[f], "source_ready");
        expect_at(336 + 4 * f, 4, b->motion_ready[f], "motion_ready");
        expect_at(392 + 4 * f, 4, b->motion_idx[f], "motion_idx");
        expect_at(404 + 4 * f, 4, b->feed_sync_offset[f], "feed_sync_offset");
        expect_at(416 + 4 * f, 4, b->motion_slow[f], "motion_slow");
        expect_at(428 + 4 * f, 4, b->motion_active[f], "motion_active");
        expect_at(440 + 4 * f, 4, b->motion_paused[f], "motion_paused");
        expect_at(452 + 4 * f, 4, b->motion_trial_frames[f], "motion_trial_frames");
        expect_at(464 + 4 * f, 4, b->motion_slow_frames[f], "motion_slow_frames");
        expect_at(480 + 4 * f, 4, b->capfile_paused[f], "capfile_paused");
        expect_at(492 + 4 * f, 4, b->capfile_shutdown[f], "capfile_shutdown");
        expect_at(516 + 4 * f, 4, b->feed_offset_live[f], "feed_offset_live");
    }
    for (size_t k = 0; k < 8; ++k) expect_at(696 + 4 * k, 4, b->pid_slot[k], "pid_slot");
}

TEST(ControlBlockLayout, EveryFeedAndChannelHasItsBlockOfFiftySixBytes) {
    const auto b = patterned<ControlBlock>();
    for (size_t f = 0; f < 3; ++f) {
        for (size_t c = 0; c < 3; ++c) {
            const size_t block = 764 + f * 168 + c * 56;
            expect_at(block, 4, b->feed[f][c].nw, "nw");
            const int64_t frame_seq = b->feed[f][c].frame_seq;
            expect_at(block + 20, 8, frame_seq, "frame_seq");
        }
    }
}

TEST(FrameRingLayout, SlotHeadersAndPlanesLieAtTheirOffsets) {
    ASSERT_EQ(sizeof(FrameSlotHeader), 224u);
    const auto h = patterned<FrameSlotHeader>();
    expect_at(0, 8, h->pts, "pts");
    expect_at(8, 8, h->seq, "seq");
    expect_at(36, 4, h->motion_flags, "motion_flags");
    expect_at(44, 4, h->display_type, "display_type");
    EXPECT_EQ(feed_slot_offset(0), 0u);
    EXPECT_EQ(feed_slot_offset(519), 807281664u);
    EXPECT_EQ(feed_slot_offset(520), 0u) << "an impossible slot means slot 0";
    EXPECT_EQ(output_slot_offset(1), 2112u + 3110656u);
    EXPECT_EQ(output_slot_offset(0xFFFFFFFF), 2112u);
    EXPECT_EQ(y_plane_offset(), 224u);
    EXPECT_EQ(u_plane_offset(540), 1037024u);
    EXPECT_EQ(v_plane_offset(540), 1296224u);
    EXPECT_EQ(u_plane_offset(1080), 2073824u);
    EXPECT_EQ(v_plane_offset(1080), 2592224u);
    EXPECT_EQ(kFeedRegionSize, 808837120u);
    EXPECT_EQ(kOutputRegionSize, 1617543232u);
}

TEST(FrameRing, TheNewestCompleteSlotIsTwoBehindTheWriteCounter) {
    const uint32_t cases[][2] = {{0, 518}, {1, 519}, {2, 0}, {3, 1}, {519, 517}, {520, 518}, {521, 519}, {522, 0}};
    for (const auto& c : cases) EXPECT_EQ(newest_slot(c[0]), c[1]) << "nw " << c[0];
}

TEST(FrameRing, RegionNamesCarryFeedAndChannel) {
    char name[32];
    feed_region_name(name, 2, 1);
    EXPECT_EQ(std::string(name), "Local\\SkiJumpFeed_2_1");
    output_region_name(name, 1);
    EXPECT_EQ(std::string(name), "Local\\SkiJumpOutput_1");
}

TEST(JumperRegionLayout, HeaderRecordsAndResultsLieAtTheirOffsets) {
    ASSERT_EQ(sizeof(JumperRegion), 102464u);
    const auto r = patterned<JumperRegion>();
    expect_at(0, 4, r->count, "count");
    expect_at(4, 4, r->round, "round");
    expect_at(8, 4, r->current_bib, "current_bib");
    expect_at(12, 4, r->current_index, "current_index");
    expect_at(24, 4, r->list_loaded, "list_loaded");
    expect_at(28, 4, r->initialised, "initialised");
    for (const size_t i : {0u, 1u, 199u}) {
        const size_t at = 56 + 512 * i;
        const JumperRecord& jumper = r->records[i];
        expect_at(at, 4, jumper.bib, "bib");
        expect_at(at + 4, 1, jumper.name[0], "name");
        expect_at(at + 36, 1, jumper.club[0], "club");
        expect_at(at + 68, 1, jumper.extra[0], "extra");
        for (size_t round = 0; round < 3; ++round) {
            expect_at(at + 84 + 136 * round, 4, jumper.result[round].distance, "distance");
            expect_at(at + 84 + 136 * round + 108, 4, jumper.result[round].valid, "valid");
        }
    }
}
