#include "rig/common/rig_options.h"

#include <algorithm>

RigOptions rig_options_from(const RigSettings* settings) {
    RigOptions options{};
    SceneConfig& scene = options.scene;
    scene.seed = static_cast<uint64_t>(std::max(rig_settings_int(settings, "seed", 1), 0));
    scene.jumpers = std::max(rig_settings_int(settings, "jumpers", scene.jumpers), 0);
    scene.lead_in_frames = std::max(rig_settings_int(settings, "lead_in_frames", scene.lead_in_frames), 0);
    const float pause_seconds = rig_settings_float(settings, "pause_seconds", 4.0F);
    scene.pause_frames = static_cast<int32_t>(std::clamp(pause_seconds, 0.5F, 600.0F) * 60.0F);
    scene.speed = static_cast<double>(rig_settings_float(settings, "speed", 20.0F));
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed)
        scene.feed_offset[feed] = rig_settings_indexed(settings, "feed_offset", feed, scene.feed_offset[feed]);
    if (rig_settings_int(settings, "loop", 0) != 0) scene.jumpers = 0;
    options.end_early = std::max(rig_settings_int(settings, "end_early", 0), 0);
    options.slow_above_width = std::max(rig_settings_int(settings, "slow_above_width", 0), 0);
    for (int32_t camera = 0; camera < kSceneFeeds; ++camera)
        options.unplug_after[camera] = std::max(rig_settings_indexed(settings, "unplug_after", camera, 0), 0);
    options.capfile_ignores_shutdown = rig_settings_int(settings, "capfile_ignores_shutdown", 0) != 0;
    options.capfile_dies_after = std::max(rig_settings_int(settings, "capfile_dies_after", 0), 0);
    return options;
}

RigOptions rig_options_load(const char* path) {
    RigSettings settings;
    (void)rig_settings_load(&settings, path);
    return rig_options_from(&settings);
}
