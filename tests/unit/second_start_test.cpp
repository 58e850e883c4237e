#include "app/second_start.h"

#include <gtest/gtest.h>

static constexpr RunningController kRig = {4711, kControllerRunning, "C:\\rig"};

static bool has(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

TEST(SecondStart, TellsTheOperatorWhichProcessRunsInWhichFolder) {
    EXPECT_EQ(second_start_text(kRig, "C:\\rig"),
              "Orvek.exe is already running (process 4711) in\nC:\\rig\n\n"
              "Only one controller can run at a time: a second one would take its shared memory and end its workers."
              "\n\nThis one ends, and the running one comes to the front.");
}

TEST(SecondStart, InAnotherFolderSaysThatFoldersDoNotMatter) {
    const std::string text = second_start_text(kRig, "D:\\other");
    EXPECT_TRUE(has(text, "controllers in different folders, too; this one was started for\nD:\\other")) << text;
    EXPECT_FALSE(has(second_start_text(kRig, "c:\\RIG"), "different folders"));
    EXPECT_TRUE(has(second_start_text(kRig, "C:\\rig2"), "different folders"));
}

TEST(SecondStart, BesideAClosingOrCrashedOneSaysWhenToStartAgain) {
    RunningController running = kRig;
    running.state = kControllerClosing;
    EXPECT_TRUE(has(second_start_text(running, "C:\\rig"), "It is about to close. Start again when it is gone."));
    EXPECT_EQ(second_start_log_text(running),
              "second start: Orvek.exe (PID 4711) is still closing in C:\\rig — this start ends");
    running.state = kControllerCrashed;
    EXPECT_TRUE(
        has(second_start_text(running, "C:\\rig"), "It has crashed and ends when its message box is closed."));
    EXPECT_EQ(second_start_log_text(running),
              "second start: Orvek.exe (PID 4711) has crashed and waits for its message box in C:\\rig"
              " — this start ends");
}

TEST(SecondStart, BesideOneThatCannotBeAskedNamesNoProcess) {
    const RunningController unknown = {};
    const std::string text = second_start_text(unknown, "C:\\rig");
    EXPECT_TRUE(text.starts_with("Another controller is already running in this session.\n\n")) << text;
    EXPECT_FALSE(has(text, "different folders"));
    EXPECT_EQ(second_start_log_text(unknown), "second start: another controller already runs — this start ends");
}

TEST(SecondStart, LeavesOneLineInTheLog) {
    EXPECT_EQ(second_start_log_text(kRig),
              "second start: Orvek.exe (PID 4711) already runs in C:\\rig — this start ends");
}

namespace {

// How long a start waits when it sees this all the time.
uint32_t waited_ms(StartWait* wait, const RunningController& seen) {
    constexpr uint32_t kSliceMs = 250;
    uint32_t waited = 0;
    while (waited < 60000 && start_waits(wait, seen, kSliceMs)) waited += kSliceMs;
    return waited;
}

RunningController in_state(ControllerState state) {
    RunningController running = kRig;
    running.state = state;
    return running;
}

}  // namespace

TEST(SecondStart, WaitsForAClosingOneForTwentySeconds) {
    StartWait wait = {};
    EXPECT_EQ(waited_ms(&wait, in_state(kControllerClosing)), 20000u);
}

TEST(SecondStart, WaitsForNobodyThatRunsOrHasCrashed) {
    StartWait wait = {};
    EXPECT_EQ(waited_ms(&wait, kRig), 0u);
    EXPECT_EQ(waited_ms(&wait, in_state(kControllerCrashed)), 0u);
}

TEST(SecondStart, StopsWaitingWhenAnotherStartBecomesTheRunningOneOrTheClosingOneCrashes) {
    for (const ControllerState next : {kControllerRunning, kControllerCrashed}) {
        StartWait wait = {};
        EXPECT_TRUE(start_waits(&wait, in_state(kControllerClosing), 250));
        EXPECT_TRUE(start_waits(&wait, {}, 250)) << "between the two nobody has said who he is";
        EXPECT_FALSE(start_waits(&wait, in_state(next), 250));
    }
}

TEST(SecondStart, GivesOneThatHasNotSaidWhoItIsTwoSecondsEachTime) {
    StartWait wait = {};
    EXPECT_EQ(waited_ms(&wait, {}), 2000u);
    wait = {};
    for (int32_t i = 0; i < 8; ++i) EXPECT_TRUE(start_waits(&wait, {}, 250));
    EXPECT_TRUE(start_waits(&wait, in_state(kControllerClosing), 250));
    EXPECT_EQ(waited_ms(&wait, {}), 2000u);
}

TEST(SecondStart, WaitsForSeveralClosingOnesNoLongerThanForOne) {
    StartWait wait = {};
    for (int32_t i = 0; i < 40; ++i) EXPECT_TRUE(start_waits(&wait, in_state(kControllerClosing), 250));
    EXPECT_TRUE(start_waits(&wait, {}, 250));
    EXPECT_EQ(waited_ms(&wait, in_state(kControllerClosing)), 10000u);
}

TEST(OneController, EndsTheWorkersOfAPredecessorOnlyWhenNobodyElseCanOwnThem) {
    EXPECT_TRUE(start_may_end_orphans(ControllerClaim::ours));
    EXPECT_FALSE(start_may_end_orphans(ControllerClaim::taken));
    EXPECT_FALSE(start_may_end_orphans(ControllerClaim::unguarded));
}
