// The Auto Setup button and its unattended twin: a run from its start to the end of the program, with the workers'
// counters played by these tests.
#include <string>

#include "tests/console/console_test.h"
#include "tests/console/jumper_fixture.h"

namespace {

constexpr int32_t kAutoSetup = 720;

#define OPERATOR_REGIONS                                                                               \
    "motion_start_x[0]=10", "motion_start_y[0]=40", "motion_end_x[0]=1810", "motion_end_y[0]=420",     \
        "motion_start_x[1]=11", "motion_start_y[1]=41", "motion_end_x[1]=1811", "motion_end_y[1]=421", \
        "motion_start_x[2]=12", "motion_start_y[2]=42", "motion_end_x[2]=1812", "motion_end_y[2]=422"
constexpr char kSavedRange[] = "10,40,1810,420,11,41,1811,421,12,42,1812,422";
constexpr char kOperatorColumns[] = "10..1810 11..1811 12..1812 ";
constexpr char kTrialStart[] =
    "auto setup: adaptive-width trial starting at 100% (motion_start_x=0, motion_end_x=1919, threshold=14000us, "
    "trial_frames=20, slow_pct=5, min_pct=33)";
constexpr char kAborted[] = "auto setup: ABORTED by user — no settings saved, settings.txt unchanged";
constexpr char kAnalysisFailed[] =
    "WRN auto setup: phase-11 analysis failed (rc=-1) — attempting Phase 12 pixel_frames populate";
constexpr char kNothingSaved[] =
    "ERR auto setup: analysis failed (rc=-1), pixel_frames also empty — no settings written";

class AutoSetup : public Jumpers {
protected:
    // With a trial of 20 frames.
    void start_console(std::initializer_list<const char*> more, const std::string& arguments = "") {
        std::string text;
        for (const char* line : {"feed_count=1", "auto_setup_adaptive_width_trial_frames=20", OPERATOR_REGIONS})
            text += std::string(line) + "\r\n";
        for (const char* line : more) text += std::string(line) + "\r\n";
        installation_write(installation, "settings.txt", text);
        start(arguments);
        open_shared();
    }
    void press_button() {
        press_on(kTabPreview, kAutoSetup);
    }
    void wait_for_monitor() {
        ASSERT_TRUE(log_shows(installation, "auto setup: waiting for * jumpers (*"));
    }
    // The columns of the motion regions as settings.txt has them.
    std::string saved_columns() const {
        std::string text;
        for (int32_t f = 0; f < 3; ++f) {
            const std::string feed = "[" + std::to_string(f) + "]";
            text += installation_setting(installation, "motion_start_x" + feed) + ".." +
                    installation_setting(installation, "motion_end_x" + feed) + " ";
        }
        return text;
    }
    uint32_t generation() const {
        return shared_load(shared.block->settings_generation);
    }
    // The motion workers' part of a trial: what feed 1's has timed.
    void time_frames(uint32_t frames, uint32_t slow) {
        shared_store(shared.block->motion_slow_frames[1], slow);
        shared_store(shared.block->motion_trial_frames[1], frames);
    }
};

}  // namespace

TEST_F(AutoSetup, TheButtonBacksUpWidensSavesAndLaunchesPractice) {
    start_console({});
    press_button();
    EXPECT_TRUE(button_becomes(console, kAutoSetup, "Abort"));
    wait_for_monitor();
    EXPECT_TRUE(log_shows_in_order(
        installation, {std::string("auto setup: saved motion range: ") + kSavedRange, kTrialStart,
                       "settings: saved to *", "diagnostic logging enabled", "blob circle overlay enabled",
                       "auto setup: started, launching practice in 1 second", "auto setup: launching practice now",
                       "PRACTICE: feed_count=1 active=1, spawned 1 motion(s), kept 0 running",
                       "auto setup: waiting for 10 jumpers (or 15000 feed-1 frames, whichever first)"}));
    EXPECT_EQ(installation_setting(installation, "*saved_motion_range"), kSavedRange);
    EXPECT_EQ(saved_columns(), "0..1919 0..1919 0..1919 ");
    EXPECT_EQ(installation_setting(installation, "motion_start_y[2]"), "42");
    EXPECT_EQ(generation(), 1u);
    EXPECT_EQ(shared_load(shared.block->diag_logging), 1u);
    EXPECT_EQ(shared_load(shared.block->blob_circles), 1u);
}

TEST_F(AutoSetup, SwitchesThatAreOnStayOn) {
    start_console({});
    press_on(kTabPreview, 717);
    press_on(kTabPreview, 718);
    press_button();
    wait_for_monitor();
    EXPECT_EQ(log_count(installation, "diagnostic logging *"), 1);
    EXPECT_EQ(log_count(installation, "blob circle overlay *"), 1);
}

TEST_F(AutoSetup, WithAdaptiveWidthDisabledNothingIsWidened) {
    start_console({"auto_setup_adaptive_width_enable=0"});
    time_frames(7, 7);
    press_button();
    wait_for_monitor();
    EXPECT_EQ(installation_setting(installation, "*saved_motion_range"), kSavedRange);
    EXPECT_EQ(saved_columns(), kOperatorColumns);
    EXPECT_EQ(generation(), 1u) << "the backup is saved all the same";
    EXPECT_EQ(shared_load(shared.block->motion_trial_frames[1]), 7u) << "no trial, nothing cleared";
    EXPECT_EQ(log_count(installation, "auto setup: adaptive-width *"), 0);
}

TEST_F(AutoSetup, EveryNarrowingIsSavedAndTheEndOfTheVideoEndsRunAndProgram) {
    start_console({});
    time_frames(500, 500);
    press_button();
    wait_for_monitor();
    EXPECT_EQ(shared_load(shared.block->motion_trial_frames[1]), 0u) << "the trial counts from its start";

    time_frames(20, 4);
    ASSERT_TRUE(
        log_shows(installation, "auto setup: narrowing motion width to 75% (motion_end_x=1439) — retrying trial"));
    EXPECT_TRUE(log_shows_in_order(
        installation, {"auto setup: adaptive-width trial at 100%: feed0 0/0 (0%), feed1 4/20 (20%), feed2 0/0 (0%), "
                       "worst=feed1=20% (cap=5%)",
                       "settings: saved to *", "auto setup: narrowing motion width to 75% *"}));
    EXPECT_EQ(saved_columns(), "0..1439 0..1439 0..1439 ");
    EXPECT_EQ(generation(), 2u);
    EXPECT_EQ(shared_load(shared.block->motion_trial_frames[1]), 0u);
    EXPECT_EQ(shared_load(shared.block->motion_slow_frames[1]), 0u);

    time_frames(20, 1);
    ASSERT_TRUE(log_shows(installation,
                          "auto setup: adaptive-width trial PASSED at 75% (worst=5% ≤ cap=5%) — committing width"));
    EXPECT_EQ(generation(), 2u) << "committing saves nothing";

    shared_store(shared.block->feed[1][0].nw, 90u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0) << "started by hand: no failure of the program";
    EXPECT_TRUE(
        log_shows_in_order(installation, {"auto setup: stall detector armed (first frame observed, nw=90)",
                                          "auto setup: frames stopped advancing (stall_count=3, nw=90)",
                                          "auto setup: monitoring complete, running analysis...", kAnalysisFailed,
                                          kNothingSaved, "process manager shutting down", "controller exiting"}));
    EXPECT_EQ(shared_load(shared.block->shutdown), 1u);
    // Nothing measured reaches the file, but the ordinary end of the program saves the restored regions.
    EXPECT_EQ(saved_columns(), kOperatorColumns);
    EXPECT_TRUE(installation_has(installation, "auto_setup_report.html"));
}

TEST_F(AutoSetup, AbortKeepsPracticeRunningAndLeavesTheWidenedRegions) {
    start_console({});
    press_button();
    wait_for_monitor();
    press_button();
    ASSERT_TRUE(log_shows(installation, "auto setup: cancel — cleaning up"));
    EXPECT_TRUE(log_shows_in_order(installation, {kAborted, "auto setup: cancel — cleaning up"}));
    EXPECT_TRUE(button_becomes(console, kAutoSetup, "Auto Setup"));
    EXPECT_EQ(saved_columns(), "0..1919 0..1919 0..1919 ");
    EXPECT_EQ(installation_setting(installation, "*saved_motion_range"), kSavedRange);
    EXPECT_EQ(log_count(installation, "settings: saved to *"), 1);
    shared_store(shared.block->feed[1][0].nw, 90u);
    shared_store(shared.block->feed_frame_count[1], 20000u);
    ASSERT_TRUE(select_tab(console, kTabProcesses));
    EXPECT_TRUE(running_children_become(console, "fileplayer[-1] motion[1] videogen"));
    Sleep(1500);
    EXPECT_EQ(log_count(installation, "auto setup: stall *"), 0) << "nobody looks any more";
    EXPECT_EQ(log_count(installation, "auto setup: frame limit *"), 0);

    // And again: the backup of the second run holds what it found.
    press_button();
    ASSERT_TRUE(log_shows(installation, "auto setup: saved motion range: *", 2));
    EXPECT_TRUE(log_shows(installation, "auto setup: saved motion range: 0,40,1919,420,0,41,1919,421,0,42,1919,422"));
}

TEST_F(AutoSetup, AbortWithinTheFirstSecondLaunchesNothing) {
    start_console({});
    send_command(console, kAutoSetup);
    send_command(console, kAutoSetup);
    ASSERT_TRUE(log_shows(installation, "auto setup: cancel — cleaning up"));
    EXPECT_TRUE(button_becomes(console, kAutoSetup, "Auto Setup"));
    EXPECT_EQ(log_count(installation, "auto setup: launching practice now"), 0);
    EXPECT_EQ(log_count(installation, "PRACTICE: *"), 0);
    EXPECT_EQ(console_close(&console), 0);
}

TEST_F(AutoSetup, ClosingDuringARunSavesNoSettings) {
    start_console({});
    press_button();
    wait_for_monitor();
    const std::string at_start = installation_read(installation, "settings.txt");
    ASSERT_FALSE(at_start.empty());
    press_on(kTabPreview, 724);  // changes a setting in memory only
    EXPECT_EQ(console_close(&console), 0);
    EXPECT_TRUE(log_shows_in_order(installation, {"window close during auto setup — ABORTING, no settings saved",
                                                  "process manager shutting down", "controller exiting"}));
    EXPECT_EQ(log_count(installation, "settings: saved to *"), 1) << "the start's";
    EXPECT_TRUE(installation_read(installation, "settings.txt") == at_start);
    EXPECT_FALSE(installation_has(installation, "auto_setup_report.html"));
}

TEST_F(AutoSetup, UnattendedAFailedAnalysisEndsWithOne) {
    start_console({}, "--auto-setup --max-frames 100");
    wait_for_monitor();
    shared_store(shared.block->feed_frame_count[1], 150u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 1);
    EXPECT_TRUE(log_shows_in_order(
        installation,
        {"CLI mode active: auto-setup", "CLI mode: scheduling kickoff in 500 ms", "CLI: triggering Auto Setup button",
         std::string("auto setup: saved motion range: ") + kSavedRange, kTrialStart,
         "auto setup: started, launching practice in 1 second", "auto setup: launching practice now",
         "auto setup: waiting for 10 jumpers (or 100 feed-1 frames, whichever first)",
         "auto setup: frame limit reached (target=100, current=150)",
         "auto setup: monitoring complete, running analysis...",
         "auto setup: trial did not complete — accepting current width 100% (motion_end_x=1919) as final",
         kAnalysisFailed, kNothingSaved, "process manager shutting down", "CLI mode: exit code 1",
         "controller exiting"}));
    EXPECT_EQ(saved_columns(), kOperatorColumns);
    EXPECT_EQ(installation_setting(installation, "*saved_motion_range"), kSavedRange);
}

TEST_F(AutoSetup, TheJumperLimitCountsTheStartListAndWaitsForTheJumperInTheAir) {
    installation_write(installation, "jumpers.csv", kFourJumpers);
    start_console({"cli_wait_for_active_motion=1"}, "--auto-setup --max-movies 2");
    open_region();
    const auto listed = [&] { return shared_load(region->count); };
    const int32_t before = listed();
    ASSERT_EQ(before, 5);
    wait_for_monitor();
    shared_store(shared.block->motion_active[1], 1u);
    shared_store(region->count, before + 1);
    Sleep(1200);
    EXPECT_EQ(log_count(installation, "auto setup: jumper limit *"), 0) << "one below";
    shared_store(region->count, before + 2);
    ASSERT_TRUE(log_shows(
        installation,
        "auto setup: jumper limit reached (target=2, start=5, current=7) — waiting for active motion to complete"));
    shared_store(shared.block->motion_active[1], 0u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 1) << "there are no logs to analyse";
    EXPECT_EQ(log_count(installation, "auto setup: jumper limit reached (* — waiting *"), 1);
    EXPECT_TRUE(log_shows(installation, "auto setup: jumper limit reached (target=2, start=5, current=7)"));
}

namespace {

// The same with logs that can be analysed, as workers would have left them: four jumpers who cross the three pictures
// of the sample's hill at 32 columns per frame.
class AutoSetupWithLogs : public AutoSetup {
protected:
    void start_console(std::initializer_list<const char*> more, const std::string& arguments) {
        FILE* file = fopen((std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/settings.txt").c_str(), "rb");
        ASSERT_NE(file, nullptr);
        char sample[8192];
        std::string text(sample, fread(sample, 1, sizeof sample, file));
        fclose(file);
        for (const char* line : more) text += std::string(line) + "\r\n";
        installation_write(installation, "settings.txt", text);
        constexpr int32_t kFirstSeq[3] = {200, 240, 270};
        for (int32_t feed = 0; feed < 3; ++feed)
            installation_write(installation, "motion_debug_" + std::to_string(feed) + ".log",
                               log_of(feed, kFirstSeq[feed]));
        start(arguments);
        open_shared();
    }
    static std::string log_of(int32_t feed, int32_t first_seq) {
        std::string log;
        for (int32_t jump = 0; jump < 4; ++jump) {
            for (int32_t frame = 0; frame < 60; ++frame) {
                const int32_t seq = first_seq + 400 * jump + frame;
                char line[160];
                snprintf(line, sizeof line,
                         "feed %d seq=%d ts=%d type=1 blobs=1 blob0_sz=900 blob0_x=%d blob0_y=250 blob0_first_y=220 "
                         "blob0_last_y=280\n",
                         feed, seq, seq * 16667, 10 + 32 * frame);
                log += line;
            }
        }
        return log;
    }
};

}  // namespace

TEST_F(AutoSetupWithLogs, WhatWasMeasuredIsSavedOverTheRestoredRegionsWithTheWidthThatPassed) {
    start_console({"auto_setup_adaptive_width_trial_frames=20", "motion_start_y[1]=199"},
                  "--auto-setup --max-frames 100");
    wait_for_monitor();
    time_frames(20, 20);
    ASSERT_TRUE(log_shows(installation, "auto setup: narrowing motion width to 75% *"));
    time_frames(20, 0);
    ASSERT_TRUE(log_shows(installation, "auto setup: adaptive-width trial PASSED at 75% *"));
    shared_store(shared.block->feed_frame_count[1], 100u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_TRUE(log_shows_in_order(
        installation, {"auto setup: saved motion range: 0,240,1919,560,0,199,1919,560,0,240,1919,560",
                       "auto setup: monitoring complete, running analysis...", "auto setup: applied -- *",
                       "pixel_frames_v2: populated all three feeds from 4 jumpers", "settings: saved to *",
                       "settings: saved pixel_frames to *", "auto setup: settings saved", "settings: saved to *",
                       "process manager shutting down", "CLI mode: exit code 0"}));
    EXPECT_EQ(log_count(installation, "auto setup: trial did not complete *"), 0);
    EXPECT_EQ(saved_columns(), "0..1439 0..1439 0..1439 ");
    // The band is narrower than the operator's and lies around the blobs, seen through the feed's offset of 150.
    EXPECT_TRUE(log_shows(installation, "  feed 1 motion region: x=0..1439, y=" +
                                            installation_setting(installation, "motion_start_y[1]") + ".." +
                                            installation_setting(installation, "motion_end_y[1]")));
    EXPECT_NE(installation_setting(installation, "motion_start_y[1]"), "199");
    // The report compares with the operator's region, not with the run's.
    const std::string report = installation_read(installation, "auto_setup_report.html");
    const size_t row = report.find("motion_start_y[1]");
    ASSERT_NE(row, std::string::npos);
    EXPECT_NE(report.substr(row, 120).find(">199<"), std::string::npos) << report.substr(row, 120);
    const size_t column_row = report.find("motion_end_x[1]");
    ASSERT_NE(column_row, std::string::npos);
    EXPECT_NE(report.substr(column_row, 120).find(">1919<"), std::string::npos) << report.substr(column_row, 120);
}

TEST_F(AutoSetupWithLogs, AReportThatCannotBeWrittenChangesNothingElse) {
    CreateDirectoryA(installation_path(installation, "auto_setup_report.html").c_str(), nullptr);
    start_console({"auto_setup_adaptive_width_enable=0", "motion_start_x[0]=20"}, "--auto-setup --max-frames 100");
    wait_for_monitor();
    shared_store(shared.block->feed_frame_count[1], 100u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 0);
    EXPECT_EQ(saved_columns(), "20..1919 0..1919 0..1919 ") << "no trial: the operator's columns";
    EXPECT_TRUE(log_shows_in_order(installation, {"auto setup: settings saved", "ERR *auto_setup_report.html*",
                                                  "process manager shutting down", "CLI mode: exit code 0"}));
    EXPECT_TRUE(RemoveDirectoryA(installation_path(installation, "auto_setup_report.html").c_str()));
}

TEST_F(AutoSetupWithLogs, SettingsThatCannotBeSavedMakeAnUnattendedRunEndWithOne) {
    start_console({"auto_setup_adaptive_width_enable=0"}, "--auto-setup --max-frames 100");
    wait_for_monitor();
    // A folder where the file's successor is to be written.
    ASSERT_TRUE(CreateDirectoryA(installation_path(installation, "settings.txt.tmp").c_str(), nullptr));
    shared_store(shared.block->feed_frame_count[1], 100u);
    EXPECT_EQ(console_wait_for_exit(&console, kPatienceMs), 1);
    EXPECT_EQ(log_count(installation, "auto setup: settings saved*"), 0) << "it would be untrue";
    EXPECT_TRUE(log_shows_in_order(
        installation, {"auto setup: monitoring complete, running analysis...", "ERR *", "CLI mode: exit code 1"}));
}

namespace {
class AutoSetupOnTheRig : public ConsoleTest {
protected:
    AutoSetupOnTheRig() : ConsoleTest(true) {}
};
}  // namespace

// What a new user gets: the simulated rig with the packaged settings.
TEST_F(AutoSetupOnTheRig, SlowDetectorsNarrowTheRegionsAndAVideoThatEndsEarlyEndsTheRun) {
    const std::string sample = std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/settings.txt";
    ASSERT_TRUE(CopyFileA(sample.c_str(), installation_path(installation, "settings.txt").c_str(), FALSE)) << sample;
    installation_write(installation, "rig.txt", "pause_seconds=1\r\nslow_above_width=1500\r\nend_early=1600\r\n");
    start("--auto-setup --max-movies 50 --max-frames 100000");
    // Two jumpers are few, and a busy machine may lose one: how the analysis ends is not told here.
    EXPECT_NE(console_wait_for_exit(&console, 240000), -1);
    EXPECT_TRUE(log_shows_in_order(installation,
                                   {"auto setup: adaptive-width trial at 100%: *",
                                    "auto setup: narrowing motion width to 75% (motion_end_x=1439) — retrying trial",
                                    "auto setup: adaptive-width trial PASSED at * — committing width",
                                    "auto setup: frames stopped advancing (stall_count=3, nw=*)",
                                    "auto setup: monitoring complete, running analysis...", "controller exiting"}));
    // Frames timed before the workers had read the new region may cost one more step.
    EXPECT_LE(log_count(installation, "auto setup: narrowing *"), 2);
    EXPECT_EQ(log_count(installation, "auto setup: jumper limit *"), 0);
}
