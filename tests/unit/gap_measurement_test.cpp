// The gaps between the cameras: which lines of feed 1's log make a sample, and what becomes of the samples.
#include "autosetup/gap_measurement.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

namespace {

using Samples = std::vector<int32_t>;

constexpr char kStart[] = "feed 1 movie_active 0->1 seq=1";

std::string trigger(int32_t feed, int64_t seq) {
    return "SCENE TRIGGER (f" + std::to_string(feed) + ") fire_seq=" + std::to_string(seq);
}

std::string override_line(int64_t seq) {
    return "SCENE TRIGGER OVERRIDE (f0) fire_seq=" + std::to_string(seq);
}

class TriggerScanning : public testing::Test {
protected:
    TriggerScan scan;
    GapTrace gaps = {};

    void lines(const std::vector<std::string>& texts) {
        for (const std::string& text : texts) trigger_scan_line(&scan, text, &gaps);
    }
    Samples from_f1() const {
        return {gaps.trigger_01, gaps.trigger_01 + gaps.trigger_01_count};
    }
    Samples from_f2() const {
        return {gaps.trigger_02, gaps.trigger_02 + gaps.trigger_02_count};
    }
};

class GapMeasurement : public testing::Test {
protected:
    LogCapture log;
    TempDir dir;
    std::string dir_path = dir.path();
    WorkspacePtr workspace = make_workspace();
    std::string text;

    GapMeasurement() {
        workspace->log_dir = dir_path.c_str();
    }

    // One movie each, with the trigger of feed 1 or 2 `frames` before feed 0's override.
    void movies(int32_t feed, const Samples& frames) {
        for (const int32_t sample : frames)
            text += std::string(kStart) + "\n" + trigger(feed, 5000) + "\n" + override_line(5000 + sample) + "\n";
    }

    // Jumps in feeds 1 and 2 with these distances once the alignment is taken off.
    void aligned_jumps(const std::vector<int64_t>& frames, int64_t offset = 25) {
        for (const int64_t sample : frames) {
            const int32_t jump = workspace->jump_count[1];
            const int64_t seq = 1000 * (jump + 1);
            add_jump(workspace.get(), 1, {seq, seq + 80, 100, 1800, 5});
            add_jump(workspace.get(), 2, {seq + 80 + sample + offset, seq + 900 + sample + offset, 100, 1800, 5});
            workspace->align_12[jump] = {1, offset, 4, 0, 0};
        }
    }

    int32_t measure() {
        write_whole_file(dir.file("motion_debug_1.log"), text);
        return auto_setup_measure_inter_feed_gaps(workspace.get());
    }

    void expect_gap(int32_t gap, int32_t frames, int32_t samples, int32_t mad, GapMethod method) {
        EXPECT_EQ(workspace->gap_valid[gap], 1U);
        EXPECT_EQ(workspace->gap_frames[gap], frames);
        EXPECT_EQ(workspace->gap_samples[gap], samples);
        EXPECT_EQ(workspace->gap_mad[gap], mad);
        EXPECT_EQ(workspace->gaps.method[gap], method);
        EXPECT_EQ(workspace->gaps.kept[gap], nullptr);
    }

    void expect_kept(int32_t gap) {
        EXPECT_EQ(workspace->gap_valid[gap], 0U);
        EXPECT_EQ(workspace->gap_frames[gap], 0);
        EXPECT_EQ(workspace->gap_samples[gap], 0);
        EXPECT_EQ(workspace->gap_mad[gap], 0);
        EXPECT_EQ(workspace->gaps.method[gap], kGapNone);
        EXPECT_NE(workspace->gaps.kept[gap], nullptr);
    }
};

}  // namespace

TEST_F(TriggerScanning, ATriggerAndTheOverrideThatFollowsMakeASample) {
    lines({kStart, trigger(1, 1000), override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{12});
    EXPECT_EQ(from_f2(), Samples{});
}

TEST_F(TriggerScanning, BothFeedsMayTriggerBeforeOneOverride) {
    lines({trigger(1, 1000), trigger(2, 990), override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{12});
    EXPECT_EQ(from_f2(), Samples{22});
}

TEST_F(TriggerScanning, AMovieStartDiscardsThePendingTriggers) {
    lines({trigger(1, 1000), trigger(2, 1000), kStart, override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{});
    EXPECT_EQ(from_f2(), Samples{});
}

TEST_F(TriggerScanning, AnOverrideUsesUpThePendingTriggers) {
    lines({trigger(1, 1000), override_line(1012), override_line(1013)});
    EXPECT_EQ(from_f1(), Samples{12});
}

TEST_F(TriggerScanning, TheLastOfSeveralTriggersCounts) {
    lines({trigger(1, 1000), trigger(1, 1005), override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{7});
}

TEST_F(TriggerScanning, ATriggerOfOneFeedLeavesTheOthersPending) {
    lines({trigger(2, 1000), trigger(1, 1005), override_line(1012)});
    EXPECT_EQ(from_f2(), Samples{12});
}

TEST_F(TriggerScanning, ADistanceBeyond999FramesIsNoSampleEitherWay) {
    lines({trigger(1, 2000), override_line(3000)});
    lines({trigger(1, 2000), override_line(1000)});
    EXPECT_EQ(from_f1(), Samples{});
    lines({trigger(1, 2000), override_line(2999)});
    lines({trigger(1, 2000), override_line(1001)});
    EXPECT_EQ(from_f1(), (Samples{999, -999}));
}

TEST_F(TriggerScanning, ADistanceTooLargeStillUsesUpTheTriggers) {
    lines({trigger(1, 1000), override_line(9000), override_line(1010)});
    EXPECT_EQ(from_f1(), Samples{});
}

TEST_F(TriggerScanning, AnOverrideWithoutAReadableNumberChangesNothing) {
    lines({trigger(1, 1000), "SCENE TRIGGER OVERRIDE (f0)",
           "SCENE TRIGGER OVERRIDE (f0) fire_seq=", "SCENE TRIGGER OVERRIDE (f0) fire_seq=x1012",
           "SCENE TRIGGER OVERRIDE (f0) fire_seq=-", override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{12});
}

TEST_F(TriggerScanning, ATriggerWithoutAReadableNumberKeepsTheOneBefore) {
    lines({trigger(1, 1000), "SCENE TRIGGER (f1)", "SCENE TRIGGER (f1) fire_seq=+", override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{12});
}

TEST_F(TriggerScanning, FrameNumberZeroIsATriggerAndANegativeOneIsNone) {
    lines({trigger(1, 0), override_line(5)});
    EXPECT_EQ(from_f1(), Samples{5});
    lines({trigger(1, -1), override_line(5)});
    EXPECT_EQ(from_f1(), Samples{5});
}

TEST_F(TriggerScanning, TheFirstMatchingRuleTakesTheLine) {
    // A line that starts a movie and holds a trigger as well only starts the movie.
    lines({trigger(1, 1000), trigger(2, 990), std::string(kStart) + " " + override_line(1012), override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{});
    // Feed 1's trigger hides an override in the same line, and feed 2's one.
    lines({trigger(1, 1000) + " " + trigger(2, 900), trigger(1, 1001) + " " + override_line(1500),
           override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{11});
    EXPECT_EQ(from_f2(), Samples{});
}

TEST_F(TriggerScanning, TheNumberBehindTheFirstKeyCounts) {
    lines({"x fire_seq=1000 SCENE TRIGGER (f1) fire_seq=7", "fire_seq= fire_seq=2 SCENE TRIGGER OVERRIDE (f0)",
           override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{12});
}

TEST_F(TriggerScanning, BlanksAndASignMayStandBeforeTheNumberAndAnythingBehindIt) {
    lines({"SCENE TRIGGER (f1) fire_seq= \t+1000,x", "SCENE TRIGGER OVERRIDE (f0) fire_seq=  1012.9"});
    EXPECT_EQ(from_f1(), Samples{12});
}

TEST_F(TriggerScanning, OtherLinesAreIgnored) {
    lines({trigger(1, 1000), "", "feed 1 seq=5 blob0_sz=400", "scene trigger override (f0) fire_seq=1",
           "SCENE TRIGGER (f0) fire_seq=1003", "SCENE TRIGGER OVERRIDE (f1) fire_seq=1003", "movie_active 1->0",
           override_line(1012)});
    EXPECT_EQ(from_f1(), Samples{12});
}

TEST_F(TriggerScanning, ItHolds256SamplesOfEachKind) {
    for (int64_t i = 0; i < 300; ++i) lines({trigger(1, 1000), override_line(1000 + i)});
    for (int64_t i = 0; i < 300; ++i) lines({trigger(2, 1000), override_line(1000 + i)});
    EXPECT_EQ(gaps.trigger_01_count, 256);
    EXPECT_EQ(gaps.trigger_01[255], 255);
    EXPECT_EQ(gaps.trigger_02_count, 256);
}

TEST_F(TriggerScanning, NumbersAtTheLimitsAreScannedWithoutHarm) {
    const std::string numbers[] = {"9223372036854775807",
                                   "-9223372036854775808",
                                   "99999999999999999999999",
                                   "-99999999999999999999",
                                   "0",
                                   "-0",
                                   "18446744073709551616",
                                   "-1"};
    const std::string kinds[] = {"SCENE TRIGGER (f1)", "SCENE TRIGGER (f2)", "SCENE TRIGGER OVERRIDE (f0)"};
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        lines({kinds[random() % 3] + " fire_seq=" + numbers[random() % 8]});
        ASSERT_LE(gaps.trigger_01_count, kGapSampleLimit);
        ASSERT_LE(gaps.trigger_02_count, kGapSampleLimit);
    }
    // Beyond 64 bits the number stops at the limit.
    gaps = {};
    lines({kinds[0] + " fire_seq=" + numbers[2], kinds[2] + " fire_seq=" + numbers[0]});
    EXPECT_EQ(from_f1(), Samples{0});
}

TEST_F(GapMeasurement, AnOutlierIsLeftOutOfGapZero) {
    movies(1, {12, 13, 12, 14, 80});
    EXPECT_EQ(measure(), 0);
    // Sorted 12 12 13 14 80: median 13, deviations 1 0 1 1 67, of which the median is 1; 80 is out. Left are
    // 12 12 13 14 with the mean of 12 and 13, truncated.
    expect_gap(0, 12, 4, 1, kGapTriggers);
    EXPECT_TRUE(
        log.has("INF auto_setup: inter-feed gap measurement — collected 5 f0/f1 samples and 0 f0/f2 samples"));
    EXPECT_TRUE(
        log.has("INF auto_setup: inter_feed_gap_frames[0] = 12 (median of 4 samples after outlier filter, "
                "initial median=13, MAD=1)"));
}

TEST_F(GapMeasurement, TwoSamplesAreTooFew) {
    movies(1, {12, 13});
    EXPECT_EQ(measure(), 0);
    expect_kept(0);
    EXPECT_TRUE(log.has("INF auto_setup: inter-feed gap[0] — 2 samples (need >= 3) — setting preserved"));
}

TEST_F(GapMeasurement, ThreeSamplesSuffice) {
    movies(1, {12, 14, 19});
    measure();
    expect_gap(0, 14, 3, 2, kGapTriggers);  // deviations 2 0 5; 19 is 5 <= 6 away
}

TEST_F(GapMeasurement, TwoCleanSamplesAreTooFew) {
    // Median 11, deviations 1 0 69, median 1: 80 is out and two remain.
    movies(1, {10, 11, 80});
    measure();
    expect_kept(0);
    EXPECT_TRUE(log.has("WRN auto_setup: inter-feed gap[0] only 2 clean samples (need >= 3) — setting preserved"));
}

TEST_F(GapMeasurement, TwoCleanSamplesAreTooFewForTheDifference) {
    movies(1, {12, 12, 12});
    movies(2, {40, 41, 90});
    measure();
    expect_kept(1);
    EXPECT_EQ(log.lines().back(),
              "WRN auto_setup: inter-feed gap[1] only 2 clean samples (need >= 3) — setting preserved");
}

TEST_F(GapMeasurement, TwoCleanAlignedJumpsGiveWayToTheTriggersWithoutAWord) {
    aligned_jumps({20, 21, 90});
    movies(1, {12, 12, 12});
    movies(2, {40, 40, 40});
    measure();
    expect_gap(1, 28, 3, 0, kGapIncremental);
    const std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[2], "INF auto_setup: inter-feed gap[1] alignment method — collected 3 samples");
    EXPECT_TRUE(lines[3].starts_with("INF auto_setup: inter_feed_gap_frames[1] = 28 (incremental;")) << lines[3];
}

TEST_F(GapMeasurement, WithoutAnyDeviationEverySampleCountsAsClean) {
    movies(1, {5, 5, 5, 400});
    measure();
    expect_gap(0, 5, 4, 0, kGapTriggers);
}

TEST_F(GapMeasurement, TheBandReachesFromMinus30To150) {
    for (const int32_t inside : {150, -30}) {
        text.clear();
        movies(1, {inside, inside, inside});
        measure();
        expect_gap(0, inside, 3, 0, kGapTriggers);
    }
    for (const int32_t outside : {151, -31}) {
        text.clear();
        movies(1, {outside, outside, outside});
        measure();
        expect_kept(0);
        EXPECT_TRUE(log.has("WRN auto_setup: inter-feed gap[0] measured " + std::to_string(outside) +
                            " outside sanity band [-30, 150] — setting preserved"));
    }
}

TEST_F(GapMeasurement, TheAlignmentGivesGapOneAlsoWithoutGapZero) {
    aligned_jumps({20, 22, 21, 90});
    EXPECT_EQ(measure(), 0);
    expect_kept(0);
    // Sorted 20 21 22 90: median 21, deviations 1 1 0 69, median 1; 90 is out, 21 remains the middle.
    expect_gap(1, 21, 3, 1, kGapAlignment);
    EXPECT_TRUE(log.has("INF auto_setup: inter-feed gap[1] alignment method — collected 4 samples"));
    EXPECT_TRUE(
        log.has("INF auto_setup: inter_feed_gap_frames[1] = 21 (alignment method, median of 3 clean samples, "
                "initial median=21, MAD=1)"));
    EXPECT_EQ(log.lines().back(),
              "INF auto_setup: inter_feed_gap_frames[1] = 21 (alignment method, median of 3 clean "
              "samples, initial median=21, MAD=1)");
}

TEST_F(GapMeasurement, OnlyAlignedJumpsOfTwoRecordsInBothFeedsAndNearOneAnotherCount) {
    aligned_jumps({20, 21, 22, 23, 24, 25});
    workspace->align_12[0].valid = 0;
    workspace->jumps[1][1].count = 1;
    workspace->jumps[2][2].count = 1;
    workspace->align_12[3].offset -= 977;  // 23 + 977 = 1000 frames
    workspace->align_12[4].offset -= 975;  // 24 + 975 = 999
    measure();
    EXPECT_EQ(workspace->gaps.alignment_count, 2);
    EXPECT_EQ(workspace->gaps.alignment[0], 999);
    EXPECT_EQ(workspace->gaps.alignment[1], 25);
    expect_kept(1);
}

TEST_F(GapMeasurement, JumpsThatOnlyOneFeedHasAreNotLookedAt) {
    aligned_jumps({20, 21, 22, 23});
    workspace->jump_count[2] = 2;
    measure();
    EXPECT_TRUE(log.has("INF auto_setup: inter-feed gap[1] alignment method — collected 2 samples"));
    expect_kept(1);
}

TEST_F(GapMeasurement, AnAlignedGapOutsideTheBandGivesWayToTheTriggers) {
    for (const int32_t outside : {151, -31}) {
        workspace = make_workspace();
        workspace->log_dir = dir_path.c_str();
        aligned_jumps({outside, outside, outside});
        text.clear();
        movies(1, {12, 12, 12});
        movies(2, {40, 40, 40});
        measure();
        EXPECT_TRUE(log.has("WRN auto_setup: gap[1] alignment-measured " + std::to_string(outside) +
                            " outside sanity band [-30, 150] — trying fallback"));
        expect_gap(1, 28, 3, 0, kGapIncremental);
    }
}

TEST_F(GapMeasurement, AnAlignedGapAtTheEndsOfTheBandIsTaken) {
    for (const int32_t inside : {150, -30}) {
        workspace = make_workspace();
        workspace->log_dir = dir_path.c_str();
        aligned_jumps({inside, inside, inside});
        measure();
        expect_gap(1, inside, 3, 0, kGapAlignment);
    }
}

TEST_F(GapMeasurement, WithoutAlignmentGapOneIsTheDifferenceOfTheTriggers) {
    movies(1, {12, 12, 12});
    movies(2, {39, 40, 41, 40});
    measure();
    expect_gap(0, 12, 3, 0, kGapTriggers);
    // Median 40, deviations 1 0 1 0, median (0 + 1) / 2 = 0: nothing is dropped. 40 - 12 = 28.
    expect_gap(1, 28, 4, 0, kGapIncremental);
    EXPECT_TRUE(log.has("INF auto_setup: inter-feed gap[1] alignment method — collected 0 samples"));
    EXPECT_TRUE(
        log.has("INF auto_setup: inter_feed_gap_frames[1] = 28 (incremental; f0->f2 median=40 minus gap[0]=12, "
                "4 clean samples, MAD=0)"));
}

TEST_F(GapMeasurement, TheIncrementalGapMustLieInTheBandToo) {
    const struct {
        int32_t from_f2;
        bool accepted;
    } cases[] = {{162, true}, {163, false}, {-18, true}, {-19, false}};
    for (const auto& c : cases) {
        text.clear();
        movies(1, {12, 12, 12});
        movies(2, {c.from_f2, c.from_f2, c.from_f2});
        measure();
        if (c.accepted) {
            expect_gap(1, c.from_f2 - 12, 3, 0, kGapIncremental);
        } else {
            expect_kept(1);
            EXPECT_TRUE(log.has("WRN auto_setup: inter-feed gap[1] incremental " + std::to_string(c.from_f2 - 12) +
                                " outside sanity band [-30, 150] — setting preserved"));
        }
    }
}

TEST_F(GapMeasurement, TooFewSamplesForTheDifferenceKeepTheSetting) {
    movies(1, {12, 12, 12});
    movies(2, {40, 40});
    measure();
    expect_kept(1);
    EXPECT_EQ(log.lines().back(), "INF auto_setup: inter-feed gap[1] — 2 samples (need >= 3) — setting preserved");
}

TEST_F(GapMeasurement, WithoutGapZeroThereIsNoDifferenceToTake) {
    const std::string skipped =
        "INF auto_setup: inter-feed gap[1] — skipped (gap[0] not valid; incremental calculation requires valid "
        "gap[0])";
    movies(2, {40, 40});
    measure();
    expect_kept(1);
    EXPECT_EQ(log.lines().back(), skipped);
    movies(2, {40, 40, 40});
    measure();
    expect_kept(1);
    EXPECT_EQ(log.count(skipped), 2);
}

TEST_F(GapMeasurement, WithoutFeedZeroNothingIsMeasured) {
    for (const int32_t feeds : {1, 2}) {
        workspace = make_workspace(feeds);
        workspace->log_dir = dir_path.c_str();
        workspace->gap_valid[0] = 1;
        workspace->gap_frames[0] = 5;
        movies(1, {12, 12, 12});
        log.take();
        EXPECT_EQ(measure(), 0);
        expect_kept(0);
        expect_kept(1);
        EXPECT_EQ(log.take(),
                  std::vector<std::string>{
                      "INF auto_setup_measure_inter_feed_gaps: no-feed-0 mode — inter-feed gap measurement "
                      "skipped (scene change machinery requires feed 0)"});
    }
}

TEST_F(GapMeasurement, WithoutFeedOnesLogNothingIsMeasuredAndEarlierResultsAreCleared) {
    aligned_jumps({20, 21, 22});
    workspace->gap_valid[1] = 1;
    workspace->gap_frames[1] = 5;
    workspace->gap_samples[1] = 5;
    workspace->gap_mad[1] = 5;
    EXPECT_EQ(auto_setup_measure_inter_feed_gaps(workspace.get()), -1);
    expect_kept(0);
    expect_kept(1);
    EXPECT_EQ(log.lines(), std::vector<std::string>{
                               "WRN auto_setup: motion_debug_1.log not found — inter-feed gap measurement skipped"});
}

TEST_F(GapMeasurement, AnotherFeedsLogIsNotLookedAt) {
    movies(1, {12, 12, 12});
    write_whole_file(dir.file("motion_debug_0.log"), text);
    write_whole_file(dir.file("motion_debug_2.log"), text);
    text.clear();
    measure();
    EXPECT_TRUE(
        log.has("INF auto_setup: inter-feed gap measurement — collected 0 f0/f1 samples and 0 f0/f2 samples"));
}

TEST_F(GapMeasurement, ALineBeyond511CharactersIsReadInPieces) {
    // The trigger's own text fills the first piece to its end: the number begins the second, where no key stands.
    const std::string key = "SCENE TRIGGER (f1) fire_seq=";
    text = std::string(511 - key.size(), 'x') + key + "1000\n" + override_line(1012) + "\n";
    // With one character less before it, the number's first digit is all that the piece holds.
    text += std::string(510 - key.size(), 'x') + key + "5000\n" + override_line(12) + "\n";
    // A whole trigger in the second piece counts like any line.
    text += std::string(511, 'x') + trigger(1, 2000) + "\n" + override_line(2003) + "\n";
    measure();
    ASSERT_EQ(workspace->gaps.trigger_01_count, 2);
    EXPECT_EQ(workspace->gaps.trigger_01[0], 7);  // 12 - 5
    EXPECT_EQ(workspace->gaps.trigger_01[1], 3);
}

TEST_F(GapMeasurement, WindowsLineEndsAndAMissingLastOneAreFine) {
    text = trigger(1, 1000) + "\r\n" + override_line(1012) + "\r\n" + trigger(2, 1000) + "\r\n" + override_line(1040);
    measure();
    EXPECT_EQ(workspace->gaps.trigger_01_count, 1);
    EXPECT_EQ(workspace->gaps.trigger_02_count, 1);
}

TEST_F(GapMeasurement, HostileFrameNumbersInTheSpansAreMeasuredWithoutHarm) {
    const int64_t seqs[] = {INT64_MIN, -1, 0, 1, INT64_MAX};
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        workspace = make_workspace();
        workspace->log_dir = dir_path.c_str();
        for (int32_t jump = 0; jump < kJumpLimit; ++jump) {
            for (const int32_t feed : {1, 2}) {
                for (int i = 0; i < 2; ++i) {
                    MotionBlob blob = {};
                    blob.seq = seqs[random() % 5];
                    add_blob(workspace.get(), feed, blob);
                }
                workspace->jumps[feed][workspace->jump_count[feed]++] = {2 * jump, 2};
            }
            workspace->align_12[jump] = {static_cast<uint32_t>(random() % 2), seqs[random() % 5], 2, 0, 0};
        }
        EXPECT_EQ(measure(), 0);
        for (const int32_t frames : workspace->gap_frames) EXPECT_TRUE(-30 <= frames && frames <= 150);
    }
}
