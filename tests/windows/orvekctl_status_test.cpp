#include "tools/orvekctl_status.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "ipc/control_block.h"
#include "ipc/frame_ring.h"
#include "ipc/jumper_region.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_region.h"
#include "ipc/sync_set.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"
#include "tools/status_text.h"

namespace {

class OrvekctlStatus : public testing::Test {
protected:
    void TearDown() override {
        shmem_close(&control_);
        shmem_close(&jumpers_);
        ipc_close(&sync_);
    }
    ControlBlock* create_control_block() {
        return shmem_create(kControlBlockName, kControlBlockSize, &control_) == 0
                   ? static_cast<ControlBlock*>(control_.view)
                   : nullptr;
    }

    LogCapture log_;
    SharedRegion control_ = {};
    SharedRegion jumpers_ = {};
    IpcSyncSet sync_ = {};
    StatusSnapshot status_;
};

}  // namespace

TEST_F(OrvekctlStatus, WithoutAControlBlockThereIsNothingToReadAndNothingIsCreated) {
    status_.jumper_count = 5;
    EXPECT_FALSE(status_read(&status_));
    EXPECT_EQ(status_.jumper_count, 5);
    EXPECT_FALSE(ScopedHandle(OpenFileMappingA(FILE_MAP_READ, FALSE, kControlBlockName)).valid());
}

TEST_F(OrvekctlStatus, ReadsTheBlockWholeAndFindsEverythingElseMissing) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    block->channel = 2;
    block->force_end_seq = 0x123456789ABCDEF0;
    block->feed[2][2].frame_seq = 0x0FEDCBA987654321;
    block->force_request = 3;
    log_.take();
    ASSERT_TRUE(status_read(&status_));
    EXPECT_EQ(status_.block.channel, 2);
    EXPECT_EQ(status_.block.force_end_seq, 0x123456789ABCDEF0);
    EXPECT_EQ(int64_t{status_.block.feed[2][2].frame_seq}, 0x0FEDCBA987654321);
    EXPECT_EQ(status_.block.force_request, 3u);
    EXPECT_FALSE(status_.has_jumpers);
    EXPECT_EQ(status_.mutexes, 0u);
    EXPECT_EQ(status_.events, 0u);
    for (const StatusWorker& worker : status_.worker) EXPECT_EQ(worker.presence, WorkerPresence::empty);
    EXPECT_TRUE(log_.take().empty());
}

TEST_F(OrvekctlStatus, KeepsNothingAliveBetweenTwoLooks) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_TRUE(status_read(&status_));
    shmem_close(&control_);
    EXPECT_FALSE(status_read(&status_));
}

TEST_F(OrvekctlStatus, FindsSyncObjectsJumpersAndRings) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_EQ(shmem_create(kJumperRegionName, kJumperRegionSize, &jumpers_), 0);
    static_cast<JumperRegion*>(jumpers_.view)->count = 42;
    ASSERT_EQ(ipc_init(&sync_), 0);
    // Whether a ring exists is a matter of its name: a small region stands for the real one.
    char ring[32];
    feed_region_name(ring, 2, 1);
    const ScopedHandle feed(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, ring));
    output_region_name(ring, 1);
    const ScopedHandle output(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, ring));
    ASSERT_TRUE(feed.valid() && output.valid());
    ASSERT_TRUE(status_read(&status_));
    EXPECT_TRUE(status_.has_jumpers);
    EXPECT_EQ(status_.jumper_count, 42);
    EXPECT_EQ(status_.mutexes, (uint64_t{1} << kSyncObjectCount) - 1);
    EXPECT_EQ(status_.events, (uint64_t{1} << kSyncObjectCount) - 1);
    for (int32_t f = 0; f < kFeedCount; ++f)
        for (int32_t c = 0; c < kChannelCount; ++c) EXPECT_EQ(status_.feed_ring[f][c], f == 2 && c == 1);
    EXPECT_FALSE(status_.output_ring[0]);
    EXPECT_TRUE(status_.output_ring[1]);
}

TEST_F(OrvekctlStatus, ConsumesNoSignalAndTakesNoMutex) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_EQ(ipc_init(&sync_), 0);
    ipc_signal(&sync_, kEventForceRequest);  // auto-reset: a wait would eat it
    ASSERT_TRUE(status_read(&status_));
    EXPECT_EQ(WaitForSingleObject(sync_.event[kEventForceRequest], 0), WAIT_OBJECT_0);
    for (int32_t i = 0; i < kSyncObjectCount; ++i) EXPECT_EQ(ipc_lock(&sync_, i), 0);
    for (int32_t i = 0; i < kSyncObjectCount; ++i) ipc_unlock(&sync_, i);
}

TEST_F(OrvekctlStatus, TellsRunningWorkersByNameFromThoseThatAreGone) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    ChildProcess running("run");
    ChildProcess gone("exit", {"0"});
    ASSERT_TRUE(running.started() && gone.wait_ended());
    block->pid_slot[1] = running.pid();
    block->pid_slot[6] = gone.pid();
    block->pid_slot[7] = kPidSlotEmpty;
    ASSERT_TRUE(status_read(&status_));
    EXPECT_EQ(status_.worker[1].presence, WorkerPresence::running);
    EXPECT_EQ(status_.worker[1].pid, running.pid());
    EXPECT_EQ(status_.worker[1].image, "windows_tests.exe");
    EXPECT_EQ(status_.worker[6].presence, WorkerPresence::gone);
    EXPECT_EQ(status_.worker[6].pid, gone.pid());
    EXPECT_EQ(status_.worker[7].presence, WorkerPresence::empty);
}
