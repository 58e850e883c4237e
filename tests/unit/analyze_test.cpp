// The analysis from logs to results, and what of it reaches the settings.
#include "autosetup/analyze.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "settings/motion_range.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/practice_logs.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

static const char* const kRestoreError = "ERR auto_setup_restore_motion_range: failed to parse saved_motion_range";
static const char* const kFailed =
    "WRN auto setup: phase-11 analysis failed (rc=-1) — attempting Phase 12 pixel_frames populate";
static const char* const kNothingMerged = "WRN pixel_frames_v2: no jumps merged, leaving pixel_frames untouched";

namespace {
struct PracticeRun {
    TempDir dir;
    std::unique_ptr<Settings> settings = default_settings();
    WorkspacePtr workspace = make_workspace();
    LogCapture log;

    PracticeRun() {
        workspace->log_dir = dir.path().c_str();
        settings->min_blob_sizes[0] = 10;
        set_practice_grid(settings.get());
    }
    void write_log(int32_t feed, std::string_view text) const {
        write_whole_file(dir.file("motion_debug_" + std::to_string(feed) + ".log"), text);
    }
    void write_logs(int32_t jumpers) const {
        for (int32_t feed = 0; feed < 3; ++feed) write_log(feed, practice_log(feed, jumpers));
    }
    int32_t analyze() const {
        return auto_setup_analyze(workspace.get(), settings.get());
    }
    AnalysisEnd conclude(bool restore_regions) const {
        return auto_setup_conclude(workspace.get(), settings.get(), restore_regions);
    }
};
}  // namespace

// Where in the log the line that begins so stands; -1 when nowhere.
static int32_t line_index(const std::vector<std::string>& lines, std::string_view beginning) {
    for (size_t i = 0; i < lines.size(); ++i)
        if (lines[i].starts_with(beginning)) return static_cast<int32_t>(i);
    return -1;
}

TEST(Analyze, WithoutGridLinesItStopsBeforeReadingALog) {
    const PracticeRun run;
    run.write_logs(3);
    for (int32_t& count : run.settings->meter_line_count) count = 0;
    EXPECT_EQ(run.analyze(), -1);
    EXPECT_EQ(run.workspace->phase, 1);
    EXPECT_EQ(run.log.lines(),
              std::vector<std::string>{"ERR auto_setup_interpolate: no feeds have valid grid lines"});
}

TEST(Analyze, WithoutLogsItStopsAtReadingThem) {
    const PracticeRun run;
    EXPECT_EQ(run.analyze(), -1);
    EXPECT_EQ(run.workspace->phase, 3);
    EXPECT_EQ(run.log.lines().back(), "ERR auto_setup_parse_logs: no blobs found in any feed");
}

TEST(Analyze, WithMostJumpsInvalidItStopsAtTheCalculation) {
    const PracticeRun run;
    for (int32_t feed = 0; feed < 3; ++feed) {
        const std::string name = "feed " + std::to_string(feed);
        run.write_log(feed, name + " seq=1 blob0_sz=50 blob0_x=1\n" + name + " seq=4 blob0_sz=50 blob0_x=9\n");
    }
    EXPECT_EQ(run.analyze(), -1);
    EXPECT_EQ(run.workspace->phase, 6);
    EXPECT_TRUE(
        run.log.has("ERR auto_setup_calculate: too many invalid jumps — 1/1 invalid, need better practice "
                    "data. Settings will NOT be written."));
}

TEST(Analyze, AGoodRunGoesThroughAllStepsInOrderAndChangesNoSetting) {
    const PracticeRun run;
    run.write_logs(4);
    const Settings before = *run.settings;
    EXPECT_EQ(run.analyze(), 0);
    EXPECT_EQ(run.workspace->phase, 8);
    EXPECT_TRUE(same_bytes(run.settings.get(), &before));
    const std::vector<std::string> lines = run.log.lines();
    const int32_t grid = line_index(lines, "INF feed 0: 2 grid lines, meter range 60.0..100.0");
    const int32_t parsed = line_index(lines, "INF feed 0: 160 blobs parsed, centroid_y 260..260, bbox_y 250..270");
    const int32_t segmented = line_index(lines, "INF feed 0: 4 jumps segmented");
    const int32_t calculated = line_index(lines, "INF auto_setup_calculate: jump_count[0]=4, [1]=4, [2]=4");
    EXPECT_EQ(grid, 0);
    EXPECT_LT(grid, parsed);
    EXPECT_LT(parsed, segmented);
    EXPECT_LT(segmented, calculated);
    for (int32_t feed = 0; feed < 3; ++feed) EXPECT_EQ(run.workspace->jump_count[feed], 4);
    for (int32_t jump = 0; jump < 4; ++jump) {
        // Feed 1 numbers its frames five behind feed 0, feed 2 nine behind feed 1.
        EXPECT_EQ(run.workspace->align_01[jump].valid, 1u);
        EXPECT_EQ(run.workspace->align_01[jump].offset, -5);
        EXPECT_EQ(run.workspace->align_12[jump].valid, 1u);
        EXPECT_EQ(run.workspace->align_12[jump].offset, -9);
    }
}

TEST(Analyze, GapsThatCannotBeMeasuredDoNotFailIt) {
    const PracticeRun run;
    run.write_log(2, practice_log(2, 2));  // measuring gaps needs feed 1's log
    EXPECT_EQ(run.analyze(), 0);
    EXPECT_EQ(run.workspace->phase, 8);
    EXPECT_EQ(run.workspace->gap_valid[0], 0u);
    EXPECT_EQ(run.workspace->gap_valid[1], 0u);
}

TEST(Conclude, ASuccessRestoresTheRegionsThenAppliesThenFillsTheTables) {
    const PracticeRun run;
    run.write_logs(4);
    snprintf(run.settings->saved_motion_range, kSettingTextSize, "11,12,13,14,21,22,23,24,31,32,33,34");
    const AnalysisEnd end = run.conclude(true);
    EXPECT_EQ(end.outcome, kAnalysisApplied);
    EXPECT_EQ(end.result, 0);
    // The columns come from before the run, the rows from the analysis, which would be lost the other way round.
    EXPECT_EQ(run.settings->motion_start_x[1], 21);
    EXPECT_EQ(run.settings->motion_end_x[1], 23);
    EXPECT_EQ(run.settings->motion_start_y[1],
              std::max(run.workspace->region_y0[1], 1) + run.settings->overlay_frame_offsets[1]);
    EXPECT_NE(run.settings->motion_start_y[1], 22);
    for (int32_t feed = 0; feed < 3; ++feed) EXPECT_EQ(run.settings->pixel_frames_populated[feed], 1);
    const std::vector<std::string> lines = run.log.lines();
    const int32_t applied = line_index(lines, "INF auto setup: applied -- ");
    const int32_t tables = line_index(lines, "INF pixel_frames_v2: populated all three feeds from 4 jumpers");
    EXPECT_GT(applied, line_index(lines, "INF auto_setup_calculate: jump_count"));
    EXPECT_GT(tables, applied);
    EXPECT_EQ(line_index(lines, kFailed), -1);
}

TEST(Conclude, WithoutRestoringTheRegionsAreTheRunsOwn) {
    const PracticeRun run;
    run.write_logs(4);
    snprintf(run.settings->saved_motion_range, kSettingTextSize, "11,12,13,14,21,22,23,24,31,32,33,34");
    run.settings->motion_end_x[1] = 1439;
    EXPECT_EQ(run.conclude(false).outcome, kAnalysisApplied);
    EXPECT_EQ(run.settings->motion_end_x[1], 1439);
}

TEST(Conclude, ABackupThatCannotBeReadDoesNotStopTheSuccess) {
    const PracticeRun run;
    run.write_logs(4);
    snprintf(run.settings->saved_motion_range, kSettingTextSize, "1,2,3");
    EXPECT_EQ(run.conclude(true).outcome, kAnalysisApplied);
    const std::vector<std::string> lines = run.log.lines();
    EXPECT_GT(line_index(lines, kRestoreError), 0);
    EXPECT_GT(line_index(lines, "INF auto setup: applied -- "), line_index(lines, kRestoreError));
}

TEST(Conclude, AFailureWithoutTablesRestoresAndSavesNothing) {
    const PracticeRun run;
    save_motion_range(run.settings.get());
    const Settings operators = *run.settings;
    for (int32_t feed = 0; feed < 3; ++feed) {
        run.settings->motion_start_x[feed] = 0;
        run.settings->motion_end_x[feed] = 1919;
    }
    const AnalysisEnd end = run.conclude(true);
    EXPECT_EQ(end.outcome, kAnalysisNothing);
    EXPECT_EQ(end.result, -1);
    EXPECT_TRUE(same_bytes(run.settings.get(), &operators));
    const std::vector<std::string> lines = run.log.lines();
    ASSERT_GE(lines.size(), size_t{3});
    EXPECT_EQ(lines[lines.size() - 4], "ERR auto_setup_parse_logs: no blobs found in any feed");
    EXPECT_EQ(lines[lines.size() - 3], kFailed);
    EXPECT_EQ(lines.back(), kNothingMerged);
}

TEST(Conclude, AFailureWarnsBeforeItRestores) {
    const PracticeRun run;
    run.settings->saved_motion_range[0] = '\0';
    EXPECT_EQ(run.conclude(true).outcome, kAnalysisNothing);
    const std::vector<std::string> lines = run.log.lines();
    ASSERT_GE(line_index(lines, kFailed), 0);
    EXPECT_EQ(line_index(lines, kRestoreError), line_index(lines, kFailed) + 1);
    EXPECT_GT(line_index(lines, kNothingMerged), line_index(lines, kRestoreError));
}

TEST(Conclude, AFailureWithTablesFromBeforeSavesThem) {
    const PracticeRun run;
    run.settings->pixel_frames_populated[2] = 1;
    const AnalysisEnd end = run.conclude(true);
    EXPECT_EQ(end.outcome, kAnalysisTablesOnly);
    EXPECT_EQ(end.result, -1);
}

// A jumper of the practice run, and two passers-by so short that the calculation gives up.
static std::string mostly_invalid_log(int32_t feed) {
    std::string log = practice_log(feed, 1);
    for (const int32_t frame : {5000, 6000}) {
        for (int32_t i = 0; i < 3; ++i) {
            log += "feed " + std::to_string(feed) + " seq=" + std::to_string(frame + i) +
                   " ts=" + std::to_string((frame + i) * 16'667LL) + " blob0_sz=50 blob0_x=" + std::to_string(i) +
                   "\n";
        }
    }
    return log;
}

TEST(Conclude, AFailedCalculationStillFillsTheTablesFromTheJumpersItHas) {
    const PracticeRun run;
    for (int32_t feed = 0; feed < 3; ++feed) run.write_log(feed, mostly_invalid_log(feed));
    const Settings before = *run.settings;
    EXPECT_EQ(run.conclude(false).outcome, kAnalysisTablesOnly);
    EXPECT_EQ(run.workspace->phase, 6);
    EXPECT_TRUE(run.log.has("INF pixel_frames_v2: populated all three feeds from 1 jumpers"));
    EXPECT_EQ(line_index(run.log.lines(), "INF auto setup: applied"), -1);
    EXPECT_EQ(memcmp(run.settings->feed_video_frames, before.feed_video_frames, sizeof before.feed_video_frames), 0);
    EXPECT_EQ(memcmp(run.settings->motion_end_y, before.motion_end_y, sizeof before.motion_end_y), 0);
}

TEST(Conclude, EveryOutcomeHasItsClosingLine) {
    LogCapture log;
    auto_setup_log_end({kAnalysisApplied, 0});
    auto_setup_log_end({kAnalysisTablesOnly, -1});
    auto_setup_log_end({kAnalysisNothing, -1});
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "INF auto setup: settings saved",
                  "INF auto setup: settings saved (pixel_frames populated despite phase-11 failure)",
                  "ERR auto setup: analysis failed (rc=-1), pixel_frames also empty — no settings written",
              }));
}
