// The recorders' flags, launch and end, with real children in their place.
#include "procs/recorders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include "ipc/control_block.h"
#include "ipc/shared_access.h"
#include "ipc/shared_region.h"
#include "ipc/sync_set.h"
#include "procs/process_manager.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"

namespace {

using Lines = std::vector<std::string>;

std::vector<int32_t> warned;
void note_warning(int32_t feed) {
    warned.push_back(feed);
}

class RecordersTest : public testing::Test {
protected:
    void SetUp() override {
        warned.clear();
        procmgr_init(&processes_);
        ASSERT_EQ(ipc_init(&sync_), 0);
        ipc_reset_all_events(&sync_);
        ASSERT_EQ(shmem_create(kControlBlockName, sizeof(ControlBlock), &region_), 0);
        recorders_.control = static_cast<ControlBlock*>(region_.view);
        recorders_set_paused(recorders_, 0);
        recorders_set_shutdown(recorders_, 0);
        log_.take();
    }
    void TearDown() override {
        procmgr_shutdown(&processes_);
        procmgr_release_all(&processes_);
        shmem_close(&region_);
        ipc_close(&sync_);
    }
    // A child in the place of the recorder of `feed`, that plays `role`.
    ProcessSlot& recorder(int32_t feed, const std::string& role, const std::vector<std::string>& arguments = {}) {
        const int32_t slot = procmgr_spawn(&processes_, kKindCapfile, static_cast<uint32_t>(feed),
                                           child_command_line(role, arguments).c_str(), 0);
        EXPECT_GE(slot, 0);
        log_.take();
        return processes_.slots[slot];
    }
    // Asks the recorders to end and waits for them; how long that took.
    uint32_t finish() {
        recorders_set_shutdown(recorders_, 1);
        recorders_signal(recorders_);
        const DWORD start = GetTickCount();
        recorders_finish(recorders_, note_warning);
        return GetTickCount() - start;
    }
    bool event_is_set() {
        return WaitForSingleObject(sync_.event[kEventCapfile], 0) == WAIT_OBJECT_0;
    }

    LogCapture log_;
    IpcSyncSet sync_ = {};
    SharedRegion region_ = {};
    ProcessManager processes_ = {};
    Recorders recorders_ = {nullptr, &sync_, &processes_, "C:\\nowhere"};
};

}  // namespace

// Ends with code argv[1], as soon as the shutdown flag of feed argv[0] asks for it.
static int obey(int argc, char** argv) {
    SharedRegion region = {};
    if (argc < 2 || shmem_open(kControlBlockName, sizeof(ControlBlock), &region) != 0) return 90;
    const auto* control = static_cast<const ControlBlock*>(region.view);
    for (int32_t look = 0; look < 6000; ++look) {
        if (shared_load(control->capfile_shutdown[atoi(argv[0])]) != 0) return atoi(argv[1]);
        Sleep(10);
    }
    return 91;
}
static const RegisterChildRole kObey("obey capfile_shutdown", obey);

TEST_F(RecordersTest, TheFlagsOfAllThreeAreSetAndNobodyIsWokenByThat) {
    ControlBlock& control = *recorders_.control;
    recorders_set_paused(recorders_, 1);
    for (int32_t feed = 0; feed < kRecorders; ++feed) {
        EXPECT_EQ(control.capfile_paused[feed], 1u);
        EXPECT_EQ(control.capfile_shutdown[feed], 0u);
    }
    recorders_set_shutdown(recorders_, 1);
    recorders_set_paused(recorders_, 0);
    for (int32_t feed = 0; feed < kRecorders; ++feed) {
        EXPECT_EQ(control.capfile_paused[feed], 0u);
        EXPECT_EQ(control.capfile_shutdown[feed], 1u);
    }
    EXPECT_FALSE(event_is_set());
    recorders_signal(recorders_);
    EXPECT_TRUE(event_is_set());
}

TEST_F(RecordersTest, WithoutAControlBlockNothingIsTouchedAndTheWaitStillEnds) {
    recorders_.control = nullptr;
    recorders_set_paused(recorders_, 1);
    const ProcessSlot& child = recorder(0, "exit", {"0"});
    EXPECT_LT(finish(), kRecorderGraceMs);
    EXPECT_EQ(child.state, kSlotStopped);
    EXPECT_TRUE(warned.empty());
}

TEST_F(RecordersTest, ALaunchThatFailsSaysSoAndLeavesAFailedChildOfTheFeed) {
    EXPECT_EQ(recorder_launch(recorders_, 2), -1);
    const ProcessSlot& child = processes_.slots[0];
    EXPECT_EQ(child.state, kSlotFailed);
    EXPECT_EQ(child.kind, kKindCapfile);
    EXPECT_EQ(child.index, 2u);
    EXPECT_EQ(child.auto_restart, 0u);
    EXPECT_STREQ(child.command_line, "\"C:\\nowhere\\capfile.exe\" 2");
    EXPECT_STREQ(child.name, "capfile[2]");
    EXPECT_EQ(log_.take().size(), 1u);
}

TEST_F(RecordersTest, RecordersThatEndInTimeAreNeitherWarnedAboutNorTerminated) {
    for (int32_t feed = 0; feed < kRecorders; ++feed)
        recorder(feed, "obey capfile_shutdown", {std::to_string(feed), "0"});
    EXPECT_LT(finish(), kRecorderGraceMs);
    EXPECT_TRUE(warned.empty());
    for (int32_t slot = 0; slot < kRecorders; ++slot) {
        EXPECT_EQ(processes_.slots[slot].state, kSlotStopped);
        EXPECT_EQ(processes_.slots[slot].exit_code, 0u);
        EXPECT_EQ(processes_.slots[slot].process, nullptr);
    }
    for (const std::string& line : log_.take()) EXPECT_EQ(line.substr(line.find(']') + 1), " exited normally");
    EXPECT_EQ(procmgr_poll(&processes_), 0) << "an end is told once";
}

TEST_F(RecordersTest, ARecorderThatEndsWithAnErrorIsStoppedAllTheSame) {
    const ProcessSlot& child = recorder(1, "obey capfile_shutdown", {"1", "3"});
    finish();
    EXPECT_EQ(child.state, kSlotStopped);
    EXPECT_EQ(child.exit_code, 3u);
    EXPECT_TRUE(warned.empty());
    EXPECT_EQ(log_.take(), Lines{"ERR capfile[1] exited with code 3"});
}

TEST_F(RecordersTest, OneThatIgnoresTheRequestIsTerminatedAloneAfterEightSeconds) {
    const ProcessSlot& first = recorder(0, "obey capfile_shutdown", {"0", "0"});
    const ProcessSlot& deaf = recorder(1, "run");
    const ProcessSlot& last = recorder(2, "obey capfile_shutdown", {"2", "0"});
    const std::string pid = std::to_string(deaf.pid);
    EXPECT_GE(finish(), kRecorderGraceMs);
    EXPECT_EQ(warned, std::vector<int32_t>{1});
    EXPECT_EQ(deaf.state, kSlotStopped);
    EXPECT_EQ(deaf.exit_code, 1u);
    EXPECT_EQ(deaf.process, nullptr);
    for (const ProcessSlot* each : {&first, &last}) {
        EXPECT_EQ(each->state, kSlotStopped);
        EXPECT_EQ(each->exit_code, 0u);
    }
    EXPECT_EQ(log_.count("INF stopping capfile[1] (PID " + pid + ")"), 1);
    EXPECT_EQ(log_.take().size(), 3u) << "two normal ends and one termination";
}

TEST_F(RecordersTest, OtherChildrenAreNotWaitedForAndLiveOn) {
    const int32_t motion = procmgr_spawn(&processes_, kKindMotion, 0, child_command_line("run").c_str(), 0);
    // The quickest of several: one that waited at all would wait each time.
    EXPECT_LT(std::min({finish(), finish(), finish()}), kRecorderPollMs) << "no recorder, no wait";
    EXPECT_EQ(processes_.slots[motion].state, kSlotRunning);
    EXPECT_TRUE(warned.empty());
}
