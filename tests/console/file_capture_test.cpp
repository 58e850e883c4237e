// Capture Feeds and Pause Recording: the question for the folder, the three recorders, the control-block fields that
// steer them, and how a recording ends, also with a recorder that does not listen.
#include <windows.h>

#include <commctrl.h>

#include <string>
#include <vector>

#include "ipc/scoped_handle.h"
#include "tests/console/console_test.h"
#include "tests/console/mouse.h"
#include "tests/support/video_probe.h"

namespace {

constexpr int32_t kCapture = 728, kPause = 729, kStopAll = 202, kStartVideogen = 230, kFileCapture = 510;
constexpr int64_t kGraceMs = 8000, kSlackMs = 5000;
constexpr char kCapturing[] = "Capturing all 3 feeds — press \"Stop Capturing\" to finish";
constexpr char kStopped[] = "Capture Feeds stopped — files finalized in selected directory";
constexpr char kStopping[] = "Capture Feeds: stopping (flip capfile_shutdown, wait for exit)";
constexpr char kStraggler[] = "WRN Capture Feeds: capfile[1] did not exit — terminating (mp4 may miss moov atom)";
constexpr char kAllRecorders[] = "capfile[0] capfile[1] capfile[2]";

class CaptureFeeds : public ConsoleTest {
protected:
    explicit CaptureFeeds(bool simulated_rig = false) : ConsoleTest(simulated_rig) {}
    void start_with_folder(const std::string& more = "feed_count=3") {
        start_with({"*capfile_output_dir=C:\\windows", more.c_str()});
        open_shared();
    }
    // Presses Capture Feeds and waits for the picker.
    HWND ask() {
        ResetEvent(shared.event[kEventCapfile]);
        press_on(kTabPreview, kCapture);
        wait_until([&] { return message_box(console) != nullptr; });
        HWND picker = message_box(console);
        EXPECT_NE(picker, nullptr) << "no picker";
        return picker;
    }
    // Takes the folder that the picker begins with.
    void choose(const std::string& folder = "windows") {
        HWND picker = ask();
        ASSERT_NE(picker, nullptr);
        ASSERT_TRUE(wait_until([&] { return message_box_text(picker).find(folder) != std::string::npos; }));
        PostMessageW(picker, WM_COMMAND, IDOK, 0);
    }
    void begin() {
        ASSERT_NO_FATAL_FAILURE(choose());
        ASSERT_TRUE(status_becomes(console, kCapturing));
    }
    void begin_and_wait_for_recorders() {
        begin();
        wait_for_recorders();
    }
    std::string fields() {
        std::string text = "paused";
        for (const uint32_t& flag : shared.block->capfile_paused) text += " " + std::to_string(shared_load(flag));
        text += " shutdown";
        for (const uint32_t& flag : shared.block->capfile_shutdown) text += " " + std::to_string(shared_load(flag));
        return text;
    }
    testing::AssertionResult buttons_are(const char* capture, const char* pause, bool pause_usable) {
        if (button_text(console, kCapture) == capture && button_text(console, kPause) == pause &&
            is_enabled(console, kPause) == pause_usable && is_enabled(console, kCapture))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << button_text(console, kCapture) << " / " << button_text(console, kPause)
                                           << (is_enabled(console, kPause) ? " usable" : " greyed");
    }
    // By the log's own times.
    void expect_eight_seconds_of_grace() {
        const int64_t waited = log_ms_between(installation, kStopping, kStraggler);
        EXPECT_GE(waited, kGraceMs - 20);
        EXPECT_LT(waited, kGraceMs + kSlackMs);
    }
    testing::AssertionResult recorders_are_running() {
        if (current_tab(console) != kTabProcesses && !select_tab(console, kTabProcesses))
            return testing::AssertionFailure() << "no Processes tab";
        return running_children_become(console, kAllRecorders);
    }
};

class CaptureFeedsOnTheRig : public CaptureFeeds {
protected:
    CaptureFeedsOnTheRig() : CaptureFeeds(true) {}
    void SetUp() override {
        remove_recordings();  // of a run that was broken off
        CaptureFeeds::SetUp();
    }
    void TearDown() override {
        CaptureFeeds::TearDown();
        remove_recordings();
    }
    void remove_recordings() const {
        for (const std::string& file : files_in_folder(folder, ".mp4")) DeleteFileA(file.c_str());
        RemoveDirectoryA(folder.c_str());
    }
    int64_t between(const char* from, const char* to) const {
        return log_ms_between(installation, from, to);
    }
    // Near the root, because Wine's picker loses its way to a deep one.
    const std::string folder = "C:\\orvek_recordings";
};

}  // namespace

TEST_F(CaptureFeeds, AskForAFolderBeginningWithTheOneInTheSettings) {
    start_with_folder();
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    HWND picker = ask();
    EXPECT_NE(message_box_text(picker).find(
                  "Select directory for captured .mp4 files (cap_0_TS.mp4, cap_1_TS.mp4, cap_2_TS.mp4)"),
              std::string::npos)
        << message_box_text(picker);
    EXPECT_EQ(GetWindow(picker, GW_OWNER), console.window);
    EXPECT_TRUE(wait_until([&] { return message_box_text(picker).find("windows") != std::string::npos; }));
    PostMessageW(picker, WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(status_becomes(console, "Capture Feeds cancelled — no directory selected"));
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    EXPECT_TRUE(children_of(console.pid).empty());
    EXPECT_EQ(log_count(installation, "settings: saved to *"), 0);
    EXPECT_FALSE(event_is_set(shared, kEventCapfile));
}

TEST_F(CaptureFeeds, RecordAllThreeFeedsWhateverTheFeedCount) {
    start_with_folder("feed_count=1");
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        shared_store(shared.block->capfile_paused[feed], 1u);
        shared_store(shared.block->capfile_shutdown[feed], 1u);
    }
    begin();
    EXPECT_TRUE(buttons_are("Stop Capturing", "Pause Recording", true));
    EXPECT_EQ(fields(), "paused 0 0 0 shutdown 0 0 0");
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    EXPECT_TRUE(recorders_are_running());
    const std::string image = installation_path(installation, "capfile.exe");
    const std::vector<ListRow> rows = process_rows(console);
    for (size_t feed = 0; feed < rows.size(); ++feed)
        EXPECT_EQ(rows[feed].command, "\"" + image + "\" " + std::to_string(feed));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"Capture Feeds: output_dir = C:\\windows (saved to settings)", "launched capfile[0] *",
                       "launched capfile[1] *", "launched capfile[2] *"}));
    EXPECT_EQ(installation_setting(installation, "*capfile_output_dir"), "C:\\windows");
}

TEST_F(CaptureFeeds, AnotherFolderChosenInThePickerIsKept) {
    start_with_folder();
    HWND picker = ask();
    ASSERT_TRUE(wait_until([&] { return message_box_text(picker).find("windows") != std::string::npos; }));
    HWND tree = FindWindowExW(picker, nullptr, WC_TREEVIEWW, nullptr);
    ASSERT_NE(tree, nullptr);
    const LRESULT windows = SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0);
    const LRESULT drive = SendMessageW(tree, TVM_GETNEXTITEM, TVGN_PARENT, windows);
    SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, drive);
    PostMessageW(picker, WM_COMMAND, IDOK, 0);
    ASSERT_TRUE(status_becomes(console, kCapturing));
    EXPECT_TRUE(log_shows(installation, "Capture Feeds: output_dir = C:\\ (saved to settings)"));
    EXPECT_EQ(installation_setting(installation, "*capfile_output_dir"), "C:\\");
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(installation_setting(installation, "*capfile_output_dir"), "C:\\");
}

TEST_F(CaptureFeeds, PauseAndResumeTellAllThreeRecorders) {
    start_with_folder();
    begin();
    ResetEvent(shared.event[kEventCapfile]);
    press_on(kTabPreview, kPause);
    EXPECT_TRUE(
        status_becomes(console, "Recording paused — files stay open, click \"Resume Recording\" to continue"));
    EXPECT_TRUE(buttons_are("Stop Capturing", "Resume Recording", true));
    EXPECT_EQ(fields(), "paused 1 1 1 shutdown 0 0 0");
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    EXPECT_TRUE(log_shows(installation, "Capture Feeds: recording paused"));

    ResetEvent(shared.event[kEventCapfile]);
    press_on(kTabPreview, kPause);
    EXPECT_TRUE(status_becomes(console, "Recording resumed"));
    EXPECT_TRUE(buttons_are("Stop Capturing", "Pause Recording", true));
    EXPECT_EQ(fields(), "paused 0 0 0 shutdown 0 0 0");
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    EXPECT_TRUE(log_shows(installation, "Capture Feeds: recording resumed"));
}

TEST_F(CaptureFeeds, PauseRecordingWithoutACaptureOnlyWarns) {
    start_with_folder();
    ResetEvent(shared.event[kEventCapfile]);
    const std::string before = fields();
    send_command(console, kPause);
    EXPECT_TRUE(log_shows(installation,
                          "WRN Pause Recording: clicked but capture is not active — ignored (button "
                          "should be disabled in this state)"));
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    EXPECT_EQ(fields(), before);
    EXPECT_EQ(status_text(console), "Ready");
    EXPECT_FALSE(event_is_set(shared, kEventCapfile));
}

TEST_F(CaptureFeeds, StoppingWaitsForEveryFileAndTerminatesNobody) {
    order_workers({"capfile[0] finish 0", "capfile[1] finish 1500", "capfile[2] finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    press_on(kTabPreview, kPause);  // a paused recording stops as well
    ASSERT_TRUE(button_becomes(console, kPause, "Resume Recording"));
    ResetEvent(shared.event[kEventCapfile]);
    const size_t before = log_length(installation);
    press_on(kTabPreview, kCapture);
    ASSERT_TRUE(status_becomes(console, kStopped));
    wait_for_workers({"capfile[0] file closed", "capfile[1] file closed", "capfile[2] file closed"});
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    EXPECT_EQ(fields(), "paused 1 1 1 shutdown 1 1 1");
    EXPECT_TRUE(event_is_set(shared, kEventCapfile));
    EXPECT_TRUE(log_shows_in_order_from(installation, before, {kStopping, "capfile[1] exited normally"}));
    EXPECT_EQ(log_count(installation, "WRN Capture Feeds: *"), 0);
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 0);
    EXPECT_TRUE(children_of(console.pid).empty());
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    const std::vector<ListRow> rows = process_rows(console);
    EXPECT_EQ(rows.size(), 3u);
    for (const ListRow& row : rows) EXPECT_EQ(row.state, "Stopped") << row.process;
}

TEST_F(CaptureFeeds, ANewRecordingCanBeginAfterAStop) {
    order_workers({"capfile finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    press_on(kTabPreview, kCapture);
    ASSERT_TRUE(status_becomes(console, kStopped));
    begin();
    EXPECT_TRUE(buttons_are("Stop Capturing", "Pause Recording", true));
    EXPECT_EQ(fields(), "paused 0 0 0 shutdown 0 0 0");
    EXPECT_TRUE(recorders_are_running());
}

TEST_F(CaptureFeeds, ARecorderThatIgnoresTheRequestIsTerminatedAfterEightSeconds) {
    order_workers({"capfile[0] finish 0", "capfile[2] finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    press_on(kTabPreview, kCapture);
    ASSERT_TRUE(status_becomes(console, kStopped));
    expect_eight_seconds_of_grace();
    EXPECT_TRUE(console_answers(console, 1000)) << "the console answers again";
    EXPECT_TRUE(log_shows_in_order(installation, {kStopping, kStraggler, "stopping capfile[1] *"}));
    EXPECT_EQ(log_count(installation, "WRN Capture Feeds: *"), 1);
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 1) << "the others were not terminated";
    EXPECT_EQ(log_count(installation, "capfile[0] exited normally"), 1);
    EXPECT_EQ(log_count(installation, "capfile[2] exited normally"), 1);
    EXPECT_TRUE(children_of(console.pid).empty());
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    press_on(kTabPreview, 716);
    EXPECT_TRUE(button_becomes(console, 716, "Highlight OFF")) << "and the buttons work";
}

TEST_F(CaptureFeeds, WithoutCapfileTheFailureIsTold) {
    start_with_folder();
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "capfile.exe").c_str()));
    choose();
    EXPECT_TRUE(status_becomes(console, "Capture Feeds failed — see controller log"));
    EXPECT_TRUE(log_shows(installation, "ERR Capture Feeds: failed to launch capfile[0]"));
    EXPECT_EQ(log_count(installation, "ERR Capture Feeds: *"), 1) << "the others are not tried";
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    EXPECT_FALSE(event_is_set(shared, kEventCapfile));
}

TEST_F(CaptureFeeds, RecordersStartedBeforeOneThatFailsKeepRunning) {
    start_with_folder();
    for (int32_t i = 0; i < 15; ++i) press_on(kTabProcesses, 232);  // room for one more child
    choose();
    EXPECT_TRUE(status_becomes(console, "Capture Feeds failed — see controller log"));
    EXPECT_TRUE(log_shows(installation, "ERR Capture Feeds: failed to launch capfile[1]"));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_NE(pid_of_child(console, "capfile[0]"), 0u);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(CaptureFeeds, ASecondPressWhileThePickerIsOpenAsksNothing) {
    start_with_folder();
    HWND picker = ask();
    send_command(console, kCapture);
    EXPECT_TRUE(log_shows(installation, "WRN Capture Feeds: nobody can be asked for a directory now — ignored"));
    PostMessageW(picker, WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(status_becomes(console, "Capture Feeds cancelled — no directory selected"));
}

TEST_F(CaptureFeeds, AnUnattendedRunShowsNoPicker) {
    start_with({"feed_count=1"}, "--practice-test --max-movies 1000");
    send_command(console, kCapture);
    EXPECT_TRUE(log_shows(installation, "WRN Capture Feeds: nobody can be asked for a directory now — ignored"));
    EXPECT_EQ(message_box(console), nullptr);
    EXPECT_EQ(log_count(installation, "launched capfile*"), 0);
}

TEST_F(CaptureFeeds, ClosingTheWindowFinishesTheFilesBeforeItEndsAnybody) {
    order_workers({"capfile[0] finish 0", "capfile[1] finish 1500", "capfile[2] finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    const uint32_t pid = console.pid;
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(children_of(pid).empty());
    wait_for_workers({"capfile[0] file closed", "capfile[1] file closed", "capfile[2] file closed"});
    EXPECT_EQ(shared_load(shared.block->shutdown), 1u);
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 0);
    EXPECT_TRUE(
        log_shows_in_order(installation, {kStopping, "capfile[1] exited normally", "process manager shutting down"}));
}

TEST_F(CaptureFeeds, ARecorderThatDoesNotListenKeepsTheWindowFromClosingForEightSecondsOnly) {
    order_workers({"capfile[0] finish 0", "capfile[2] finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    const uint32_t pid = console.pid;
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(children_of(pid).empty());
    expect_eight_seconds_of_grace();
    EXPECT_TRUE(
        log_shows_in_order(installation, {kStraggler, "stopping capfile[1] *", "process manager shutting down"}));
}

TEST_F(CaptureFeeds, StopAllFinishesTheFilesBeforeItEndsTheOthers) {
    order_workers({"capfile finish 0"});
    start_with_folder();
    press_on(kTabProcesses, kStartVideogen);
    ASSERT_TRUE(log_shows(installation, "launched videogen *"));
    begin_and_wait_for_recorders();
    press_on(kTabProcesses, kStopAll);
    ASSERT_TRUE(status_becomes(console, "All processes stopped"));
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 0);
    EXPECT_TRUE(log_shows_in_order(installation, {kStopping, "capfile[2] exited normally", "stopping videogen *"}));
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
}

TEST_F(CaptureFeeds, StopAllInPracticeLetsTheRecordingGoOn) {
    order_workers({"capfile finish 0", "practice_player ready", "motion ready", "videogen ready", "viewer ready"});
    start_with_folder("feed_count=1");
    press_on(kTabPreview, 701);
    ASSERT_TRUE(log_shows(installation, "practice: all processes ready, viewer launched, playing"));
    begin_and_wait_for_recorders();
    press_on(kTabProcesses, kStopAll);
    ASSERT_TRUE(status_becomes(console, "Practice ended — captures resumed; motion stayed alive"));
    EXPECT_EQ(log_count(installation, kStopping), 0);
    EXPECT_EQ(fields(), "paused 0 0 0 shutdown 0 0 0");
    EXPECT_TRUE(buttons_are("Stop Capturing", "Pause Recording", true));
    for (const char* recorder : {"capfile[0]", "capfile[1]", "capfile[2]"})
        EXPECT_NE(pid_of_child(console, recorder), 0u) << recorder;
}

TEST_F(CaptureFeeds, ARecorderThatDiesIsNotStartedAgain) {
    start_with_folder();
    begin_and_wait_for_recorders();
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    ASSERT_TRUE(end_process(pid_of_child(console, "capfile[1]")));
    ASSERT_TRUE(log_shows(installation, "ERR capfile[1] exited with code *"));
    EXPECT_TRUE(running_children_become(console, "capfile[0] capfile[2]"));
    EXPECT_EQ(log_count(installation, "restarting *"), 0);
    EXPECT_EQ(log_count(installation, "launched capfile[1] *"), 1);
}

// Nothing keeps the panel's recorders and these apart; whoever closes the program wants all files whole.
TEST_F(CaptureFeeds, ClosingFinishesTheRecordersOfThePanelAsWell) {
    order_workers({"capfile finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    send_command(console, kFileCapture);
    ASSERT_TRUE(log_shows(installation, "capture_panel: opened *"));
    const uint32_t pid = console.pid;
    ASSERT_TRUE(wait_until([&] { return children_of(pid).size() == 6; }));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(children_of(pid).empty());
    EXPECT_EQ(log_count(installation, "capture_panel: closed"), 1);
    EXPECT_EQ(log_count(installation, "stopping capfile*"), 0);
    for (const char* recorder : {"capfile[0]", "capfile[1]", "capfile[2]"})
        EXPECT_EQ(log_count(installation, std::string(recorder) + " exited normally"), 2) << recorder;
}

TEST_F(CaptureFeeds, AFolderThatCannotBeSavedIsToldAndTheRecordingBegins) {
    start_with_folder();
    ASSERT_TRUE(CreateDirectoryA(installation_path(installation, "settings.txt.tmp").c_str(), nullptr));
    begin();
    EXPECT_TRUE(log_shows(installation,
                          "WRN Capture Feeds: output_dir = C:\\windows could not be saved — recording goes where the "
                          "file says"));
    EXPECT_EQ(log_count(installation, "Capture Feeds: output_dir = *"), 0);
    EXPECT_TRUE(recorders_are_running());
}

// The window is silent while it waits for the recorders; whoever clicks again meant the button as it was then.
TEST_F(CaptureFeeds, ImpatientClicksWhileItStopsAskForNoFolder) {
    order_workers({"capfile[0] finish 0", "capfile[1] finish 3000", "capfile[2] finish 0"});
    start_with_folder();
    begin_and_wait_for_recorders();
    ASSERT_TRUE(select_tab(console, kTabPreview));
    ASSERT_TRUE(brought_to_front(console.window));
    HWND button = control(console, kCapture);
    for (int32_t i = 0; i < 3; ++i) {
        ASSERT_TRUE(click_at(button, 70, 10));
        Sleep(100);
    }
    ASSERT_TRUE(status_becomes(console, kStopped));
    EXPECT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_FALSE(wait_until([&] { return message_box(console) != nullptr; }, 1500)) << "it asks for a folder";
    EXPECT_TRUE(buttons_are("Capture Feeds", "Pause Recording", false));
    ASSERT_TRUE(click_at(button, 70, 10));
    EXPECT_TRUE(wait_until([&] { return message_box(console) != nullptr; })) << "a click thereafter counts";
}

TEST_F(CaptureFeeds, ClosingTheProgramUnderThePickerBeginsNothing) {
    start_with_folder();
    ask();
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(log_count(installation, "launched capfile*"), 0);
}

TEST_F(CaptureFeeds, WorkWithoutAControlBlock) {
    order_workers({"capfile exit 0"});
    const ScopedHandle taken(CreateSemaphoreA(nullptr, 0, 1, kControlBlockName));
    ASSERT_TRUE(taken.valid());
    start_with({"*capfile_output_dir=C:\\windows"});
    press_on(kTabPreview, kCapture);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    HWND picker = message_box(console);
    ASSERT_TRUE(wait_until([&] { return message_box_text(picker).find("windows") != std::string::npos; }));
    PostMessageW(picker, WM_COMMAND, IDOK, 0);
    ASSERT_TRUE(status_becomes(console, kCapturing));
    press_on(kTabPreview, kPause);
    ASSERT_TRUE(button_becomes(console, kPause, "Resume Recording"));
    press_on(kTabPreview, kCapture);
    EXPECT_TRUE(status_becomes(console, kStopped));
}

// The pause is cut out of the files, and closing them costs neither a warning nor a frame.
TEST_F(CaptureFeedsOnTheRig, APracticeRunRecordedWithAPauseLeavesThreeWholeFiles) {
    if (find_video_tool("ffmpeg.exe").empty() || find_video_tool("ffprobe.exe").empty())
        GTEST_SKIP() << "there is no ffmpeg.exe or ffprobe.exe";
    ASSERT_TRUE(installation_bring(installation, "ffmpeg.exe"));
    CreateDirectoryA(folder.c_str(), nullptr);
    start_with({("*capfile_output_dir=" + folder).c_str(), "feed_count=3", "capfile_stitch_across_pause=1"});
    open_shared();
    press_on(kTabPreview, 701);
    // The rings are gigabytes to be pinned first.
    ASSERT_TRUE(
        log_shows(installation, "practice: all processes ready, viewer launched, playing", 1, 4 * kPatienceMs));
    choose("recordings");
    ASSERT_TRUE(status_becomes(console, kCapturing));
    ASSERT_TRUE(wait_until([&] { return files_in_folder(folder, ".mp4").size() == 3; })) << "no pictures arrive";
    Sleep(2000);
    press_on(kTabPreview, kPause);
    ASSERT_TRUE(button_becomes(console, kPause, "Resume Recording"));
    Sleep(1500);
    press_on(kTabPreview, kPause);
    ASSERT_TRUE(button_becomes(console, kPause, "Pause Recording"));
    Sleep(1000);
    press_on(kTabPreview, kCapture);
    ASSERT_TRUE(status_becomes(console, kStopped));
    EXPECT_EQ(log_count(installation, "WRN Capture Feeds: *"), 0);
    for (int32_t feed = 0; feed < kFeedCount; ++feed)
        EXPECT_TRUE(log_shows(installation, "capfile[" + std::to_string(feed) + "] exited normally"));
    EXPECT_EQ(console_close(&console), 0);

    const std::vector<std::string> files = files_in_folder(folder, ".mp4");
    ASSERT_EQ(files.size(), 3u);
    constexpr int64_t kFew = 12;
    const int64_t recorded_ms = between("launched capfile[0] *", "Capture Feeds: recording paused") +
                                between("Capture Feeds: recording resumed", kStopping);
    const int64_t room = recorded_ms * 60 / 1000 + kFew;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const std::string& file = files[static_cast<size_t>(feed)];
        EXPECT_NE(file.find("\\cap_" + std::to_string(feed) + "_"), std::string::npos) << file;
        const VideoFacts facts = probe_video(file);
        EXPECT_TRUE(facts.whole) << file << ": " << facts.complaints;
        EXPECT_GT(facts.frames, 60) << file;
        EXPECT_LT(facts.frames, room) << file << ": the pause is in it";
    }
}
