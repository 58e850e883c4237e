// What a simulated motion worker takes from settings.txt.
#include "rig/motion_settings.h"

#include <gtest/gtest.h>

static MotionSettings from(const char* text, int32_t feed) {
    RigSettings file;
    rig_settings_parse(&file, text);
    return motion_settings_for(file, feed);
}

TEST(RigMotionSettings, MissingFileMeansTheConsolesDefaults) {
    const MotionSettings settings = from("", 2);
    EXPECT_EQ(settings.detection.y_min, 35);
    EXPECT_EQ(settings.detection.u_min, 5);
    EXPECT_EQ(settings.detection.v_min, 6);
    EXPECT_EQ(settings.detection.y_max, 128);
    EXPECT_EQ(settings.detection.min_blob_size, 500);
    EXPECT_EQ(from("", 0).detection.min_blob_size, 50);
    EXPECT_EQ(settings.slow_threshold_us, 14000);
    EXPECT_EQ(settings.passage.trigger_column, 1728);
    EXPECT_TRUE(settings.motion_on);
}

TEST(RigMotionSettings, EachFeedTakesItsOwnValues) {
    const char* text =
        "motion_start_x[1]=0\nmotion_end_x[1]=959\nmotion_start_y[1]=180\nmotion_end_y[1]=400\n"
        "overlay_frame_offsets[1]=150\nignore_start_x[1]=40\nignore_end_x[1]=200\nignore_start_y[1]=160\n"
        "ignore_end_y[1]=250\nydiff_min[1]=20\nmin_blob_sizes[1]=77\nfeed_motion_on[1]=0\n";
    const MotionSettings settings = from(text, 1);
    EXPECT_EQ(settings.detection.region.x1, 959);
    EXPECT_EQ(settings.detection.region.y0, 30);
    EXPECT_EQ(settings.detection.region.y1, 250);
    EXPECT_EQ(settings.detection.ignore.x0, 40);
    EXPECT_EQ(settings.detection.ignore.y0, 10);
    EXPECT_EQ(settings.detection.y_min, 20);
    EXPECT_EQ(settings.detection.min_blob_size, 77);
    EXPECT_FALSE(settings.motion_on);
    EXPECT_EQ(from(text, 0).detection.region.x1, 0);
    EXPECT_TRUE(from(text, 0).motion_on);
}

TEST(RigMotionSettings, StoredTriggerColumnGoesBeforeTheFraction) {
    EXPECT_EQ(from("scene_trigger_f0_fraction=0.5\n", 0).passage.trigger_column, 960);
    EXPECT_EQ(from("scene_trigger_f0_fraction=1.5\n", 0).passage.trigger_column, 1728);
    EXPECT_EQ(from("scene_trigger_f0_fraction=1.0\n", 0).passage.trigger_column, 1919);
    EXPECT_EQ(from("center_of_blob_scene_trigger[0]=1500\nscene_trigger_f0_fraction=0.5\n", 0).passage.trigger_column,
              1500);
}

TEST(RigMotionSettings, WithoutAWidthLimitTheClockTellsWhetherAFrameWasSlow) {
    const MotionSettings settings = from("auto_setup_adaptive_width_threshold_us=9000\nmotion_end_x[1]=1919\n", 1);
    EXPECT_EQ(forced_frame_us(settings, 0), 0);
    EXPECT_FALSE(frame_is_slow(settings, 0, 9000));
    EXPECT_TRUE(frame_is_slow(settings, 0, 9001));
}

TEST(RigMotionSettings, ARegionWiderThanTheLimitIsSlowWhateverTheClockSays) {
    const MotionSettings settings = from("motion_start_x[1]=100\nmotion_end_x[1]=1299\n", 1);  // 1200 columns
    EXPECT_EQ(forced_frame_us(settings, 1199), 15000);  // a millisecond beyond the threshold
    EXPECT_TRUE(frame_is_slow(settings, 1199, 1));
    EXPECT_EQ(forced_frame_us(settings, 1200), 0);
    EXPECT_FALSE(frame_is_slow(settings, 1200, 1'000'000)) << "a busy machine must not narrow the trial further";
}

TEST(RigMotionSettings, ARegionWithoutColumnsIsAsWideAsThePicture) {
    EXPECT_TRUE(frame_is_slow(from("", 1), 1919, 1));
    EXPECT_FALSE(frame_is_slow(from("", 1), 1920, 1));
    EXPECT_FALSE(frame_is_slow(from("motion_start_x[1]=-50\nmotion_end_x[1]=4000\n", 1), 1920, 1));
}

// The widths of a trial that narrows by a quarter at a time: 1200 columns let it settle on the third.
TEST(RigMotionSettings, ALimitOf1200SettlesTheWidthTrialAtHalfThePicture) {
    EXPECT_TRUE(frame_is_slow(from("motion_end_x[0]=1919\n", 0), 1200, 1));
    EXPECT_TRUE(frame_is_slow(from("motion_end_x[0]=1439\n", 0), 1200, 1));
    EXPECT_FALSE(frame_is_slow(from("motion_end_x[0]=959\n", 0), 1200, 1));
}

TEST(RigMotionSettings, ASlowFrameNeverTakesSoLongThatTheWorkerSeemsDead) {
    const MotionSettings settings = from("auto_setup_adaptive_width_threshold_us=2147483647\n", 0);
    EXPECT_EQ(forced_frame_us(settings, 1), 100'000);
}
