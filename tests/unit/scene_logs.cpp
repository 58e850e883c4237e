#include "tests/unit/scene_logs.h"

#include <cmath>
#include <cstdio>

#include "rig/motion_line.h"
#include "rig/passage.h"
#include "tests/support/temp_dir.h"

namespace {
struct FeedLog {
    std::string text;
    PassageTracker passage;
};
}  // namespace

static Detection truth_as_detection(const Scene& scene, int32_t feed, int64_t tick) {
    Detection found{};
    SceneJumper jumper{};
    if (!scene_jumper_at(&scene, feed, tick, &jumper)) return found;
    found.type = found.blob_count = 1;
    found.size = kSceneBlobSize;
    found.x = static_cast<int32_t>(std::lround(jumper.x));
    found.y = static_cast<int32_t>(std::lround(jumper.y)) - kSceneOverlay[feed];
    found.first_y = found.y - kSceneBlobReach;
    found.last_y = found.y + kSceneBlobReach;
    found.y_cumulative[3] = found.u_cumulative[3] = found.v_cumulative[3] = kSceneBlobSize;
    return found;
}

static void append_trigger(std::string* text, const char* marker, int64_t seq) {
    text->append(marker).append(" fire_seq=").append(std::to_string(seq)).append("\n");
}

static void append_triggers(std::string* text, const TriggerAnswer& answer) {
    if (answer.movie_cut) text->append("movie_active 1->0\n");
    if (answer.movie_started) text->append("movie_active 0->1\n");
    if (answer.f1) append_trigger(text, "SCENE TRIGGER (f1)", answer.f1_seq);
    if (answer.f2) append_trigger(text, "SCENE TRIGGER (f2)", answer.f2_seq);
    if (answer.f0_override) append_trigger(text, "SCENE TRIGGER OVERRIDE (f0)", answer.f0_seq);
    if (answer.movie_ended) text->append("movie_active 1->0\n");
}

void write_scene_logs(const Scene& scene, const std::string& directory) {
    constexpr int64_t kEpochUs = 3'000'000;  // the console's clock was running before the first frame
    FeedLog logs[kSceneFeeds]{};
    TriggerLines triggers{};
    for (int64_t tick = 0; tick < scene_end_tick(&scene); ++tick) {
        TriggerFrame frame{};
        const int64_t pts = kEpochUs + tick * 1'000'000 / kTicksPerSecond;
        for (int32_t feed = 0; feed < kSceneFeeds; ++feed) {
            const int64_t seq = tick - scene_feed_start(&scene, feed);
            if (seq < 0) continue;
            const Detection found = truth_as_detection(scene, feed, tick);
            char line[512];
            format_motion_line(line, sizeof line, feed, seq, pts, found);
            logs[feed].text.append(line).append("\n");
            passage_step(&logs[feed].passage, {2, 12, kSceneTriggerColumn},
                         {seq, pts, found.type != 0, found.x, found.y});
            if (feed == 1) frame.seq = seq;
        }
        frame.pts = pts;
        for (int32_t feed = 0; feed < kSceneFeeds; ++feed) frame.share[feed] = logs[feed].passage.share;
        append_triggers(&logs[1].text, trigger_step(&triggers, frame));
    }
    for (int32_t feed = 0; feed < kSceneFeeds; ++feed)
        write_whole_file(directory + "/motion_debug_" + std::to_string(feed) + ".log", logs[feed].text);
}
