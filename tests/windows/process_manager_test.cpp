#include "procs/process_manager.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>

#include "ipc/scoped_handle.h"
#include "tests/support/child_role.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace {

using Lines = std::vector<std::string>;

class ProcessManagerTest : public testing::Test {
protected:
    void SetUp() override {
        procmgr_init(&manager_);
    }
    void TearDown() override {
        procmgr_shutdown(&manager_);
        procmgr_release_all(&manager_);
    }
    int32_t spawn(uint32_t kind, uint32_t index, const std::string& line, uint32_t auto_restart = 0) {
        return procmgr_spawn(&manager_, kind, index, line.c_str(), auto_restart);
    }
    ProcessSlot& slot(int32_t number) {
        return manager_.slots[number];
    }
    bool wait_ended(int32_t number) {
        return slot(number).process && WaitForSingleObject(slot(number).process, 20000) == WAIT_OBJECT_0;
    }
    // One slot that looks like a running child which cannot be terminated: its handle is an event nobody sets.
    void plant_undying(int32_t number, const char* name) {
        slot(number) = {};
        slot(number).state = kSlotRunning;
        slot(number).auto_restart = 1;
        slot(number).process = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        snprintf(slot(number).name, sizeof slot(number).name, "%s", name);
        if (manager_.count <= number) manager_.count = number + 1;
    }

    LogCapture log_;
    TempDir dir_;
    ProcessManager manager_ = {};
};

}  // namespace

static std::string text(uint32_t number) {
    return std::to_string(number);
}

static void kill_from_outside(uint32_t pid, uint32_t code) {
    const ScopedHandle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, pid));
    ASSERT_TRUE(process.valid());
    ASSERT_TRUE(TerminateProcess(process.get(), code));
    ASSERT_EQ(WaitForSingleObject(process.get(), 20000), WAIT_OBJECT_0);
}

// Exit code 0 when the working directory holds the file argv[0], else 4.
static int find_file(int argc, char** argv) {
    return argc > 0 && file_exists(argv[0]) ? 0 : 4;
}
static const RegisterChildRole kFindFile("find file", find_file);

TEST_F(ProcessManagerTest, ALaunchedChildRunsInTheFirstEmptySlot) {
    const std::string line = child_command_line("run");
    ASSERT_EQ(spawn(kKindMotion, 1, line, 1), 0);
    const ProcessSlot& child = slot(0);
    EXPECT_EQ(child.state, kSlotRunning);
    EXPECT_EQ(child.kind, kKindMotion);
    EXPECT_EQ(child.index, 1u);
    EXPECT_EQ(child.auto_restart, 1u);
    EXPECT_EQ(child.restarts, 0);
    EXPECT_EQ(child.pid, GetProcessId(child.process));
    EXPECT_EQ(std::string(child.command_line), line);
    EXPECT_EQ(std::string(child.name), "motion[1]");
    EXPECT_EQ(manager_.count, 1);
    EXPECT_EQ(log_.take(), (Lines{"INF launched motion[1] (PID " + text(child.pid) + "): " + line}));
    EXPECT_EQ(procmgr_poll(&manager_), 0);
}

TEST_F(ProcessManagerTest, ChildrenWorkInTheWorkingDirectory) {
    write_whole_file(dir_.file("settings.txt"), "x");
    procmgr_set_work_dir(&manager_, dir_.path().c_str());
    EXPECT_EQ(log_.take(), (Lines{"INF child process work_dir: " + dir_.path()}));
    ASSERT_EQ(spawn(kKindViewer, kNoIndex, child_command_line("find file", {"settings.txt"})), 0);
    ASSERT_TRUE(wait_ended(0));
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(slot(0).exit_code, 0u);
    procmgr_set_work_dir(&manager_, nullptr);
    ASSERT_EQ(spawn(kKindViewer, kNoIndex, child_command_line("find file", {"settings.txt"})), 1);
    ASSERT_TRUE(wait_ended(1));
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(slot(1).exit_code, 4u) << "the parent's directory again";
}

TEST_F(ProcessManagerTest, ALongWorkingDirectoryIsCutAndAnEmptyOneClears) {
    procmgr_set_work_dir(&manager_, std::string(300, 'd').c_str());
    EXPECT_EQ(std::string(manager_.work_dir), std::string(259, 'd'));
    procmgr_set_work_dir(&manager_, "");
    EXPECT_EQ(manager_.work_dir[0], '\0');
}

TEST_F(ProcessManagerTest, TheSeventeenthSpawnWithoutAReleaseFails) {
    for (int32_t i = 0; i < 16; ++i) {
        ASSERT_EQ(spawn(9, 0, child_command_line("exit", {"0"})), i);
        EXPECT_EQ(std::string(slot(i).name), "proc[" + std::to_string(i) + "]");
    }
    for (int32_t i = 0; i < 16; ++i) ASSERT_TRUE(wait_ended(i));
    EXPECT_EQ(procmgr_poll(&manager_), 16);
    log_.take();
    EXPECT_EQ(spawn(9, 0, child_command_line("exit", {"0"})), -1) << "stopped slots keep their place";
    EXPECT_EQ(log_.take(), (Lines{"ERR no free process slots (max 16)"}));
    EXPECT_EQ(manager_.count, 16);
    procmgr_release_all(&manager_);
    EXPECT_EQ(spawn(9, 0, child_command_line("exit", {"0"})), 0);
}

TEST_F(ProcessManagerTest, AFailedLaunchKeepsItsSlotAndIsNeverRestarted) {
    const std::string line = "\"" + dir_.file("missing.exe") + "\" 0";
    EXPECT_EQ(spawn(kKindCapture, 0, line, 1), -1);
    EXPECT_EQ(log_.take(), (Lines{"ERR CreateProcess failed for 'capture[0]': 2"}));
    ProcessSlot* const failed = procmgr_get(&manager_, 0);
    ASSERT_NE(failed, nullptr);
    EXPECT_EQ(std::string(procmgr_state_name(failed->state)), "Failed");
    EXPECT_EQ(failed->exit_code, 0xFFFFFFFFu);
    EXPECT_EQ(failed->process, nullptr);
    EXPECT_EQ(std::string(failed->command_line), line);
    EXPECT_EQ(manager_.count, 0);
    EXPECT_EQ(procmgr_find(&manager_, kKindCapture, 0), -1) << "above the high-water mark";
    EXPECT_EQ(spawn(kKindCapture, 0, child_command_line("run")), 1) << "the next launch takes a further slot";
    EXPECT_EQ(manager_.count, 2);
    EXPECT_EQ(procmgr_find(&manager_, kKindCapture, 0), 0);
    EXPECT_EQ(procmgr_find_running(&manager_, kKindCapture, 0), 1);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_EQ(failed->restarts, 0);
    EXPECT_EQ(failed->state, kSlotFailed);
}

TEST_F(ProcessManagerTest, ExitsAreNoticedOnceWithTheirCode) {
    ASSERT_EQ(spawn(kKindVideogen, kNoIndex, child_command_line("exit", {"0"})), 0);
    ASSERT_EQ(spawn(kKindCapture, 2, child_command_line("exit", {"3"})), 1);
    ASSERT_TRUE(wait_ended(0) && wait_ended(1));
    log_.take();
    EXPECT_EQ(procmgr_poll(&manager_), 2);
    EXPECT_EQ(log_.take(), (Lines{"INF videogen exited normally", "ERR capture[2] exited with code 3"}));
    EXPECT_EQ(slot(0).state, kSlotStopped);
    EXPECT_EQ(slot(0).exit_code, 0u);
    EXPECT_EQ(slot(1).state, kSlotFailed);
    EXPECT_EQ(slot(1).exit_code, 3u);
    EXPECT_EQ(slot(1).process, nullptr);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_TRUE(log_.take().empty());
}

TEST_F(ProcessManagerTest, AMotionChildKilledFromOutsideComesBackAtTheNextPoll) {
    const std::string line = child_command_line("run");
    ASSERT_EQ(spawn(kKindMotion, 0, line, 1), 0);
    const uint32_t first_pid = slot(0).pid;
    kill_from_outside(first_pid, 5);
    log_.take();
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(slot(0).state, kSlotRunning);
    EXPECT_EQ(slot(0).restarts, 1);
    EXPECT_EQ(slot(0).exit_code, 5u);
    EXPECT_EQ(WaitForSingleObject(slot(0).process, 0), WAIT_TIMEOUT) << "a new process, alive";
    EXPECT_EQ(log_.take(), (Lines{"ERR motion[0] exited with code 5", "INF restarting motion[0] (attempt 1)",
                                  "INF launched motion[0] (PID " + text(slot(0).pid) + "): " + line}));
}

TEST_F(ProcessManagerTest, AChildWithoutAutoRestartStaysDown) {
    ASSERT_EQ(spawn(kKindCapture, 1, child_command_line("run")), 0);
    kill_from_outside(slot(0).pid, 5);
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_EQ(slot(0).state, kSlotFailed);
    EXPECT_EQ(slot(0).restarts, 0);
}

TEST_F(ProcessManagerTest, AChildThatExitsAtOnceIsRestartedAtEveryPollWithoutLimit) {
    ASSERT_EQ(spawn(kKindMotion, 2, child_command_line("exit", {"0"}), 1), 0);
    for (int32_t attempt = 1; attempt <= 5; ++attempt) {
        ASSERT_TRUE(wait_ended(0));
        EXPECT_EQ(procmgr_poll(&manager_), 1);
        EXPECT_EQ(slot(0).restarts, attempt);
        EXPECT_EQ(slot(0).state, kSlotRunning);
    }
    EXPECT_TRUE(log_.has("INF restarting motion[2] (attempt 5)"));
}

TEST_F(ProcessManagerTest, AFailedRestartIsNotTriedAgain) {
    const std::string program = dir_.file("worker.exe");
    std::error_code error;
    std::filesystem::copy_file(own_program_path(), program, error);
    ASSERT_FALSE(error) << error.message();
    ASSERT_EQ(spawn(kKindMotion, 1, child_command_line("exit", {"3"}, program), 1), 0);
    ASSERT_TRUE(wait_ended(0));
    ASSERT_TRUE(std::filesystem::remove(program, error)) << error.message();
    log_.take();
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(log_.take(), (Lines{"ERR motion[1] exited with code 3", "INF restarting motion[1] (attempt 1)",
                                  "ERR CreateProcess failed for 'motion[1]': 2", "ERR failed to restart motion[1]"}));
    EXPECT_EQ(slot(0).state, kSlotFailed);
    EXPECT_EQ(slot(0).exit_code, 0xFFFFFFFFu);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_EQ(slot(0).restarts, 1);
}

TEST_F(ProcessManagerTest, StoppingClearsAutoRestartSoThatNothingComesBack) {
    ASSERT_EQ(spawn(kKindMotion, 0, child_command_line("run"), 1), 0);
    const std::string pid = text(slot(0).pid);
    log_.take();
    EXPECT_EQ(procmgr_stop(&manager_, 0, kStopTimeoutMs), 0);
    EXPECT_EQ(log_.take(), (Lines{"INF stopping motion[0] (PID " + pid + ")"}));
    EXPECT_EQ(slot(0).state, kSlotStopped);
    EXPECT_EQ(slot(0).auto_restart, 0u);
    EXPECT_EQ(slot(0).exit_code, 1u);
    EXPECT_EQ(slot(0).process, nullptr);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_EQ(slot(0).state, kSlotStopped);
}

TEST_F(ProcessManagerTest, RemembersHowAndWhenEachChildEnded) {
    const uint64_t before = GetTickCount64();
    ASSERT_EQ(spawn(kKindCapture, 0, child_command_line("run")), 0);
    ASSERT_EQ(spawn(kKindCapture, 1, child_command_line("run")), 1);
    ASSERT_EQ(spawn(kKindCapture, 2, child_command_line("run")), 2);
    EXPECT_EQ(spawn(kKindViewer, kNoIndex, "\"" + dir_.file("missing.exe") + "\""), -1);
    EXPECT_EQ(slot(0).ending, kEndingNone);
    EXPECT_GE(slot(0).launched_ms, before);
    EXPECT_LE(slot(0).launched_ms, GetTickCount64());
    kill_from_outside(slot(0).pid, 0xC0000005);
    kill_from_outside(slot(1).pid, 0xC0000374);
    EXPECT_EQ(procmgr_stop(&manager_, 1, kStopTimeoutMs), 0);
    EXPECT_EQ(procmgr_stop(&manager_, 2, kStopTimeoutMs), 0);
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(slot(0).ending, kEndingByItself);
    EXPECT_EQ(slot(1).ending, kEndingByItself) << "it was dead before it was stopped";
    EXPECT_EQ(slot(1).exit_code, 0xC0000374u);
    EXPECT_EQ(slot(2).ending, kEndingByConsole);
    EXPECT_EQ(slot(3).ending, kEndingNotStarted);
    for (int32_t i = 0; i < 4; ++i) {
        EXPECT_GE(slot(i).ended_ms, slot(i).launched_ms) << i;
        EXPECT_LE(slot(i).ended_ms, GetTickCount64()) << i;
    }
}

TEST_F(ProcessManagerTest, ARestartedChildBeginsANewLife) {
    ASSERT_EQ(spawn(kKindMotion, 0, child_command_line("run"), 1), 0);
    const uint64_t first = slot(0).launched_ms;
    Sleep(50);
    kill_from_outside(slot(0).pid, 5);
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(slot(0).ending, kEndingNone);
    EXPECT_GT(slot(0).launched_ms, first);
}

TEST_F(ProcessManagerTest, StoppingNothingIsFineAndABadSlotIsNot) {
    log_.take();
    EXPECT_EQ(procmgr_stop(&manager_, 16, 0), -1);
    EXPECT_EQ(procmgr_stop(&manager_, -1, 0), -1);
    EXPECT_EQ(procmgr_stop(&manager_, 15, 0), 0);
    EXPECT_TRUE(log_.take().empty());
}

TEST_F(ProcessManagerTest, AChildThatDoesNotEndInTimeIsLoggedAndGivenUp) {
    plant_undying(0, "capfile[1]");
    EXPECT_EQ(procmgr_stop(&manager_, 0, 50), 0);
    EXPECT_EQ(log_.take(), (Lines{"INF stopping capfile[1] (PID 0)", "ERR timeout waiting for capfile[1] to exit"}));
    EXPECT_EQ(slot(0).state, kSlotStopped);
    EXPECT_EQ(slot(0).ending, kEndingGivenUp);
    EXPECT_EQ(slot(0).process, nullptr);
}

TEST_F(ProcessManagerTest, StopByKindLeavesOtherKindsAndCountsWhatItStopped) {
    const std::string line = child_command_line("run");
    ASSERT_EQ(spawn(kKindCapture, 0, line), 0);
    ASSERT_EQ(spawn(kKindMotion, 0, line, 1), 1);
    ASSERT_EQ(spawn(kKindCapture, 1, line), 2);
    EXPECT_EQ(procmgr_stop_kind(&manager_, kKindCapture, kStopTimeoutMs), 2);
    EXPECT_EQ(slot(0).state, kSlotStopped);
    EXPECT_EQ(slot(1).state, kSlotRunning);
    EXPECT_EQ(slot(2).state, kSlotStopped);
    EXPECT_EQ(procmgr_stop_kind(&manager_, kKindViewer, kStopTimeoutMs), 0);
    EXPECT_EQ(procmgr_stop_kind(&manager_, -1, kStopTimeoutMs), 1);
    EXPECT_EQ(slot(1).state, kSlotStopped);
}

TEST_F(ProcessManagerTest, AfterShutdownNoChildIsRestartedEvenIfItExitedByItself) {
    ASSERT_EQ(spawn(kKindMotion, 0, child_command_line("run"), 1), 0);
    ASSERT_EQ(spawn(kKindMotion, 1, child_command_line("exit", {"3"}), 1), 1);
    ASSERT_TRUE(wait_ended(1));
    log_.take();
    procmgr_shutdown(&manager_);
    const Lines lines = log_.take();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "INF process manager shutting down");
    EXPECT_EQ(manager_.shutting_down, 1u);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_EQ(slot(0).state, kSlotStopped);
    EXPECT_EQ(slot(0).exit_code, 1u);
    EXPECT_EQ(slot(1).state, kSlotStopped);
    EXPECT_EQ(slot(1).exit_code, 3u);
    EXPECT_EQ(slot(0).restarts + slot(1).restarts, 0);
}

TEST_F(ProcessManagerTest, APollDuringShutdownSeesExitsButRestartsNothing) {
    ASSERT_EQ(spawn(kKindMotion, 0, child_command_line("exit", {"3"}), 1), 0);
    ASSERT_TRUE(wait_ended(0));
    manager_.shutting_down = 1;
    EXPECT_EQ(procmgr_poll(&manager_), 1);
    EXPECT_EQ(slot(0).state, kSlotFailed);
    EXPECT_EQ(slot(0).restarts, 0);
}

TEST_F(ProcessManagerTest, AnEarlierStartsStoppedSlotIsFoundFirstButNeverHidesARunningChild) {
    ASSERT_EQ(spawn(kKindViewer, kNoIndex, child_command_line("run")), 0);
    ASSERT_EQ(procmgr_stop(&manager_, 0, kStopTimeoutMs), 0);
    EXPECT_EQ(procmgr_find_running(&manager_, kKindViewer, kNoIndex), -1);
    ASSERT_EQ(spawn(kKindViewer, kNoIndex, child_command_line("run")), 1);
    EXPECT_EQ(procmgr_find(&manager_, kKindViewer, kNoIndex), 0);
    EXPECT_EQ(procmgr_find_running(&manager_, kKindViewer, kNoIndex), 1);
    EXPECT_EQ(procmgr_find(&manager_, kKindViewer, 0), -1);
    EXPECT_EQ(procmgr_find(&manager_, kKindVideogen, kNoIndex), -1);
}

TEST_F(ProcessManagerTest, OnlyTakenSlotsCanBeLookedAt) {
    EXPECT_EQ(procmgr_get(&manager_, 0), nullptr);
    ASSERT_EQ(spawn(kKindViewer, kNoIndex, child_command_line("run")), 0);
    EXPECT_EQ(procmgr_get(&manager_, 0), &slot(0));
    EXPECT_EQ(procmgr_get(&manager_, 16), nullptr);
    EXPECT_EQ(procmgr_get(&manager_, -1), nullptr);
}

TEST_F(ProcessManagerTest, ReleasingEmptiesWhatHasEndedAndLetsGoOfEveryHandle) {
    ASSERT_EQ(spawn(kKindViewer, kNoIndex, child_command_line("run")), 0);
    ASSERT_EQ(procmgr_stop(&manager_, 0, kStopTimeoutMs), 0);
    EXPECT_EQ(spawn(kKindCapture, 0, dir_.file("missing.exe")), -1);
    plant_undying(2, "videogen");
    procmgr_release_all(&manager_);
    EXPECT_EQ(slot(0).state, kSlotEmpty);
    EXPECT_EQ(slot(1).state, kSlotEmpty);
    EXPECT_EQ(slot(2).process, nullptr);
    EXPECT_EQ(slot(2).state, kSlotRunning);
    EXPECT_EQ(procmgr_poll(&manager_), 0);
    EXPECT_EQ(procmgr_stop(&manager_, 2, 0), 0);
}

TEST_F(ProcessManagerTest, ALongCommandLineIsCutToItsField) {
    spawn(kKindCapture, 0, dir_.file("missing.exe") + " " + std::string(2000, 'x'));
    EXPECT_EQ(std::string(slot(0).command_line).size(), 1023u);
}

TEST(ProcessStateNames, AreWhatTheOperatorReads) {
    const char* const expected[] = {"Unknown", "Running", "Stopped", "Failed", "Unknown"};
    for (uint32_t state = 0; state < 5; ++state) EXPECT_EQ(std::string(procmgr_state_name(state)), expected[state]);
}
