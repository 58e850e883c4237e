// The one record of everything an operator can tune. It is plain memory of fixed layout, without pointers, so that it
// can be cleared, copied and compared as a block. Which field carries which key, default and help text is said once,
// in descriptor_rows.inc. A field is named as its key is spelt; where the key ends in "%" the field ends in _pct.
//
// Arrays of three are per feed: 0 top, 1 middle (the reference), 2 bottom. In arrays of four, element [3] is the
// value that holds for all feeds together.
#pragma once

#include <cstdint>
#include <type_traits>

inline constexpr int32_t kSettingTextSize = 256;  // at most 255 characters and the terminating NUL
inline constexpr int32_t kPixelColumns = 1920;    // a feed picture's columns
inline constexpr int32_t kGridLinesPerFeed = 30;  // anchors per feed and side
inline constexpr int32_t kSettingsFeeds = 3;      // feeds of every per-feed array here

struct GridLine {
    char label[64];  // equals the key of its row, "@far[0][ 3]"
    int32_t x, y;    // anchor point in feed-picture pixels; 0,0 = not placed yet
};

struct Settings {
    int32_t feed_count, frame_position_bar_height;
    float mouse_position_speed;
    int32_t big_window_width, big_window_height;

    char font_file[kSettingTextSize];

    int32_t movie_pad, min_frames, max_frames, min_type2_frames, disable_nvenc_encoding, viewer_ring_channels;

    int32_t analytics_min_tracked_frames, analytics_adjustment_cooldown, analytics_threshold_step;
    int32_t analytics_max_multiplier, analytics_retry_budget_us;

    int32_t auto_setup_adaptive_width_enable, auto_setup_adaptive_width_threshold_us;
    int32_t auto_setup_adaptive_width_trial_frames, auto_setup_adaptive_width_slow_pct;
    int32_t auto_setup_adaptive_width_min_pct;

    char capfile_nvenc_gpu_name[kSettingTextSize];
    int32_t capfile_nvenc_gpu_index, capfile_quality_cq;
    char capfile_output_dir[kSettingTextSize];
    int32_t capfile_stitch_across_pause;

    int32_t practice_video_sync_offset[3];
    char practice_video_path[3][kSettingTextSize];
    char camera_device_path[3][kSettingTextSize];

    int32_t backward_scan_max_gap_frames, backward_scan_velocity_tolerance_percent, min_frames_between_movies;

    // The pixel-frame tables, [feed][column]: frames between a blob seen in that column and the movie's start, its
    // scene change and its end. They live in pixel_frames.txt; populated is 1 once an entry of the feed was read.
    int32_t pixel_to_start[3][kPixelColumns];
    int32_t pixel_to_scene[3][kPixelColumns];
    int32_t pixel_to_end[3][kPixelColumns];
    int32_t pixel_frames_populated[3];

    int32_t blob_match_tolerance_us, auto_setup_max_jumpers, auto_setup_max_frames, practice_max_jumpers;
    int32_t practice_max_frames, cli_wait_for_active_motion, pre_movie_padding_frames, post_movie_padding_frames;
    int32_t movie_padding_before_frames, movie_padding_after_frames;
    int32_t feed1_x0_translates_to_feed0_x, feed2_x0_translates_to_feed1_x;

    int32_t feed_video_frames[3];
    int32_t inter_feed_gap_frames[2];
    int32_t feed_sync_offset[3];
    int32_t overlay_frame_offsets[3];
    int32_t default_view_frame_offset_from_end;

    int32_t min_blob_sizes[4];
    int32_t min_blob_distance[4];
    int32_t max_blob_distance[4];
    int32_t max_blob_size, min_blob_keep, max_blob_count, min_blob_neighbors, blob_fuzz_x, blob_fuzz_y;
    int32_t erase_shadows, shadow_frames_back;

    int32_t ydiff_min[4];
    int32_t udiff_min[4];
    int32_t vdiff_min[4];
    int32_t ydiff_max, udiff_max, vdiff_max;

    int32_t max_diff_y, max_diff_u, max_diff_v, max_diff_y_quick, max_diff_u_quick, max_diff_v_quick;

    float max_diff_y_pct, max_diff_u_pct, max_diff_v_pct;
    float max_diff_y_quick_pct, max_diff_u_quick_pct, max_diff_v_quick_pct;
    float min_diff_y_pct, min_diff_u_pct, min_diff_v_pct;

    int32_t motion_start_x[4];
    int32_t motion_start_y[4];
    int32_t motion_end_x[4];
    int32_t motion_end_y[4];

    int32_t feed_motion_on[4];  // keys for the first three only

    int32_t ignore_start_x[3];
    int32_t ignore_start_y[3];
    int32_t ignore_end_x[3];
    int32_t ignore_end_y[3];

    int32_t min_motion_count[3];
    int32_t min_nomotion_count[3];
    int32_t frames_before_first_blob[3];
    int32_t frames_after_last_blob[3];
    int32_t center_of_blob_scene_trigger[3];
    float scene_trigger_f0_fraction;
    int32_t min_motion_count_30_frames_to_calculate_movie_end[3];
    int32_t min_dist_30_frames_to_calculate_movie_end[3];

    int32_t meter_line_Y, meter_line_U, meter_line_V;
    int32_t meter1_line_Y, meter1_line_U, meter1_line_V;
    int32_t meterD_line_Y, meterD_line_U, meterD_line_V;

    int32_t mark_motion, mark_motion_Y, mark_motion_U, mark_motion_V;
    int32_t making_movie_Y, making_movie_U, making_movie_V;

    int32_t cursor_line_width, cursor_line_Y, cursor_line_U, cursor_line_V, crosshair_width;

    int32_t meter_line_count[3];
    int32_t meter_line_start[3];
    int32_t meter_line_increment[3];
    int32_t meter_line_radius[3];
    int32_t meter_values[3][kGridLinesPerFeed];  // derived by settings_recompute_meter_values

    GridLine far_lines[3][kGridLinesPerFeed];
    GridLine near_lines[3][kGridLinesPerFeed];

    int32_t debug_motion, debug_build, debug_frame_log;

    char saved_motion_range[kSettingTextSize];

    char archive_dir[kSettingTextSize];
    char upload_host[kSettingTextSize];
    char upload_path[kSettingTextSize];
    char upload_signal_url[kSettingTextSize];
    int32_t upload_enabled;
};

static_assert(std::is_trivially_copyable_v<Settings> && std::is_standard_layout_v<Settings>,
              "the record is cleared and copied as a block, and its rows are field offsets");
