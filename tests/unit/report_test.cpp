// The report of an Auto Setup run, looked at as a text: what it says for each outcome, that it is sound HTML, and
// that it stays small.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "autosetup/report.h"
#include "autosetup/report_plots.h"
#include "settings/descriptor_table.h"
#include "settings/settings_file.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/html_check.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"

namespace {

struct Outing {
    WorkspacePtr workspace = make_workspace();
    std::unique_ptr<Settings> before = default_settings();
    std::unique_ptr<Settings> after = default_settings();
    AnalysisEnd end = {kAnalysisApplied, 0};
    const char* date = "2026-01-02 03:04";

    AutoSetupWorkspace* operator->() const {
        return workspace.get();
    }
    std::string report() const {
        std::string html = "what stood here before";
        auto_setup_report(workspace.get(), before.get(), after.get(), end, date, &html);
        return html;
    }
};

}  // namespace

static bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

static int32_t occurrences(std::string_view text, std::string_view part) {
    int32_t count = 0;
    for (size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

// What stands between the first `open` and the `close` after it.
static std::string between(std::string_view text, std::string_view open, std::string_view close) {
    const size_t start = text.find(open);
    if (start == std::string_view::npos) return "(not found)";
    const size_t from = start + open.size();
    return std::string(text.substr(from, text.find(close, from) - from));
}

static std::string verdict(const std::string& html) {
    return between(html, "<p id=\"verdict\" class=\"", "</p>");
}

static std::string section(const std::string& html, const std::string& id) {
    return between(html, "<section id=\"" + id + "\">", "</section>");
}

static void expect_sound(const std::string& html) {
    EXPECT_EQ(html_nesting_fault(html), "");
    EXPECT_EQ(html.rfind("<!doctype html>", 0), 0U);
    EXPECT_FALSE(contains(html, "<script"));
    EXPECT_FALSE(contains(html, "http:"));
    EXPECT_FALSE(contains(html, "https:"));
    EXPECT_FALSE(contains(html, "nan"));
    EXPECT_FALSE(contains(html, "inf\""));
    const std::map<std::string, int> ids = html_values(html, "id");
    for (const auto& [id, count] : ids) EXPECT_EQ(count, 1) << id;
    for (const char* id :
         {"verdict", "advice", "changed", "kept", "jumps", "alignment", "gaps", "bands", "pixel-frames", "logs"})
        EXPECT_EQ(ids.count(id), 1U) << id;
}

// Three jumps: accepted, outlier, invalid; everything measured and applied.
static Outing complete_run() {
    Outing run;
    AutoSetupWorkspace* workspace = run.workspace.get();
    for (int32_t feed = 0; feed < 3; ++feed) {
        set_linear_grid(workspace, feed, 30.0F + static_cast<float>(feed) * 10, 0.01F);
        for (int32_t j = 0; j < 3; ++j) add_jump(workspace, feed, {1000 + j * 500, 1040 + j * 500, 100, 1700, 41});
        workspace->bbox_y_min[feed] = 200;
        workspace->bbox_y_max[feed] = 260;
        workspace->blob_size_max[feed] = 400;
        workspace->region_y0[feed] = 194;
        workspace->region_y1[feed] = 266;
        workspace->sync_valid[feed] = 1;
        run.after->pixel_frames_populated[feed] = 1;
        for (int32_t x = 0; x < kPixelColumns; ++x) {
            run.after->pixel_to_start[feed][x] = 60 + x / 10;
            run.after->pixel_to_scene[feed][x] = 120 - x / 10;
            run.after->pixel_to_end[feed][x] = 270 - x / 10;
        }
    }
    for (int32_t j = 0; j < 3; ++j) {
        workspace->align_01[j] = {1, 7 + j, 5, 40, 45};
        workspace->align_12[j] = {1, -3, j == 2 ? 0 : 5, 50, 55};
    }
    workspace->calculation.jumps = 3;
    workspace->calculation.outliers = workspace->calculation.invalid = 1;
    workspace->calculation.jump[0] = {kJumpAccepted, kRuleNone, -1, 0};
    workspace->calculation.jump[1] = {kJumpOutlier, kRuleFewRecords, 0, 4};
    workspace->calculation.jump[2] = {kJumpInvalid, kRuleSpan, 1, 521};
    workspace->alignment.meter_aligned[0] = 3;
    workspace->alignment.meter_aligned[1] = 2;
    workspace->alignment.median[0] = 8;
    workspace->alignment.median[1] = -3;
    workspace->sync_offset[0] = -8;
    workspace->sync_offset[2] = -3;
    const int32_t samples[] = {12, 13, 12, 14, 80};
    for (const int32_t sample : samples) workspace->gaps.trigger_01[workspace->gaps.trigger_01_count++] = sample;
    for (const int32_t sample : {5, 5, 6}) workspace->gaps.alignment[workspace->gaps.alignment_count++] = sample;
    workspace->gaps.method[0] = kGapTriggers;
    workspace->gaps.method[1] = kGapAlignment;
    workspace->gap_valid[0] = workspace->gap_valid[1] = 1;
    workspace->gap_frames[0] = 12;
    workspace->gap_frames[1] = 5;
    workspace->gap_samples[0] = 4;
    workspace->gap_samples[1] = 3;
    workspace->gap_mad[0] = 1;
    workspace->cap_max_blob_size = 800;
    workspace->pixel_frames = {3, 2, 300, 1727, 120, nullptr};
    workspace->phase = 8;
    run.after->feed_sync_offset[0] = -8;
    run.after->max_blob_size = 800;
    return run;
}

TEST(Report, TheNestingIsReallyLookedAt) {
    EXPECT_EQ(html_nesting_fault("<!doctype html><p a=\"b\">x<br/></p>"), "");
    EXPECT_EQ(html_nesting_fault("<p><b></p></b>"), "unexpected </p>");
    EXPECT_EQ(html_nesting_fault("<p><b></b>"), "<p> is never closed");
    EXPECT_NE(html_nesting_fault("<p>1 < 2</p>"), "");
}

TEST(Report, ACompleteRunIsSoundHtml) {
    expect_sound(complete_run().report());
}

TEST(Report, TheVerdictOfASuccessCountsJumpsAndSettings) {
    const Outing run = complete_run();
    // feed_sync_offset[0], max_blob_size and three pixel-frame tables.
    EXPECT_EQ(verdict(run.report()), "good\">Auto Setup succeeded: measured from 1 of 3 jumps, 5 settings changed.");
}

TEST(Report, AMeasurementThatFailedIsInTheVerdictAndItsReasonBelow) {
    const Outing run = complete_run();
    run->sync_valid[2] = 0;
    run->alignment.kept[1] = "fewer than 2 jumps could be aligned by metres";
    const std::string html = run.report();
    EXPECT_EQ(
        verdict(html),
        "warn\">Auto Setup succeeded: measured from 1 of 3 jumps, 5 settings changed, 1 could not be measured.");
    EXPECT_TRUE(contains(section(html, "kept"),
                         "<th scope=\"row\">fewer than 2 jumps could be aligned by metres</th><td class=\"items\">"
                         "<code>feed_sync_offset[2] = 0</code> </td>"));
    EXPECT_TRUE(contains(section(html, "alignment"), "feed_sync_offset[2] stays as it was."));
}

TEST(Report, OutliersThatHadToBeUsedMakeTheVerdictCareful) {
    const Outing run = complete_run();
    run->calculation.outliers_kept = true;
    for (int32_t j = 0; j < 3; ++j) run->calculation.jump[j] = {kJumpOutlier, kRuleFewRecords, 0, 1};
    const std::string html = run.report();
    EXPECT_EQ(
        verdict(html),
        "warn\">Auto Setup succeeded: measured from 3 of 3 jumps, 5 settings changed, and every jump is doubtful.");
    EXPECT_TRUE(
        contains(section(html, "jumps"), "feed 0 saw only 1 blob of it; 5 are needed (used, as no jump was better)"));
}

TEST(Report, DefaultsInsteadOfMeasurementsAreNoSuccess) {
    const Outing run = complete_run();
    run->calculation = {};
    EXPECT_EQ(verdict(run.report()),
              "bad\">No jump was seen by all cameras in use: the timing settings are built-in defaults.");
}

TEST(Report, AFailureSaysWhyAndThatNothingWasSaved) {
    const struct {
        int32_t phase, blobs;
        const char* sentence;
    } cases[] = {
        {1, 0, "bad\">Auto Setup failed and saved no settings: no feed has valid grid lines."},
        {3, 0, "bad\">Auto Setup failed and saved no settings: the motion logs hold no blobs."},
        {3, 1,
         "bad\">Auto Setup failed and saved no settings: the computer ran out of memory while it read the logs."},
        {6, 1, "bad\">Auto Setup failed and saved no settings: most of the jumps were invalid (3 of 5)."},
    };
    for (const auto& row : cases) {
        Outing run;
        run.end = {kAnalysisNothing, -1};
        run->phase = row.phase;
        if (row.blobs > 0) add_blob(run.workspace.get(), 1, {});
        if (row.phase == 6) {
            run->calculation.jumps = 5;
            run->calculation.invalid = 3;
        }
        const std::string html = run.report();
        EXPECT_EQ(verdict(html), row.sentence);
        expect_sound(html);
    }
}

TEST(Report, ALoneTableIsToldFromATotalFailure) {
    Outing run = complete_run();
    run.end = {kAnalysisTablesOnly, -1};
    run->phase = 6;
    run->calculation.invalid = 2;
    const std::string html = run.report();
    EXPECT_EQ(
        verdict(html),
        "warn\">The timing was not measured: most of the jumps were invalid (2 of 3). Only the pixel-frame tables "
        "were saved.");
    EXPECT_TRUE(contains(section(html, "alignment"), "feed_sync_offset[0] stays as it was."));
    expect_sound(html);
}

TEST(Report, AnEmptyWorkspaceSaysWhatIsMissing) {
    Outing run;
    run->pixel_frames.kept = "no jump with time stamps was found";
    const std::string html = run.report();
    expect_sound(html);
    EXPECT_TRUE(contains(section(html, "changed"), "No setting changed."));
    EXPECT_TRUE(contains(section(html, "jumps"), "Feed 0: no jump."));
    EXPECT_TRUE(contains(section(html, "alignment"), "Feed 0 to feed 1: no jump was seen by both."));
    EXPECT_TRUE(contains(section(html, "gaps"), "Feed 0 to feed 2, scene triggers: no sample."));
    EXPECT_TRUE(contains(section(html, "bands"), "Feed 1: no blobs."));
    EXPECT_TRUE(
        contains(section(html, "pixel-frames"), "The tables stay as they were: no jump with time stamps was"));
    EXPECT_TRUE(contains(section(html, "pixel-frames"), "Feed 2: no table."));
    EXPECT_TRUE(contains(section(html, "logs"), "<td>not set</td>"));
}

TEST(Report, EverySettingThatChangedIsListed) {
    const Outing run;
    randomise_saved_settings(run.after.get(), 7);
    const std::string changed = section(run.report(), "changed");
    int32_t listed = 0;
    for (int32_t row = 0; row < kSettingRowCount; ++row) {
        if (kSettingTable[row].type == SETTING_SEPARATOR || !setting_row_is_saved(row)) continue;
        listed += occurrences(changed, "<code>" + std::string(kSettingTable[row].key) + "</code>");
    }
    // Chance may leave a few values as they were.
    EXPECT_EQ(listed, occurrences(changed, "<tr>") - 1 - occurrences(changed, "<code>pixel_frames["));
    EXPECT_GT(listed, 300);
}

TEST(Report, AChangeShowsBothValuesTheDifferenceAndTheUnit) {
    const Outing run;
    run.before->feed_sync_offset[0] = 4;
    run.after->feed_sync_offset[0] = -8;
    const std::string changed = section(run.report(), "changed");
    EXPECT_TRUE(contains(changed,
                         "(not stored in settings.txt)</small></th><td class=\"number\">4</td>"
                         "<td class=\"number\"><b>-8</b></td><td class=\"number\">-12</td><td>frames</td></tr>"))
        << changed;
}

TEST(Report, ForeignTextsAreShownAsTheyAreWritten) {
    Outing run;
    run.date = "<i>today</i>";
    snprintf(run.after->archive_dir, sizeof run.after->archive_dir, "<b>\"&\x01");
    const std::string html = run.report();
    EXPECT_TRUE(contains(html, "<b>&lt;b&gt;&quot;&amp;\uFFFD</b>"));
    EXPECT_FALSE(contains(html, "<b><b>"));
    EXPECT_TRUE(contains(html, "&lt;i&gt;today&lt;/i&gt;"));
    expect_sound(html);
}

TEST(Report, ASettingMeasuredWithTheSameResultIsNamed) {
    const Outing run = complete_run();
    const std::string kept = section(run.report(), "kept");
    EXPECT_TRUE(contains(kept, "measured again, with the same result"));
    EXPECT_FALSE(contains(kept, "<code>feed_sync_offset[0]"));
    EXPECT_TRUE(contains(kept, "feed 1 is the reference, its offset is 0"));
    EXPECT_TRUE(contains(kept, "the run had no width trial"));
}

TEST(Report, AFeedThatIsNotInUseKeepsItsSettingsForThatReason) {
    const Outing run;
    run.before->feed_count = run.after->feed_count = 2;
    run->calculation.jumps = 1;
    run->cap_max_blob_size = 1;
    run->sync_valid[1] = run->sync_valid[2] = 1;
    const std::string html = run.report();
    EXPECT_TRUE(contains(section(html, "kept"), "<th scope=\"row\">feed 0 is not in use</th>"));
    EXPECT_TRUE(contains(section(html, "bands"), "Feed 0: not in use."));
    // A rig without feed 0 has missed nothing.
    EXPECT_EQ(verdict(html), "good\">Auto Setup succeeded: measured from 1 of 1 jump, 0 settings changed.");
}

TEST(Report, EachJumpHasItsVerdictAndTheRuleThatRejectedIt) {
    const std::string jumps = section(complete_run().report(), "jumps");
    EXPECT_TRUE(contains(jumps,
                         "<th scope=\"row\">0</th><td class=\"accepted\">accepted</td><td></td>"
                         "<td>41 blobs<br/>frames 1000 … 1040<br/>columns 100 … 1700</td>"));
    EXPECT_TRUE(contains(jumps,
                         "<th scope=\"row\">1</th><td class=\"outlier\">outlier</td>"
                         "<td>feed 0 saw only 4 blobs of it; 5 are needed</td>"));
    EXPECT_TRUE(contains(jumps,
                         "<th scope=\"row\">2</th><td class=\"invalid\">invalid</td>"
                         "<td>feed 1 saw it for 521 frames; 10 to 520 are possible</td>"));
    for (const char* kind : {"accepted", "outlier", "invalid"}) {
        EXPECT_EQ(occurrences(jumps, "<rect class=\"jump " + std::string(kind)), 3) << kind;
        EXPECT_EQ(occurrences(jumps, "<path class=\"dots " + std::string(kind)), 3) << kind;
    }
}

TEST(Report, AJumpThatTheCalculationDidNotReachIsNotUsed) {
    const Outing run = complete_run();
    run->calculation.jumps = 2;
    const std::string jumps = section(run.report(), "jumps");
    EXPECT_TRUE(contains(jumps, "<td>not used</td><td>not every camera in use saw it</td>"));
    EXPECT_EQ(occurrences(jumps, "<path class=\"dots unjudged\""), 3);
}

TEST(Report, DotsStandWhereTheirFramesAndColumnsBelong) {
    Outing run;
    AutoSetupWorkspace* workspace = run.workspace.get();
    // One jump takes the whole picture: 884 units less the gap of 8, from 64; its frames 0, 10, 40.
    for (const int32_t frame : {0, 10, 40}) {
        MotionBlob blob = {};
        blob.seq = 500 + frame;
        blob.x = frame == 10 ? 2500 : 0;
        add_blob(workspace, 1, blob);
    }
    workspace->jumps[1][0] = {0, 3};
    workspace->jump_count[1] = 1;
    const std::string html = run.report();
    // Column 0 lies at the bottom, 244; a column beyond the picture at its top, 34.
    EXPECT_TRUE(contains(html, "<path class=\"dots unjudged\" d=\"M64.0 244.0h0M283.0 34.0h0M940.0 244.0h0\"/>"))
        << between(html, "<path class=\"dots", "/>");
}

TEST(Report, OffsetsOfJumpsThatWereGuessedAreHollow) {
    const std::string alignment = section(complete_run().report(), "alignment");
    EXPECT_EQ(occurrences(alignment, "class=\"counted\""), 5);
    EXPECT_EQ(occurrences(alignment, "class=\"left-out\""), 1);
    EXPECT_TRUE(contains(alignment, "3 of 3 jumps aligned by metres, median 8 frames"));
    EXPECT_TRUE(contains(alignment, "2 of 3 jumps aligned by metres, median -3 frames"));
    EXPECT_TRUE(contains(alignment, "feed_sync_offset[0] = -8 frames."));
}

TEST(Report, GapSamplesOutsideTheBoundsAreHollow) {
    const std::string gaps = section(complete_run().report(), "gaps");
    EXPECT_TRUE(contains(gaps, "<b>12 frames</b> from the scene triggers; 4 samples, median deviation 1."));
    // Of 12, 13, 12, 14, 80 the median is 13, the deviation 1; the kept four have the median 12.
    EXPECT_TRUE(contains(gaps, "5 samples, median 12 frames of 4 kept; hollow ones lie outside 10 … 16 frames."));
    EXPECT_EQ(occurrences(gaps, "class=\"left-out\""), 1);
    EXPECT_EQ(occurrences(gaps, "class=\"counted\""), 7);
    EXPECT_EQ(occurrences(gaps, "class=\"median\""), 2);
    EXPECT_EQ(occurrences(gaps, "class=\"bound\""), 2);
}

TEST(Report, TwoGapSamplesHaveNoMedian) {
    const Outing run = complete_run();
    run->gaps.trigger_01_count = 2;
    const std::string gaps = section(run.report(), "gaps");
    EXPECT_TRUE(contains(gaps, "2 samples; at least 3 that agree are needed."));
    EXPECT_EQ(occurrences(gaps, "class=\"median\""), 1);
}

TEST(Report, TheMotionBandLiesOverTheBlobs) {
    const Outing run = complete_run();
    run.before->overlay_frame_offsets[0] = 100;
    run.before->motion_start_y[0] = 200;
    run.before->motion_end_y[0] = 500;
    const std::string bands = section(run.report(), "bands");
    // 200 units for 540 rows from 34: row 194 at 105.9, 73 rows are 27.0.
    EXPECT_TRUE(contains(bands, "<rect class=\"band\" x=\"60\" y=\"105.9\" width=\"884\" height=\"27.0\"/>"));
    EXPECT_TRUE(contains(bands,
                         "<b>Feed 0.</b> Blobs on rows 200 … 260; the band takes rows 194 … 266 (before: 100 … "
                         "400, dashed). All 123 blobs"));
    EXPECT_EQ(occurrences(bands, "<path class=\"rows\""), 3);
}

TEST(Report, ThePixelFramesHaveThreeCurvesPerFeed) {
    const std::string tables = section(complete_run().report(), "pixel-frames");
    for (const char* kind : {"to-start", "to-scene", "to-end"})
        EXPECT_EQ(occurrences(tables, "<path class=\"curve " + std::string(kind)), 3) << kind;
    EXPECT_TRUE(
        contains(tables, "Averaged over 2 of 3 jumps that the cameras saw together. A movie lasts 300 frames"));
    EXPECT_TRUE(
        contains(tables, "Column 0: 60 to start, 120 to scene, 270 to end; column 1919: 251, -71, 79 frames."));
}

TEST(Report, AMillionBlobsStayASmallFile) {
    Outing run;
    for (int32_t j = 0; j < 20; ++j)
        add_jump(run.workspace.get(), 1, {j * 100'000, j * 100'000 + 49'999, 0, 1919, 50'000});
    const std::string html = run.report();
    EXPECT_TRUE(contains(html, "<b>Feed 1.</b> 4000 of 1000000 blobs shown."));
    EXPECT_LT(html.size(), 200'000U);
    expect_sound(html);
}

TEST(Report, BlobsBehindTheLastJumpAreCounted) {
    const Outing run = complete_run();
    for (int32_t i = 0; i < 5; ++i) add_blob(run.workspace.get(), 0, {});
    EXPECT_TRUE(contains(run.report(),
                         "<b>Feed 0.</b> 123 of 123 blobs shown; 5 blobs after the last of 3 jumps were "
                         "not looked at."));
}

TEST(Report, NumbersFromTheEndsOfTheirRangesDoNoHarm) {
    const Outing run = complete_run();
    MotionBlob* blobs = run->blobs[0];
    blobs[0].seq = INT64_MIN;
    blobs[1].seq = INT64_MAX;
    blobs[2].first_y = INT32_MIN;
    blobs[3].last_y = INT32_MAX;
    blobs[4].x = INT32_MIN;
    run->align_01[0].offset = INT64_MIN;
    run->align_01[1].offset = INT64_MAX;
    run->alignment.median[0] = INT64_MIN;
    run->region_y0[0] = INT32_MAX;
    run->region_y1[1] = INT32_MAX;
    run->gaps.alignment[0] = INT32_MIN;
    run->gaps.alignment[1] = INT32_MAX;
    run.before->motion_start_y[0] = INT32_MIN;
    run.before->overlay_frame_offsets[0] = INT32_MAX;
    run.after->pixel_to_end[0][5] = INT32_MIN;
    run.after->pixel_to_end[0][6] = INT32_MAX;
    expect_sound(run.report());
}

TEST(Report, ItIsWrittenBesideTheSettingsFile) {
    const LogCapture log;
    const TempDir dir;
    const std::string settings = dir.file("settings.txt");
    EXPECT_EQ(auto_setup_write_report(settings.c_str(), "<p>one\n</p>"), 0);
    EXPECT_EQ(read_whole_file(dir.file("auto_setup_report.html")), disk_lines("<p>one\n</p>"));
    EXPECT_TRUE(log.lines().empty());
}

TEST(Report, AFailureToWriteItIsLogged) {
    const LogCapture log;
    const TempDir dir;
    EXPECT_EQ(auto_setup_write_report(dir.file("missing/settings.txt").c_str(), "text"), -1);
    EXPECT_EQ(auto_setup_write_report(nullptr, "text"), -1);
    const std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].rfind("ERR auto setup: ", 0), 0U) << lines[0];
    EXPECT_EQ(lines[1], "ERR auto setup: no settings path to put the report beside");
}
