#include "tools/settings_help_facts.h"

#include <array>

namespace {

constexpr const char* kSwitch = "0 off, 1 on";
constexpr const char* kEmptyLoadsAsDefault = "empty loads as the default";
constexpr const char* kPadding = "0 to 300; anything else loads as 60";
constexpr const char* kTopRow = "feeds 0 to 2: from overlay_frame_offsets + 30; less loads as that";
constexpr const char* kBottomRow = "feeds 0 to 2: up to overlay_frame_offsets + 529; more loads as that";
constexpr const char* kIgnoreTopRow =
    "from overlay_frame_offsets + 30; less loads as that, unless all four coordinates are 0";
constexpr const char* kIgnoreBottomRow =
    "up to overlay_frame_offsets + 529; more loads as that, unless all four coordinates are 0";

constexpr const char* kMotion = "motion.exe";
constexpr const char* kSetByAutoSetup = "set by Auto Setup; worker programs";
constexpr const char* kMotionRegion = "motion.exe; preview (Set Region); set by Auto Setup";
constexpr const char* kIgnoreRegion = "motion.exe; preview (Ign Reg)";
constexpr const char* kGrid = "Grid Line Setup; viewer.exe; Auto Setup";

constexpr std::array kFacts = {
    SettingFact{"frame_position_bar_height", "pixels", "", ""},
    SettingFact{"mouse_position_speed", "pixels per frame", "", ""},
    SettingFact{"big_window_height", "pixels", "", ""},
    SettingFact{"big_window_width", "pixels", "", ""},
    SettingFact{"movie_pad", "frames", "", "videogen.exe"},
    SettingFact{"feed_video_frames", "frames", "", kSetByAutoSetup},
    SettingFact{"inter_feed_gap_frames", "frames", "", kSetByAutoSetup},
    SettingFact{"feed_sync_offset", "frames", "", "control block at the start; set by Auto Setup"},
    SettingFact{"saved_motion_range", "", "", "Save Motion Range and Auto Setup"},
    SettingFact{"min_type2_frames", "frames", "", kSetByAutoSetup},
    SettingFact{"min_frames_between_movies", "frames", "", ""},
    SettingFact{"blob_match_tolerance_us", "\xC2\xB5s", "", "Auto Setup"},
    SettingFact{"auto_setup_max_jumpers", "jumpers", "above 0; else 10", "Auto Setup"},
    SettingFact{"auto_setup_max_frames", "frames", "above 0; else 30000", "Auto Setup"},
    SettingFact{"practice_max_jumpers", "movies", "above 0; else 10", "--practice-test"},
    SettingFact{"practice_max_frames", "frames", "above 0; else 30000", "--practice-test"},
    SettingFact{"cli_wait_for_active_motion", "", kSwitch, "--practice-test and Auto Setup"},
    SettingFact{"pre_movie_padding_frames", "frames", "", "Auto Setup; videogen.exe"},
    SettingFact{"post_movie_padding_frames", "frames", "", "Auto Setup; videogen.exe"},
    SettingFact{"movie_padding_before_frames", "frames", kPadding, "Auto Setup; videogen.exe"},
    SettingFact{"movie_padding_after_frames", "frames", kPadding, "Auto Setup; videogen.exe"},
    SettingFact{"auto_setup_adaptive_width_enable", "", kSwitch, "Auto Setup"},
    SettingFact{"auto_setup_adaptive_width_threshold_us", "\xC2\xB5s", "", "Auto Setup; motion.exe"},
    SettingFact{"auto_setup_adaptive_width_trial_frames", "frames", "", "Auto Setup"},
    SettingFact{"auto_setup_adaptive_width_slow_pct", "%", "", "Auto Setup"},
    SettingFact{"auto_setup_adaptive_width_min_pct", "% of the width", "", "Auto Setup"},
    SettingFact{"archive_dir", "", kEmptyLoadsAsDefault, "videogen.exe; upload_video.bat"},
    SettingFact{"upload_host", "", kEmptyLoadsAsDefault, "upload_video.bat"},
    SettingFact{"upload_path", "", kEmptyLoadsAsDefault, "upload_video.bat"},
    SettingFact{"upload_signal_url", "", kEmptyLoadsAsDefault, "upload_video.bat"},
    SettingFact{"upload_enabled", "", "0 or 1; anything else loads as 1", "videogen.exe"},
    SettingFact{"capfile_quality_cq", "", "15 to 40, clamped by capfile.exe", "capfile.exe"},
    SettingFact{"capfile_stitch_across_pause", "", kSwitch, "capfile.exe"},
    SettingFact{"practice_video_sync_offset", "frames", "negative: the built-in offset", "practice_player.exe"},
    SettingFact{"camera_device_path", "", "empty: no camera", "Feeds tab; passed to capture.exe"},
    SettingFact{"viewer_ring_channels", "channels", "", "viewer.exe"},
    SettingFact{"shadow_frames_back", "frames", "", ""},
    SettingFact{"analytics_min_tracked_frames", "frames", "", ""},
    SettingFact{"analytics_adjustment_cooldown", "frames", "", ""},
    SettingFact{"analytics_threshold_step", "bins", "", ""},
    SettingFact{"analytics_retry_budget_us", "\xC2\xB5s", "", ""},
    SettingFact{"backward_scan_max_gap_frames", "frames", "", ""},
    SettingFact{"backward_scan_velocity_tolerance_percent", "%", "", ""},
    SettingFact{"mark_motion_Y", "", "", "preview (Highlight)"},
    SettingFact{"max_diff_y%", "%", "", ""},
    SettingFact{"max_diff_u%", "%", "", ""},
    SettingFact{"max_diff_v%", "%", "", ""},
    SettingFact{"max_diff_y_quick%", "%", "", ""},
    SettingFact{"max_diff_u_quick%", "%", "", ""},
    SettingFact{"max_diff_v_quick%", "%", "", ""},
    SettingFact{"min_diff_y%", "%", "", ""},
    SettingFact{"min_diff_u%", "%", "", ""},
    SettingFact{"min_diff_v%", "%", "", ""},
    SettingFact{"max_diff_y", "", "", kSetByAutoSetup},
    SettingFact{"max_diff_u", "", "", kSetByAutoSetup},
    SettingFact{"max_diff_v", "", "", kSetByAutoSetup},
    SettingFact{"min_frames", "frames", "", ""},
    SettingFact{"max_frames", "frames", "", ""},
    SettingFact{"debug_frame_log", "", kSwitch, "preview"},
    SettingFact{"min_motion_count", "frames", "", kMotion},
    SettingFact{"min_nomotion_count", "frames", "", kMotion},
    SettingFact{"overlay_frame_offsets", "rows", "", "preview; motion.exe; viewer.exe; Auto Setup"},
    SettingFact{"max_blob_size", "pixels", "", kSetByAutoSetup},
    SettingFact{"max_blob_count", "blobs", "", ""},
    SettingFact{"min_blob_sizes", "pixels", "", "motion.exe; Auto Setup"},
    SettingFact{"erase_shadows", "", kSwitch, "preview; passed to the workers in the control block"},
    SettingFact{"ydiff_max", "", "", kMotion},
    SettingFact{"udiff_max", "", "", kMotion},
    SettingFact{"vdiff_max", "", "", kMotion},
    SettingFact{"ydiff_min", "", "", kMotion},
    SettingFact{"udiff_min", "", "", kMotion},
    SettingFact{"vdiff_min", "", "", kMotion},
    SettingFact{"blob_fuzz_x", "pixels", "", ""},
    SettingFact{"blob_fuzz_y", "pixels", "", ""},
    SettingFact{"motion_start_x", "pixels", "", kMotionRegion},
    SettingFact{"motion_start_y", "pixels", kTopRow, kMotionRegion},
    SettingFact{"motion_end_x", "pixels", "", kMotionRegion},
    SettingFact{"motion_end_y", "pixels", kBottomRow, kMotionRegion},
    SettingFact{"ignore_start_x", "pixels", "", kIgnoreRegion},
    SettingFact{"ignore_start_y", "pixels", kIgnoreTopRow, kIgnoreRegion},
    SettingFact{"ignore_end_x", "pixels", "", kIgnoreRegion},
    SettingFact{"ignore_end_y", "pixels", kIgnoreBottomRow, kIgnoreRegion},
    SettingFact{"frames_before_first_blob", "frames", "", kSetByAutoSetup},
    SettingFact{"frames_after_last_blob", "frames", "", kSetByAutoSetup},
    SettingFact{"default_view_frame_offset_from_end", "frames", "", ""},
    SettingFact{"center_of_blob_scene_trigger", "pixels", "", "motion.exe; set by Auto Setup"},
    SettingFact{"scene_trigger_f0_fraction", "of the width", "", "Auto Setup; motion.exe"},
    SettingFact{"feed_count", "feeds", "1 to 4; anything else loads as 3", "the whole controller; worker programs"},
    SettingFact{"feed_motion_on", "", kSwitch, "Feeds tab; motion.exe"},
    SettingFact{"cursor_line_width", "pixels", "", ""},
    SettingFact{"crosshair_width", "pixels", "", ""},
    SettingFact{"meter_line_count", "lines", "up to 30; more loads as 30", kGrid},
    SettingFact{"meter_line_start", "m", "", kGrid},
    SettingFact{"meter_line_increment", "m", "", kGrid},
    SettingFact{"far", "pixels", "", kGrid},
    SettingFact{"near", "pixels", "", kGrid},
};

}  // namespace

std::span<const SettingFact> setting_facts() {
    return kFacts;
}

std::string_view setting_key_base(std::string_view key) {
    if (!key.empty() && (key.front() == '*' || key.front() == '@')) key.remove_prefix(1);
    return key.substr(0, key.find('['));
}

const SettingFact* setting_fact_find(std::string_view key) {
    const std::string_view base = setting_key_base(key);
    for (const SettingFact& fact : kFacts)
        if (base == fact.base) return &fact;
    return nullptr;
}
