// The program without its shared memory or its sync objects: an object of another kind already carries the name, so
// that the system refuses to create ours. Every command must still do what it can.
#include <string>

#include "ipc/scoped_handle.h"
#include "tests/console/console_test.h"

namespace {
class MissingObjects : public ConsoleTest {
protected:
    void block_name(const std::string& name) {
        blocker_.reset(CreateSemaphoreA(nullptr, 0, 1, name.c_str()));
        ASSERT_TRUE(blocker_.valid());
    }
    // What needs neither the control block nor the sync objects.
    void press_all_of_the_regions_and_offsets() {
        for (int32_t id : {710, 711, 712, 721, 722, 723, 713, 719, 725, 726, 727, 727}) press_on(kTabPreview, id);
        EXPECT_TRUE(log_shows(installation, "motion + ignore regions saved to *"));
        EXPECT_TRUE(log_shows(installation, "saved motion range: *"));
        EXPECT_TRUE(log_shows(installation, "feed offset: feed 2 adjustment OFF (overlay_frame_offsets[2]=*)"));
        EXPECT_EQ(log_count(installation, "motion region: editing feed *"), 3);
        EXPECT_EQ(log_count(installation, "ignore region: editing feed *"), 3);
        EXPECT_EQ(log_count(installation, "feed offset: feed * adjustment ON *"), 3);
    }
    void free_name() {
        blocker_.reset();
    }

private:
    ScopedHandle blocker_;
};
}  // namespace

TEST_F(MissingObjects, WithoutAControlBlockEveryCommandStillDoesWhatItCan) {
    block_name(kControlBlockName);
    start_with({"feed_count=1"});
    EXPECT_TRUE(log_shows(installation, "ERR shmem: CreateFileMapping failed for 'Local\\SkiJumpControl', error=*"));
    EXPECT_TRUE(console_title(console) == "Orvek — Orvekline") << console_title(console);
    EXPECT_EQ(status_text(console), "Ready");
    for (int32_t id : {700, 715, 716, 717, 718, 724, 705}) press_on(kTabPreview, id);
    EXPECT_EQ(button_text(console, 700), "Play") << "nothing there that could play";
    EXPECT_EQ(log_count(installation, "sync feeds: *"), 0) << "nothing there to read the counters from";
    press_all_of_the_regions_and_offsets();
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    EXPECT_EQ(button_text(console, 321), "no counters: shared memory is not available");

    press_on(kTabProcesses, 201);
    EXPECT_TRUE(running_children_become(console, "capture[1] motion[1] videogen"));
    press_on(kTabProcesses, 202);
    EXPECT_TRUE(status_becomes(console, "All processes stopped"));
    EXPECT_TRUE(running_children_become(console, ""));

    press_on(kTabPreview, 702);
    EXPECT_TRUE(log_shows(installation, "WRN sync_feeds_now (auto): shm_ctrl unavailable, skipping"));
    EXPECT_TRUE(status_becomes(console, "Practice: timeout waiting for processes"));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_TRUE(running_children_become(console, "capture[1] motion[1] videogen"));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(log_shows_in_order(installation, {"process manager shutting down", "controller exiting"}));
}

TEST_F(MissingObjects, TheControlBlockIsTakenAsSoonAsItsNameIsFree) {
    block_name(kControlBlockName);
    start_with({});
    ASSERT_TRUE(log_shows(installation, "ERR shmem: CreateFileMapping failed for 'Local\\SkiJumpControl', error=*"));
    free_name();
    ASSERT_TRUE(log_shows(installation, "shmem: created 'Local\\SkiJumpControl' (9776 bytes)"));
    EXPECT_EQ(log_count(installation, "shm_control: reset to fresh-create state *"), 0);
    open_shared();
    press_on(kTabPreview, 717);
    EXPECT_TRUE(becomes(
        "diag_logging", [&] { return shared_load(shared.block->diag_logging); }, 1u));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(shared_load(shared.block->shutdown), 1u);
}

TEST_F(MissingObjects, WithoutSyncObjectsTheProgramRunsOnUnlocked) {
    block_name(std::string(kMutexNamePrefix) + "30");
    start_with({"feed_count=1"});
    EXPECT_TRUE(log_shows_in_order(
        installation, {"ERR ipc: CreateMutex failed for 'Local\\SkiJumpMutex_30', error=*",
                       "WRN controller: IPC init failed (non-fatal)", "shmem: created 'Local\\SkiJumpControl' *"}));
    EXPECT_EQ(log_count(installation, "ipc: reset * events *"), 0);
    press_on(kTabPreview, 715);
    press_all_of_the_regions_and_offsets();
    EXPECT_EQ(log_count(installation, "sync feeds: *"), 0) << "without mutexes the counters are not compared";
    press_on(kTabProcesses, 201);
    EXPECT_TRUE(running_children_become(console, "capture[1] motion[1] videogen"));
    ASSERT_TRUE(select_tab(console, kTabFeeds));
    EXPECT_TRUE(button_becomes(console, 321, "0 frames written, 0 looked at for motion, frame counter 0, 0.0 fps"));
    press_on(kTabProcesses, 202);
    EXPECT_TRUE(status_becomes(console, "All processes stopped"));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(log_shows_in_order(installation, {"process manager shutting down", "controller exiting"}));
}
