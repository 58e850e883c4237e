#include "tools/orvekctl_status.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "ipc/control_block.h"
#include "ipc/control_block_reset.h"
#include "ipc/frame_ring.h"
#include "ipc/jumper_region.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_region.h"
#include "ipc/sync_set.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"
#include "tests/support/orvekctl_run.h"
#include "tools/nt_query.h"
#include "tools/orvekctl.h"
#include "tools/status_text.h"

namespace {

constexpr int32_t kHeldMutex = 9;
constexpr int32_t kAbandonedMutex = 12;

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

    // Only a name and a size: nobody touches a page of it unless a test does.
    static ScopedHandle create_region(int32_t region, uint64_t size) {
        char name[32];
        region_name(name, region);
        return ScopedHandle(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                               static_cast<DWORD>(size >> 32), static_cast<DWORD>(size), name));
    }
    static int64_t now_us() {
        LARGE_INTEGER counter = {};
        LARGE_INTEGER frequency = {};
        QueryPerformanceCounter(&counter);
        QueryPerformanceFrequency(&frequency);
        return performance_counter_us(counter.QuadPart, frequency.QuadPart);
    }

    LogCapture log_;
    SharedRegion control_ = {};
    SharedRegion jumpers_ = {};
    IpcSyncSet sync_ = {};
    StatusWatch watch_;
    StatusSnapshot status_;
};

}  // namespace

TEST_F(OrvekctlStatus, WithoutAControlBlockThereIsNothingToReadAndNothingIsCreated) {
    status_.jumper_count = 5;
    EXPECT_FALSE(status_read(&watch_, &status_));
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
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_EQ(status_.block.channel, 2);
    EXPECT_EQ(status_.block.force_end_seq, 0x123456789ABCDEF0);
    EXPECT_EQ(int64_t{status_.block.feed[2][2].frame_seq}, 0x0FEDCBA987654321);
    EXPECT_EQ(status_.block.force_request, 3u);
    EXPECT_FALSE(status_.has_jumpers);
    for (const MutexState state : status_.mutex) EXPECT_EQ(state, MutexState::missing);
    for (const EventState state : status_.event) EXPECT_EQ(state, EventState::missing);
    for (int32_t i = 1; i < kRegionCount; ++i) EXPECT_FALSE(status_.region[i].present) << i;
    for (const StatusWorker& worker : status_.worker) EXPECT_EQ(worker.presence, WorkerPresence::empty);
    EXPECT_TRUE(log_.take().empty());
}

TEST_F(OrvekctlStatus, KeepsNothingAliveBetweenTwoLooks) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_TRUE(status_read(&watch_, &status_));
    shmem_close(&control_);
    EXPECT_FALSE(status_read(&watch_, &status_));
}

TEST_F(OrvekctlStatus, FindsSyncObjectsJumpersAndRings) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_EQ(shmem_create(kJumperRegionName, kJumperRegionSize, &jumpers_), 0);
    static_cast<JumperRegion*>(jumpers_.view)->count = 42;
    ASSERT_EQ(ipc_init(&sync_), 0);
    const ScopedHandle feed = create_region(feed_region_number(2, 1), 4096);
    const ScopedHandle output = create_region(kRegionOutputs + 1, kOutputRegionSize);
    ASSERT_TRUE(feed.valid() && output.valid());
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_TRUE(status_.has_jumpers);
    EXPECT_EQ(status_.jumper_count, 42);
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        EXPECT_EQ(status_.mutex[i], MutexState::free) << i;
        EXPECT_EQ(status_.event[i], EventState::clear) << i;
    }
    EXPECT_EQ(status_.odd_events, 0u);
    for (int32_t i = 0; i < kRegionCount; ++i) {
        const bool wanted =
            i == kRegionControl || i == kRegionJumpers || i == feed_region_number(2, 1) || i == kRegionOutputs + 1;
        EXPECT_EQ(status_.region[i].present, wanted) << i;
        EXPECT_EQ(status_.region[i].size_known, wanted) << i;
        if (wanted) {
            EXPECT_EQ(region_size_fits(status_.region[i].size, region_expected_size(i)),
                      i != feed_region_number(2, 1))
                << i << ": " << status_.region[i].size;
        }
    }
}

TEST_F(OrvekctlStatus, ARingThatIsTooSmallIsReportedAndNotRead) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    const ScopedHandle feed = create_region(feed_region_number(0, 0), kFeedSlotStride);
    const ScopedHandle output = create_region(kRegionOutputs + 1, kOutputHeaderSize);
    ASSERT_TRUE(feed.valid() && output.valid());
    block->feed[0][0].nw = 400;
    block->output_frame_idx = 519;
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_FALSE(status_.feed_ring[0][0].has_newest);
    EXPECT_FALSE(status_.output_ring[1].has_newest);
}

TEST_F(OrvekctlStatus, ReadsRateAndAgeFromTheSlotsOfAFeedsRing) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    const ScopedHandle mapping = create_region(feed_region_number(1, 2), kFeedRegionSize);
    ASSERT_TRUE(mapping.valid());
    void* const view = MapViewOfFile(mapping.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0);
    ASSERT_NE(view, nullptr);
    const ScopedView owner(view);
    block->sync_epoch_us = now_us() - 100'000'000;
    // 600 frames of 40 per second, the newest complete one 90 s after the epoch; the one in the making is nonsense.
    const auto write_frames = [&](int64_t first, int64_t end) {
        for (int64_t i = first; i < end; ++i) {
            auto* const slot = reinterpret_cast<FrameSlotHeader*>(
                static_cast<uint8_t*>(view) + feed_slot_offset(static_cast<uint32_t>(i % kRingSlots)));
            slot->pts = i + 1 == end ? -77 : 90'000'000 + (i - 598) * 25'000;
            slot->seq = 7000 + i;
        }
        block->feed[1][2].nw = static_cast<uint32_t>(end);
    };
    write_frames(0, 600);
    ASSERT_TRUE(status_read(&watch_, &status_));
    const StatusRing& ring = status_.feed_ring[1][2];
    ASSERT_TRUE(ring.has_newest && ring.has_age && ring.stamp_rate.known);
    EXPECT_EQ(ring.newest_seq, 7598);
    EXPECT_GE(ring.newest_age_us, 10'000'000);
    EXPECT_LT(ring.newest_age_us, 40'000'000);
    EXPECT_DOUBLE_EQ(ring.stamp_rate.mean, 40.0);
    EXPECT_DOUBLE_EQ(ring.stamp_rate.minimum, 40.0);
    EXPECT_FALSE(ring.stamp_rate.has_now);  // ten seconds old
    EXPECT_FALSE(ring.clock_rate.known);
    EXPECT_EQ(ring.interruptions, 0);
    EXPECT_EQ(watch_.feed_ring[1][2].frames, kReadableFrames - 1);
    write_frames(599, 640);
    Sleep(600);
    ASSERT_TRUE(status_read(&watch_, &status_));
    const RingRate& clock = status_.feed_ring[1][2].clock_rate;
    ASSERT_TRUE(clock.known && clock.has_now);
    EXPECT_GT(clock.now, 0.0);
    EXPECT_LE(clock.now, 40 / 0.6);
    EXPECT_EQ(status_.feed_ring[1][2].newest_seq, 7638);
    EXPECT_EQ(watch_.feed_ring[1][2].frames, kReadableFrames - 1 + 40);
    EXPECT_EQ(status_.feed_ring[1][2].lost, 0);
    EXPECT_FALSE(status_.feed_ring[0][0].has_newest);
}

TEST_F(OrvekctlStatus, ARingMadeAnewUnderAnOldCounterHasNoFramesYet) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    const ScopedHandle feed = create_region(feed_region_number(0, 0), kFeedRegionSize);
    ASSERT_TRUE(feed.valid());
    block->feed[0][0].nw = 1000;
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_FALSE(status_.feed_ring[0][0].has_newest);
    EXPECT_FALSE(status_.feed_ring[0][0].stamp_rate.known);
}

TEST_F(OrvekctlStatus, TellsTheFrameTheOutputShowsAndItsAge) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    const ScopedHandle mapping = create_region(kRegionOutputs, kOutputRegionSize);
    ASSERT_TRUE(mapping.valid());
    void* const view = MapViewOfFile(mapping.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0);
    ASSERT_NE(view, nullptr);
    const ScopedView owner(view);
    auto* const slot = reinterpret_cast<FrameSlotHeader*>(static_cast<uint8_t*>(view) + output_slot_offset(519));
    slot->pts = 3'000'000;
    slot->seq = 4321;
    block->sync_epoch_us = now_us() - 5'000'000;
    block->output_active = 1;
    block->output_frame_idx = 519;
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_EQ(status_.output_ring[0].newest_seq, 4321);
    ASSERT_TRUE(status_.output_ring[0].has_age);
    EXPECT_GE(status_.output_ring[0].newest_age_us, 2'000'000);
    EXPECT_LT(status_.output_ring[0].newest_age_us, 32'000'000);
    EXPECT_FALSE(status_.output_ring[1].has_newest);
    block->output_frame_idx = -1;
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_FALSE(status_.output_ring[0].has_newest);
}

// Its end leaves both behind.
static int hold_two_mutexes(int, char**) {
    IpcSyncSet sync = {};
    if (ipc_init(&sync) != 0) return 1;
    if (ipc_lock(&sync, kHeldMutex) != 0 || ipc_lock(&sync, kAbandonedMutex) != 0) return 2;
    child_announce_ready();
    return child_run_until_ended();
}
static const RegisterChildRole kHoldTwoMutexes("status holds two", hold_two_mutexes);

TEST_F(OrvekctlStatus, TellsHeldFromAbandonedMutexesAndLeavesTheMarkForTheirUsers) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_EQ(ipc_init(&sync_), 0);
    {
        ChildProcess holder("status holds two");
        ASSERT_TRUE(holder.wait_ready());
        for (int32_t look = 1; look <= 3; ++look) {
            ASSERT_TRUE(status_read(&watch_, &status_));
            EXPECT_EQ(status_.mutex[kHeldMutex], MutexState::held);
            EXPECT_EQ(status_.mutex[kAbandonedMutex], MutexState::held);
            EXPECT_EQ(status_.mutex_held_looks[kHeldMutex], look);
            EXPECT_EQ(status_.mutex[kHeldMutex + 1], MutexState::free);
            EXPECT_EQ(status_.mutex_held_looks[kHeldMutex + 1], 0);
        }
    }
    for (int32_t look = 1; look <= 3; ++look) {
        ASSERT_TRUE(status_read(&watch_, &status_));
        EXPECT_EQ(status_.mutex[kHeldMutex], MutexState::abandoned);
        EXPECT_EQ(status_.mutex[kAbandonedMutex], MutexState::abandoned);
        EXPECT_EQ(status_.mutex_held_looks[kHeldMutex], 0);
    }
    EXPECT_EQ(WaitForSingleObject(sync_.mutex[kAbandonedMutex], 0), DWORD{WAIT_ABANDONED});
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_EQ(status_.mutex[kAbandonedMutex], MutexState::held);
    ipc_unlock(&sync_, kAbandonedMutex);
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_EQ(status_.mutex[kAbandonedMutex], MutexState::free);
}

TEST_F(OrvekctlStatus, TellsSignalledEventsAndThoseOfTheWrongKind) {
    ASSERT_NE(create_control_block(), nullptr);
    // Event 14 should be manual-reset and 13 should not: somebody was there first with a table of his own.
    const ScopedHandle odd14(CreateEventA(nullptr, FALSE, FALSE, (kEventNamePrefix + std::string("14")).c_str()));
    const ScopedHandle odd13(CreateEventA(nullptr, TRUE, TRUE, (kEventNamePrefix + std::string("13")).c_str()));
    ASSERT_EQ(ipc_init(&sync_), 0);
    ipc_signal(&sync_, kEventResume);
    ipc_signal(&sync_, kEventGridClick);
    for (int32_t look = 1; look <= 2; ++look) {
        ASSERT_TRUE(status_read(&watch_, &status_));
        for (int32_t i = 0; i < kSyncObjectCount; ++i) {
            const bool raised = i == 13 || i == kEventResume || i == kEventGridClick;
            EXPECT_EQ(status_.event[i], raised ? EventState::signalled : EventState::clear) << i;
        }
        EXPECT_EQ(status_.odd_events, uint64_t{1} << 13 | uint64_t{1} << 14);
    }
}

TEST_F(OrvekctlStatus, CreatesNothingByLooking) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_TRUE(status_read(&watch_, &status_));
    ASSERT_TRUE(status_read(&watch_, &status_));
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        EXPECT_EQ(query_mutex((kMutexNamePrefix + std::to_string(i)).c_str()), MutexState::missing) << i;
        bool manual_reset = false;
        EXPECT_EQ(query_event((kEventNamePrefix + std::to_string(i)).c_str(), &manual_reset), EventState::missing);
    }
    EXPECT_FALSE(query_region(kJumperRegionName).present);
}

TEST_F(OrvekctlStatus, LeavesNoHandleBehindHoweverLongItWatches) {
    ControlBlock* const block = create_control_block();
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(ipc_init(&sync_), 0);
    const ScopedHandle feed = create_region(feed_region_number(0, 0), kFeedRegionSize);
    ASSERT_TRUE(feed.valid());
    block->pid_slot[0] = GetCurrentProcessId();
    ASSERT_TRUE(status_read(&watch_, &status_));
    DWORD before = 0;
    DWORD after = 0;
    ASSERT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &before));
    for (int32_t look = 0; look < 50; ++look) {
        block->feed[0][0].nw += 10;
        ASSERT_TRUE(status_read(&watch_, &status_));
    }
    ASSERT_TRUE(GetProcessHandleCount(GetCurrentProcess(), &after));
    EXPECT_EQ(after, before);
}

TEST_F(OrvekctlStatus, SaysWhetherTheBlockIsMissingOrOfTheWrongSize) {
    OrvekctlAnswer answer = run_orvekctl(orvekctl_status, {"--json"});
    EXPECT_EQ(answer.exit_code, kSaysNo);
    EXPECT_EQ(answer.out, "");
    ASSERT_EQ(answer.errors.size(), 1u);
    EXPECT_NE(answer.errors[0].find("there is no control block"), std::string::npos);
    const ScopedHandle small = create_region(kRegionControl, 4096);
    ASSERT_TRUE(small.valid());
    answer = run_orvekctl(orvekctl_status, {});
    EXPECT_EQ(answer.exit_code, kSaysNo);
    ASSERT_EQ(answer.errors.size(), 1u);
    EXPECT_EQ(answer.errors[0],
              "orvekctl: the control block has 4096 bytes instead of 9776: made by another program");
}

TEST_F(OrvekctlStatus, AWatchEndsWithTheRunItWatches) {
    ASSERT_NE(create_control_block(), nullptr);
    ScopedHandle closer(CreateThread(
        nullptr, 0,
        [](void* region) -> DWORD {
            Sleep(2500);
            shmem_close(static_cast<SharedRegion*>(region));
            return 0;
        },
        &control_, 0, nullptr));
    const OrvekctlAnswer answer = run_orvekctl(orvekctl_status, {"--json", "--watch"});
    WaitForSingleObject(closer.get(), INFINITE);
    EXPECT_EQ(answer.exit_code, kSaysNo);
    size_t lines = 0;
    for (size_t at = answer.out.find("{\"channel\": "); at != std::string::npos;
         at = answer.out.find("\n{\"channel\": ", at + 1))
        ++lines;
    EXPECT_GE(lines, 2u);
    EXPECT_EQ(answer.out.back(), '\n');
}

TEST_F(OrvekctlStatus, ConsumesNoSignalAndTakesNoMutex) {
    ASSERT_NE(create_control_block(), nullptr);
    ASSERT_EQ(ipc_init(&sync_), 0);
    ipc_signal(&sync_, kEventForceRequest);  // auto-reset: a wait would eat it
    ASSERT_TRUE(status_read(&watch_, &status_));
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
    ASSERT_TRUE(status_read(&watch_, &status_));
    EXPECT_EQ(status_.worker[1].presence, WorkerPresence::running);
    EXPECT_EQ(status_.worker[1].pid, running.pid());
    EXPECT_EQ(status_.worker[1].image, "windows_tests.exe");
    EXPECT_EQ(status_.worker[6].presence, WorkerPresence::gone);
    EXPECT_EQ(status_.worker[6].pid, gone.pid());
    EXPECT_EQ(status_.worker[7].presence, WorkerPresence::empty);
}
