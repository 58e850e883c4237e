#include "autosetup/apply_results.h"

#include <algorithm>

#include "app/log.h"
#include "autosetup/wrapping.h"
#include "procs/worker_commands.h"

static constexpr int32_t kFirstRow = 1;  // of a motion region in the settings
static constexpr int32_t kLastRow = 538;

static void apply_feed(const AutoSetupWorkspace* workspace, Settings* settings, int32_t feed) {
    settings->feed_video_frames[feed] = workspace->result_feed_video_frames[feed];
    settings->frames_before_first_blob[feed] = workspace->result_frames_before[feed];
    settings->frames_after_last_blob[feed] = workspace->result_frames_after[feed];
    const int32_t offset = settings->overlay_frame_offsets[feed];
    settings->motion_start_y[feed] = wrap_add32(std::max(workspace->region_y0[feed], kFirstRow), offset);
    settings->motion_end_y[feed] = wrap_add32(std::min(workspace->region_y1[feed], kLastRow), offset);
    if (workspace->region_end_x[feed] > 0) {
        settings->motion_start_x[feed] = 0;
        settings->motion_end_x[feed] = workspace->region_end_x[feed];
    }
    if (workspace->sync_valid[feed]) settings->feed_sync_offset[feed] = workspace->sync_offset[feed];
}

// Multiplies by the picture width and truncates. The pixel-frame tables multiply by the last column and round
// instead, and fall back to 1727: both are wanted.
static void apply_scene_trigger(Settings* settings) {
    float fraction = settings->scene_trigger_f0_fraction;
    int32_t column = 1728;
    if (fraction >= 0.0f && fraction <= 1.0f) {
        column = std::clamp(static_cast<int32_t>(fraction * static_cast<float>(kPixelColumns)), 0, kPixelColumns - 1);
    } else {
        fraction = 0.9f;
    }
    settings->center_of_blob_scene_trigger[0] = column;
    log_info(
        "auto setup: scene trigger threshold (feed 0 only) — [0]=%d (fraction=%.3f × FRAME_WIDTH=%d); [1] and [2] no "
        "longer written (runtime uses frames-back)",
        column, static_cast<double>(fraction), kPixelColumns);
}

static void apply_gaps(const AutoSetupWorkspace* workspace, Settings* settings) {
    for (int32_t i = 0; i < 2; ++i)
        if (workspace->gap_valid[i]) settings->inter_feed_gap_frames[i] = workspace->gap_frames[i];
    log_info("auto setup: inter_feed_gap_frames = [%d, %d] (valid flags: %d, %d; samples: %d, %d)",
             settings->inter_feed_gap_frames[0], settings->inter_feed_gap_frames[1],
             static_cast<int32_t>(workspace->gap_valid[0]), static_cast<int32_t>(workspace->gap_valid[1]),
             workspace->gap_samples[0], workspace->gap_samples[1]);
}

static void apply_noise_caps(const AutoSetupWorkspace* workspace, Settings* settings) {
    if (workspace->cap_max_blob_size <= 0) return;
    settings->max_blob_size = workspace->cap_max_blob_size;
    settings->max_diff_y = workspace->cap_max_diff_y;
    settings->max_diff_u = workspace->cap_max_diff_u;
    settings->max_diff_v = workspace->cap_max_diff_v;
    log_info("auto setup: noise caps applied — max_blob_size=%d, max_diff_y=%d, max_diff_u=%d, max_diff_v=%d",
             settings->max_blob_size, settings->max_diff_y, settings->max_diff_u, settings->max_diff_v);
}

static void log_applied(const Settings* settings) {
    const int32_t* video = settings->feed_video_frames;
    const int32_t* before = settings->frames_before_first_blob;
    const int32_t* after = settings->frames_after_last_blob;
    log_info(
        "auto setup: applied -- feed_video_frames=%d/%d/%d, frames_before=%d/%d/%d, frames_after=%d/%d/%d, "
        "scene_trigger_x=%d, min_type2=%d (min_type1 retired — pixel_frames carry pre-roll)",
        video[0], video[1], video[2], before[0], before[1], before[2], after[0], after[1], after[2],
        settings->center_of_blob_scene_trigger[0], settings->min_type2_frames);
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        log_info("  feed %d motion region: x=%d..%d, y=%d..%d", feed, settings->motion_start_x[feed],
                 settings->motion_end_x[feed], settings->motion_start_y[feed], settings->motion_end_y[feed]);
    }
}

void apply_auto_setup_results(const AutoSetupWorkspace* workspace, Settings* settings) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
        if (feed_is_active(workspace->feed_count, feed)) apply_feed(workspace, settings, feed);
    const int32_t* sync = settings->feed_sync_offset;
    log_info("auto setup: feed_sync_offset = [%d, %d, %d] (valid flags: %d, %d, %d)", sync[0], sync[1], sync[2],
             static_cast<int32_t>(workspace->sync_valid[0]), static_cast<int32_t>(workspace->sync_valid[1]),
             static_cast<int32_t>(workspace->sync_valid[2]));
    if (feed_is_active(workspace->feed_count, 0)) {
        apply_scene_trigger(settings);
        settings->min_type2_frames = workspace->result_min_type2_frames;
    }
    apply_gaps(workspace, settings);
    apply_noise_caps(workspace, settings);
    log_applied(settings);
}
