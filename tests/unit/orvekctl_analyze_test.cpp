// orvekctl analyze: what it prints, what it saves and where, and how it exits.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "settings/pixel_frames_file.h"
#include "settings/settings_file.h"
#include "tests/support/orvekctl_run.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"
#include "tests/unit/scene_logs.h"
#include "tools/orvekctl.h"

static OrvekctlAnswer analyze(std::vector<std::string> arguments) {
    return run_orvekctl(orvekctl_analyze, std::move(arguments));
}

// Four jumpers and the settings that come with the scene.
static void write_practice_run(const TempDir& dir) {
    SceneConfig config;
    config.jumpers = 4;
    config.lead_in_frames = 30;
    config.pause_frames = 60;
    Scene scene;
    scene_init(&scene, config);
    write_scene_logs(scene, dir.path());
    ASSERT_EQ(scene_write_settings(dir.file("settings.txt").c_str()), 0);
}

static void append_to_settings(const TempDir& dir, const std::string& lines) {
    const std::string file = dir.file("settings.txt");
    write_whole_file(file, read_whole_file(file) + lines);
}

// The text behind a key up to its value's end: "7" or "[1, 2, 3]".
static std::string value_of(const std::string& json, const std::string& key) {
    const std::string quoted = "\"" + key + "\": ";
    const size_t at = json.find(quoted);
    if (at == std::string::npos) return "(missing)";
    const size_t start = at + quoted.size();
    const size_t end = json[start] == '[' ? json.find(']', start) + 1 : json.find_first_of(",}", start);
    return json.substr(start, end - start);
}

static std::vector<std::string> keys_of(const std::string& json) {
    std::vector<std::string> keys;
    for (size_t at = json.find('"'); at != std::string::npos; at = json.find('"', at + 1)) {
        const size_t end = json.find('"', at + 1);
        keys.push_back(json.substr(at + 1, end - at - 1));
        at = end;
    }
    return keys;
}

static const std::vector<std::string> kKeys = {"result",
                                               "phase",
                                               "saved",
                                               "feed_video_frames",
                                               "frames_before_first_blob",
                                               "frames_after_last_blob",
                                               "motion_start_x",
                                               "motion_start_y",
                                               "motion_end_x",
                                               "motion_end_y",
                                               "feed_sync_offset",
                                               "inter_feed_gap_frames",
                                               "center_of_blob_scene_trigger",
                                               "min_type2_frames",
                                               "max_blob_size",
                                               "max_diff_y",
                                               "max_diff_u",
                                               "max_diff_v",
                                               "pixel_frames_populated"};

TEST(OrvekctlAnalyze, AGoodRunIsAppliedSavedAndTold) {
    const TempDir dir;
    write_practice_run(dir);
    const OrvekctlAnswer answer = analyze({dir.path()});
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(keys_of(answer.out), kKeys);
    EXPECT_EQ(split_lines(answer.out).size(), 1u);
    EXPECT_EQ(value_of(answer.out, "result"), "0");
    EXPECT_EQ(value_of(answer.out, "phase"), "8");
    EXPECT_EQ(value_of(answer.out, "saved"), "1");
    EXPECT_EQ(value_of(answer.out, "feed_sync_offset"), "[9, 0, -14]");
    EXPECT_EQ(value_of(answer.out, "pixel_frames_populated"), "[1, 1, 1]");
    EXPECT_EQ(value_of(answer.out, "max_blob_size"), std::to_string(2 * kSceneBlobSize));
    EXPECT_EQ(value_of(answer.out, "motion_end_x"), "[1919, 1919, 1919, 0]");
    EXPECT_TRUE(answer.errors.back().ends_with("auto setup: settings saved")) << answer.errors.back();

    const auto saved = default_settings();
    ASSERT_EQ(settings_load(saved.get(), dir.file("settings.txt").c_str()), 0);
    EXPECT_EQ(value_of(answer.out, "min_type2_frames"), std::to_string(saved->min_type2_frames));
    EXPECT_EQ(saved->max_blob_size, 2 * kSceneBlobSize);
    EXPECT_EQ(saved->pixel_frames_populated[2], 1);
    EXPECT_GT(saved->pixel_to_start[2][1919], saved->pixel_to_start[0][0]);
}

TEST(OrvekctlAnalyze, TheSameLogsAnalysedTwiceLeaveTheSameBytes) {
    const TempDir dir;
    write_practice_run(dir);
    const OrvekctlAnswer first = analyze({dir.path()});
    const std::string settings = read_whole_file(dir.file("settings.txt"));
    const std::string tables = read_whole_file(dir.file("pixel_frames.txt"));
    EXPECT_FALSE(tables.empty());
    const OrvekctlAnswer second = analyze({dir.path()});
    EXPECT_EQ(second.out, first.out);
    EXPECT_EQ(read_whole_file(dir.file("settings.txt")), settings);
    EXPECT_EQ(read_whole_file(dir.file("pixel_frames.txt")), tables);
}

TEST(OrvekctlAnalyze, OutSavesElsewhereAndLeavesTheLogFolderAlone) {
    const TempDir dir;
    const TempDir out;
    write_practice_run(dir);
    const std::string before = read_whole_file(dir.file("settings.txt"));
    EXPECT_EQ(analyze({"--out", out.path(), dir.path()}).exit_code, 0);
    EXPECT_EQ(read_whole_file(dir.file("settings.txt")), before);
    EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt")));
    EXPECT_TRUE(file_exists(out.file("settings.txt")));
    EXPECT_TRUE(file_exists(out.file("pixel_frames.txt")));
}

TEST(OrvekctlAnalyze, NamedSettingsGoBeforeThoseBesideTheLogs) {
    const TempDir dir;
    const TempDir other;
    write_practice_run(dir);
    const std::string file = other.file("mine.txt");
    write_whole_file(file, read_whole_file(dir.file("settings.txt")) + "feed_count=2\n");
    const OrvekctlAnswer answer = analyze({dir.path(), "--settings", file});
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(value_of(answer.out, "inter_feed_gap_frames"),
              value_of(analyze({"--settings", file, dir.path()}).out, "inter_feed_gap_frames"));
    const auto saved = default_settings();
    ASSERT_EQ(settings_load(saved.get(), dir.file("settings.txt").c_str()), 0);
    EXPECT_EQ(saved->feed_count, 2);
    EXPECT_FALSE(file_exists(other.file("settings.txt")));
}

TEST(OrvekctlAnalyze, TheTrialsFinalColumnReachesTheActiveFeedsOnly) {
    const TempDir dir;
    write_practice_run(dir);
    append_to_settings(dir, "feed_count=2\nmotion_start_x[0]=7\nmotion_start_x[2]=7\n");
    const OrvekctlAnswer answer = analyze({"--motion-end-x", "1439", dir.path()});
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(value_of(answer.out, "motion_start_x"), "[7, 0, 0, 0]");
    EXPECT_EQ(value_of(answer.out, "motion_end_x"), "[1919, 1439, 1439, 0]");
}

TEST(OrvekctlAnalyze, WithoutLogsNothingIsSavedAndTheSettingsStay) {
    const TempDir dir;
    ASSERT_EQ(scene_write_settings(dir.file("settings.txt").c_str()), 0);
    const std::string before = read_whole_file(dir.file("settings.txt"));
    const OrvekctlAnswer answer = analyze({dir.path()});
    EXPECT_EQ(answer.exit_code, 1);
    EXPECT_EQ(keys_of(answer.out), kKeys);
    EXPECT_EQ(value_of(answer.out, "result"), "-1");
    EXPECT_EQ(value_of(answer.out, "phase"), "3");
    EXPECT_EQ(value_of(answer.out, "saved"), "0");
    EXPECT_TRUE(answer.errors.back().ends_with(
        "auto setup: analysis failed (rc=-1), pixel_frames also empty — no settings written"))
        << answer.errors.back();
    EXPECT_EQ(read_whole_file(dir.file("settings.txt")), before);
    EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt")));
}

TEST(OrvekctlAnalyze, AFailedAnalysisStillSavesWhenThereAreTables) {
    const TempDir dir;
    write_practice_run(dir);
    ASSERT_EQ(analyze({dir.path()}).exit_code, 0);
    append_to_settings(dir, "meter_line_count[0]=0\nmeter_line_count[1]=0\nmeter_line_count[2]=0\n");
    const OrvekctlAnswer answer = analyze({dir.path()});
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(value_of(answer.out, "result"), "-1");
    EXPECT_EQ(value_of(answer.out, "phase"), "1");
    EXPECT_EQ(value_of(answer.out, "saved"), "1");
    EXPECT_TRUE(answer.errors.back().ends_with(
        "auto setup: settings saved (pixel_frames populated despite phase-11 failure)"))
        << answer.errors.back();
}

// A controller that never saved has no settings.txt either; it then works with the defaults.
TEST(OrvekctlAnalyze, ALogFolderWithoutSettingsIsReadWithTheDefaults) {
    const TempDir dir;
    write_practice_run(dir);
    ASSERT_EQ(remove(dir.file("settings.txt").c_str()), 0);
    const OrvekctlAnswer answer = analyze({dir.path()});
    EXPECT_EQ(answer.exit_code, 1);
    EXPECT_EQ(value_of(answer.out, "phase"), "1") << "the defaults have no grid lines";
    EXPECT_TRUE(answer.errors[0].ends_with("no settings.txt in " + dir.path() + ", using defaults"));
    EXPECT_FALSE(file_exists(dir.file("settings.txt")));
}

TEST(OrvekctlAnalyze, TheReportGoesWhereItIsWanted) {
    const TempDir dir;
    write_practice_run(dir);
    const std::string report = dir.file("r.html");
    EXPECT_EQ(analyze({"--report", report, dir.path()}).exit_code, 0);
    const std::string html = read_whole_file(report);
    EXPECT_NE(html.find("<html"), std::string::npos);
    EXPECT_NE(html.find("</html>"), std::string::npos);
    EXPECT_FALSE(file_exists(dir.file("auto_setup_report.html")));
}

TEST(OrvekctlAnalyze, AReportThatCannotBeWrittenIsToldAndChangesNothingElse) {
    const TempDir dir;
    write_practice_run(dir);
    const OrvekctlAnswer answer = analyze({"--report", dir.file("no/such/r.html"), dir.path()});
    EXPECT_EQ(answer.exit_code, 0);
    EXPECT_EQ(value_of(answer.out, "saved"), "1");
    EXPECT_NE(answer.errors.back().find("ERR"), std::string::npos);
}

TEST(OrvekctlAnalyze, WhatIsNamedAndMissingIsOneLineAndNothingIsWritten) {
    const TempDir dir;
    write_practice_run(dir);
    const std::string before = read_whole_file(dir.file("settings.txt"));
    const std::string gone = dir.file("gone");
    const std::string a_file = dir.file("settings.txt");
    const std::vector<std::vector<std::string>> commands = {
        {gone},   {"--out", gone, dir.path()},   {"--settings", gone, dir.path()},
        {a_file}, {"--out", a_file, dir.path()}, {"--settings", dir.path(), dir.path()},
        {""},     {"--out", "", dir.path()},
    };
    for (const std::vector<std::string>& command : commands) {
        const OrvekctlAnswer answer = analyze(command);
        EXPECT_EQ(answer.exit_code, 2) << command[0];
        EXPECT_EQ(answer.out, "") << command[0];
        ASSERT_EQ(answer.errors.size(), 1u) << command[0];
        EXPECT_TRUE(answer.errors[0].starts_with("orvekctl: cannot ")) << answer.errors[0];
        EXPECT_EQ(read_whole_file(dir.file("settings.txt")), before) << command[0];
        EXPECT_FALSE(file_exists(dir.file("pixel_frames.txt"))) << command[0];
    }
}

TEST(OrvekctlAnalyze, BadUsageExitsWithTwo) {
    const std::vector<std::vector<std::string>> commands = {{},
                                                            {"a", "b"},
                                                            {"--out"},
                                                            {"a", "--settings"},
                                                            {"--frobnicate", "x", "a"},
                                                            {"--motion-end-x", "1920", "a"},
                                                            {"--motion-end-x", "-1", "a"},
                                                            {"--motion-end-x", "9x", "a"},
                                                            {"--out", "b"}};
    for (const std::vector<std::string>& command : commands) {
        const OrvekctlAnswer answer = analyze(command);
        EXPECT_EQ(answer.exit_code, 2);
        EXPECT_EQ(answer.out, "");
        ASSERT_EQ(answer.errors.size(), 1u);
        EXPECT_TRUE(answer.errors[0].starts_with("orvekctl: analyze needs: "));
    }
}

// Whatever stands in the files, the answer is an object with every key, and never a crash.
TEST(OrvekctlAnalyze, RubbishInLogsAndSettingsIsSurvived) {
    std::mt19937 random(7);
    const std::vector<std::string> numbers = {"0",
                                              "-1",
                                              "2147483647",
                                              "-2147483648",
                                              "4294967296",
                                              "nan",
                                              "9223372036854775807",
                                              "-9223372036854775808",
                                              "1919",
                                              "99999999999",
                                              "1e38",
                                              ""};
    const auto number = [&] { return numbers[random() % numbers.size()]; };
    for (int32_t round = 0; round < 40; ++round) {
        const TempDir dir;
        write_practice_run(dir);
        for (int32_t feed = 0; feed < 3; ++feed) {
            const std::string path = dir.file("motion_debug_" + std::to_string(feed) + ".log");
            std::string log = round % 2 == 0 ? read_whole_file(path) : "";
            for (int32_t line = 0; line < 200; ++line) {
                log += "feed " + std::to_string(feed) + " seq=" + number() + " ts=" + number() +
                       " type=1 blob0_sz=" + number() + " blob0_x=" + number() + " blob0_y=" + number() +
                       " blob0_first_y=" + number() + " blob0_last_y=" + number() + " ucum=1,2,3," + number() + "\n";
                log += "SCENE TRIGGER (f1) fire_seq=" + number() +
                       "\nSCENE TRIGGER OVERRIDE (f0) fire_seq=" + number() + "\n" +
                       std::string(random() % 3000, static_cast<char>(random() % 256));
            }
            write_whole_file(path, log);
        }
        std::string lines;
        for (const char* key :
             {"overlay_frame_offsets[1]", "meter_line_increment[0]", "meter_line_start[2]", "meter_line_count[1]",
              "scene_trigger_f0_fraction", "pre_movie_padding_frames", "blob_match_tolerance_us",
              "movie_padding_before_frames", "min_blob_sizes[0]", "@far[0][ 1]"})
            if (random() % 2 == 0) lines += std::string(key) + "=" + number() + "," + number() + "\n";
        append_to_settings(dir, lines);
        const OrvekctlAnswer answer = analyze({"--report", dir.file("r.html"), dir.path()});
        EXPECT_EQ(keys_of(answer.out), kKeys) << lines;
        EXPECT_TRUE(answer.exit_code == 0 || answer.exit_code == 1) << lines;
    }
}
