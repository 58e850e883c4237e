// Workers that outlive a console that was ended from outside, and strangers that must not suffer for it.
#include <string>

#include "tests/console/console_test.h"

namespace {
class Orphans : public ConsoleTest {
protected:
    // The list a crashed console left behind, kept alive by this test as a worker would.
    void crash() {
        console_kill(&console);
    }
};
}  // namespace

TEST_F(Orphans, ListedWorkersOfACrashedConsoleAreEndedAtTheNextStart) {
    order_workers({"motion pid_slot 3", "capture pid_slot 0"});
    start_with({"feed_count=1", "*camera_device_path[1]=usb#one"});
    open_shared();
    ASSERT_NO_FATAL_FAILURE(wait_for_workers({"motion[1] listed", "capture[1] listed"}));
    const uint32_t motion = shared_load(shared.block->pid_slot[3]);
    const uint32_t capture = shared_load(shared.block->pid_slot[0]);
    shared_view_close(&shared);
    crash();
    ASSERT_TRUE(is_running(motion) && is_running(capture)) << "workers outlive the console";

    installation_settings(installation, {"feed_count=1"});
    start();
    EXPECT_FALSE(is_running(motion));
    EXPECT_FALSE(is_running(capture));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"starting controller, settings: *",
                       "kill_stale: found existing shm_control from prior session, scanning 8 PID slots for orphans",
                       "kill_stale: terminating orphan slot 0 '*capture.exe' (PID " + std::to_string(capture) + ")",
                       "kill_stale: terminating orphan slot 3 '*motion.exe' (PID " + std::to_string(motion) + ")",
                       "kill_stale: 2 orphan(s) terminated, shmem region released", "settings: loaded from *",
                       "shmem: created 'Local\\SkiJumpControl' (9776 bytes)"}));
}

TEST_F(Orphans, AStrangerWhoseProcessIdIsListedLivesOn) {
    start_with({"feed_count=1"});
    open_shared();
    uint32_t stranger = 0;  // an image of none of the seven names
    HANDLE process = installation_start(installation, "capfile.exe", "0", nullptr, &stranger);
    ASSERT_NE(process, nullptr);
    CloseHandle(process);
    ASSERT_NO_FATAL_FAILURE(wait_for_workers({"capfile[0] pid="}));
    constexpr uint32_t kNobody = 0x7FFFFFF0;
    shared_store(shared.block->pid_slot[1], kPidSlotEmpty);
    shared_store(shared.block->pid_slot[5], stranger);
    shared_store(shared.block->pid_slot[6], kNobody);
    crash();

    start();  // `shared` still holds the old block, as an orphan would
    EXPECT_TRUE(is_running(stranger));
    EXPECT_TRUE(log_shows_in_order(
        installation,
        {"kill_stale: found existing shm_control from prior session, scanning 8 PID slots for orphans",
         "WRN kill_stale: slot 5 PID " + std::to_string(stranger) +
             " is '*capfile.exe' (not ours), skipping — PID may have been recycled",
         "kill_stale: slot 6 PID " + std::to_string(kNobody) + " not running (error=*) — skipping",
         "kill_stale: 0 orphan(s) terminated, shmem region released",
         "shmem: attached to 'Local\\SkiJumpControl' (9776 bytes)", "shm_control: reset to fresh-create state*"}));
    EXPECT_EQ(shared_load(shared.block->pid_slot[5]), 0u) << "an attached block is zeroed all the same";
    EXPECT_EQ(shared_load(shared.block->paused), 1u);
}

TEST_F(Orphans, AnUntidyButEmptyListEndsNobody) {
    start_with({"feed_count=1"});
    open_shared();
    crash();
    start();
    EXPECT_TRUE(log_shows_in_order(
        installation, {"kill_stale: found existing shm_control from prior session, scanning 8 PID slots for orphans",
                       "kill_stale: 0 orphan(s) terminated, shmem region released"}));
    EXPECT_EQ(log_count(installation, "*kill_stale: slot*"), 0);
}
