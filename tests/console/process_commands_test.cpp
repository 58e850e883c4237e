// Starting and stopping workers from the Processes tab. The workers are fakes: what counts is which children run,
// what the list shows and what the log tells.
#include <windows.h>  // before commctrl.h, which needs it

#include <commctrl.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/console/console_test.h"

namespace {
class ProcessCommands : public ConsoleTest {
protected:
    // Start All and wait until its children run.
    void start_all(const std::string& children) {
        press_on(kTabProcesses, 201);
        ASSERT_TRUE(running_children_become(console, children));
        ASSERT_TRUE(status_becomes(console, "All processes started"));
    }
    std::string quoted(const char* image) const {
        return "\"" + installation_path(installation, image) + "\"";
    }
};

struct FeedCase {
    const char* setting;
    int32_t feeds;
    const char* children;
};
void PrintTo(const FeedCase& one, std::ostream* out) {
    *out << one.setting;
}
class StartAllByFeedCount : public ProcessCommands, public testing::WithParamInterface<FeedCase> {};
}  // namespace

static const ListRow* row_of(const std::vector<ListRow>& rows, const std::string& name) {
    for (const ListRow& row : rows)
        if (row.process == name) return &row;
    return nullptr;
}

static std::string cell_of(const Console& console, const std::string& name, std::string ListRow::*column) {
    const std::vector<ListRow> rows = process_rows(console);
    const ListRow* row = row_of(rows, name);
    return row != nullptr ? row->*column : "(no row " + name + ")";
}

TEST_P(StartAllByFeedCount, StartsCaptureAndMotionOfEveryActiveFeed) {
    start_with({GetParam().setting});
    start_all(GetParam().children);
    const std::string count = std::string(GetParam().setting).substr(sizeof "feed_count=" - 1);
    EXPECT_TRUE(log_shows_in_order(
        installation, {"launched capture*", "launched motion*",
                       "START_ALL: spawned " + std::to_string(GetParam().feeds) + " feed(s) for feed_count=" + count,
                       "launched videogen (PID *): *"}));
    EXPECT_EQ(children_of(console.pid).size(), process_rows(console).size());
}

INSTANTIATE_TEST_SUITE_P(, StartAllByFeedCount,
                         testing::Values(FeedCase{"feed_count=1", 1, "capture[1] motion[1] videogen"},
                                         FeedCase{"feed_count=2", 2,
                                                  "capture[1] motion[1] capture[2] motion[2] videogen"},
                                         FeedCase{"feed_count=3", 3,
                                                  "capture[0] motion[0] capture[1] motion[1] capture[2] motion[2] "
                                                  "videogen"}),
                         [](const auto& one) { return "With" + std::to_string(one.param.feeds) + "Feeds"; });

TEST_F(ProcessCommands, TheListShowsEveryChildWithItsCommandLine) {
    start_with({"feed_count=2", "*camera_device_path[2]=usb#cam-two"});
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    ASSERT_TRUE(running_children_become(console, "capture[2] motion[2]")) << "started with the program";
    std::vector<int32_t> widths;
    EXPECT_EQ(process_list_columns(console, &widths),
              (std::vector<std::string>{"Process", "PID", "State", "Restarts", "Command", "Exit", "Age"}));
    EXPECT_EQ(widths, (std::vector<int32_t>{120, 70, 90, 70, 380, 170, 90}));

    press_on(kTabProcesses, 211);
    press_on(kTabProcesses, 230);
    press_on(kTabProcesses, 232);
    ASSERT_TRUE(running_children_become(console, "capture[2] motion[2] capture[1] videogen viewer"));
    const std::string settings = " \"" + installation_path(installation, "settings.txt") + "\"";
    EXPECT_EQ(cell_of(console, "capture[2]", &ListRow::command),
              quoted("capture.exe") + " 2 --device-path \"usb#cam-two\"");
    EXPECT_EQ(cell_of(console, "capture[1]", &ListRow::command), quoted("capture.exe") + " 1");
    EXPECT_EQ(cell_of(console, "motion[2]", &ListRow::command), quoted("motion.exe") + " 2" + settings);
    EXPECT_EQ(cell_of(console, "videogen", &ListRow::command), quoted("videogen.exe") + settings);
    EXPECT_EQ(cell_of(console, "viewer", &ListRow::command), quoted("viewer.exe") + settings);
    for (const ListRow& row : process_rows(console)) {
        EXPECT_EQ(row.restarts, "0") << row.process;
        EXPECT_TRUE(is_running(static_cast<uint32_t>(std::stoul(row.pid)))) << row.process;
        EXPECT_EQ(log_count(installation, "launched " + row.process + " (PID " + row.pid + "): " + row.command), 1);
    }
}

TEST_F(ProcessCommands, ChildrenReceiveTheirArgumentsAndTheSettingsFolderAsDirectory) {
    start_with({"feed_count=1"});
    start_all("capture[1] motion[1] videogen");
    ASSERT_TRUE(wait_until([&] {
        const std::string text = installation_read(installation, "fake.log");
        return text.find("capture[1] pid=") != std::string::npos && text.find("motion[1] pid=") != std::string::npos;
    }));
    const std::string text = installation_read(installation, "fake.log");
    EXPECT_NE(text.find("line=" + quoted("motion.exe") + " 1 \"" + installation.folder +
                        "\\settings.txt\" dir=" + installation.folder),
              std::string::npos)
        << text;
}

TEST_F(ProcessCommands, StopAllEndsEveryChildAndClearsReadiness) {
    start_with({"feed_count=1"});
    start_all("capture[1] motion[1] videogen");
    open_shared();
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        shared_store(shared.block->source_ready[feed], kWorkerReady);
        shared_store(shared.block->motion_ready[feed], kWorkerReady);
    }
    shared_store(shared.block->videogen_state, kWorkerReady);
    shared_store(shared.block->viewer_state, kWorkerReady);
    const size_t before = log_length(installation);
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "All processes stopped"));
    EXPECT_TRUE(log_shows_in_order_from(
        installation, before,
        {"stopping capture[1] (PID *)", "stopping motion[1] (PID *)", "stopping videogen (PID *)"}));
    EXPECT_EQ(running_children(console), "");
    EXPECT_TRUE(children_of(console.pid).empty());
    for (const char* name : {"capture[1]", "motion[1]", "videogen"})
        EXPECT_EQ(cell_of(console, name, &ListRow::state), "Stopped") << name;

    EXPECT_EQ(shared_load(shared.block->shutdown), 1u);
    for (int32_t index :
         {kEventResume, kEventNewOutput, kEventMotionWake, kEventMotionWake + 1, kEventMotionWake + 2})
        EXPECT_TRUE(event_is_set(shared, index)) << "event " << index;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        EXPECT_EQ(shared_load(shared.block->source_ready[feed]), 0) << "feed " << feed;
        EXPECT_EQ(shared_load(shared.block->motion_ready[feed]), 0) << "feed " << feed;
    }
    EXPECT_EQ(shared_load(shared.block->videogen_state), 0);
    EXPECT_EQ(shared_load(shared.block->viewer_state), 0);
}

TEST_F(ProcessCommands, ANewStartAfterStopAllTakesFurtherSlotsAndClearsShutdown) {
    start_with({"feed_count=1"});
    start_all("capture[1] motion[1] videogen");
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "All processes stopped"));
    start_all("capture[1] motion[1] videogen");
    EXPECT_EQ(process_rows(console).size(), 6u) << "stopped children keep their rows";
    open_shared();
    EXPECT_EQ(shared_load(shared.block->shutdown), 0u);
}

TEST_F(ProcessCommands, TheRunResetClearsTheRequestAndLeavesWhatWorkersOwn) {
    start_with({"feed_count=1"});
    open_shared();
    ControlBlock& block = *shared.block;
    shared_store(block.shutdown, 1u);
    shared_store(block.output_active, 1u);
    shared_store(block.output_frame_idx, 33);
    for (uint32_t& ack : block.force_ack) shared_store(ack, 1u);
    shared_store(block.force_result, int64_t{5});
    shared_store(block.force_start_seq, int64_t{6});
    shared_store(block.force_end_seq, int64_t{7});
    shared_store(block.force_request, 1u);
    shared_store(block.force_frame, 9);
    shared_store(block.force_state, 2u);
    shared_store(block.capfile_paused[1], 1u);
    shared_store(block.source_ready[0], 2);
    shared_store(block.motion_ready[2], 1);
    shared_store(block.videogen_state, 2);
    shared_store(block.feed[1][0].nw, 1234u);
    shared_store(block.motion_idx[1], 1200u);
    shared_store(block.movie_published_count, 8u);
    shared_store(block.movie_serial, int64_t{88});
    shared_store(block.feed_sync_offset[2], -3);
    shared_store(block.diag_logging, 1u);
    const int64_t epoch = shared_load(block.sync_epoch_us);
    start_all("capture[1] motion[1] videogen");
    EXPECT_EQ(shared_load(block.shutdown), 0u);
    EXPECT_EQ(shared_load(block.output_active), 0u);
    EXPECT_EQ(shared_load(block.output_frame_idx), -1);
    for (uint32_t& ack : block.force_ack) EXPECT_EQ(shared_load(ack), 0u);
    EXPECT_EQ(shared_load(block.force_result), 0);
    EXPECT_EQ(shared_load(block.force_start_seq), 0);
    EXPECT_EQ(shared_load(block.force_end_seq), 0);
    EXPECT_EQ(shared_load(block.force_request), 0u);
    EXPECT_EQ(shared_load(block.force_frame), -1);
    EXPECT_EQ(shared_load(block.force_state), 0u);
    EXPECT_EQ(shared_load(block.capfile_paused[1]), 1u);
    EXPECT_EQ(shared_load(block.source_ready[0]), 2);
    EXPECT_EQ(shared_load(block.motion_ready[2]), 1);
    EXPECT_EQ(shared_load(block.videogen_state), 2);
    EXPECT_EQ(shared_load(block.feed[1][0].nw), 1234u);
    EXPECT_EQ(shared_load(block.motion_idx[1]), 1200u);
    EXPECT_EQ(shared_load(block.movie_published_count), 8u);
    EXPECT_EQ(shared_load(block.movie_serial), 88);
    EXPECT_EQ(shared_load(block.feed_sync_offset[2]), -3);
    EXPECT_EQ(shared_load(block.diag_logging), 1u);
    EXPECT_EQ(shared_load(block.paused), 1u);
    EXPECT_EQ(shared_load(block.sync_epoch_us), epoch);
}

TEST_F(ProcessCommands, SingleStartsAndStopsTouchOnlyTheirChild) {
    start_with({"feed_count=3"});
    struct Case {
        int32_t start_id, stop_id;
        const char* child;
    };
    constexpr Case kCases[] = {
        {210, 213, "capture[0]"}, {211, 214, "capture[1]"}, {212, 215, "capture[2]"}, {220, 223, "motion[0]"},
        {221, 224, "motion[1]"},  {222, 225, "motion[2]"},  {230, 231, "videogen"},   {232, 233, "viewer"},
    };
    std::string running;
    for (const Case& one : kCases) {
        press_on(kTabProcesses, one.start_id);
        running += (running.empty() ? "" : " ") + std::string(one.child);
        ASSERT_TRUE(running_children_become(console, running));
    }
    for (const Case& one : kCases) {
        press_on(kTabProcesses, one.stop_id);
        const std::string gone = std::string(one.child) + " ";
        running = running.size() > gone.size() ? running.substr(gone.size()) : "";
        ASSERT_TRUE(running_children_become(console, running));
        EXPECT_EQ(cell_of(console, one.child, &ListRow::state), "Stopped") << one.child;
        EXPECT_EQ(log_count(installation, "stopping " + std::string(one.child) + " (PID *)"), 1);
    }
}

TEST_F(ProcessCommands, ASecondStartOfTheSameChildRunsATwin) {
    start_with({"feed_count=1"});
    press_on(kTabProcesses, 221);
    press_on(kTabProcesses, 221);
    EXPECT_TRUE(running_children_become(console, "motion[1] motion[1]"));
}

TEST_F(ProcessCommands, UnusedCommandNumbersDoNothing) {
    start_with({"feed_count=3"});
    ASSERT_TRUE(log_shows(installation, "jumper highlight: index=0"));  // the last line of a start
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    const size_t before = log_length(installation);
    for (int32_t id : {216, 217, 218, 219, 226, 229, 234, 250, 299}) send_command(console, id);
    press_on(kTabProcesses, 232);  // the last in the queue, so that the others have been handled
    ASSERT_TRUE(running_children_become(console, "viewer"));
    EXPECT_EQ(process_rows(console).size(), 1u);
    EXPECT_EQ(log_length(installation), before + 1);
}

TEST_F(ProcessCommands, AKilledMotionWorkerIsBackWithinASecondAndItsRestartsAreCounted) {
    start_with({"feed_count=1"});
    start_all("capture[1] motion[1] videogen");
    for (int32_t attempt = 1; attempt <= 2; ++attempt) {
        const uint32_t before = pid_of_child(console, "motion[1]");
        const uint64_t killed_at = GetTickCount64();
        ASSERT_TRUE(end_process(before));
        ASSERT_TRUE(wait_until([&] {
            const uint32_t now = pid_of_child(console, "motion[1]");
            return now != 0 && now != before;
        }));
        // One poll is due every half second; the rest is the machine's.
        EXPECT_LT(GetTickCount64() - killed_at, 3000u);
        EXPECT_EQ(cell_of(console, "motion[1]", &ListRow::restarts), std::to_string(attempt));
        EXPECT_TRUE(log_shows_in_order(
            installation,
            {"ERR motion[1] exited with code 77", "restarting motion[1] (attempt " + std::to_string(attempt) + ")",
             "launched motion[1] (PID *): *"}));
    }
    EXPECT_EQ(running_children(console), "capture[1] motion[1] videogen") << "in its old slot";
}

TEST_F(ProcessCommands, AKilledCaptureStaysFailed) {
    start_with({"feed_count=1"});
    start_all("capture[1] motion[1] videogen");
    ASSERT_TRUE(end_process(pid_of_child(console, "capture[1]")));
    EXPECT_TRUE(becomes(
        "state", [&] { return cell_of(console, "capture[1]", &ListRow::state); }, std::string("Failed")));
    // A motion worker killed later has come back: polls have passed, and the capture was left alone.
    ASSERT_TRUE(end_process(pid_of_child(console, "motion[1]")));
    EXPECT_TRUE(log_shows(installation, "restarting motion[1] (attempt 1)"));
    EXPECT_EQ(cell_of(console, "capture[1]", &ListRow::state), "Failed");
    EXPECT_EQ(cell_of(console, "capture[1]", &ListRow::restarts), "0");
    EXPECT_EQ(log_count(installation, "restarting capture*"), 0);
}

TEST_F(ProcessCommands, ACaptureThatEndsByItselfWithZeroShowsStopped) {
    order_workers({"capture exit 0"});
    start_with({"feed_count=1"});
    press_on(kTabProcesses, 211);
    EXPECT_TRUE(log_shows(installation, "capture[1] exited normally"));
    EXPECT_TRUE(becomes(
        "state", [&] { return cell_of(console, "capture[1]", &ListRow::state); }, std::string("Stopped")));
}

TEST_F(ProcessCommands, AMotionWorkerThatCannotLiveIsTriedAgainAndAgain) {
    order_workers({"motion exit 3"});
    start_with({"feed_count=1"});
    press_on(kTabProcesses, 221);
    EXPECT_TRUE(log_shows(installation, "ERR motion[1] exited with code 3", 3));
    EXPECT_TRUE(log_shows(installation, "restarting motion[1] (attempt 3)"));
    EXPECT_EQ(process_rows(console).size(), 1u) << "always in the same slot";
    press_on(kTabProcesses, 224);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(ProcessCommands, AStoppedMotionWorkerIsNotRestarted) {
    start_with({"feed_count=3"});
    press_on(kTabProcesses, 220);
    press_on(kTabProcesses, 221);
    ASSERT_TRUE(running_children_become(console, "motion[0] motion[1]"));
    press_on(kTabProcesses, 223);
    ASSERT_TRUE(running_children_become(console, "motion[1]"));
    ASSERT_TRUE(end_process(pid_of_child(console, "motion[1]")));
    EXPECT_TRUE(log_shows(installation, "restarting motion[1] (attempt 1)")) << "the polls go on";
    EXPECT_EQ(log_count(installation, "restarting motion[0] *"), 0);
    EXPECT_EQ(cell_of(console, "motion[0]", &ListRow::state), "Stopped");
}

TEST_F(ProcessCommands, AMissingProgramShowsAsFailedAndIsNeverTriedAgain) {
    start_with({"feed_count=1"});
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "motion.exe").c_str()));
    press_on(kTabProcesses, 221);
    EXPECT_TRUE(log_shows(installation, "ERR CreateProcess failed for 'motion[1]': 2"));
    press_on(kTabProcesses, 210);
    ASSERT_TRUE(running_children_become(console, "capture[0]"));
    EXPECT_EQ(cell_of(console, "motion[1]", &ListRow::state), "Failed");
    EXPECT_EQ(cell_of(console, "motion[1]", &ListRow::command),
              quoted("motion.exe") + " 1 \"" + installation.folder + "\\settings.txt\"");
    ASSERT_TRUE(end_process(pid_of_child(console, "capture[0]")));
    ASSERT_TRUE(log_shows(installation, "ERR capture[0] exited with code 77")) << "a poll has passed";
    EXPECT_EQ(log_count(installation, "restarting *"), 0);
}

TEST_F(ProcessCommands, TheExitColumnTellsInWordsHowAWorkerEnded) {
    order_workers({"viewer exit 0", "capture[2] exit 77"});
    start_with({"feed_count=3"});
    ASSERT_TRUE(DeleteFileA(installation_path(installation, "motion.exe").c_str()));
    for (const int32_t id : {210, 211, 212, 220, 232}) press_on(kTabProcesses, id);
    ASSERT_TRUE(running_children_become(console, "capture[0] capture[1]"));
    EXPECT_EQ(cell_of(console, "capture[0]", &ListRow::exit), "") << "while it runs";
    HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, pid_of_child(console, "capture[0]"));
    ASSERT_NE(process, nullptr);
    ASSERT_TRUE(TerminateProcess(process, 0xC0000005));
    CloseHandle(process);
    press_on(kTabProcesses, 214);
    ASSERT_TRUE(running_children_become(console, ""));
    EXPECT_EQ(cell_of(console, "capture[0]", &ListRow::exit), "access violation");
    EXPECT_EQ(cell_of(console, "capture[1]", &ListRow::exit), "ended by console");
    EXPECT_EQ(cell_of(console, "capture[2]", &ListRow::exit), "code 77");
    EXPECT_EQ(cell_of(console, "motion[0]", &ListRow::exit), "could not be started");
    EXPECT_EQ(cell_of(console, "viewer", &ListRow::exit), "ended normally");
}

TEST_F(ProcessCommands, TheAgeColumnCountsFromTheStartAndThenFromTheEnd) {
    start_with({"feed_count=1"});
    press_on(kTabProcesses, 211);
    ASSERT_TRUE(running_children_become(console, "capture[1]"));
    const auto age_reaches = [&](const std::string& age) {
        return wait_until([&] { return cell_of(console, "capture[1]", &ListRow::age) == age; });
    };
    EXPECT_TRUE(age_reaches("0:02")) << cell_of(console, "capture[1]", &ListRow::age);
    EXPECT_TRUE(age_reaches("0:03")) << cell_of(console, "capture[1]", &ListRow::age);
    press_on(kTabProcesses, 214);
    ASSERT_TRUE(running_children_become(console, ""));
    EXPECT_TRUE(age_reaches("0:02 ago")) << cell_of(console, "capture[1]", &ListRow::age);
}

TEST_F(ProcessCommands, TheListStaysWhereItWasScrolledAndKeepsItsSelection) {
    installation_write(installation, "controller_window.ini", "x=40\ny=30\nwidth=800\nheight=600\n");
    start_with({"feed_count=1"});
    press_on(kTabProcesses, 232);
    press_on(kTabProcesses, 232);
    ASSERT_TRUE(running_children_become(console, "viewer viewer"));
    HWND list = process_list(console);
    HWND header = FindWindowExA(list, nullptr, "SysHeader32", nullptr);
    ASSERT_NE(header, nullptr);
    const auto header_left = [&] {
        RECT at = {};
        RECT frame = {};
        GetWindowRect(header, &at);
        GetWindowRect(list, &frame);
        return at.left - frame.left;
    };
    const LONG before = header_left();
    SendMessageA(list, WM_HSCROLL, SB_PAGERIGHT, 0);
    const LONG scrolled = header_left();
    ASSERT_LT(scrolled, before) << "too wide for the window";
    PostMessageA(list, WM_KEYDOWN, VK_DOWN, 1);
    PostMessageA(list, WM_KEYDOWN, VK_DOWN, 1);
    const auto selected = [&] {
        return static_cast<int32_t>(SendMessageA(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED));
    };
    ASSERT_TRUE(wait_until([&] { return selected() == 1; }));
    const std::string age = cell_of(console, "viewer", &ListRow::age);
    for (int32_t second = 0; second < 2; ++second) {
        ASSERT_TRUE(wait_until([&] { return cell_of(console, "viewer", &ListRow::age) != age; })) << "filled anew";
        EXPECT_EQ(header_left(), scrolled);
        EXPECT_EQ(selected(), 1);
        Sleep(600);
    }
}

TEST_F(ProcessCommands, ClosingEndsEveryChildAndRestartsNone) {
    start_with({"feed_count=3"});
    start_all("capture[0] motion[0] capture[1] motion[1] capture[2] motion[2] videogen");
    std::vector<uint32_t> pids;
    for (const ListRow& row : process_rows(console)) pids.push_back(static_cast<uint32_t>(std::stoul(row.pid)));
    EXPECT_EQ(console_close(&console), 0);
    for (uint32_t pid : pids) EXPECT_FALSE(is_running(pid)) << pid;
    EXPECT_TRUE(log_shows_in_order(installation, {"process manager shutting down", "controller exiting"}));
    EXPECT_EQ(log_count(installation, "restarting *"), 0);
}

TEST_F(ProcessCommands, FeedButtonsSwitchMotionDetectionOnBothTabs) {
    start_with({"feed_motion_on[1]=0"});
    EXPECT_EQ(button_text(console, 300), "Feed 0: motion ON");
    EXPECT_EQ(button_text(console, 301), "Feed 1: motion OFF");
    EXPECT_EQ(button_text(console, 302), "Feed 2: motion ON");
    press_on(kTabFeeds, 300);
    EXPECT_TRUE(button_becomes(console, 300, "Feed 0: motion OFF"));
    press_on(kTabFeeds, 300);
    EXPECT_TRUE(button_becomes(console, 300, "Feed 0: motion ON"));
    press_on(kTabPreview, 706);
    EXPECT_TRUE(button_becomes(console, 301, "Feed 1: motion ON"));
    press_on(kTabPreview, 707);
    EXPECT_TRUE(button_becomes(console, 302, "Feed 2: motion OFF"));
    EXPECT_EQ(log_count(installation, "settings: saved to *"), 0) << "switching saves nothing";
}

TEST_F(ProcessCommands, TheSeventeenthChildIsRefused) {
    start_with({"feed_count=1"});
    for (int32_t i = 0; i < 17; ++i) press_on(kTabProcesses, 232);
    EXPECT_TRUE(log_shows(installation, "ERR no free process slots (max 16)"));
    EXPECT_EQ(log_count(installation, "ERR no free process slots *"), 1);
    // Of many starts at once Wine loses one now and then (an internal error of its own); that one keeps its slot,
    // too.
    const int32_t lost = log_count(installation, "ERR CreateProcess failed for 'viewer': 1359");
    EXPECT_LE(lost, 2);
    EXPECT_EQ(log_count(installation, "launched viewer (PID *") + lost, 16);
    EXPECT_EQ(process_rows(console).size(), 16u);
    EXPECT_EQ(children_of(console.pid).size() + static_cast<size_t>(lost), 16u);
    EXPECT_EQ(console_close(&console), 0);
}
