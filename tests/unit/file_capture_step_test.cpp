#include "procs/file_capture_step.h"

#include <gtest/gtest.h>

namespace {
constexpr FileCapture kIdle{0, 0};
constexpr FileCapture kRecording{1, 0};
constexpr FileCapture kPaused{1, 1};
}  // namespace

static testing::AssertionResult is(const FileCapture& state, const FileCapture& expected) {
    if (state.capturing == expected.capturing && state.paused == expected.paused) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "capturing " << state.capturing << ", paused " << state.paused;
}

TEST(CaptureFeedsPress, AsksForTheFolderOnlyWhereSomebodyCanAnswer) {
    EXPECT_EQ(capture_feeds_press(kIdle, true), CapturePress::ask);
    EXPECT_EQ(capture_feeds_press(kIdle, false), CapturePress::nobody_to_ask);
}

TEST(CaptureFeedsPress, StopsARecordingWithoutAQuestion) {
    for (const FileCapture& state : {kRecording, kPaused})
        for (const bool may_ask : {false, true}) EXPECT_EQ(capture_feeds_press(state, may_ask), CapturePress::stop);
}

TEST(CaptureFeedsDone, AStartRecordsUnpausedAndAStopLeavesNothingBehind) {
    FileCapture state;
    capture_feeds_done(&state, CaptureOutcome::started);
    EXPECT_TRUE(is(state, kRecording));
    state = kPaused;
    capture_feeds_done(&state, CaptureOutcome::stopped);
    EXPECT_TRUE(is(state, kIdle));
}

TEST(CaptureFeedsDone, ACancelledOrFailedStartLeavesItIdle) {
    for (const CaptureOutcome outcome : {CaptureOutcome::cancelled, CaptureOutcome::launch_failed}) {
        FileCapture state;
        capture_feeds_done(&state, outcome);
        EXPECT_TRUE(is(state, kIdle));
    }
}

TEST(CaptureFeedsStatus, EveryOutcomeHasItsSentence) {
    EXPECT_STREQ(capture_feeds_status(CaptureOutcome::cancelled), "Capture Feeds cancelled — no directory selected");
    EXPECT_STREQ(capture_feeds_status(CaptureOutcome::launch_failed), "Capture Feeds failed — see controller log");
    EXPECT_STREQ(capture_feeds_status(CaptureOutcome::started),
                 "Capturing all 3 feeds — press \"Stop Capturing\" to finish");
    EXPECT_STREQ(capture_feeds_status(CaptureOutcome::stopped),
                 "Capture Feeds stopped — files finalized in selected directory");
}

TEST(PauseRecordingPress, WithoutARecordingChangesNothing) {
    FileCapture state;
    EXPECT_EQ(pause_recording_press(&state), PausePress::ignored);
    EXPECT_TRUE(is(state, kIdle));
    EXPECT_EQ(pause_recording_status(PausePress::ignored), nullptr);
}

TEST(PauseRecordingPress, PausesAndResumesInTurn) {
    FileCapture state = kRecording;
    EXPECT_EQ(pause_recording_press(&state), PausePress::paused);
    EXPECT_TRUE(is(state, kPaused));
    EXPECT_EQ(pause_recording_press(&state), PausePress::resumed);
    EXPECT_TRUE(is(state, kRecording));
    EXPECT_STREQ(pause_recording_status(PausePress::paused),
                 "Recording paused — files stay open, click \"Resume Recording\" to continue");
    EXPECT_STREQ(pause_recording_status(PausePress::resumed), "Recording resumed");
}

TEST(CaptureButtons, SayWhatTheNextPressWillDo) {
    const struct {
        FileCapture state;
        const char* capture;
        const char* pause;
        bool usable;
    } cases[] = {{kIdle, "Capture Feeds", "Pause Recording", false},
                 {kRecording, "Stop Capturing", "Pause Recording", true},
                 {kPaused, "Stop Capturing", "Resume Recording", true}};
    for (const auto& c : cases) {
        const CaptureButtons buttons = capture_buttons(c.state);
        EXPECT_STREQ(buttons.capture_text, c.capture);
        EXPECT_STREQ(buttons.pause_text, c.pause);
        EXPECT_EQ(buttons.pause_usable, c.usable) << c.pause;
    }
}
