// rig.txt: what it changes and what stays as it is without it.
#include "rig/common/rig_options.h"

#include <gtest/gtest.h>

static RigOptions from(const char* text) {
    RigSettings file;
    rig_settings_parse(&file, text);
    return rig_options_from(&file);
}

TEST(RigOptions, AnEmptyFileLeavesTheSceneAsItIs) {
    const RigOptions options = from("");
    const SceneConfig usual;
    EXPECT_EQ(options.scene.seed, usual.seed);
    EXPECT_EQ(options.scene.jumpers, usual.jumpers);
    EXPECT_EQ(options.scene.pause_frames, usual.pause_frames);
    EXPECT_EQ(options.scene.feed_offset[2], usual.feed_offset[2]);
    EXPECT_EQ(options.end_early, 0);
    EXPECT_EQ(options.slow_above_width, 0);
    for (const int64_t frames : options.unplug_after) EXPECT_EQ(frames, 0);
}

TEST(RigOptions, EveryKeyReachesItsOption) {
    const RigOptions options = from(
        "seed=9\njumpers=5\nlead_in_frames=60\npause_seconds=1.5\nspeed=25\nfeed_offset[0]=3\nfeed_offset[2]=-7\n"
        "end_early=700\nslow_above_width=1200\nunplug_after[1]=90\n");
    EXPECT_EQ(options.scene.seed, 9u);
    EXPECT_EQ(options.scene.jumpers, 5);
    EXPECT_EQ(options.scene.lead_in_frames, 60);
    EXPECT_EQ(options.scene.pause_frames, 90);
    EXPECT_EQ(options.scene.speed, 25.0);
    EXPECT_EQ(options.scene.feed_offset[0], 3);
    EXPECT_EQ(options.scene.feed_offset[2], -7);
    EXPECT_EQ(options.end_early, 700);
    EXPECT_EQ(options.slow_above_width, 1200);
    EXPECT_EQ(options.unplug_after[0], 0);
    EXPECT_EQ(options.unplug_after[1], 90);
    EXPECT_EQ(options.unplug_after[2], 0);
}

TEST(RigOptions, LoopGoesBeforeANumberOfJumpers) {
    const RigOptions options = from("jumpers=3\nloop=1\n");
    Scene scene;
    scene_init(&scene, options.scene);
    EXPECT_EQ(scene_end_tick(&scene), -1);
}

TEST(RigOptions, NegativeNumbersMeanNone) {
    const RigOptions options =
        from("end_early=-5\nslow_above_width=-1\njumpers=-2\nlead_in_frames=-9\nunplug_after[2]=-1\n");
    EXPECT_EQ(options.end_early, 0);
    EXPECT_EQ(options.slow_above_width, 0);
    EXPECT_EQ(options.scene.jumpers, 0);
    EXPECT_EQ(options.scene.lead_in_frames, 0);
    EXPECT_EQ(options.unplug_after[2], 0);
}

TEST(RigOptions, ARecorderCanBeMadeToMisbehave) {
    const RigOptions options = from("capfile_ignores_shutdown=1\ncapfile_dies_after=20\n");
    EXPECT_TRUE(options.capfile_ignores_shutdown);
    EXPECT_EQ(options.capfile_dies_after, 20);
    EXPECT_EQ(from("capfile_dies_after=-1\n").capfile_dies_after, 0);
}
