// capfile.exe FEED: the recorder of a feed. It follows the feed's ring, counts what it would record, and obeys
// capfile_paused and capfile_shutdown. It writes no video yet.
#include <cstdlib>

#include "rig/common/worker_runtime.h"

static constexpr uint32_t kPollMs = 50;

static void record(Worker* worker, int32_t feed) {
    ControlBlock* control = worker->control;
    const int32_t channel = worker_live_channel(worker);
    uint32_t seen = worker_read_nw(worker, feed, channel);
    int64_t frames = 0;
    bool was_paused = false;
    while (!worker_should_exit(worker) && shared_load(control->capfile_shutdown[feed]) == 0) {
        const bool paused = shared_load(control->capfile_paused[feed]) != 0;
        if (paused != was_paused) worker_log(worker, "%s after %lld frames", paused ? "paused" : "resumed", frames);
        was_paused = paused;
        const uint32_t nw = worker_read_nw(worker, feed, channel);
        if (!paused) frames += static_cast<int32_t>(nw - seen) > 0 ? nw - seen : 0;
        seen = nw;
        worker_sleep_ms(kPollMs);
    }
    worker_log(worker, "finished, %lld frames", frames);
}

int main(int argc, char** argv) {
    const int32_t feed = argc > 1 ? atoi(argv[1]) : -1;
    if (feed < 0 || feed >= kFeedCount) {
        fprintf(stderr, "usage: capfile FEED\n");
        return 2;
    }
    Worker worker;
    if (worker_start(&worker, "capfile", feed) != 0) return 1;
    record(&worker, feed);
    worker_stop(&worker, 0);
    return 0;
}
