// Windows going down: log-off, restart, an update in the night. The process may be ended as soon as it has answered,
// so the tests look at what is done by then.
#include <string>

#include "tests/console/console_test.h"

namespace {

constexpr char kPracticeReady[] = "practice: all processes ready, viewer launched, playing";

class LogOff : public ConsoleTest {
protected:
    LRESULT ask(UINT message, WPARAM wparam) {
        DWORD_PTR answer = 77;
        EXPECT_NE(SendMessageTimeoutW(console.window, message, wparam, 0, SMTO_NORMAL, kPatienceMs, &answer), 0);
        return static_cast<LRESULT>(answer);
    }
    void begin_practice() {
        order_workers({"practice_player ready", "motion ready", "videogen ready", "viewer ready"});
        start_with({"feed_count=1", "practice_max_jumpers=4711"});
        press_on(kTabPreview, 701);
        ASSERT_TRUE(log_shows(installation, kPracticeReady));
        ASSERT_FALSE(children_of(console.pid).empty());
    }
    // What must have happened when the message is answered.
    void expect_all_done() {
        EXPECT_TRUE(children_of(console.pid).empty());
        EXPECT_TRUE(log_shows_in_order(installation, {"controller: Windows ends the session — closing",
                                                      "settings: saved to *", "process manager shutting down"}));
        EXPECT_FALSE(installation_has(installation, "settings.txt.tmp"));
        EXPECT_TRUE(installation_has(installation, "controller_window.ini"));
    }
};

}  // namespace

TEST_F(LogOff, DuringAPracticeRunSavesAndEndsTheWorkersBeforeItIsAnswered) {
    begin_practice();
    EXPECT_EQ(ask(WM_QUERYENDSESSION, 0), TRUE);
    EXPECT_FALSE(children_of(console.pid).empty()) << "somebody may still say no";
    ask(WM_ENDSESSION, TRUE);
    expect_all_done();
    EXPECT_NE(installation_setting(installation, "min_blob_sizes[0]"), "") << "a saved file holds every setting";
    EXPECT_EQ(installation_setting(installation, "practice_max_jumpers"), "4711");
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_TRUE(log_shows(installation, "controller exiting"));
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
}

TEST_F(LogOff, ThatAnotherProgramPreventsChangesNothing) {
    begin_practice();
    EXPECT_EQ(ask(WM_QUERYENDSESSION, 0), TRUE);
    ask(WM_ENDSESSION, FALSE);
    EXPECT_FALSE(children_of(console.pid).empty());
    EXPECT_EQ(log_count(installation, "process manager shutting down"), 0);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(LogOff, DuringARecordingCompletesTheFilesFirst) {
    order_workers({"capfile finish 1500"});
    start_with({"feed_count=1"}, "--capture-test --duration 600");
    ASSERT_TRUE(log_shows(installation, "CLI capture-test: flipping capfile to CAPTURING*"));
    wait_for_recorders();
    ask(WM_QUERYENDSESSION, 0);
    ask(WM_ENDSESSION, TRUE);
    expect_all_done();
    const std::string report = installation_read(installation, "fake.log");
    for (const char* closed : {"capfile[0] file closed", "capfile[1] file closed", "capfile[2] file closed"})
        EXPECT_NE(report.find(closed), std::string::npos) << closed;
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
}

// Usually it is kept when the message loop is over, which log-off does not wait for. Recorders that take their time
// part the two moments.
TEST_F(LogOff, KeepsThePlaceOfTheGridLinePanel) {
    order_workers({"capfile finish 4000"});
    start_with({"feed_count=1"}, "--capture-test --duration 600");
    ASSERT_TRUE(log_shows(installation, "CLI capture-test: flipping capfile to CAPTURING*"));
    send_command(console, 500);
    ASSERT_TRUE(console_answers(console, kPatienceMs));
    ASSERT_TRUE(wait_until([] { return FindWindowA(nullptr, "Grid Line Setup") != nullptr; }));
    ask(WM_QUERYENDSESSION, 0);
    ASSERT_TRUE(PostMessageW(console.window, WM_ENDSESSION, TRUE, 0));  // as ask(), which would come back too late
    EXPECT_TRUE(wait_until([&] { return installation_has(installation, "gridline_panel.ini"); }));
    EXPECT_EQ(log_count(installation, "process manager shutting down"), 0) << "kept, but not before the workers end";
    WaitForSingleObject(console.process, kPatienceMs);
    expect_all_done();
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
}

TEST_F(LogOff, WithABoxOnTheScreenClosesAllTheSame) {
    start_with({});
    send_command(console, 502);
    ASSERT_TRUE(wait_until([&] { return message_box(console) != nullptr; }));
    ask(WM_QUERYENDSESSION, 0);
    ask(WM_ENDSESSION, TRUE);
    expect_all_done();
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
}

TEST_F(LogOff, TheSystemStaysAwakeOnlyWhileFeedsRun) {
    begin_practice();
    EXPECT_TRUE(log_shows(installation, "power: feeds run, the system stays awake"));
    EXPECT_EQ(log_count(installation, "power: no feed runs, the system may sleep"), 0);
    press_on(kTabProcesses, 202);
    EXPECT_TRUE(log_shows(installation, "power: no feed runs, the system may sleep"));
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_EQ(log_count(installation, "power: *"), 2);
}
