// The ways between practice and live: which children are stopped, which survive, what the control block says and what
// the operator reads.
#include <string>
#include <vector>

#include "tests/console/console_test.h"

namespace {
class Regimes : public ConsoleTest {
protected:
    void all_workers_become_ready() {
        order_workers({"practice_player ready", "capture ready", "motion ready", "videogen ready", "viewer ready"});
    }
    // Launch Practice and wait until it plays.
    void launch_practice() {
        press_on(kTabPreview, 701);
        ASSERT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched"));
        ASSERT_TRUE(select_tab(console, kTabProcesses));
    }
    testing::AssertionResult motion_paused_is(uint32_t expected) {
        return becomes(
            "motion_paused",
            [&] {
                std::vector<uint32_t> flags;
                for (uint32_t& flag : shared.block->motion_paused) flags.push_back(shared_load(flag));
                return flags;
            },
            std::vector<uint32_t>(3, expected));
    }
    void plant_write_counters(uint32_t nw0, uint32_t nw1, uint32_t nw2) {
        shared_store(shared.block->feed[0][0].nw, nw0);
        shared_store(shared.block->feed[1][0].nw, nw1);
        shared_store(shared.block->feed[2][0].nw, nw2);
    }
    testing::AssertionResult offsets_become(int32_t first, int32_t last) {
        return becomes(
            "feed_sync_offset",
            [&] {
                std::vector<int32_t> offsets;
                for (int32_t& offset : shared.block->feed_sync_offset) offsets.push_back(shared_load(offset));
                return offsets;
            },
            std::vector<int32_t>{first, 0, last});
    }
};
}  // namespace

static constexpr char kNwLine[] =
    "sync feeds (auto): nw[0]=1000 nw[1]=990 nw[2]=985 → offsets[0]=10 offsets[1]=0 offsets[2]=-5";

TEST_F(Regimes, PracticeStartsPlayerMotionAndMovieBuilderThenTheViewerOnceAllAreReady) {
    all_workers_become_ready();
    start_with({"feed_count=3"});
    open_shared();
    press_on(kTabPreview, 701);
    ASSERT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched"));
    EXPECT_TRUE(log_shows_in_order(
        installation,
        {"motion: paused for 2000 ms (auto_sync_on_resume=0)",
         "launched fileplayer[-1] (PID *): *practice_player.exe\"", "launched motion[0] (PID *): *",
         "launched motion[1] (PID *): *", "launched motion[2] (PID *): *",
         "PRACTICE: feed_count=3 active=3, spawned 3 motion(s), kept 0 running", "launched videogen (PID *): *",
         "launched viewer (PID *): *", "practice: all processes ready, viewer launched, playing"}));
    EXPECT_EQ(shared_load(shared.block->paused), 0u);
    EXPECT_TRUE(event_is_set(shared, kEventResume));
    EXPECT_EQ(button_text(console, 700), "Pause");
    EXPECT_EQ(log_count(installation, "stop_all_live_captures: *"), 0) << "nothing was live";
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_TRUE(running_children_become(console, "fileplayer[-1] motion[0] motion[1] motion[2] videogen viewer"));

    // The pause that masks the change ends by itself, without touching the offsets.
    EXPECT_TRUE(log_shows(installation, "motion: resume timer fired — paused flags cleared"));
    EXPECT_TRUE(motion_paused_is(0));
    EXPECT_EQ(log_count(installation, "motion: auto-sync feeds now*"), 0);
}

TEST_F(Regimes, PracticeWaitsTenSecondsForReadinessAndThenLeavesTheChildrenAlone) {
    order_workers({"practice_player ready", "motion[0] ready", "motion[1] ready", "videogen ready"});
    start_with({"feed_count=3"});
    open_shared();
    const uint64_t pressed_at = GetTickCount64();
    press_on(kTabPreview, 701);
    EXPECT_TRUE(motion_paused_is(1));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    std::vector<int32_t> countdown;
    ASSERT_TRUE(wait_until([&] {
        int32_t left = 0;
        if (sscanf(status_text(console).c_str(), "Practice: waiting for processes... (%d)", &left) == 1 &&
            (countdown.empty() || countdown.back() != left))
            countdown.push_back(left);
        return status_text(console) == "Practice: timeout waiting for processes";
    }));
    EXPECT_GE(GetTickCount64() - pressed_at, 9500u);
    ASSERT_FALSE(countdown.empty());
    EXPECT_LE(countdown.front(), 19);
    EXPECT_EQ(countdown.back(), 1);
    for (size_t i = 1; i < countdown.size(); ++i) EXPECT_LT(countdown[i], countdown[i - 1]);
    EXPECT_TRUE(log_shows(installation, "WRN practice: timed out waiting for processes to be ready"));
    EXPECT_EQ(running_children(console), "fileplayer[-1] motion[0] motion[1] motion[2] videogen");
    EXPECT_EQ(shared_load(shared.block->paused), 1u);
    EXPECT_EQ(button_text(console, 700), "Play");
}

TEST_F(Regimes, PracticeWithOneFeedWaitsForThatFeedOnly) {
    order_workers({"practice_player ready", "motion ready", "videogen ready"});
    start_with({"feed_count=1"});
    launch_practice();
    EXPECT_TRUE(running_children_become(console, "fileplayer[-1] motion[1] videogen viewer"));
    EXPECT_TRUE(log_shows(installation, "PRACTICE: feed_count=1 active=1, spawned 1 motion(s), kept 0 running"));
}

TEST_F(Regimes, PracticeKeepsRunningMotionWorkersAndStopsCaptures) {
    all_workers_become_ready();
    start_with({"feed_count=3"});
    for (int32_t id : {210, 220, 211, 221, 212}) press_on(kTabProcesses, id);
    ASSERT_TRUE(running_children_become(console, "capture[0] motion[0] capture[1] motion[1] capture[2]"));
    const uint32_t motion0 = pid_of_child(console, "motion[0]");
    const uint32_t motion1 = pid_of_child(console, "motion[1]");
    const size_t before = log_length(installation);
    launch_practice();
    EXPECT_TRUE(log_shows_in_order_from(
        installation, before,
        {"stopping capture[0] (PID *)", "stopping capture[1] (PID *)", "stopping capture[2] (PID *)",
         "stop_all_live_captures: stopped 3 capture process(es) (motion left running across transition)",
         "motion: paused for 2000 ms (auto_sync_on_resume=0)", "launched fileplayer[-1] (PID *): *",
         "Practice: motion[0] already running — left alone for seamless transition",
         "Practice: motion[1] already running — left alone for seamless transition", "launched motion[2] (PID *): *",
         "PRACTICE: feed_count=3 active=3, spawned 1 motion(s), kept 2 running"}));
    EXPECT_TRUE(running_children_become(console, "motion[0] motion[1] fileplayer[-1] motion[2] videogen viewer"));
    EXPECT_EQ(pid_of_child(console, "motion[0]"), motion0);
    EXPECT_EQ(pid_of_child(console, "motion[1]"), motion1);
}

TEST_F(Regimes, ThePracticeDirectoryReachesThePlayer) {
    start_with({"feed_count=1"}, "--practice-dir C:\\runs\\friday");
    press_on(kTabPreview, 701);
    EXPECT_TRUE(log_shows(installation, "launched fileplayer[-1] (PID *): \"" +
                                            installation_path(installation, "practice_player.exe") +
                                            "\" \"C:\\runs\\friday\""));
}

TEST_F(Regimes, GoLiveSwapsTheSourcesAndAlignsTheFeedsAfterThePause) {
    all_workers_become_ready();
    start_with({"feed_count=2"});
    open_shared();
    launch_practice();
    ASSERT_TRUE(log_shows(installation, "motion: resume timer fired — paused flags cleared"));
    const uint32_t motion1 = pid_of_child(console, "motion[1]");
    plant_write_counters(1000, 990, 985);
    const size_t before = log_length(installation);
    press_on(kTabPreview, 702);
    EXPECT_TRUE(motion_paused_is(1));
    ASSERT_TRUE(log_shows(installation, "motion: auto-sync feeds now (practice→live transition)"));
    ASSERT_TRUE(log_shows(installation, kNwLine));
    EXPECT_TRUE(log_shows_in_order_from(
        installation, before,
        {"stopping fileplayer[-1] (PID *)", "stopping videogen (PID *)", "stopping viewer (PID *)",
         "motion: paused for 2000 ms (auto_sync_on_resume=1)", "launched capture[1] (PID *): *",
         "launched motion[1] (PID *): *", "launched capture[2] (PID *): *", "launched motion[2] (PID *): *",
         "GO_LIVE: spawned 2 feed(s) for feed_count=2", "launched videogen (PID *): *"}));
    EXPECT_TRUE(log_shows_in_order_from(installation, before,
                                        {"GO_LIVE: *", "motion: resume timer fired — paused flags cleared",
                                         "motion: auto-sync feeds now (practice→live transition)", kNwLine}));
    EXPECT_TRUE(offsets_become(10, -5));
    EXPECT_TRUE(motion_paused_is(0));
    EXPECT_TRUE(log_shows(installation, "practice: all processes ready, viewer launched, playing", 2));
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_EQ(pid_of_child(console, "motion[1]"), motion1) << "motion survives";
    EXPECT_TRUE(running_children_become(
        console, "motion[1] motion[2] capture[1] motion[1] capture[2] motion[2] videogen viewer"));
}

TEST_F(Regimes, GoLiveClearsTheStateOfTheMovieBuilderItStops) {
    start_with({"feed_count=1"});
    open_shared();
    shared_store(shared.block->source_ready[1], kWorkerReady);
    shared_store(shared.block->motion_ready[1], kWorkerReady);
    shared_store(shared.block->videogen_state, kWorkerReady);
    shared_store(shared.block->viewer_state, kWorkerReady);
    press_on(kTabPreview, 702);
    ASSERT_TRUE(log_shows(installation, "GO_LIVE: spawned 1 feed(s) for feed_count=1"));
    EXPECT_EQ(shared_load(shared.block->videogen_state), 0);
    EXPECT_EQ(shared_load(shared.block->viewer_state), 0);
    EXPECT_EQ(shared_load(shared.block->source_ready[1]), kWorkerReady) << "only the movie builder's";
    // Its successor reports: the wait ends.
    shared_store(shared.block->videogen_state, kWorkerReady);
    EXPECT_TRUE(status_becomes(console, "Practice: all processes running, viewer launched"));
}

TEST_F(Regimes, StopAllInPracticeBringsTheAssignedCamerasBack) {
    all_workers_become_ready();
    start_with({"feed_count=3", "*camera_device_path[1]=usb#cam-one"});
    open_shared();
    launch_practice();
    ASSERT_TRUE(log_shows(installation, "motion: resume timer fired — paused flags cleared"));
    const uint32_t motion1 = pid_of_child(console, "motion[1]");
    ASSERT_NE(motion1, 0u);
    plant_write_counters(1000, 990, 985);
    const size_t before = log_length(installation);
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "Practice ended — captures resumed; motion stayed alive"));
    EXPECT_TRUE(log_shows_in_order_from(
        installation, before,
        {"Stop All: practice mode exit — targeted stop of practice processes, leaving motion alive",
         "stopping fileplayer[-1] (PID *)", "stopping videogen (PID *)", "stopping viewer (PID *)",
         "motion: paused for 2000 ms (auto_sync_on_resume=1)",
         "Stop All: re-syncing live captures (motion left running across transition)",
         "sync_captures: stopping motion[0] (no device assigned)",
         "sync_captures: spawning capture[1] for device usb#cam-one",
         "sync_captures: stopping motion[2] (no device assigned)"}));
    EXPECT_TRUE(running_children_become(console, "motion[1] capture[1]"));
    EXPECT_EQ(pid_of_child(console, "motion[1]"), motion1);
    EXPECT_EQ(shared_load(shared.block->shutdown), 0u) << "the survivors are not sent away";
    EXPECT_EQ(shared_load(shared.block->videogen_state), 0);
    EXPECT_TRUE(log_shows(installation, kNwLine));
    EXPECT_TRUE(offsets_become(10, -5));
}

TEST_F(Regimes, ASecondPracticeRunIsStillRecognisedAsPractice) {
    all_workers_become_ready();
    start_with({"feed_count=1"});
    launch_practice();
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "Practice ended — captures resumed; motion stayed alive"));
    launch_practice();
    press_on(kTabProcesses, 202);
    EXPECT_TRUE(log_shows(
        installation, "Stop All: practice mode exit — targeted stop of practice processes, leaving motion alive", 2));
}

TEST_F(Regimes, AStartBringsUpEveryActiveFeedThatHasACamera) {
    start_with({"feed_count=3", "*camera_device_path[0]=usb#zero", "*camera_device_path[2]=usb#two"});
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_TRUE(running_children_become(console, "capture[0] motion[0] capture[2] motion[2]"));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"sync_captures: spawning capture[0] for device usb#zero", "launched capture[0] (PID *): *",
                       "sync_captures: spawning motion[0] (follows capture[0])", "launched motion[0] (PID *): *",
                       "sync_captures: spawning capture[2] for device usb#two", "launched capture[2] (PID *): *",
                       "sync_captures: spawning motion[2] (follows capture[2])", "launched motion[2] (PID *): *"}));
}

TEST_F(Regimes, ACameraOfAnInactiveFeedIsNotStarted) {
    start_with({"feed_count=1", "*camera_device_path[0]=usb#zero"});
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_TRUE(console_answers(console, kPatienceMs));
    EXPECT_TRUE(process_rows(console).empty());
    EXPECT_EQ(log_count(installation, "launched *"), 0);
}

TEST_F(Regimes, ChildrenOfInactiveFeedsAreStoppedByTheNextAlignment) {
    all_workers_become_ready();
    start_with({"feed_count=1"});
    launch_practice();
    for (int32_t id : {210, 220, 212, 222}) press_on(kTabProcesses, id);
    ASSERT_TRUE(running_children_become(
        console, "fileplayer[-1] motion[1] videogen viewer capture[0] motion[0] capture[2] motion[2]"));
    press_on(kTabProcesses, 202);
    ASSERT_TRUE(status_becomes(console, "Practice ended — captures resumed; motion stayed alive"));
    EXPECT_TRUE(
        log_shows_in_order(installation, {"sync_captures: stopping motion[1] (no device assigned)",
                                          "sync_captures: stopping capture[0] (slot inactive at feed_count=1)",
                                          "sync_captures: stopping motion[0] (slot inactive at feed_count=1)",
                                          "sync_captures: stopping capture[2] (slot inactive at feed_count=1)",
                                          "sync_captures: stopping motion[2] (slot inactive at feed_count=1)"}));
    EXPECT_TRUE(running_children_become(console, ""));
}
