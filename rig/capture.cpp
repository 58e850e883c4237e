// capture.exe FEED [--device-path PATH]: a live camera, here a simulated one that looks at the scene without end.
// capture.exe --list: the cameras there are, one per line: number, name and device path between TABs.
//
// All cameras look at the same hill at the same moment, so the scene's time is the common clock of the rig.
// Ends with 1 when there is no such camera, and when rig.txt has its cable pulled (unplug_after).
#include <cstdlib>
#include <cstring>
#include <memory>

#include "rig/camera.h"
#include "rig/common/feed_source.h"
#include "rig/common/rig_options.h"

namespace {

constexpr int64_t kMaxLagUs = 250'000;

struct Camera {
    Worker worker;
    Scene scene;
    FeedSource source;
    int32_t number;
    int64_t unplug_after;  // frames; 0: never
};

}  // namespace

// Until it is time to leave. False when the camera has gone.
static bool film(Camera* camera) {
    Pacer pacer;
    pacer_start(&pacer, kMaxLagUs);
    for (int64_t frames = 0; !worker_should_exit(&camera->worker); ++frames) {
        if (camera->unplug_after > 0 && frames >= camera->unplug_after) {
            worker_log(&camera->worker, "camera %d was unplugged after %lld frames", camera->number, frames);
            return false;
        }
        const int64_t pts_us = worker_pts_us(&camera->worker);
        const int64_t tick = pts_us * kFramesPerSecond / 1'000'000;
        const int32_t first_row = feed_source_first_row(&camera->source);
        const FeedPlanes planes =
            feed_source_begin(&camera->source, pts_us, scene_display_type(&camera->scene, tick));
        scene_render(&camera->scene, camera->number, tick, first_row, kFeedHeight, planes.y, planes.u, planes.v);
        draw_camera_number(camera->number, kFeedHeight, planes.y, planes.u, planes.v);
        feed_source_finish(&camera->source);
        (void)pacer_wait(&pacer);
    }
    return true;
}

static int32_t run_camera(Camera* camera, int32_t feed, const char* device_path) {
    Worker* const worker = &camera->worker;
    if (device_path != nullptr) worker_log(worker, "device %s", device_path);
    camera->number = camera_of_path(device_path, feed);
    if (camera->number < 0) {
        worker_log(worker, "there is no camera with this device path; capture --list names those there are");
        return 1;
    }
    worker_answers_for(worker, &worker->control->source_ready[feed]);
    worker_set_ready(worker, kWorkerStarting);
    const RigOptions options = rig_options_load("rig.txt");
    camera->unplug_after = options.unplug_after[camera->number];
    SceneConfig config = options.scene;
    config.jumpers = 0;
    scene_init(&camera->scene, config);
    scene_prepare(&camera->scene, camera->number);
    if (feed_source_open(worker, feed, worker_live_channel(worker), &camera->source) != 0) return 1;
    worker_set_ready(worker, kWorkerReady);
    worker_log(worker, "camera %d films feed %d", camera->number, feed);
    const bool stayed = film(camera);
    feed_source_close(&camera->source);
    return stayed ? 0 : 1;
}

int main(int argc, char** argv) {
    if (argc > 1 && strcmp(argv[1], "--list") == 0) {
        fputs(camera_listing().c_str(), stdout);
        return 0;
    }
    const int32_t feed = argc > 1 ? atoi(argv[1]) : -1;
    const char* const device_path = argc > 3 && strcmp(argv[2], "--device-path") == 0 ? argv[3] : nullptr;
    if (feed < 0 || feed >= kFeedCount || (argc > 2 && device_path == nullptr)) {
        fprintf(stderr, "usage: capture FEED [--device-path PATH] | --list\n");
        return 2;
    }
    const auto camera = std::make_unique<Camera>();
    if (worker_start(&camera->worker, "capture", feed) != 0) return 1;
    const int32_t result = run_camera(camera.get(), feed, device_path);
    worker_stop(&camera->worker, result);
    return result;
}
