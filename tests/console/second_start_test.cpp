// A start beside a running controller: it says so, shows the running one and ends, and the running one's workers and
// files do not notice.
#include <string>

#include "tests/console/console_test.h"
#include "tests/console/remote.h"

namespace {

constexpr char kLog[] = "controller_second_start.log";

class SecondStart : public ConsoleTest {
protected:
    void TearDown() override {
        console_release(&second);
        if (elsewhere.job != nullptr) installation_destroy(&elsewhere, HasFailure());
        ConsoleTest::TearDown();
    }
    // Starts the controller with a worker that the next start's clean-up would find and end.
    void start_with_listed_worker(const std::string& arguments = "") {
        order_workers({"motion pid_slot 3", "capture pid_slot 0"});
        start_with({"feed_count=1", "*camera_device_path[1]=usb#one"}, arguments);
        open_shared();
        ASSERT_TRUE(wait_until([&] { return shared_load(shared.block->pid_slot[3]) != 0; }));
        ASSERT_TRUE(wait_until([&] { return shared_load(shared.block->pid_slot[0]) != 0; }));
        motion = shared_load(shared.block->pid_slot[3]);
        capture = shared_load(shared.block->pid_slot[0]);
    }
    // A recording whose files take a while. The first one is left in the middle of it.
    void begin_a_close_of_five_seconds() {
        order_workers({"capfile finish 5000"});
        start_with({"feed_count=1"}, "--capture-test");
        ASSERT_TRUE(log_shows(installation, "CLI capture-test: flipping capfile to CAPTURING*"));
        PostMessageW(console.window, WM_CLOSE, 0, 0);
        ASSERT_TRUE(log_shows(installation, "settings: saved to *"));
    }
    void start_second(const Installation& in, const std::string& arguments = "") {
        second = {};
        second.process = installation_start(in, "Orvek.exe", arguments, nullptr, &second.pid);
        ASSERT_NE(second.process, nullptr);
    }
    void read_box(std::string* text) {
        ASSERT_TRUE(wait_until([&] { return message_box(second) != nullptr; }));
        HWND box = message_box(second);
        wait_until([&] { return message_box_text(box).find("running") != std::string::npos; }, 5000);
        *text = message_box_text(box);
        PostMessageW(box, WM_CLOSE, 0, 0);
    }
    void expect_the_first_unharmed() {
        EXPECT_TRUE(is_running(motion));
        EXPECT_TRUE(is_running(capture));
        EXPECT_TRUE(console_answers(console, kPatienceMs));
        EXPECT_EQ(log_count(installation, "starting controller, *"), 1);
        EXPECT_FALSE(installation_has(installation, "controller_debug.log.old"));
        EXPECT_EQ(shared_load(shared.block->pid_slot[3]), motion);
        EXPECT_EQ(log_count(installation, "ERR *"), 0);
    }

    Console second = {};
    Installation elsewhere = {};
    uint32_t motion = 0, capture = 0;
};

}  // namespace

TEST_F(SecondStart, SaysWhichOneRunsShowsItAndEndsWithOne) {
    start_with_listed_worker();
    ShowWindowAsync(console.window, SW_MINIMIZE);
    ASSERT_TRUE(wait_until([&] { return IsIconic(console.window) != 0; }));
    start_second(installation);
    std::string text;
    read_box(&text);
    EXPECT_TRUE(text.starts_with("Already Running\n")) << text;
    EXPECT_NE(text.find("Orvek.exe is already running (process " + std::to_string(console.pid) + ") in\n" +
                        installation.folder + "\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("different folders"), std::string::npos) << text;
    EXPECT_EQ(console_wait_for_exit(&second, kPatienceMs), 1);
    EXPECT_TRUE(wait_until([&] { return !IsIconic(console.window) && GetForegroundWindow() == console.window; }));
    expect_the_first_unharmed();
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_FALSE(is_running(motion));
}

TEST_F(SecondStart, InAnUnattendedModeEndsWithOneAndALineInALogOfItsOwn) {
    start_with_listed_worker();
    for (const char* mode : {"--auto-setup", "--practice-test", "--capture-test"}) {
        start_second(installation, mode);
        EXPECT_EQ(console_wait_for_exit(&second, kPatienceMs), 1) << mode;
        const std::vector<std::string> lines = log_lines(installation, kLog);
        ASSERT_EQ(lines.size(), 1u) << mode;
        EXPECT_EQ(lines[0], "ERR second start: Orvek.exe (PID " + std::to_string(console.pid) + ") already runs in " +
                                installation.folder + " — this start ends");
    }
    expect_the_first_unharmed();
}

TEST_F(SecondStart, FromAnotherFolderIsRefusedBecauseBothWouldShareTheRegions) {
    start_with_listed_worker();
    ASSERT_TRUE(installation_create(&elsewhere, "SecondStart_elsewhere", false));
    installation_settings(elsewhere, {"feed_count=1"});
    start_second(elsewhere);
    std::string text;
    read_box(&text);
    EXPECT_NE(text.find(installation.folder), std::string::npos) << text;
    EXPECT_NE(text.find("different folders, too; this one was started for\n" + elsewhere.folder), std::string::npos)
        << text;
    EXPECT_EQ(console_wait_for_exit(&second, kPatienceMs), 1);
    EXPECT_TRUE(installation_has(elsewhere, kLog));
    EXPECT_FALSE(installation_has(elsewhere, "controller_debug.log"));
    expect_the_first_unharmed();
}

TEST_F(SecondStart, BesideAnUnattendedRunIsRefusedAsWell) {
    start_with_listed_worker("--capture-test");  // which leaves the captures alone
    start_second(installation, "--practice-test");
    EXPECT_EQ(console_wait_for_exit(&second, kPatienceMs), 1);
    expect_the_first_unharmed();
}

TEST_F(SecondStart, ForHelpIsNone) {
    start_with({});
    std::string usage;
    EXPECT_EQ(console_run(installation, "--help", &usage), 0);
    EXPECT_TRUE(usage.starts_with("Orvekline Controller")) << usage;
    EXPECT_FALSE(installation_has(installation, kLog));
}

TEST_F(SecondStart, AfterAKilledOneIsAFirstStart) {
    start_with_listed_worker();
    console_kill(&console);
    ASSERT_TRUE(is_running(motion));
    start();
    EXPECT_FALSE(is_running(motion)) << "now it is an orphan";
    EXPECT_FALSE(installation_has(installation, kLog));
}

TEST_F(SecondStart, BesideACrashedOnesBoxShowsTheBox) {
    start_with({"feed_count=1"});
    remote_crash(console);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    start_second(installation);
    std::string text;
    read_box(&text);
    EXPECT_NE(text.find("It has crashed and ends when its message box is closed."), std::string::npos) << text;
    EXPECT_EQ(console_wait_for_exit(&second, kPatienceMs), 1);
    HWND box = message_box(console);
    EXPECT_TRUE(wait_until([&] { return GetForegroundWindow() == box; }));
    PostMessageW(box, WM_CLOSE, 0, 0);
    EXPECT_NE(console_wait_for_exit(&console, kPatienceMs), -1);
    start();
}

TEST_F(SecondStart, WaitsForOneThatIsClosing) {
    begin_a_close_of_five_seconds();
    start_second(installation, "--capture-test --duration 1");
    EXPECT_EQ(WaitForSingleObject(console.process, 2500), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_EQ(WaitForSingleObject(second.process, 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "it is to wait";
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_EQ(console_wait_for_exit(&second, kPatienceMs), 0);
    EXPECT_FALSE(installation_has(installation, kLog));
}

TEST_F(SecondStart, OfTwoThatWaitForAClosingOneOneRunsAndTheOtherSaysSo) {
    begin_a_close_of_five_seconds();
    start_second(installation, "--practice-test");
    Console third = {};
    third.process = installation_start(installation, "Orvek.exe", "--practice-test", nullptr, &third.pid);
    ASSERT_NE(third.process, nullptr);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    const HANDLE both[] = {second.process, third.process};
    const DWORD first_to_end = WaitForMultipleObjects(2, both, FALSE, 10000);
    ASSERT_LE(first_to_end, WAIT_OBJECT_0 + 1) << "the second one still waits";
    Console& refused = first_to_end == WAIT_OBJECT_0 ? second : third;
    const Console& running = first_to_end == WAIT_OBJECT_0 ? third : second;
    const std::vector<std::string> lines = log_lines(installation, kLog);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "ERR second start: Orvek.exe (PID " + std::to_string(running.pid) + ") already runs in " +
                            installation.folder + " — this start ends");
    EXPECT_EQ(console_wait_for_exit(&refused, kPatienceMs), 1);
    EXPECT_TRUE(is_running(running.pid));
    console_release(&third);
}
