// The scene in words: its truth for tests and tools, and a settings.txt that suits it.
#include <cstdio>

#include "rig/common/scene.h"

namespace {

constexpr int32_t kTruthJumpersOfEndless = 50;
constexpr int32_t kLineIncrement = 5;
constexpr int32_t kLineStart[kSceneFeeds] = {35, 35, 45};  // the settings' defaults
constexpr int32_t kLineCount[kSceneFeeds] = {4, 7, 7};
constexpr int32_t kOverlayOffset[kSceneFeeds] = {120, 150, 180};
// Full-picture rows. The flag lies inside the motion region of feeds 0 and 1, so that the ignore region earns its
// keep.
constexpr int32_t kMotionTop = 240, kMotionBottom = 560;
constexpr int32_t kIgnoreLeft = 56, kIgnoreTop = 240, kIgnoreRight = 160, kIgnoreBottom = 308;

}  // namespace

static void write_passage(FILE* file, const Scene* scene, int32_t jumper, int32_t feed) {
    const ScenePassage passage = scene_passage(scene, jumper, feed);
    const int64_t start = scene_feed_start(scene, feed);
    fprintf(file, "passage jumper=%d feed=%d entry_tick=%lld exit_tick=%lld entry_frame=%lld exit_frame=%lld\n",
            jumper, feed, static_cast<long long>(passage.entry), static_cast<long long>(passage.exit),
            static_cast<long long>(passage.entry - start), static_cast<long long>(passage.exit - start));
    for (int64_t tick = passage.entry; tick <= passage.exit; ++tick) {
        SceneJumper at{};
        if (!scene_jumper_at(scene, feed, tick, &at)) continue;
        fprintf(file, "at jumper=%d feed=%d frame=%lld x=%.2f y=%.2f metre=%.3f\n", jumper, feed,
                static_cast<long long>(tick - start), at.x, at.y, at.metre);
    }
}

int32_t scene_write_truth(const Scene* scene, const char* path) {
    FILE* file = fopen(path, "w");
    if (file == nullptr) return -1;
    const SceneConfig& config = scene->config;
    const int32_t jumpers = config.jumpers > 0 ? config.jumpers : kTruthJumpersOfEndless;
    fprintf(file, "seed=%llu\njumpers=%d\nspeed=%.3f\nend_tick=%lld\n", static_cast<unsigned long long>(config.seed),
            config.jumpers, config.speed, static_cast<long long>(scene_end_tick(scene)));
    fprintf(file, "# frame = tick - start, for sources whose counters begin at 0\n");
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        const double per_metre = scene_column_of_metre(feed, 1) - scene_column_of_metre(feed, 0);
        fprintf(file, "feed=%d offset=%d start=%lld pixels_per_metre=%.3f metre_at_column_0=%.4f\n", feed,
                config.feed_offset[feed], static_cast<long long>(scene_feed_start(scene, feed)), per_metre,
                scene_metre_of_column(feed, 0));
    }
    for (int32_t jumper = 0; jumper < jumpers; ++jumper) {
        fprintf(file, "jumper=%d gap_0_1=%lld gap_1_2=%lld\n", jumper,
                static_cast<long long>(scene_gap(scene, jumper, 0)),
                static_cast<long long>(scene_gap(scene, jumper, 1)));
        for (int32_t feed = 0; feed < kSceneFeeds; ++feed) write_passage(file, scene, jumper, feed);
    }
    const bool failed = ferror(file) != 0;
    return fclose(file) != 0 || failed ? -1 : 0;
}

static void write_regions(FILE* file, int32_t feed) {
    const int32_t lowest = kOverlayOffset[feed] + 30;  // the console keeps regions inside this band
    const int32_t highest = kOverlayOffset[feed] + 529;
    const int32_t motion_top = kMotionTop > lowest ? kMotionTop : lowest;
    const int32_t motion_bottom = kMotionBottom < highest ? kMotionBottom : highest;
    const int32_t ignore_top = kIgnoreTop > lowest ? kIgnoreTop : lowest;
    fprintf(file, "overlay_frame_offsets[%d]=%d\n", feed, kOverlayOffset[feed]);
    fprintf(file, "motion_start_x[%d]=0\nmotion_end_x[%d]=%d\n", feed, feed, kSceneWidth - 1);
    fprintf(file, "motion_start_y[%d]=%d\nmotion_end_y[%d]=%d\n", feed, motion_top, feed, motion_bottom);
    fprintf(file, "ignore_start_x[%d]=%d\nignore_end_x[%d]=%d\n", feed, kIgnoreLeft, feed, kIgnoreRight);
    fprintf(file, "ignore_start_y[%d]=%d\nignore_end_y[%d]=%d\n", feed, ignore_top, feed, kIgnoreBottom);
}

// Anchors count rows from the full picture, like the regions: the console adds the overlay offset to a clicked row.
// Lines outside the picture stay unset.
static void write_anchors(FILE* file, int32_t feed) {
    fprintf(file, "meter_line_count[%d]=%d\nmeter_line_start[%d]=%d\nmeter_line_increment[%d]=%d\n", feed,
            kLineCount[feed], feed, kLineStart[feed], feed, kLineIncrement);
    for (int32_t line = 0; line < kLineCount[feed]; ++line) {
        const SceneAnchor anchor = scene_anchor(feed, kLineStart[feed] + line * kLineIncrement);
        if (!anchor.visible) continue;
        fprintf(file, "@far[%d][%2d]=%d,%d\n", feed, line, anchor.far_x, anchor.far_y);
        fprintf(file, "@near[%d][%2d]=%d,%d\n", feed, line, anchor.near_x, anchor.near_y);
    }
}

int32_t scene_write_settings(const char* path) {
    FILE* file = fopen(path, "wb");
    if (file == nullptr) return -1;
    fprintf(file, "# A first run on the simulated rig: regions, offsets and grid fit its scene.\n");
    fprintf(file, "feed_count=3\nupload_enabled=0\ndisable_nvenc_encoding=1\nmark_motion=1\nmark_motion_Y=128\n");
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
        fprintf(file, "\n");
        write_regions(file, feed);
        write_anchors(file, feed);
        fprintf(file, "practice_video_sync_offset[%d]=0\n", feed);
    }
    const bool failed = ferror(file) != 0;
    return fclose(file) != 0 || failed ? -1 : 0;
}
