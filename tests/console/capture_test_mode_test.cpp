// The unattended recording test: the program opens the panel, presses its button, waits, and closes itself.
#include <algorithm>
#include <string>

#include "tests/console/capture_position.h"
#include "tests/console/console_test.h"
#include "tests/support/video_probe.h"

namespace {

constexpr char kOpening[] = "CLI capture-test: opening capture panel";
constexpr char kOpened[] = "capture_panel: opened (paused, 3 capfile processes spawned)";
constexpr char kPractice[] = "CLI capture-test: launching practice (source=practice)";
constexpr char kUsb[] = "CLI capture-test: source=usb (assuming capture.exe already running on the real rig)";
constexpr char kNoSource[] =
    "CLI capture-test: no --source specified; capfile will idle waiting for frames (test infrastructure only)";
constexpr char kFlipping[] = "CLI capture-test: flipping capfile to CAPTURING (duration=*";
constexpr char kElapsed[] = "CLI capture-test: duration elapsed — closing panel";

class CaptureTestMode : public ConsoleTest {
protected:
    explicit CaptureTestMode(bool simulated_rig = false) : ConsoleTest(simulated_rig) {}
    void SetUp() override {
        ConsoleTest::SetUp();
        forget_capture_position();
    }
    void TearDown() override {
        ConsoleTest::TearDown();
        forget_capture_position();
    }
    void run_with_listening_recorders(const std::string& arguments) {
        order_workers(
            {"capfile finish 0", "practice_player ready", "motion ready", "videogen ready", "viewer ready"});
        start_with({"feed_count=1"}, "--capture-test" + arguments);
        EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    }
    int64_t between(const std::string& from, const std::string& to) const {
        return log_ms_between(installation, from, to);
    }
    void expect_no_process_left() const {
        JOBOBJECT_BASIC_ACCOUNTING_INFORMATION info = {};
        ASSERT_TRUE(QueryInformationJobObject(installation.job, JobObjectBasicAccountingInformation, &info,
                                              sizeof info, nullptr));
        EXPECT_EQ(info.ActiveProcesses, 0u);
    }
};

class CaptureTestModeOnTheRig : public CaptureTestMode {
protected:
    CaptureTestModeOnTheRig() : CaptureTestMode(true) {}
};

}  // namespace

TEST_F(CaptureTestMode, RecordsPracticeAndEndsWithZero) {
    run_with_listening_recorders(" --source practice --duration 2");
    EXPECT_TRUE(log_shows_in_order(installation, {"CLI mode active: capture-test",
                                                  "  --source=practice --duration=2 --pause-before-start=0",
                                                  "CLI mode: scheduling capture kickoff in 500 ms",
                                                  kOpening,
                                                  "launched capfile[0] *",
                                                  "launched capfile[1] *",
                                                  "launched capfile[2] *",
                                                  kOpened,
                                                  kPractice,
                                                  "launched fileplayer*",
                                                  "CLI capture-test: scheduling Start click in 100 ms",
                                                  "CLI capture-test: flipping capfile to CAPTURING (duration=2 sec)",
                                                  "capture_panel: state -> capturing",
                                                  kElapsed,
                                                  "capture_panel: closing (flip capfile_shutdown, wait for exit)",
                                                  "capture_panel: closed",
                                                  "CLI capture-test: scheduling Orvek shutdown",
                                                  "process manager shutting down",
                                                  "CLI mode: exit code 0",
                                                  "controller exiting"}));
    EXPECT_EQ(log_count(installation, "CLI capture-test: *"), 6) << "every step runs once";
    EXPECT_EQ(log_count(installation, "WRN capture_panel: *"), 0);
    EXPECT_GE(between(kFlipping, kElapsed), 1980);
    expect_no_process_left();
}

TEST_F(CaptureTestMode, WithCamerasItStartsNoSourceOfItsOwn) {
    run_with_listening_recorders(" --source usb --duration 1");
    EXPECT_TRUE(log_shows_in_order(
        installation, {kOpening, kOpened, kUsb, "CLI capture-test: scheduling Start click in 100 ms", kFlipping,
                       kElapsed, "CLI mode: exit code 0"}));
    EXPECT_EQ(log_count(installation, "launched fileplayer*"), 0);
    expect_no_process_left();
}

TEST_F(CaptureTestMode, WithoutASourceItSaysThatNothingWillBeRecorded) {
    run_with_listening_recorders(" --duration 1");
    EXPECT_TRUE(log_shows_in_order(
        installation, {kOpening, kOpened, kNoSource, "CLI capture-test: scheduling Start click in 100 ms", kFlipping,
                       kElapsed, "CLI mode: exit code 0"}));
    EXPECT_EQ(log_count(installation, "launched fileplayer*"), 0);
    expect_no_process_left();
}

TEST_F(CaptureTestMode, APauseOfZeroStillWaits100MsAndADurationOf1Records1000Ms) {
    run_with_listening_recorders(" --source usb --duration 1 --pause-before-start 0");
    EXPECT_GE(between("CLI capture-test: scheduling Start click in 100 ms", kFlipping), 90);
    EXPECT_GE(between(kFlipping, kElapsed), 980);
    EXPECT_LT(between(kFlipping, kElapsed), 30000);
}

TEST_F(CaptureTestMode, ThePauseBeforeTheStartIsKept) {
    run_with_listening_recorders(" --source usb --duration 1 --pause-before-start 2");
    EXPECT_GE(between("CLI capture-test: scheduling Start click in 2000 ms", kFlipping), 1980);
}

TEST_F(CaptureTestMode, ARecorderThatDoesNotListenChangesOnlyTheLog) {
    start_with({"feed_count=1"}, "--capture-test --source usb --duration 1");
    EXPECT_EQ(console_wait_for_exit(&console, 60000), 0);
    EXPECT_EQ(log_count(installation, "WRN capture_panel: capfile[*] did not exit in 8000 ms — terminating *"), 3);
    EXPECT_TRUE(log_shows_in_order(installation, {"capture_panel: closed", "CLI mode: exit code 0"}));
    expect_no_process_left();
}

TEST_F(CaptureTestMode, ClosingThePanelByHandDoesNotStopTheRunFromEnding) {
    order_workers({"capfile finish 0"});
    start_with({"feed_count=1"}, "--capture-test --source usb --duration 12");
    ASSERT_TRUE(log_shows(installation, kFlipping));
    HWND panel = FindWindowA("SkiJumpCapturePanel", nullptr);
    ASSERT_NE(panel, nullptr);
    PostMessageW(panel, WM_CLOSE, 0, 0);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_EQ(log_count(installation, "capture_panel: closed"), 1);
    EXPECT_TRUE(log_shows_in_order(installation, {"capture_panel: closed", kElapsed, "CLI mode: exit code 0"}));
}

TEST_F(CaptureTestMode, RecordersThatAreNotThereChangeOnlyTheLog) {
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "capfile.exe").c_str()));
    run_with_listening_recorders(" --source usb --duration 1");
    EXPECT_EQ(log_count(installation, "ERR capture_panel: failed to launch capfile[*]"), 3);
    EXPECT_TRUE(log_shows_in_order(installation, {kOpened, kFlipping, kElapsed, "CLI mode: exit code 0"}));
}

// The player feeds 60 pictures a second into every ring as long as the machine keeps up; what it leaves out the
// recorders repeat. So a file holds what came into the ring while the button was red, and no more than the time has
// room for.
TEST_F(CaptureTestModeOnTheRig, FiveSecondsOfPracticeLeaveThreeWholeFiles) {
    constexpr int64_t kFew = 12;
    const std::string ffmpeg = find_video_tool("ffmpeg.exe");
    if (ffmpeg.empty() || find_video_tool("ffprobe.exe").empty())
        GTEST_SKIP() << "no ffmpeg.exe or ffprobe.exe: ./dev setup fetches them";
    ASSERT_TRUE(installation_bring_file(installation, ffmpeg));
    const std::string output = "*capfile_output_dir=" + installation.folder;
    installation_settings(installation, {"feed_count=3", output.c_str()});
    start("--capture-test --source practice --duration 5 --pause-before-start 10");
    open_shared();
    ASSERT_TRUE(log_shows(installation, kFlipping, 1, 120000));
    int64_t at_start[kFeedCount] = {};
    for (int32_t feed = 0; feed < kFeedCount; ++feed) at_start[feed] = shared_load(shared.block->feed[feed][0].nw);
    ASSERT_TRUE(log_shows(installation, "capture_panel: closing *"));
    int64_t arrived[kFeedCount] = {};
    for (int32_t feed = 0; feed < kFeedCount; ++feed)
        arrived[feed] = int64_t{shared_load(shared.block->feed[feed][0].nw)} - at_start[feed];
    ASSERT_EQ(console_wait_for_exit(&console, 60000), 0);
    EXPECT_TRUE(log_shows_in_order(
        installation, {kOpened, kPractice, kFlipping, kElapsed, "capture_panel: closed", "CLI mode: exit code 0"}));
    EXPECT_EQ(log_count(installation, "WRN capture_panel: *"), 0) << "every recorder closed its file in time";
    expect_no_process_left();

    const std::vector<std::string> files = files_in_folder(installation.folder, ".mp4");
    ASSERT_EQ(files.size(), size_t{kFeedCount});
    const int64_t room = between(kFlipping, kElapsed) * 60 / 1000;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const std::string& file = files[static_cast<size_t>(feed)];
        EXPECT_NE(file.find("\\cap_" + std::to_string(feed) + "_"), std::string::npos) << file;
        const VideoFacts facts = probe_video(file);
        EXPECT_TRUE(facts.whole) << file << ": " << facts.complaints;
        EXPECT_EQ(facts.codec, "h264");
        EXPECT_EQ(facts.rate, "60/1");
        printf("feed %d: %lld pictures, %lld came, room for %lld\n", feed, static_cast<long long>(facts.frames),
               static_cast<long long>(arrived[feed]), static_cast<long long>(room));
        // Frames go on arriving until this test has seen the end.
        EXPECT_GE(facts.frames, std::min(arrived[feed], room) - kFew) << file;
        EXPECT_LE(facts.frames, room + kFew) << file;
        EXPECT_GT(facts.frames, 200) << "a player that starts late is no recording of five seconds";
    }
}
