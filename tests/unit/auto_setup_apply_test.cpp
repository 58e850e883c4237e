// What of an analysis reaches the settings, and what stays.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "autosetup/apply_results.h"
#include "tests/support/analysis_workspace.h"
#include "tests/support/log_capture.h"
#include "tests/support/settings_text.h"

using Lines = std::vector<std::string>;

// A workspace in which everything was measured, with values that tell their place.
static WorkspacePtr measured(int32_t feed_count = 3) {
    auto ws = make_workspace(feed_count);
    for (int32_t feed = 0; feed < 3; ++feed) {
        ws->result_feed_video_frames[feed] = 101 + feed;
        ws->result_frames_before[feed] = 201 + feed;
        ws->result_frames_after[feed] = 301 + feed;
        ws->region_y0[feed] = 41 + feed;
        ws->region_y1[feed] = 401 + feed;
        ws->region_end_x[feed] = 1001 + feed;
        ws->sync_offset[feed] = 11 + feed;
        ws->sync_valid[feed] = 1;
    }
    for (int32_t i = 0; i < 2; ++i) {
        ws->gap_frames[i] = 21 + i;
        ws->gap_valid[i] = 1;
        ws->gap_samples[i] = 5 + i;
    }
    ws->result_scene_trigger_x = 777;
    ws->result_min_type1_frames = 333;
    ws->result_min_type2_frames = 88;
    ws->cap_max_blob_size = 800;
    ws->cap_max_diff_y = 1200;
    ws->cap_max_diff_u = 600;
    ws->cap_max_diff_v = 601;
    return ws;
}

TEST(ApplyResults, CarriesEverythingThatWasMeasured) {
    LogCapture log;
    const auto settings = default_settings();
    apply_auto_setup_results(measured().get(), settings.get());
    for (int32_t feed = 0; feed < 3; ++feed) {
        EXPECT_EQ(settings->feed_video_frames[feed], 101 + feed);
        EXPECT_EQ(settings->frames_before_first_blob[feed], 201 + feed);
        EXPECT_EQ(settings->frames_after_last_blob[feed], 301 + feed);
        EXPECT_EQ(settings->motion_start_x[feed], 0);
        EXPECT_EQ(settings->motion_end_x[feed], 1001 + feed);
        EXPECT_EQ(settings->motion_start_y[feed], 41 + feed);
        EXPECT_EQ(settings->motion_end_y[feed], 401 + feed);
        EXPECT_EQ(settings->feed_sync_offset[feed], 11 + feed);
    }
    EXPECT_EQ(settings->center_of_blob_scene_trigger[0], 1728);
    EXPECT_EQ(settings->min_type2_frames, 88);
    EXPECT_EQ(settings->inter_feed_gap_frames[0], 21);
    EXPECT_EQ(settings->inter_feed_gap_frames[1], 22);
    EXPECT_EQ(settings->max_blob_size, 800);
    EXPECT_EQ(settings->max_diff_y, 1200);
    EXPECT_EQ(settings->max_diff_u, 600);
    EXPECT_EQ(settings->max_diff_v, 601);
}

TEST(ApplyResults, TellsEachStepInOrder) {
    LogCapture log;
    const auto settings = default_settings();
    apply_auto_setup_results(measured().get(), settings.get());
    EXPECT_EQ(
        log.lines(),
        (Lines{
            "INF auto setup: feed_sync_offset = [11, 12, 13] (valid flags: 1, 1, 1)",
            "INF auto setup: scene trigger threshold (feed 0 only) — [0]=1728 (fraction=0.900 × FRAME_WIDTH=1920); "
            "[1] and [2] no longer written (runtime uses frames-back)",
            "INF auto setup: inter_feed_gap_frames = [21, 22] (valid flags: 1, 1; samples: 5, 6)",
            "INF auto setup: noise caps applied — max_blob_size=800, max_diff_y=1200, max_diff_u=600, max_diff_v=601",
            "INF auto setup: applied -- feed_video_frames=101/102/103, frames_before=201/202/203, "
            "frames_after=301/302/303, scene_trigger_x=1728, min_type2=88 (min_type1 retired — pixel_frames carry "
            "pre-roll)",
            "INF   feed 0 motion region: x=0..1001, y=41..401", "INF   feed 1 motion region: x=0..1002, y=42..402",
            "INF   feed 2 motion region: x=0..1003, y=43..403"}));
}

TEST(ApplyResults, AFeedThatIsNotActiveKeepsAllItsSettings) {
    LogCapture log;
    for (const int32_t feed_count : {1, 2}) {
        const auto settings = default_settings();
        const auto untouched = default_settings();
        apply_auto_setup_results(measured(feed_count).get(), settings.get());
        for (int32_t feed = 0; feed < 3; ++feed) {
            if (feed == 1 || (feed == 2 && feed_count == 2)) continue;
            EXPECT_EQ(settings->feed_video_frames[feed], untouched->feed_video_frames[feed]);
            EXPECT_EQ(settings->frames_before_first_blob[feed], untouched->frames_before_first_blob[feed]);
            EXPECT_EQ(settings->frames_after_last_blob[feed], untouched->frames_after_last_blob[feed]);
            EXPECT_EQ(settings->motion_start_x[feed], untouched->motion_start_x[feed]);
            EXPECT_EQ(settings->motion_end_x[feed], untouched->motion_end_x[feed]);
            EXPECT_EQ(settings->motion_start_y[feed], untouched->motion_start_y[feed]);
            EXPECT_EQ(settings->motion_end_y[feed], untouched->motion_end_y[feed]);
            EXPECT_EQ(settings->feed_sync_offset[feed], untouched->feed_sync_offset[feed]);
        }
        EXPECT_EQ(settings->feed_video_frames[1], 102);
        EXPECT_EQ(settings->center_of_blob_scene_trigger[0], untouched->center_of_blob_scene_trigger[0]);
        EXPECT_EQ(settings->min_type2_frames, untouched->min_type2_frames);
        EXPECT_EQ(settings->inter_feed_gap_frames[0], 21);  // these follow their own flags alone
    }
}

TEST(ApplyResults, TheType1MinimumAndTheCalculatedTriggerAreNotWritten) {
    LogCapture log;
    const auto settings = default_settings();
    settings->min_frames = 123;
    settings->center_of_blob_scene_trigger[1] = 5;
    settings->center_of_blob_scene_trigger[2] = 6;
    apply_auto_setup_results(measured().get(), settings.get());
    EXPECT_EQ(settings->min_frames, 123);
    EXPECT_EQ(settings->center_of_blob_scene_trigger[1], 5);
    EXPECT_EQ(settings->center_of_blob_scene_trigger[2], 6);
}

TEST(ApplyResults, RowsAreBoundedBeforeTheOverlayOffsetIsAdded) {
    LogCapture log;
    const auto settings = default_settings();
    const auto ws = measured();
    ws->region_y0[0] = -20;
    ws->region_y1[0] = 600;
    settings->overlay_frame_offsets[0] = -3;
    settings->overlay_frame_offsets[1] = 7;
    apply_auto_setup_results(ws.get(), settings.get());
    EXPECT_EQ(settings->motion_start_y[0], -2);
    EXPECT_EQ(settings->motion_end_y[0], 535);
    EXPECT_EQ(settings->motion_start_y[1], 49);
    EXPECT_EQ(settings->motion_end_y[1], 409);
}

TEST(ApplyResults, WithoutAWidthTrialTheColumnsStay) {
    LogCapture log;
    const auto settings = default_settings();
    settings->motion_start_x[1] = 17;
    settings->motion_end_x[1] = 1234;
    const auto ws = measured();
    ws->region_end_x[1] = 0;
    apply_auto_setup_results(ws.get(), settings.get());
    EXPECT_EQ(settings->motion_start_x[1], 17);
    EXPECT_EQ(settings->motion_end_x[1], 1234);
    EXPECT_TRUE(log.has("INF   feed 1 motion region: x=17..1234, y=42..402"));
}

TEST(ApplyResults, OffsetsAndGapsWithoutAFlagStay) {
    LogCapture log;
    const auto settings = default_settings();
    settings->feed_sync_offset[2] = -9;
    settings->inter_feed_gap_frames[1] = 33;
    const auto ws = measured();
    ws->sync_valid[2] = 0;
    ws->gap_valid[1] = 0;
    ws->gap_samples[1] = 0;
    apply_auto_setup_results(ws.get(), settings.get());
    EXPECT_EQ(settings->feed_sync_offset[2], -9);
    EXPECT_EQ(settings->inter_feed_gap_frames[1], 33);
    EXPECT_TRUE(log.has("INF auto setup: feed_sync_offset = [11, 12, -9] (valid flags: 1, 1, 0)"));
    EXPECT_TRUE(log.has("INF auto setup: inter_feed_gap_frames = [21, 33] (valid flags: 1, 0; samples: 5, 0)"));
}

TEST(ApplyResults, WithoutBlobsTheNoiseThresholdsAreNotTouched) {
    LogCapture log;
    const auto settings = default_settings();
    settings->max_blob_size = 1;
    settings->max_diff_y = 2;
    settings->max_diff_u = 3;
    settings->max_diff_v = 4;
    const auto ws = measured();
    ws->cap_max_blob_size = 0;
    apply_auto_setup_results(ws.get(), settings.get());
    EXPECT_EQ(settings->max_blob_size, 1);
    EXPECT_EQ(settings->max_diff_y, 2);
    EXPECT_EQ(settings->max_diff_u, 3);
    EXPECT_EQ(settings->max_diff_v, 4);
    for (const std::string& line : log.lines()) EXPECT_EQ(line.find("noise caps"), std::string::npos);
}

namespace {
struct FractionCase {
    float fraction;
    int32_t column;
    const char* shown;
};
}  // namespace

TEST(ApplyResults, TheSceneTriggerIsTheFractionOf1920Cut) {
    const FractionCase cases[] = {
        {0.9f, 1728, "0.900"},
        {0.0f, 0, "0.000"},
        {1.0f, 1919, "1.000"},
        {0.5f, 960, "0.500"},
        {0.25026f, 480, "0.250"},  // 480.499
        {0.2504f, 480, "0.250"},   // 480.768, not rounded up
        {1.2f, 1728, "0.900"},
        {-0.01f, 1728, "0.900"},
        {std::nextafter(1.0f, 2.0f), 1728, "0.900"},
        {1e30f, 1728, "0.900"},
        {-std::numeric_limits<float>::infinity(), 1728, "0.900"},
        {std::numeric_limits<float>::quiet_NaN(), 1728, "0.900"},
    };
    for (const FractionCase& c : cases) {
        LogCapture log;
        const auto settings = default_settings();
        settings->scene_trigger_f0_fraction = c.fraction;
        apply_auto_setup_results(measured().get(), settings.get());
        EXPECT_EQ(settings->center_of_blob_scene_trigger[0], c.column) << c.fraction;
        EXPECT_TRUE(log.has("INF auto setup: scene trigger threshold (feed 0 only) — [0]=" +
                            std::to_string(c.column) + " (fraction=" + c.shown +
                            " × FRAME_WIDTH=1920); [1] and [2] no longer written (runtime uses frames-back)"))
            << c.fraction;
    }
}

TEST(ApplyResults, AFractionOutOfRangeStaysInTheSettings) {
    LogCapture log;
    const auto settings = default_settings();
    settings->scene_trigger_f0_fraction = 1.2f;
    apply_auto_setup_results(measured().get(), settings.get());
    EXPECT_FLOAT_EQ(settings->scene_trigger_f0_fraction, 1.2f);
}

TEST(ApplyResults, AHostileOverlayOffsetOverflowsNothing) {
    LogCapture log;
    const auto settings = default_settings();
    settings->overlay_frame_offsets[0] = INT_MAX;
    settings->overlay_frame_offsets[1] = INT_MIN;
    apply_auto_setup_results(measured().get(), settings.get());
    EXPECT_EQ(settings->feed_video_frames[0], 101);
}
