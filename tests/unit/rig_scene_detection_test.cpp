// The motion worker's eyes on the rig's own scene, with the settings that come with it: the truth is known to the
// pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ipc/frame_ring.h"
#include "rig/common/scene.h"
#include "rig/motion_settings.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr size_t kLuma = size_t{kFrameWidth} * kFeedHeight;

struct Camera {
    Scene scene;
    int32_t feed, offset;
    MotionSettings settings;
    Detector detector;
    std::vector<uint8_t> y, u, v;
};

}  // namespace

static void set_up(Camera* camera, int32_t feed) {
    scene_init(&camera->scene, SceneConfig{});
    scene_prepare(&camera->scene, feed);
    const TempDir dir;
    const std::string path = dir.file("settings.txt");
    ASSERT_EQ(scene_write_settings(path.c_str()), 0);
    RigSettings file;
    ASSERT_EQ(rig_settings_load(&file, path.c_str()), 0);
    camera->feed = feed;
    camera->offset = rig_settings_indexed(&file, "overlay_frame_offsets", feed, 0);
    camera->settings = motion_settings_for(file, feed);
    detector_init(&camera->detector);
    camera->y.resize(kLuma);
    camera->u.resize(kLuma / 4);
    camera->v.resize(kLuma / 4);
}

static Detection look(Camera* camera, int64_t tick) {
    scene_render(&camera->scene, camera->feed, tick, camera->offset, kFeedHeight, camera->y.data(), camera->u.data(),
                 camera->v.data());
    return detector_step(&camera->detector, camera->settings.detection, camera->y.data(), camera->u.data(),
                         camera->v.data());
}

class RigSceneDetection : public testing::TestWithParam<int32_t> {};

TEST_P(RigSceneDetection, EmptyHillShowsNoJumper) {
    Camera camera{};
    set_up(&camera, GetParam());
    for (int64_t tick = 0; tick < 60; ++tick) EXPECT_EQ(look(&camera, tick).type, 0) << "tick " << tick;
}

TEST_P(RigSceneDetection, FollowsAWholePassageWithinAFewPixels) {
    Camera camera{};
    set_up(&camera, GetParam());
    for (int32_t jumper = 0; jumper < 2; ++jumper) {
        const ScenePassage passage = scene_passage(&camera.scene, jumper, camera.feed);
        for (int64_t tick = passage.entry - 60; tick < passage.entry - 20; ++tick) look(&camera, tick);
        int32_t seen = 0;
        double worst_x = 0;
        double worst_y = 0;
        for (int64_t tick = passage.entry - 20; tick <= passage.exit; ++tick) {
            const Detection found = look(&camera, tick);
            SceneJumper truth{};
            if (!scene_jumper_at(&camera.scene, camera.feed, tick, &truth)) continue;
            if (truth.x < 120 || truth.x > kFrameWidth - 120) continue;  // half outside: the centroid is another one
            EXPECT_EQ(found.type, 1) << "tick " << tick << " x " << truth.x;
            EXPECT_EQ(found.blob_count, 1) << "tick " << tick;
            if (found.type == 0) continue;
            ++seen;
            worst_x = std::max(worst_x, std::abs(found.x - truth.x));
            worst_y = std::max(worst_y, std::abs(found.y - (truth.y - camera.offset)));
        }
        EXPECT_GT(seen, 30);
        EXPECT_LT(worst_x, 5.0) << "jumper " << jumper;
        EXPECT_LT(worst_y, 4.0) << "jumper " << jumper;
    }
}

namespace {
struct Sight {
    int64_t frame;  // the feed's own frame number
    double metre;
};
}  // namespace

static std::vector<Sight> sights_of(Camera* camera, int32_t jumper) {
    std::vector<Sight> sights;
    const ScenePassage passage = scene_passage(&camera->scene, jumper, camera->feed);
    const int64_t first_frame = scene_feed_start(&camera->scene, camera->feed);
    for (int64_t tick = passage.entry - 30; tick <= passage.exit; ++tick) {
        const Detection found = look(camera, tick);
        if (found.type != 0) sights.push_back({tick - first_frame, scene_metre_of_column(camera->feed, found.x)});
    }
    return sights;
}

// Median difference of the frame numbers in which two cameras see the jumper at the same metre.
static int64_t offset_between(const std::vector<Sight>& earlier, const std::vector<Sight>& later, size_t* pairs) {
    std::vector<int64_t> differences;
    for (const Sight& a : earlier) {
        const auto nearer = [&a](const Sight& b, const Sight& c) {
            return std::abs(b.metre - a.metre) < std::abs(c.metre - a.metre);
        };
        const auto match = std::min_element(later.begin(), later.end(), nearer);
        if (match != later.end() && std::abs(match->metre - a.metre) < 0.3)
            differences.push_back(match->frame - a.frame);
    }
    *pairs = differences.size();
    if (differences.empty()) return INT64_MIN;
    std::sort(differences.begin(), differences.end());
    return differences[differences.size() / 2];
}

TEST(RigSceneAlignment, DetectionsShowHowFarTheFrameCountersAreApart) {
    Camera cameras[kSceneFeeds]{};
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) set_up(&cameras[feed], feed);
    const SceneConfig& config = cameras[0].scene.config;
    for (int32_t jumper = 0; jumper < 2; ++jumper) {
        std::vector<Sight> sights[kSceneFeeds];
        for (int32_t feed = 0; feed < kSceneFeeds; ++feed) sights[feed] = sights_of(&cameras[feed], jumper);
        size_t pairs = 0;
        EXPECT_EQ(offset_between(sights[0], sights[1], &pairs), -config.feed_offset[0]) << "jumper " << jumper;
        EXPECT_GE(pairs, 2u);
        EXPECT_EQ(offset_between(sights[1], sights[2], &pairs), config.feed_offset[2]) << "jumper " << jumper;
        EXPECT_GE(pairs, 2u);
    }
}

INSTANTIATE_TEST_SUITE_P(AllFeeds, RigSceneDetection, testing::Values(0, 1, 2));
