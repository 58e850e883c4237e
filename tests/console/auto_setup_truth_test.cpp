// Auto Setup from the button to the files, on the simulated rig: what it saves is held against the scene's truth, and
// against what orvekctl makes of the same logs.
#include <algorithm>
#include <memory>
#include <string>

#include "rig/common/rig_options.h"
#include "settings/settings_file.h"
#include "settings/settings_values.h"
#include "tests/console/console_test.h"
#include "tests/support/scene_timing.h"
#include "tests/support/settings_text.h"

namespace {

constexpr int32_t kJumpers = 5;
constexpr int32_t kTriggerColumn = 1728;  // 0.9 of the width, as the rig's detectors and the apply step take it
constexpr int32_t kTableColumn = 1727;    // the same as the tables round it

class AutoSetupTruthOnTheRig : public ConsoleTest {
protected:
    AutoSetupTruthOnTheRig() : ConsoleTest(true) {}

    // What a new user has, with the rig's own options.
    void prepare(const std::string& rig_options) {
        const std::string sample = std::string(ORVEK_TEST_DATA) + "/../../packaging/sample/settings.txt";
        ASSERT_TRUE(CopyFileA(sample.c_str(), installation_path(installation, "settings.txt").c_str(), FALSE))
            << sample;
        installation_write(installation, "started.txt", installation_read(installation, "settings.txt"));
        installation_write(installation, "rig.txt", rig_options);
    }

    std::unique_ptr<Settings> saved_settings() {
        auto settings = std::make_unique<Settings>();
        settings_init_defaults(settings.get());
        EXPECT_EQ(settings_load(settings.get(), installation_path(installation, "settings.txt").c_str()), 0);
        return settings;
    }

    Scene scene_of_rig() {
        Scene scene;
        scene_init(&scene, rig_options_load(installation_path(installation, "rig.txt").c_str()).scene);
        return scene;
    }

    void expect_truth();
    void expect_offline_analysis_saves_the_same();
    int32_t analyze(const std::string& arguments, const std::string& name);
};

}  // namespace

namespace {
struct Rows {
    double top, bottom;
};
}  // namespace

// Rows of the jumper's figure above and below his centroid.
static Rows reach_of_jumper(const Scene& scene, int32_t feed) {
    constexpr int32_t kMostlyCovered = 128;
    Rows reach{};
    for (const SceneSprite& sprite : scene.sprite[feed])
        for (size_t i = 0; i < sprite.cover.size(); ++i) {
            if (sprite.cover[i] < kMostlyCovered) continue;
            const double row = static_cast<double>(i / static_cast<size_t>(sprite.width)) - sprite.anchor_y;
            reach = {std::min(reach.top, row), std::max(reach.bottom, row)};
        }
    return reach;
}

// The motion band that suits the jumpers, in rows of the full picture: a tenth more on both sides.
static Rows true_band(Scene* scene, int32_t feed) {
    scene_prepare(scene, feed);
    const Rows reach = reach_of_jumper(*scene, feed);
    Rows band{kSceneHeight, 0};
    for (int32_t j = 0; j < kJumpers; ++j) {
        const ScenePassage passage = scene_passage(scene, j, feed);
        for (int64_t tick = passage.entry; tick <= passage.exit; ++tick) {
            SceneJumper at{};
            if (!scene_jumper_at(scene, feed, tick, &at)) continue;
            band = {std::min(band.top, at.y + reach.top), std::max(band.bottom, at.y + reach.bottom)};
        }
    }
    const double margin = std::clamp((band.bottom - band.top) / 10, 6.0, 24.0);
    return {band.top - margin, band.bottom + margin};
}

// Offsets and gaps are measured anew by every run and not kept in the file: the log tells them.
static void expect_offsets_and_gaps(const Installation& installation, const SceneTiming& truth) {
    const std::string offsets = "[" + std::to_string(truth.sync_offset[0]) + ", 0, " +
                                std::to_string(truth.sync_offset[2]) + "] (valid flags: 1, 1, 1)";
    EXPECT_EQ(last_line_of(log_lines(installation), "auto setup: feed_sync_offset = "), offsets);
    const std::string gaps = last_line_of(log_lines(installation), "auto setup: inter_feed_gap_frames = ");
    int32_t gap[2] = {-999, -999};
    int32_t valid[2] = {};
    EXPECT_EQ(sscanf(gaps.c_str(), "[%d, %d] (valid flags: %d, %d;", &gap[0], &gap[1], &valid[0], &valid[1]), 4)
        << gaps;
    for (int32_t pair = 0; pair < 2; ++pair) {
        EXPECT_EQ(valid[pair], 1) << "pair " << pair;
        EXPECT_NEAR(gap[pair], truth.gap[pair], 2) << "pair " << pair;
        testing::Test::RecordProperty("gap_" + std::to_string(pair) + "_off", gap[pair] - truth.gap[pair]);
    }
}

void AutoSetupTruthOnTheRig::expect_truth() {
    Scene scene = scene_of_rig();
    const SceneTiming truth = scene_timing(scene, kJumpers, kTriggerColumn);
    expect_offsets_and_gaps(installation, truth);
    const std::unique_ptr<Settings> s = saved_settings();
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        SCOPED_TRACE("feed " + std::to_string(feed));
        const Rows band = true_band(&scene, feed);
        EXPECT_NEAR(s->motion_start_y[feed], band.top, 4);
        EXPECT_NEAR(s->motion_end_y[feed], band.bottom, 4);

        ASSERT_EQ(s->pixel_frames_populated[feed], 1);
        const TableErrors worst =
            table_errors(truth, feed, kTableColumn, s->pre_movie_padding_frames, s->post_movie_padding_frames,
                         s->pixel_to_start[feed], s->pixel_to_scene[feed], s->pixel_to_end[feed]);
        EXPECT_LE(worst.start, 2.5);
        EXPECT_LE(worst.scene, 2.5);
        EXPECT_LE(worst.end, 2.5);
        char off[96];
        snprintf(off, sizeof off, "frames %.2f/%.2f/%.2f rows %.1f/%.1f", worst.start, worst.scene, worst.end,
                 s->motion_start_y[feed] - band.top, s->motion_end_y[feed] - band.bottom);
        RecordProperty("off_" + std::to_string(feed), off);
    }
}

// Runs orvekctl analyze in the installation, what it prints into `name`.
int32_t AutoSetupTruthOnTheRig::analyze(const std::string& arguments, const std::string& name) {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE output = CreateFileA(installation_path(installation, name).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    HANDLE process = installation_start(installation, "orvekctl.exe", "analyze " + arguments, output, nullptr);
    CloseHandle(output);
    if (process == nullptr) return -1;
    DWORD code = 99;
    if (WaitForSingleObject(process, kPatienceMs) == WAIT_OBJECT_0) GetExitCodeProcess(process, &code);
    CloseHandle(process);
    return static_cast<int32_t>(code);
}

// The text without the line that begins with `key`.
static std::string without_line(std::string text, const std::string& key) {
    const size_t at = text.find("\n" + key);
    if (at != std::string::npos) text.erase(at, text.find('\n', at + 1) - at);
    return text;
}

void AutoSetupTruthOnTheRig::expect_offline_analysis_saves_the_same() {
    ASSERT_TRUE(installation_bring(installation, "orvekctl.exe"));
    for (const char* folder : {"again", "anew"})
        CreateDirectoryA(installation_path(installation, folder).c_str(), nullptr);
    const std::string settings = installation_read(installation, "settings.txt");
    const std::string tables = installation_read(installation, "pixel_frames.txt");
    EXPECT_FALSE(tables.empty());

    // From what the run left behind.
    ASSERT_EQ(analyze("--out again --motion-end-x 1919 .", "again.txt"), 0);
    EXPECT_EQ(installation_read(installation, "again\\settings.txt"), settings);
    EXPECT_EQ(installation_read(installation, "again\\pixel_frames.txt"), tables);

    // From what the run started with. The run alone keeps a backup of the regions.
    ASSERT_EQ(analyze("--settings started.txt --out anew --motion-end-x 1919 .", "anew.txt"), 0);
    EXPECT_EQ(without_line(installation_read(installation, "anew\\settings.txt"), "*saved_motion_range="),
              without_line(settings, "*saved_motion_range="));
    EXPECT_EQ(installation_read(installation, "anew\\pixel_frames.txt"), tables);
    EXPECT_EQ(installation_read(installation, "settings.txt"), settings) << "only looked at";

    // What the file does not keep, too.
    for (const char* result : {"auto setup: applied -- ", "auto setup: feed_sync_offset = ",
                               "auto setup: inter_feed_gap_frames = ", "auto setup: noise caps applied — "}) {
        const std::string by_console = last_line_of(log_lines(installation), result);
        EXPECT_FALSE(by_console.empty()) << result;
        for (const char* name : {"again.txt", "anew.txt"})
            EXPECT_EQ(last_line_of(split_lines(installation_read(installation, name)), result), by_console);
    }
}

TEST_F(AutoSetupTruthOnTheRig, MeasuresWhatIsTrueOfTheSceneAndOrvekctlFindsTheSame) {
    // No frame counts as slow, so that a busy machine cannot narrow the pictures.
    prepare("seed=1\njumpers=5\nlead_in_frames=240\npause_seconds=1\nslow_above_width=1920\n");
    start("--auto-setup --max-movies 5");
    ASSERT_EQ(console_wait_for_exit(&console, 150000), 0);
    EXPECT_TRUE(log_shows_in_order(
        installation, {"auto setup: started, launching practice in 1 second", "auto setup: launching practice now",
                       "auto setup: waiting for 5 jumpers (or * feed-1 frames, whichever first)",
                       "auto setup: adaptive-width trial PASSED at 100% (worst=0% ≤ cap=5%) — committing width",
                       "auto setup: monitoring complete, running analysis...", "feed 0: 5 jumps segmented",
                       "feed 1: 5 jumps segmented", "feed 2: 5 jumps segmented",
                       "pixel_frames_v2: populated all three feeds from 5 jumpers", "auto setup: settings saved",
                       "CLI mode: exit code 0", "controller exiting"}));
    EXPECT_EQ(log_count(installation, "ERR *"), 0);
    EXPECT_EQ(log_count(installation, "restarting *"), 0);
    EXPECT_TRUE(installation_has(installation, "auto_setup_report.html"));
    expect_truth();
    expect_offline_analysis_saves_the_same();
}
