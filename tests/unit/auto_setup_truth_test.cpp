// The whole analysis against a hill whose truth is known: what it measures from perfect logs is what is so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "autosetup/analyze.h"
#include "settings/settings_file.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/scene_timing.h"
#include "tests/support/settings_text.h"
#include "tests/support/temp_dir.h"
#include "tests/unit/scene_logs.h"

namespace {

constexpr int32_t kJumpers = 6;
constexpr int32_t kSceneColumn = 1727;  // 0.9 of the width, as the tables round it

struct Rig {
    TempDir dir;
    Scene scene;
    std::unique_ptr<Settings> settings;
    AnalysisEnd end;
};

}  // namespace

// Every seed has its own jumpers, speed and frame counters.
static SceneConfig config_of(int32_t seed) {
    constexpr int32_t kOffsets[5][kSceneFeeds] = {{9, 0, -14}, {-7, 0, 21}, {0, 0, 0}, {30, 4, 40}, {-58, 0, 59}};
    SceneConfig config;
    config.seed = static_cast<uint64_t>(seed);
    config.jumpers = kJumpers;
    config.speed = 16 + 2 * seed;
    std::copy(std::begin(kOffsets[seed - 1]), std::end(kOffsets[seed - 1]), config.feed_offset);
    return config;
}

static void run_analysis(Rig* rig, const SceneConfig& config) {
    scene_init(&rig->scene, config);
    write_scene_logs(rig->scene, rig->dir.path());
    const std::string file = rig->dir.file("settings.txt");
    ASSERT_EQ(scene_write_settings(file.c_str()), 0);
    rig->settings = default_settings();
    ASSERT_EQ(settings_load(rig->settings.get(), file.c_str()), 0);
    const WorkspacePtr workspace(workspace_create(rig->settings.get()));
    workspace->log_dir = rig->dir.path().c_str();
    rig->end = auto_setup_conclude(workspace.get(), rig->settings.get(), false);
    ASSERT_EQ(rig->end.outcome, kAnalysisApplied);
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) EXPECT_EQ(workspace->jump_count[feed], kJumpers);
}

class AutoSetupTruth : public testing::TestWithParam<int32_t> {};

TEST_P(AutoSetupTruth, FrameCountersAreFoundToTheFrame) {
    Rig rig;
    run_analysis(&rig, config_of(GetParam()));
    const SceneTiming truth = scene_timing(rig.scene, kJumpers, kSceneTriggerColumn);
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed)
        EXPECT_EQ(rig.settings->feed_sync_offset[feed], truth.sync_offset[feed]) << "feed " << feed;
}

TEST_P(AutoSetupTruth, GapsAndCrossingTimesAreFoundToTheFrame) {
    Rig rig;
    run_analysis(&rig, config_of(GetParam()));
    const SceneTiming truth = scene_timing(rig.scene, kJumpers, kSceneTriggerColumn);
    for (int32_t pair = 0; pair < 2; ++pair) {
        EXPECT_NEAR(rig.settings->inter_feed_gap_frames[pair], truth.gap[pair], 1) << "pair " << pair;
        RecordProperty("gap_" + std::to_string(pair), rig.settings->inter_feed_gap_frames[pair]);
        RecordProperty("true_gap_" + std::to_string(pair), truth.gap[pair]);
    }
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        const int32_t with_reserve = truth.crossing[feed] + truth.crossing[feed] / 10;
        EXPECT_NEAR(rig.settings->feed_video_frames[feed], with_reserve, 2) << "feed " << feed;
    }
}

TEST_P(AutoSetupTruth, TheMotionBandHoldsEveryJumperAndLittleElse) {
    Rig rig;
    run_analysis(&rig, config_of(GetParam()));
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        double top = kSceneHeight;
        double bottom = 0;
        for (int32_t j = 0; j < kJumpers; ++j) {
            const ScenePassage passage = scene_passage(&rig.scene, j, feed);
            for (int64_t tick = passage.entry; tick <= passage.exit; ++tick) {
                SceneJumper at{};
                ASSERT_TRUE(scene_jumper_at(&rig.scene, feed, tick, &at));
                top = std::min(top, at.y - kSceneBlobReach);
                bottom = std::max(bottom, at.y + kSceneBlobReach);
            }
        }
        const double margin = std::clamp((bottom - top) / 10, 6.0, 24.0);
        EXPECT_NEAR(rig.settings->motion_start_y[feed], top - margin, 2) << "feed " << feed;
        EXPECT_NEAR(rig.settings->motion_end_y[feed], bottom + margin, 2) << "feed " << feed;
    }
}

TEST_P(AutoSetupTruth, ThePixelTablesAreWithinAFrameOrTwoAtEveryColumn) {
    Rig rig;
    run_analysis(&rig, config_of(GetParam()));
    const Settings& s = *rig.settings;
    const SceneTiming truth = scene_timing(rig.scene, kJumpers, kSceneTriggerColumn);
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        ASSERT_EQ(s.pixel_frames_populated[feed], 1);
        const TableErrors worst =
            table_errors(truth, feed, kSceneColumn, s.pre_movie_padding_frames, s.post_movie_padding_frames,
                         s.pixel_to_start[feed], s.pixel_to_scene[feed], s.pixel_to_end[feed]);
        EXPECT_LE(worst.start, 2) << "feed " << feed;
        EXPECT_LE(worst.scene, 2) << "feed " << feed;
        EXPECT_LE(worst.end, 2) << "feed " << feed;
        RecordProperty("frames_off_feed_" + std::to_string(feed),
                       std::to_string(std::max({worst.start, worst.scene, worst.end})));
    }
}

INSTANTIATE_TEST_SUITE_P(FiveSeeds, AutoSetupTruth, testing::Range(1, 6));
