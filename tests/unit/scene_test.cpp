// The scene's promise: what it says about a jumper is what its pictures show.
#include "rig/common/scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "rig/common/rig_settings.h"

namespace {

constexpr int32_t kRows = 540;
constexpr size_t kLuma = static_cast<size_t>(kSceneWidth) * kRows;

struct Picture {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(kLuma * 3 / 2);
};

struct Found {
    int32_t pixels;
    double x, y;
};

}  // namespace

static Picture render(const Scene& scene, int32_t feed, int64_t tick, int32_t first_row) {
    Picture picture;
    uint8_t* data = picture.bytes.data();
    scene_render(&scene, feed, tick, first_row, kRows, data, data + kLuma, data + kLuma * 5 / 4);
    return picture;
}

static Scene make_scene(SceneConfig config, int32_t feed) {
    Scene scene;
    scene_init(&scene, config);
    scene_prepare(&scene, feed);
    return scene;
}

// The same hill on the same day without anybody on it.
static SceneConfig deserted(SceneConfig config) {
    config.lead_in_frames = 1'000'000;
    return config;
}

static Found find_difference(const Picture& with, const Picture& without, int32_t first_row) {
    Found found{0, 0, 0};
    for (size_t i = 0; i < kLuma; ++i) {
        if (std::abs(with.bytes[i] - without.bytes[i]) < 35) continue;
        ++found.pixels;
        found.x += static_cast<double>(i % kSceneWidth);
        found.y += static_cast<double>(first_row + static_cast<int32_t>(i / kSceneWidth));
    }
    if (found.pixels > 0) found.x /= found.pixels, found.y /= found.pixels;
    return found;
}

TEST(Scene, TheJumperInThePictureIsWhereTheTruthSays) {
    const SceneConfig config;
    constexpr int32_t kOffset[kSceneFeeds] = {0, 151, 180};
    constexpr int32_t kSmallest[kSceneFeeds] = {200, 700, 700};
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        const Scene scene = make_scene(config, feed);
        const Scene empty = make_scene(deserted(config), feed);
        for (int32_t jumper = 0; jumper < 3; ++jumper) {
            const ScenePassage passage = scene_passage(&scene, jumper, feed);
            for (const int64_t tick : {passage.entry + 5, (passage.entry + passage.exit) / 2, passage.exit - 5}) {
                SCOPED_TRACE("feed " + std::to_string(feed) + " tick " + std::to_string(tick));
                const Found found = find_difference(render(scene, feed, tick, kOffset[feed]),
                                                    render(empty, feed, tick, kOffset[feed]), kOffset[feed]);
                SceneJumper truth{};
                ASSERT_TRUE(scene_jumper_at(&scene, feed, tick, &truth));
                EXPECT_EQ(truth.index, jumper);
                EXPECT_NEAR(found.x, truth.x, 1.5);
                EXPECT_NEAR(found.y, truth.y, 1.5);
                EXPECT_GE(found.pixels, kSmallest[feed]);
                EXPECT_LE(found.pixels, 1700);  // two of him in a difference of frames stay below max_blob_size
            }
        }
    }
}

TEST(Scene, ChromaOfTheJumperDiffersFromTheSnow) {
    const SceneConfig config;
    const Scene scene = make_scene(config, 1);
    const Scene empty = make_scene(deserted(config), 1);
    const int64_t tick = scene_passage(&scene, 0, 1).entry + 30;
    const Picture with = render(scene, 1, tick, 0);
    const Picture without = render(empty, 1, tick, 0);
    int32_t u_pixels = 0;
    int32_t v_pixels = 0;
    for (size_t i = kLuma; i < kLuma * 5 / 4; ++i) u_pixels += std::abs(with.bytes[i] - without.bytes[i]) >= 5;
    for (size_t i = kLuma * 5 / 4; i < kLuma * 3 / 2; ++i)
        v_pixels += std::abs(with.bytes[i] - without.bytes[i]) >= 6;
    EXPECT_GE(u_pixels, 150);
    EXPECT_GE(v_pixels, 150);
}

TEST(Scene, NoiseAndDriftStayBelowTheThresholds) {
    const Scene scene = make_scene(deserted(SceneConfig{}), 1);
    Picture before = render(scene, 1, 5000, 150);
    int32_t changed_pictures = 0;
    for (int64_t tick = 5001; tick < 5020; ++tick) {
        const Picture now = render(scene, 1, tick, 150);
        changed_pictures += now.bytes != before.bytes;
        for (size_t i = 0; i < kLuma; ++i) {
            const size_t x = i % kSceneWidth;
            const size_t row = 150 + i / kSceneWidth;
            const bool flag = x >= 56 && x <= 160 && row >= 240 && row <= 308;
            ASSERT_TRUE(flag || std::abs(now.bytes[i] - before.bytes[i]) < 35) << "column " << x << " row " << row;
        }
        for (size_t i = kLuma; i < kLuma * 3 / 2; ++i) {
            const size_t at = (i - kLuma) % (kLuma / 4);
            const size_t x = at % (kSceneWidth / 2) * 2;
            const size_t row = 150 + at / (kSceneWidth / 2) * 2;
            const bool flag = x >= 56 && x <= 160 && row >= 240 && row <= 308;
            ASSERT_TRUE(flag || std::abs(now.bytes[i] - before.bytes[i]) < 5) << "column " << x << " row " << row;
        }
        before = now;
    }
    EXPECT_GE(changed_pictures, 10);
}

TEST(Scene, TheSameSeedGivesTheSameBytesAndAnotherSeedOthers) {
    SceneConfig config;
    const Picture first = render(make_scene(config, 2), 2, 333, 100);
    const Picture again = render(make_scene(config, 2), 2, 333, 100);
    config.seed = 2;
    const Picture other = render(make_scene(config, 2), 2, 333, 100);
    EXPECT_EQ(first.bytes, again.bytes);
    EXPECT_NE(first.bytes, other.bytes);
}

TEST(Scene, TheOffsetChoosesTheRowsOfOneAndTheSamePicture) {
    const Scene scene = make_scene(SceneConfig{}, 0);
    const int64_t tick = scene_passage(&scene, 0, 0).entry + 20;
    const Picture high = render(scene, 0, tick, 200);
    const Picture low = render(scene, 0, tick, 300);
    constexpr size_t kMoved = static_cast<size_t>(100) * kSceneWidth;
    const std::vector<uint8_t> from_high(high.bytes.begin() + kMoved, high.bytes.begin() + kLuma);
    const std::vector<uint8_t> from_low(low.bytes.begin(), low.bytes.begin() + kLuma - kMoved);
    EXPECT_EQ(from_high, from_low);
}

TEST(Scene, EveryOffsetRendersWithoutLeavingThePicture) {
    const Scene scene = make_scene(SceneConfig{}, 0);
    const int64_t tick = scene_passage(&scene, 0, 0).entry;
    for (const int32_t offset : {0, 1, 239, 257, 383, 539, 540}) render(scene, 0, tick, offset);
}

TEST(Scene, AJumperCrossesEveryFeedInOrderAndAtPlausibleSpeed) {
    Scene scene;
    scene_init(&scene, SceneConfig{});
    int64_t last_exit = 0;
    for (int32_t jumper = 0; jumper < 12; ++jumper) {
        for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
            const ScenePassage passage = scene_passage(&scene, jumper, feed);
            const int64_t frames = passage.exit - passage.entry + 1;
            EXPECT_GE(frames, 42);
            EXPECT_LE(frames, 90);
            double x = -1;
            for (int64_t tick = passage.entry; tick <= passage.exit; ++tick) {
                SceneJumper at{};
                ASSERT_TRUE(scene_jumper_at(&scene, feed, tick, &at));
                EXPECT_GT(at.x, x);
                x = at.x;
            }
            SceneJumper outside{};
            EXPECT_FALSE(scene_jumper_at(&scene, feed, passage.entry - 1, &outside));
            EXPECT_FALSE(scene_jumper_at(&scene, feed, passage.exit + 1, &outside));
        }
        const int64_t entry = scene_passage(&scene, jumper, 0).entry;
        if (jumper > 0) {
            EXPECT_GE(entry - last_exit, scene.config.pause_frames);
        }
        last_exit = scene_passage(&scene, jumper, 2).exit;
    }
    EXPECT_EQ(scene_end_tick(&scene), last_exit + 60);
}

TEST(Scene, AColumnIsPassedWhenTheJumperIsThere) {
    Scene scene;
    scene_init(&scene, SceneConfig{});
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        const int64_t tick = scene_passage(&scene, 3, feed).entry + 17;
        SceneJumper at{};
        ASSERT_TRUE(scene_jumper_at(&scene, feed, tick, &at));
        EXPECT_NEAR(scene_tick_of_column(&scene, 3, feed, at.x), static_cast<double>(tick), 1e-6);
    }
}

// What lets the cameras be aligned: for a dozen frames both show the jumper, and at the same metre.
TEST(Scene, NeighbouringFeedsShareAJumperAtTheSameMetre) {
    Scene scene;
    scene_init(&scene, SceneConfig{});
    for (int32_t jumper = 0; jumper < 12; ++jumper) {
        for (int32_t pair = 0; pair < 2; ++pair) {
            const int64_t gap = scene_gap(&scene, jumper, pair);
            EXPECT_LE(gap, -6);
            EXPECT_GE(gap, -15);
            const int64_t both = scene_passage(&scene, jumper, pair).exit;
            SceneJumper left{};
            SceneJumper right{};
            ASSERT_TRUE(scene_jumper_at(&scene, pair, both, &left));
            ASSERT_TRUE(scene_jumper_at(&scene, pair + 1, both, &right));
            EXPECT_DOUBLE_EQ(left.metre, right.metre);
            EXPECT_NEAR(scene_metre_of_column(pair, left.x), scene_metre_of_column(pair + 1, right.x), 1e-9);
        }
    }
}

TEST(Scene, FrameCountersAreTheConfiguredOffsetsApart) {
    Scene scene;
    scene_init(&scene, SceneConfig{});
    EXPECT_EQ(scene_feed_start(&scene, 0), 0);
    EXPECT_EQ(scene_feed_start(&scene, 1), 9);
    EXPECT_EQ(scene_feed_start(&scene, 2), 23);
}

TEST(Scene, AnEndlessSceneHasNoEnd) {
    SceneConfig config;
    config.jumpers = 0;
    Scene scene;
    scene_init(&scene, config);
    EXPECT_EQ(scene_end_tick(&scene), -1);
    SceneJumper at{};
    EXPECT_TRUE(scene_jumper_at(&scene, 1, scene_passage(&scene, 5000, 1).entry, &at));
    EXPECT_EQ(at.index, 5000);
}

TEST(Scene, FeedOnePairsWithFeedTwoOnceTheJumperHasPassedItsMiddle) {
    Scene scene;
    scene_init(&scene, SceneConfig{});
    const ScenePassage middle = scene_passage(&scene, 0, 1);
    EXPECT_EQ(scene_display_type(&scene, 0), 0u);
    EXPECT_EQ(scene_display_type(&scene, middle.entry), 0u);
    EXPECT_EQ(scene_display_type(&scene, middle.exit), 2u);
    EXPECT_EQ(scene_display_type(&scene, scene_passage(&scene, 0, 2).exit), 2u);
    EXPECT_EQ(scene_display_type(&scene, scene_passage(&scene, 1, 0).entry), 0u);
}

TEST(Scene, TheSampleSettingsAnchorsLieOnTheScale) {
    const std::string path = testing::TempDir() + "scene_settings.txt";
    ASSERT_EQ(scene_write_settings(path.c_str()), 0);
    RigSettings settings;
    ASSERT_EQ(rig_settings_load(&settings, path.c_str()), 0);
    remove(path.c_str());
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        const int32_t start = rig_settings_indexed(&settings, "meter_line_start", feed, -1);
        const int32_t step = rig_settings_indexed(&settings, "meter_line_increment", feed, -1);
        int32_t anchors = 0;
        for (int32_t line = 0; line < rig_settings_indexed(&settings, "meter_line_count", feed, 0); ++line) {
            int32_t far_x = 0, far_y = 0, near_x = 0, near_y = 0;
            if (!rig_settings_anchor(&settings, false, feed, line, &far_x, &far_y)) continue;
            ASSERT_TRUE(rig_settings_anchor(&settings, true, feed, line, &near_x, &near_y));
            EXPECT_EQ((far_x + near_x) / 2.0, scene_column_of_metre(feed, start + line * step));
            const int32_t offset = rig_settings_indexed(&settings, "overlay_frame_offsets", feed, 0);
            EXPECT_TRUE(far_y >= offset && near_y < offset + 540 && far_y < near_y);
            ++anchors;
        }
        EXPECT_GE(anchors, 2) << "feed " << feed;  // fewer make no scale
        const int32_t offset = rig_settings_indexed(&settings, "overlay_frame_offsets", feed, -1);
        EXPECT_GE(rig_settings_indexed(&settings, "motion_start_y", feed, -1), offset + 30);
        EXPECT_LE(rig_settings_indexed(&settings, "motion_end_y", feed, 9999), offset + 529);
    }
}

TEST(Scene, TheTruthFileNamesThePassagesInFramesOfEachFeed) {
    const std::string path = testing::TempDir() + "scene_truth.txt";
    SceneConfig config;
    config.jumpers = 2;
    Scene scene;
    scene_init(&scene, config);
    ASSERT_EQ(scene_write_truth(&scene, path.c_str()), 0);
    FILE* file = fopen(path.c_str(), "r");
    ASSERT_NE(file, nullptr);
    char line[256];
    int32_t passages = 0;
    int32_t places = 0;
    while (fgets(line, sizeof line, file) != nullptr) {
        int jumper = 0, feed = 0;
        long long entry = 0, exit = 0, entry_frame = 0, exit_frame = 0;
        places += std::string(line).rfind("at ", 0) == 0;
        if (sscanf(line, "passage jumper=%d feed=%d entry_tick=%lld exit_tick=%lld entry_frame=%lld exit_frame=%lld",
                   &jumper, &feed, &entry, &exit, &entry_frame, &exit_frame) != 6)
            continue;
        const ScenePassage passage = scene_passage(&scene, jumper, feed);
        EXPECT_EQ(entry, passage.entry);
        EXPECT_EQ(exit, passage.exit);
        EXPECT_EQ(entry_frame, entry - scene_feed_start(&scene, feed));
        EXPECT_EQ(exit_frame, exit - scene_feed_start(&scene, feed));
        places -= static_cast<int32_t>(exit - entry + 1);
        ++passages;
    }
    fclose(file);
    remove(path.c_str());
    EXPECT_EQ(passages, 6);
    EXPECT_EQ(places, 0);  // one line for every frame of every passage
    EXPECT_EQ(scene_write_truth(&scene, "/no/such/folder/truth.txt"), -1);
}

TEST(RigSettings, ReadsValuesCommentsAndAnchorsAsTheConsoleDoes) {
    RigSettings settings;
    rig_settings_parse(&settings,
                       "  feed_count = 2 # two\r\n# a comment\nnothing\n*font_file=C:\\a#b\\font\nfeed_count=#2\n"
                       "max_diff_y%=0.7\n@far[0][ 3]=412,87\nempty=\nmin_blob_sizes[2]=500\nmin_blob_sizes[2]=400");
    EXPECT_EQ(rig_settings_int(&settings, "feed_count", 3), 2);
    EXPECT_STREQ(rig_settings_text(&settings, "*font_file", ""), "C:\\a#b\\font");
    EXPECT_FLOAT_EQ(rig_settings_float(&settings, "max_diff_y%", 0), 0.7f);
    EXPECT_EQ(rig_settings_indexed(&settings, "min_blob_sizes", 2, 0), 400);
    EXPECT_EQ(rig_settings_int(&settings, "empty", 9), 9);
    EXPECT_EQ(rig_settings_int(&settings, "*font_file", 9), 9);
    int32_t x = 0, y = 0;
    EXPECT_TRUE(rig_settings_anchor(&settings, false, 0, 3, &x, &y));
    EXPECT_EQ(x, 412);
    EXPECT_EQ(y, 87);
    EXPECT_FALSE(rig_settings_anchor(&settings, true, 0, 3, &x, &y));
    EXPECT_EQ(rig_settings_load(&settings, "/no/such/file"), -1);
    EXPECT_EQ(rig_settings_int(&settings, "feed_count", 3), 2);
}

TEST(RigSettings, FeedCountNamesTheFeedsInUse) {
    RigSettings settings;
    int32_t feeds[3] = {-1, -1, -1};
    rig_settings_parse(&settings, "feed_count=1");
    EXPECT_EQ(rig_active_feeds(&settings, feeds), 1);
    EXPECT_EQ(feeds[0], 1);
    rig_settings_parse(&settings, "feed_count=2");
    EXPECT_EQ(rig_active_feeds(&settings, feeds), 2);
    EXPECT_EQ(feeds[0], 1);
    EXPECT_EQ(feeds[1], 2);
    rig_settings_parse(&settings, "");
    EXPECT_EQ(rig_active_feeds(&settings, feeds), 3);
    EXPECT_EQ(feeds[0], 0);
}
