// practice_player.exe [practice_dir]: the frame source of a practice run. Plays the three practice videos of
// settings.txt through ffmpeg.exe where both exist, otherwise renders the scene. Reads settings.txt and rig.txt in
// its working directory, feeds the live channel's rings, pauses and leaves as the console asks, and ends with the
// material.
//
// Tools that need no console:
//   --export FEED FILE.mp4 [--seconds N]   a practice video made from the scene
//   --raw FEED [--seconds N]               the same as raw I420 frames on standard output
//   --truth FILE                           what is true of the scene, as text
//   --sample-settings FILE                 a settings.txt that fits the scene
// each with [--seed N]. --all-channels makes the rings of channels 1 and 2 as well (2.4 GB each).
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "rig/common/counter_alignment.h"
#include "rig/common/feed_source.h"
#include "rig/common/ffmpeg_pipe.h"
#include "rig/common/rig_options.h"
#include "rig/practice_tools.h"

namespace {

constexpr int64_t kLongestDelay = 120;  // ticks a feed may start late so that the counters come out right
constexpr int64_t kMaxLagUs = 250'000;  // further behind, the player slows down instead of hurrying
constexpr uint32_t kPausePollMs = 100;
constexpr int32_t kDefaultSync[3] = {8167, 6015, 5032};  // where recordings without a sync offset of their own start
constexpr size_t kFullLuma = size_t{kFrameWidth} * kOutputHeight;

struct Arguments {
    const char* export_file;
    const char* truth_file;
    const char* settings_file;
    const char* practice_dir;
    int32_t feed;  // of --export and --raw
    int32_t seconds;
    int64_t seed;  // -1: as rig.txt says
    bool raw;
    bool all_channels;
};

struct Player {
    Worker worker;
    RigSettings settings;
    RigOptions options;
    Scene scene;
    int32_t feeds[3];
    int32_t feed_count;
    FeedSource source[3];  // by position in `feeds`
    CounterStart start[3];
    VideoReader video[3];
    bool from_video;
    std::vector<uint8_t> picture;  // one decoded frame
};

}  // namespace

static const char* value_after(int argc, char** argv, int* at) {
    return *at + 1 < argc ? argv[++*at] : "";
}

static Arguments read_arguments(int argc, char** argv) {
    Arguments arguments{};
    arguments.seed = -1;
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        if (strcmp(word, "--export") == 0) {
            arguments.feed = atoi(value_after(argc, argv, &i));
            arguments.export_file = value_after(argc, argv, &i);
        } else if (strcmp(word, "--raw") == 0) {
            arguments.raw = true;
            arguments.feed = atoi(value_after(argc, argv, &i));
        } else if (strcmp(word, "--seconds") == 0) {
            arguments.seconds = atoi(value_after(argc, argv, &i));
        } else if (strcmp(word, "--seed") == 0) {
            arguments.seed = strtoll(value_after(argc, argv, &i), nullptr, 10);
        } else if (strcmp(word, "--truth") == 0) {
            arguments.truth_file = value_after(argc, argv, &i);
        } else if (strcmp(word, "--sample-settings") == 0) {
            arguments.settings_file = value_after(argc, argv, &i);
        } else if (strcmp(word, "--all-channels") == 0) {
            arguments.all_channels = true;
        } else {
            arguments.practice_dir = word;
        }
    }
    arguments.feed = std::clamp(arguments.feed, 0, kFeedCount - 1);
    return arguments;
}

// All three videos or none: a mixture could not be in step.
static bool open_videos(Player* player, const char* practice_dir) {
    const std::string ffmpeg = ffmpeg_find();
    if (ffmpeg.empty()) return false;
    std::string path[3];
    int64_t first[3];
    for (int32_t i = 0; i < player->feed_count; ++i) {
        const int32_t feed = player->feeds[i];
        const std::string key = "*practice_video_path[" + std::to_string(feed) + "]";
        path[i] = rig_settings_text(&player->settings, key.c_str(), "");
        if (path[i].empty() && practice_dir != nullptr)
            path[i] = std::string(practice_dir) + "\\practice_" + std::to_string(feed) + ".mp4";
        if (path[i].empty() || !file_exists(path[i].c_str())) return false;
        const int32_t sync = rig_settings_indexed(&player->settings, "practice_video_sync_offset", feed, -1);
        first[i] = sync >= 0 ? sync : kDefaultSync[feed];
    }
    for (int32_t i = 0; i < player->feed_count; ++i) {
        worker_log(&player->worker, "feed %d plays %s from frame %lld", player->feeds[i], path[i].c_str(), first[i]);
        if (video_reader_open(&player->video[i], ffmpeg, path[i].c_str(), first[i]) != 0) {
            worker_log(&player->worker, "cannot decode %s", path[i].c_str());
            return false;
        }
    }
    player->picture.resize(kFullLuma * 3 / 2);
    return true;
}

static void open_material(Player* player, const char* practice_dir) {
    player->from_video = open_videos(player, practice_dir);
    if (player->from_video) return;
    for (int32_t i = 0; i < player->feed_count; ++i) video_reader_close(&player->video[i]);
    worker_log(&player->worker, "renders the scene, seed %llu", player->options.scene.seed);
    for (int32_t i = 0; i < player->feed_count; ++i) scene_prepare(&player->scene, player->feeds[i]);
}

static int32_t open_rings(Player* player, bool all_channels) {
    const int32_t live = worker_live_channel(&player->worker);
    uint32_t nw[3] = {};
    int32_t offset[3] = {};
    CounterStart start[3];
    for (int32_t i = 0; i < player->feed_count; ++i) {
        if (feed_source_open(&player->worker, player->feeds[i], live, &player->source[i]) != 0) return -1;
        nw[player->feeds[i]] = player->source[i].nw;
        for (int32_t channel = 0; all_channels && channel < kChannelCount; ++channel) {
            FeedSource spare;  // mapped until the process ends
            if (channel != live && feed_source_open(&player->worker, player->feeds[i], channel, &spare) != 0)
                return -1;
        }
    }
    std::copy(std::begin(player->options.scene.feed_offset), std::end(player->options.scene.feed_offset), offset);
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        bool active = false;
        for (int32_t i = 0; i < player->feed_count; ++i) active = active || player->feeds[i] == feed;
        if (!active) nw[feed] = static_cast<uint32_t>(static_cast<int32_t>(nw[kFeedCount / 2]) + offset[feed]);
    }
    align_counters(nw, offset, kLongestDelay, start);
    for (int32_t i = 0; i < player->feed_count; ++i) {
        player->start[i] = start[player->feeds[i]];
        player->source[i].nw = player->start[i].nw;
    }
    return 0;
}

// Rows first_row .. first_row + 539 of the decoded picture.
static void copy_band(const uint8_t* picture, int32_t first_row, const FeedPlanes& planes) {
    constexpr size_t kFullChroma = kFullLuma / 4;
    const size_t chroma_start = static_cast<size_t>(first_row / 2) * (kFrameWidth / 2);
    constexpr size_t kBandChroma = size_t{kFrameWidth / 2} * (kFeedHeight / 2);
    memcpy(planes.y, picture + static_cast<size_t>(first_row) * kFrameWidth, size_t{kFrameWidth} * kFeedHeight);
    memcpy(planes.u, picture + kFullLuma + chroma_start, kBandChroma);
    memcpy(planes.v, picture + kFullLuma + kFullChroma + chroma_start, kBandChroma);
}

// One feed's frame of `tick`. False when its material has ended.
static bool play_feed(Player* player, int32_t i, int64_t tick, int64_t pts_us) {
    FeedSource* source = &player->source[i];
    if (player->from_video && !video_reader_read(&player->video[i], player->picture.data(), player->picture.size()))
        return false;
    if (tick < player->start[i].delay) return true;
    const int32_t first_row = feed_source_first_row(source);
    const uint32_t display_type = player->from_video ? 0 : scene_display_type(&player->scene, tick);
    const FeedPlanes planes = feed_source_begin(source, pts_us, display_type);
    if (player->from_video)
        copy_band(player->picture.data(), first_row, planes);
    else
        scene_render(&player->scene, source->feed, tick, first_row, kFeedHeight, planes.y, planes.u, planes.v);
    feed_source_finish(source);
    return true;
}

static bool has_ended(const Player* player, int64_t tick) {
    if (player->options.end_early > 0 && tick >= player->options.end_early) return true;
    const int64_t scene_end = scene_end_tick(&player->scene);
    return !player->from_video && scene_end >= 0 && tick >= scene_end;
}

// Waits while paused, then starts the clock again. False when it is time to leave.
static bool wait_while_paused(Player* player, Pacer* pacer) {
    bool waited = false;
    while (!worker_should_exit(&player->worker)) {
        if (!worker_is_paused(&player->worker)) {
            if (waited) {
                worker_log(&player->worker, "plays");
                pacer_start(pacer, kMaxLagUs);
            }
            return true;
        }
        if (!waited) worker_log(&player->worker, "paused");
        waited = true;
        // The event is manual-reset. One set between reset and look is not missed: the flag is looked at first.
        worker_reset_event(&player->worker, kEventResume);
        if (worker_is_paused(&player->worker)) worker_wait(&player->worker, kEventResume, kPausePollMs);
    }
    return false;
}

static void play(Player* player) {
    Pacer pacer;
    pacer_start(&pacer, kMaxLagUs);
    int64_t tick = 0;
    int64_t first_pts_us = 0;
    for (; wait_while_paused(player, &pacer) && !has_ended(player, tick); ++tick) {
        if (tick == 0) first_pts_us = pacer_due_us(&pacer) - shared_load(player->worker.control->sync_epoch_us);
        // The material's own time: where this machine is too slow, or the player paused, nothing happened on the
        // hill.
        const int64_t pts_us = first_pts_us + tick * 1'000'000 / kFramesPerSecond;
        bool more = true;
        for (int32_t i = 0; i < player->feed_count && more; ++i) more = play_feed(player, i, tick, pts_us);
        if (!more) break;
        (void)pacer_wait(&pacer);
    }
    worker_log(&player->worker, "ends after %lld frames, %lld frame times late", tick, pacer.lost_frames);
}

static int32_t run_player(const Arguments& arguments, const RigOptions& options) {
    const auto player = std::make_unique<Player>();
    player->options = options;
    if (worker_start(&player->worker, "practice_player", -1) != 0) return 1;
    (void)rig_settings_load(&player->settings, "settings.txt");
    player->feed_count = rig_active_feeds(&player->settings, player->feeds);
    scene_init(&player->scene, options.scene);
    for (int32_t i = 0; i < player->feed_count; ++i)
        worker_answers_for(&player->worker, &player->worker.control->source_ready[player->feeds[i]]);
    worker_set_ready(&player->worker, kWorkerStarting);
    const bool opened = open_rings(player.get(), arguments.all_channels) == 0;
    if (opened) {
        worker_set_ready(&player->worker, kWorkerAttached);
        open_material(player.get(), arguments.practice_dir);
        worker_set_ready(&player->worker, kWorkerReady);
        play(player.get());
    }
    for (int32_t i = 0; i < player->feed_count; ++i) {
        video_reader_close(&player->video[i]);
        feed_source_close(&player->source[i]);
    }
    worker_stop(&player->worker, opened ? 0 : 1);
    return opened ? 0 : 1;
}

static int32_t write_truth(const SceneConfig& config, const char* path) {
    Scene scene;
    scene_init(&scene, config);
    return scene_write_truth(&scene, path) == 0 ? 0 : 1;
}

int main(int argc, char** argv) {
    const Arguments arguments = read_arguments(argc, argv);
    RigOptions options = rig_options_load("rig.txt");
    if (arguments.seed >= 0) options.scene.seed = static_cast<uint64_t>(arguments.seed);
    if (arguments.truth_file != nullptr) return write_truth(options.scene, arguments.truth_file);
    if (arguments.settings_file != nullptr) return scene_write_settings(arguments.settings_file) == 0 ? 0 : 1;
    if (arguments.export_file != nullptr)
        return export_video(options.scene, arguments.feed, arguments.export_file, arguments.seconds);
    if (arguments.raw) return export_raw(options.scene, arguments.feed, arguments.seconds);
    return run_player(arguments, options);
}
