#include "ipc/control_block_reset.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ipc/sync_objects.h"
#include "settings/settings.h"
#include "tests/support/log_capture.h"

namespace {

using Lines = std::vector<std::string>;

class ControlBlockReset : public testing::Test {
protected:
    // A block left over from an earlier run: no byte is zero.
    void SetUp() override {
        memset(static_cast<void*>(block_.get()), 0xA5, sizeof(ControlBlock));
    }

    LogCapture log_;
    std::unique_ptr<ControlBlock> block_ = std::make_unique<ControlBlock>();
    std::unique_ptr<Settings> settings_ = std::make_unique<Settings>();
};

}  // namespace

TEST_F(ControlBlockReset, WithoutSettingsThereAreThreeFeedsAndNothingCopied) {
    control_block_reset_fresh(block_.get(), nullptr, 0, 0);
    auto wanted = std::make_unique<ControlBlock>();  // all zero
    wanted->size = 9776;
    wanted->num_feeds = 3;
    wanted->num_channels = 3;
    wanted->paused = 1;
    wanted->ring_slots = 520;
    wanted->force_frame = -1;
    EXPECT_EQ(memcmp(block_.get(), wanted.get(), sizeof(ControlBlock)), 0) << "a left-over byte survived";
    EXPECT_EQ(log_.lines(),
              (Lines{"INF shm_control: reset to fresh-create state on Orvek startup (paused=1, erase_shadows_on=0, "
                     "feed_sync_offset=[0,0,0] sync_epoch_us=0)"}));
}

TEST_F(ControlBlockReset, SettingsAreCopied) {
    settings_->feed_count = 2;
    settings_->erase_shadows = 1;
    for (int32_t f = 0; f < 3; ++f) {
        settings_->feed_sync_offset[f] = f - 1;
        settings_->overlay_frame_offsets[f] = 100 * f + 5;
    }
    control_block_reset_fresh(block_.get(), settings_.get(), 123456789, 10000000);
    EXPECT_EQ(block_->num_feeds, 2u);
    EXPECT_EQ(block_->erase_shadows_on, 1u);
    for (int32_t f = 0; f < 3; ++f) {
        EXPECT_EQ(block_->feed_sync_offset[f], f - 1);
        EXPECT_EQ(block_->feed_offset_live[f], 100 * f + 5);
    }
    EXPECT_EQ(block_->sync_epoch_us, 12345678);
    EXPECT_EQ(log_.lines(),
              (Lines{"INF shm_control: reset to fresh-create state on Orvek startup (paused=1, erase_shadows_on=1, "
                     "feed_sync_offset=[-1,0,1] sync_epoch_us=12345678)"}));
}

TEST_F(ControlBlockReset, AFeedCountOutsideOneToFourMeansThree) {
    const int32_t cases[][2] = {{-1, 3}, {0, 3}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 3}, {INT32_MAX, 3}};
    for (const auto& c : cases) {
        settings_->feed_count = c[0];
        control_block_reset_fresh(block_.get(), settings_.get(), 0, 0);
        EXPECT_EQ(block_->num_feeds, static_cast<uint32_t>(c[1])) << "feed_count " << c[0];
    }
}

TEST_F(ControlBlockReset, ARunResetLeavesEverythingThatSurvivingWorkersOwn) {
    auto wanted = std::make_unique<ControlBlock>();
    memset(static_cast<void*>(wanted.get()), 0xA5, sizeof(ControlBlock));
    wanted->shutdown = 0;
    wanted->output_active = 0;
    wanted->output_frame_idx = -1;
    for (uint32_t& ack : wanted->force_ack) ack = 0;
    wanted->force_result = 0;
    wanted->force_start_seq = 0;
    wanted->force_end_seq = 0;
    wanted->force_request = 0;
    wanted->force_frame = -1;
    wanted->force_state = 0;
    control_block_reset_run(block_.get());
    EXPECT_EQ(memcmp(block_.get(), wanted.get(), sizeof(ControlBlock)), 0);
    EXPECT_EQ(log_.lines().size(), 1u);
}

TEST(PerformanceCounter, BecomesMicrosecondsTruncatedAndWithoutOverflow) {
    EXPECT_EQ(performance_counter_us(0, 10000000), 0);
    EXPECT_EQ(performance_counter_us(19, 10000000), 1);
    EXPECT_EQ(performance_counter_us(7, 3), 2333333);
    EXPECT_EQ(performance_counter_us(1000, 3579545), 279);
    EXPECT_EQ(performance_counter_us(INT64_MAX, 10000000), 922337203685477580);
    EXPECT_EQ(performance_counter_us(INT64_MAX, INT64_MAX), 1000000);
    EXPECT_EQ(performance_counter_us(5, 0), 0) << "no frequency";
    EXPECT_EQ(performance_counter_us(5, -1), 0);
}

TEST(SyncObjects, ExactlyTheListedEventsAreManualReset) {
    uint64_t mask = 0;
    for (const int32_t index : {1, 6, 7, 8, 14, 18, 24, 25, 26, 35, 36}) mask |= uint64_t{1} << index;
    EXPECT_EQ(mask, 0x18070441C2u);
    for (int32_t index = -2; index <= 66; ++index) {
        const bool manual = index >= 0 && index <= 36 && (mask >> index & 1) != 0;
        EXPECT_EQ(event_is_manual_reset(index), manual) << index;
    }
}

// The numbers are the interface: every program that was built separately uses them.
TEST(SyncObjects, EveryNamedIndexIsTheAgreedOne) {
    EXPECT_EQ(kSyncObjectCount, 37);
    EXPECT_EQ(kLockTimeoutMs, 1000u);
    EXPECT_STREQ(kMutexNamePrefix, "Local\\SkiJumpMutex_");
    EXPECT_STREQ(kEventNamePrefix, "Local\\SkiJumpEvent_");
    EXPECT_EQ(kMutexChannel, 2);
    EXPECT_EQ(kMutexNw, 3);
    EXPECT_EQ(kMutexMotionIdx, 6);
    EXPECT_EQ(kMutexOutput, 9);
    EXPECT_EQ(kMutexForceResult, 11);
    EXPECT_EQ(kMutexForceStart, 12);
    EXPECT_EQ(kMutexForceEnd, 13);
    EXPECT_EQ(kMutexOutputFrame, 15);
    EXPECT_EQ(kMutexJumpers, 19);
    EXPECT_EQ(kMutexGrid, 20);
    EXPECT_EQ(kMutexPidSlot, 27);
    EXPECT_EQ(kEventMotionWake, 6);
    EXPECT_EQ(kEventForceRequest, 13);
    EXPECT_EQ(kEventNewOutput, 14);
    EXPECT_EQ(kEventResume, 18);
    EXPECT_EQ(kEventGridClick, 21);
    EXPECT_EQ(kEventCapfile, 35);
    EXPECT_EQ(kEventNewFrame, 36);
}
