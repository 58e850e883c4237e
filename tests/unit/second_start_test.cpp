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
