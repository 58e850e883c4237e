#include "ipc/kill_stale.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>

#include "ipc/control_block.h"
#include "ipc/scoped_handle.h"
#include "ipc/shared_access.h"
#include "ipc/shared_region.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace {

using Lines = std::vector<std::string>;

// A control block left behind by an earlier controller, held by this process.
class KillStale : public testing::Test {
protected:
    void TearDown() override {
        shmem_close(&region_);
    }
    ControlBlock* leave_block() {
        EXPECT_EQ(shmem_create(kControlBlockName, kControlBlockSize, &region_), 0);
        EXPECT_EQ(region_.created, 1u);
        log_.take();
        return static_cast<ControlBlock*>(region_.view);
    }
    // This test program under another name.
    std::string program_called(const char* name) {
        std::string path = dir_.file(name);
        std::error_code error;
        std::filesystem::copy_file(own_program_path(), path, error);
        EXPECT_FALSE(error) << error.message();
        return path;
    }

    LogCapture log_;
    TempDir dir_;
    SharedRegion region_ = {};
};

const Lines kFound = {
    "INF shmem: opened 'Local\\SkiJumpControl' (9776 bytes)",
    "INF shmem: locked 'Local\\SkiJumpControl' in RAM (9776 bytes)",
    "INF kill_stale: found existing shm_control from prior session, scanning 8 PID slots for orphans",
};

}  // namespace

static Lines found_then(const Lines& rest) {
    Lines all = kFound;
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

// A worker that outlives its controller: it holds the control block and lists itself in slot argv[0].
static int hold_control_block(int argc, char** argv) {
    SharedRegion region;
    if (argc < 1 || shmem_create(kControlBlockName, kControlBlockSize, &region) != 0) return 90;
    auto* const block = static_cast<ControlBlock*>(region.view);
    shared_store(block->pid_slot[atoi(argv[0])], static_cast<uint32_t>(GetCurrentProcessId()));
    child_announce_ready();
    return child_run_until_ended();
}
static const RegisterChildRole kHoldControlBlock("hold control block", hold_control_block);

TEST_F(KillStale, WithoutAnEarlierRunThereIsOneLineAndNothingElse) {
    kill_stale();
    EXPECT_EQ(log_.take(), (Lines{"INF kill_stale: no existing shm_control region — clean startup"}));
}

TEST_F(KillStale, EmptySlotsAreSilentAndTheSummarySaysNone) {
    ControlBlock* const block = leave_block();
    for (int32_t slot = 0; slot < kPidSlotCount; slot += 2) shared_store(block->pid_slot[slot], kPidSlotEmpty);
    kill_stale();
    EXPECT_EQ(log_.take(), found_then({"INF kill_stale: 0 orphan(s) terminated, shmem region released"}));
}

TEST_F(KillStale, AnUnrelatedProgramUnderARecycledIdLivesOn) {
    ChildProcess stranger("run");
    ASSERT_TRUE(stranger.wait_ready());
    shared_store(leave_block()->pid_slot[2], stranger.pid());
    kill_stale();
    EXPECT_FALSE(stranger.wait_ended(300));
    EXPECT_TRUE(stranger.running());
    EXPECT_EQ(log_.take(), found_then({"WRN kill_stale: slot 2 PID " + std::to_string(stranger.pid()) + " is '" +
                                           own_program_path() + "' (not ours), skipping — PID may have been recycled",
                                       "INF kill_stale: 0 orphan(s) terminated, shmem region released"}));
}

TEST_F(KillStale, AnIdThatNobodyHasIsSkipped) {
    ChildProcess dead("exit", {"0"});
    ASSERT_TRUE(dead.wait_ended());
    const uint32_t impossible = 0x7FFFFFF0;
    shared_store(leave_block()->pid_slot[7], impossible);
    kill_stale();
    EXPECT_EQ(log_.take(), found_then({"INF kill_stale: slot 7 PID 2147483632 not running (error=87) — skipping",
                                       "INF kill_stale: 0 orphan(s) terminated, shmem region released"}));
}

TEST_F(KillStale, AnOrphanNamedInCapitalsIsEndedWithExitCodeOne) {
    const std::string program = program_called("MOTION.EXE");
    ChildProcess orphan("run", {}, program);
    ASSERT_TRUE(orphan.wait_ready());
    shared_store(leave_block()->pid_slot[0], orphan.pid());
    kill_stale();
    EXPECT_FALSE(orphan.running()) << "kill_stale waits for the end";
    EXPECT_EQ(orphan.exit_code(), 1u);
    const Lines lines = log_.take();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_TRUE(lines[3].starts_with("INF kill_stale: terminating orphan slot 0 '")) << lines[3];
    EXPECT_TRUE(lines[3].ends_with("\\MOTION.EXE' (PID " + std::to_string(orphan.pid()) + ")")) << lines[3];
    EXPECT_EQ(lines[4], "INF kill_stale: 1 orphan(s) terminated, shmem region released");
}

TEST_F(KillStale, TheRegionVanishesWithTheOrphanThatHeldIt) {
    ChildProcess orphan("hold control block", {"3"}, program_called("videogen.exe"));
    ASSERT_TRUE(orphan.wait_ready());
    kill_stale();
    EXPECT_FALSE(orphan.running());
    EXPECT_TRUE(log_.has("INF kill_stale: 1 orphan(s) terminated, shmem region released"));
    EXPECT_EQ(shmem_open(kControlBlockName, kControlBlockSize, &region_), -1);
}

TEST_F(KillStale, OrphansAmongStrangersAreEndedAndStrangersSpared) {
    ChildProcess stranger("run");
    ChildProcess player("run", {}, program_called("practice_player.exe"));
    ChildProcess viewer("run", {}, program_called("Viewer.exe"));
    ASSERT_TRUE(stranger.wait_ready() && player.wait_ready() && viewer.wait_ready());
    ControlBlock* const block = leave_block();
    shared_store(block->pid_slot[1], player.pid());
    shared_store(block->pid_slot[4], stranger.pid());
    shared_store(block->pid_slot[7], viewer.pid());
    kill_stale();
    EXPECT_FALSE(player.running());
    EXPECT_FALSE(viewer.running());
    EXPECT_TRUE(stranger.running());
    EXPECT_TRUE(log_.has("INF kill_stale: 2 orphan(s) terminated, shmem region released"));
}

TEST_F(KillStale, AnOrphanThatDoesNotEndIsAWarningOnly) {
    // An event nobody sets, in the place of a process that does not end.
    const ScopedHandle undying(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    kill_stale_await_exit(1, undying.get(), 50);
    EXPECT_EQ(log_.take(), (Lines{"WRN kill_stale: orphan handle 1 did not exit within 5s (wait result=258) — "
                                  "continuing anyway"}));
    SetEvent(undying.get());
    kill_stale_await_exit(0, undying.get(), 50);
    EXPECT_TRUE(log_.take().empty());
}
