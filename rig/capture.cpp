// capture.exe FEED [--device-path PATH]: a live camera, here a simulated one that looks at the scene without end.
// capture.exe --list: the cameras there are, one per line: number, name and device path between TABs.
//
// All cameras look at the same hill at the same moment, so the scene's time is the common clock of the rig.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "rig/common/feed_source.h"
#include "rig/common/rig_options.h"

namespace {

constexpr int64_t kMaxLagUs = 250'000;
constexpr char kCameras[3][2][72] = {
    {"Simulated camera, top of the hill", "\\\\?\\usb#vid_0000&pid_0001#sim-top#{simulated}\\global"},
    {"Simulated camera, middle of the hill", "\\\\?\\usb#vid_0000&pid_0002#sim-middle#{simulated}\\global"},
    {"Simulated camera, bottom of the hill", "\\\\?\\usb#vid_0000&pid_0003#sim-bottom#{simulated}\\global"},
};

struct Camera {
    Worker worker;
    Scene scene;
    FeedSource source;
};

}  // namespace

static void list_cameras() {
    printf("# number\tname\tdevice path\n");
    for (int32_t i = 0; i < 3; ++i) printf("%d\t%s\t%s\n", i, kCameras[i][0], kCameras[i][1]);
}

static void film(Camera* camera, int32_t feed) {
    Pacer pacer;
    pacer_start(&pacer, kMaxLagUs);
    while (!worker_should_exit(&camera->worker)) {
        const int64_t pts_us = worker_pts_us(&camera->worker);
        const int64_t tick = pts_us * kFramesPerSecond / 1'000'000;
        const int32_t first_row = feed_source_first_row(&camera->source);
        const FeedPlanes planes =
            feed_source_begin(&camera->source, pts_us, scene_display_type(&camera->scene, tick));
        scene_render(&camera->scene, feed, tick, first_row, kFeedHeight, planes.y, planes.u, planes.v);
        feed_source_finish(&camera->source);
        (void)pacer_wait(&pacer);
    }
}

int main(int argc, char** argv) {
    if (argc > 1 && strcmp(argv[1], "--list") == 0) {
        list_cameras();
        return 0;
    }
    const int32_t feed = argc > 1 ? atoi(argv[1]) : -1;
    if (feed < 0 || feed >= kFeedCount) {
        fprintf(stderr, "usage: capture FEED [--device-path PATH] | --list\n");
        return 2;
    }
    const auto camera = std::make_unique<Camera>();
    if (worker_start(&camera->worker, "capture", feed) != 0) return 1;
    if (argc > 3 && strcmp(argv[2], "--device-path") == 0) worker_log(&camera->worker, "device %s", argv[3]);
    worker_answers_for(&camera->worker, &camera->worker.control->source_ready[feed]);
    worker_set_ready(&camera->worker, kWorkerStarting);
    SceneConfig config = rig_options_load("rig.txt").scene;
    config.jumpers = 0;
    scene_init(&camera->scene, config);
    scene_prepare(&camera->scene, feed);
    const int32_t channel = worker_live_channel(&camera->worker);
    const bool opened = feed_source_open(&camera->worker, feed, channel, &camera->source) == 0;
    if (opened) {
        worker_set_ready(&camera->worker, kWorkerReady);
        film(camera.get(), feed);
        feed_source_close(&camera->source);
    }
    worker_stop(&camera->worker, opened ? 0 : 1);
    return opened ? 0 : 1;
}
