#include "rig/practice_tools.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <vector>

#include "rig/common/ffmpeg_pipe.h"

static constexpr int32_t kEndlessSeconds = 60;  // an export of an endless scene has to stop somewhere

static int32_t write_frames(const SceneConfig& config, int32_t feed, int32_t seconds, FILE* out) {
    Scene scene;
    scene_init(&scene, config);
    scene_prepare(&scene, feed);
    const int64_t end = scene_end_tick(&scene);
    const int64_t frames = seconds > 0 ? int64_t{seconds} * 60 : end >= 0 ? end : int64_t{kEndlessSeconds} * 60;
    constexpr size_t kLuma = size_t{kSceneWidth} * kSceneHeight;
    std::vector<uint8_t> frame(kLuma * 3 / 2);
    for (int64_t tick = 0; tick < frames; ++tick) {
        scene_render(&scene, feed, tick, 0, kSceneHeight, frame.data(), frame.data() + kLuma,
                     frame.data() + kLuma * 5 / 4);
        if (fwrite(frame.data(), 1, frame.size(), out) != frame.size()) return 1;
    }
    return 0;
}

int32_t export_video(const SceneConfig& config, int32_t feed, const char* video, int32_t seconds) {
    const std::string ffmpeg = ffmpeg_find();
    FILE* pipe = ffmpeg.empty() ? nullptr : ffmpeg_open_writer(ffmpeg, video);
    if (pipe == nullptr) {
        fprintf(stderr, "practice_player: no ffmpeg.exe beside the program or on the PATH\n");
        return 1;
    }
    const int32_t failed = write_frames(config, feed, seconds, pipe);
    const int32_t result = ffmpeg_close_writer(pipe);
    if (failed != 0 || result != 0) fprintf(stderr, "practice_player: ffmpeg could not write %s\n", video);
    return failed != 0 || result != 0 ? 1 : 0;
}

int32_t export_raw(const SceneConfig& config, int32_t feed, int32_t seconds) {
    _setmode(_fileno(stdout), _O_BINARY);
    return write_frames(config, feed, seconds, stdout);
}
