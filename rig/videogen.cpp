// videogen.exe SETTINGS_PATH: the simulated movie builder. It watches the motion workers, builds a movie of every
// jump and of every Force Video request into the output region that is not shown, publishes it by turning the regions
// over, and plays it. Nothing is encoded or uploaded.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ipc/jumper_region.h"
#include "rig/common/rig_settings.h"
#include "rig/common/worker_runtime.h"
#include "rig/feed_ring.h"
#include "rig/jump_machine.h"
#include "rig/movie_builder.h"
#include "rig/output_header.h"
#include "rig/settings_reload.h"

namespace {

constexpr uint32_t kPollMs = 6;
constexpr int32_t kReferenceFeed = 1;
constexpr int32_t kDetectionDelay = 5;  // frames until the motion workers are sure of a jumper
constexpr int32_t kTimesShown = 3;      // then the movie stops at its last frame
constexpr char kPracticePlayer[] = "practice_player.exe";

struct MoviePlayer {
    int64_t frames;      // 0: nothing to show
    int64_t elapsed_us;  // of playing
    int64_t last_us;     // when that was measured
    int32_t shown;
};

struct Videogen {
    Worker worker;
    const char* settings_path;
    uint32_t settings_generation;
    JumpLimits limits;
    FeedRing rings[kFeedCount];
    WorkerRegion outputs[kOutputRegionCount];
    JumpMachine jump;
    MovieBuilder builder;
    MoviePlayer player;
    int32_t jumps;
};

}  // namespace

static void load_settings(Videogen* videogen) {
    RigSettings file;
    videogen->settings_generation = shared_load(videogen->worker.control->settings_generation);
    if (settings_reload(&file, videogen->settings_path) != 0)
        worker_log(&videogen->worker, "cannot read %s, using defaults", videogen->settings_path);
    const bool one_feed = rig_settings_int(&file, "feed_count", 3) == 1;
    const char* before = one_feed ? "movie_padding_before_frames" : "pre_movie_padding_frames";
    const char* after = one_feed ? "movie_padding_after_frames" : "post_movie_padding_frames";
    videogen->limits.last_feed = one_feed ? 1 : 2;
    videogen->limits.frames_before = std::max(0, rig_settings_int(&file, before, 10)) + kDetectionDelay;
    videogen->limits.frames_after = std::max(0, rig_settings_int(&file, after, 10));
}

// The worker processes are registered in the pid slots, so whether this is practice can be seen there.
static bool is_practice(Worker* worker) {
    for (int32_t k = 0; k < kPidSlotCount; ++k) {
        worker_lock(worker, kMutexPidSlot + k);
        const uint32_t pid = shared_load(worker->control->pid_slot[k]);
        worker_unlock(worker, kMutexPidSlot + k);
        if (pid == 0 || pid == kPidSlotEmpty) continue;
        HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, pid);
        if (process == nullptr) continue;
        char path[MAX_PATH] = "";
        DWORD length = sizeof path;
        const BOOL got = QueryFullProcessImageNameA(process, 0, path, &length);
        CloseHandle(process);
        const char* name = strrchr(path, '\\');
        if (got && _stricmp(name != nullptr ? name + 1 : path, kPracticePlayer) == 0) return true;
    }
    return false;
}

// In practice nobody loads a start list: every jump adds a jumper, and the console can count them.
static void append_jumper(Videogen* videogen) {
    ++videogen->jumps;
    Worker* worker = &videogen->worker;
    if (!is_practice(worker)) return;
    WorkerRegion region;
    if (worker_open_region(kJumperRegionName, &region) != 0) return;
    auto* jumpers = reinterpret_cast<JumperRegion*>(region.view);
    worker_lock(worker, kMutexJumpers);
    const int32_t count = shared_load(jumpers->count);
    if (count >= 0 && count < kJumperCapacity) {
        int32_t bib = 0;
        for (int32_t i = 0; i < count; ++i) bib = std::max(bib, jumpers->records[i].bib);
        JumperRecord& record = jumpers->records[count];
        record = JumperRecord{};
        record.bib = bib + 1;
        snprintf(record.name, sizeof record.name, "PRACTICE %d", videogen->jumps);
        shared_store(jumpers->count, count + 1);
    }
    worker_unlock(worker, kMutexJumpers);
    worker_log(worker, "jump %d: jumper %d added", videogen->jumps, count);
    worker_close_region(&region);
}

static void set_output_frame(Worker* worker, int32_t frame) {
    worker_lock(worker, kMutexOutputFrame);
    shared_store(worker->control->output_frame_idx, frame);
    worker_unlock(worker, kMutexOutputFrame);
    worker_signal(worker, kEventNewOutput);
}

static void answer_force(Worker* worker, int64_t serial) {
    worker_lock(worker, kMutexForceResult);
    shared_store(worker->control->force_result, serial);
    worker_unlock(worker, kMutexForceResult);
    shared_store(worker->control->force_state, 0u);
}

// Turns the regions over: what was written is shown from now on.
static void publish(Videogen* videogen) {
    Worker* worker = &videogen->worker;
    MovieBuilder& builder = videogen->builder;
    builder.building = false;
    const int64_t frames = builder_frames(&builder);
    if (frames < 1) {
        if (builder.forced) answer_force(worker, 0);
        worker_log(worker, "movie dropped: no frames");
        return;
    }
    ControlBlock* control = worker->control;
    const int64_t serial = shared_load(control->movie_serial) + 1;
    auto* header = reinterpret_cast<OutputHeader*>(videogen->outputs[builder.output].view);
    *header = {
        static_cast<uint32_t>(frames), builder.forced ? 1u : 0u, serial, builder.first_seq, builder.last_seq, {}};
    set_output_frame(worker, 0);
    worker_lock(worker, kMutexOutput);
    shared_store(control->output_active, 1 - builder.output);
    worker_unlock(worker, kMutexOutput);
    shared_store(control->movie_serial, serial);
    shared_store(control->movie_published_count, shared_load(control->movie_published_count) + 1);
    worker_signal(worker, kEventNewOutput);
    videogen->player = {frames, 0, worker_now_us(), 0};
    if (builder.forced) answer_force(worker, serial);
    worker_log(worker, "movie %lld published: %lld frames, seq %lld..%lld, output %u%s",
               static_cast<long long>(serial), static_cast<long long>(frames),
               static_cast<long long>(builder.first_seq), static_cast<long long>(builder.last_seq), builder.output,
               builder.forced ? ", forced" : "");
}

static void watch_jump(Videogen* videogen, uint32_t written) {
    if (written < 2) return;
    Worker* worker = &videogen->worker;
    bool active[kFeedCount];
    worker_lock(worker, kMutexOutput);
    for (int32_t feed = 0; feed < kFeedCount; ++feed)
        active[feed] = shared_load(worker->control->motion_active[feed]) != 0;
    worker_unlock(worker, kMutexOutput);
    const JumpAnswer answer = jump_step(&videogen->jump, videogen->limits, written - 2, active);
    MovieBuilder& builder = videogen->builder;
    const bool ours = builder.building && !builder.forced;
    if (answer.event == JumpEvent::started && !builder.building)
        builder_start(&builder, worker, videogen->rings, answer.start, -1, false);
    if (answer.event == JumpEvent::abandoned && ours) builder.building = false;
    if (answer.event == JumpEvent::finished) {
        if (ours) builder.end = answer.end;
        append_jumper(videogen);
    }
}

static void take_force_request(Videogen* videogen, uint32_t written) {
    Worker* worker = &videogen->worker;
    ControlBlock* control = worker->control;
    if (shared_load(control->force_request) == 0 || written < 2) return;
    worker_lock(worker, kMutexForceStart);
    const int64_t start_seq = shared_load(control->force_start_seq);
    worker_unlock(worker, kMutexForceStart);
    worker_lock(worker, kMutexForceEnd);
    const int64_t end_seq = shared_load(control->force_end_seq);
    worker_unlock(worker, kMutexForceEnd);
    shared_store(control->force_request, 0u);
    const int32_t channel = worker_live_channel(worker);
    worker_lock(worker, kMutexOutput);
    shared_store(control->force_ack[channel], 1u);
    worker_unlock(worker, kMutexOutput);
    shared_store(control->force_state, 1u);

    const int64_t newest = written - 2;
    const int64_t newest_seq = shared_load(feed_ring_slot(&videogen->rings[kReferenceFeed], written - 2)->seq);
    const int64_t index_of_seq_0 = newest - newest_seq;
    const int64_t end = std::max<int64_t>(0, index_of_seq_0 + end_seq);
    builder_start(&videogen->builder, worker, videogen->rings, index_of_seq_0 + start_seq, end, true);
    worker_log(worker, "force video: seq %lld..%lld, newest %lld", static_cast<long long>(start_seq),
               static_cast<long long>(end_seq), static_cast<long long>(newest_seq));
}

static void play(Videogen* videogen) {
    MoviePlayer& player = videogen->player;
    if (player.frames == 0) return;
    Worker* worker = &videogen->worker;
    const int64_t now_us = worker_now_us();
    if (!worker_is_paused(worker)) player.elapsed_us += now_us - player.last_us;
    player.last_us = now_us;
    const int64_t position = player.elapsed_us * kFramesPerSecond / 1'000'000;
    const bool over = position >= player.frames * kTimesShown;
    const auto frame = static_cast<int32_t>(over ? player.frames - 1 : position % player.frames);
    if (frame == player.shown) return;
    player.shown = frame;
    set_output_frame(worker, frame);
}

// A new run of the console starts with no movie on show.
static void follow_run_reset(Videogen* videogen) {
    worker_lock(&videogen->worker, kMutexOutputFrame);
    const int32_t frame = shared_load(videogen->worker.control->output_frame_idx);
    worker_unlock(&videogen->worker, kMutexOutputFrame);
    if (frame < 0) videogen->player.frames = 0;
}

static void step(Videogen* videogen) {
    Worker* worker = &videogen->worker;
    if (shared_load(worker->control->settings_generation) != videogen->settings_generation) load_settings(videogen);
    follow_run_reset(videogen);
    play(videogen);
    FeedRing& reference = videogen->rings[kReferenceFeed];
    if (!feed_ring_follow(worker, &reference, nullptr)) return;
    const uint32_t written = feed_ring_written(worker, &reference);
    take_force_request(videogen, written);
    watch_jump(videogen, written);
    MovieBuilder& builder = videogen->builder;
    if (!builder.building) return;
    const bool complete = builder_step(&builder, worker, videogen->rings, videogen->outputs);
    if (builder.forced) shared_store(worker->control->force_frame, static_cast<int32_t>(builder_frames(&builder)));
    if (complete) publish(videogen);
}

static bool create_outputs(Videogen* videogen) {
    for (int32_t output = 0; output < kOutputRegionCount; ++output) {
        char name[32];
        output_region_name(name, output);
        if (worker_create_region(&videogen->worker, name, kOutputRegionSize, &videogen->outputs[output]) != 0)
            return false;
    }
    return true;
}

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: videogen SETTINGS_PATH\n");
        return 2;
    }
    Videogen videogen{};
    Worker* worker = &videogen.worker;
    if (worker_start(worker, "videogen", -1) != 0) return 1;
    videogen.settings_path = argv[1];
    for (int32_t feed = 0; feed < kFeedCount; ++feed) videogen.rings[feed] = feed_ring_make(feed);
    worker_answers_for(worker, &worker->control->videogen_state);
    worker_set_ready(worker, kWorkerStarting);
    load_settings(&videogen);
    if (!create_outputs(&videogen)) {
        worker_stop(worker, 1);
        return 1;
    }
    worker_set_ready(worker, kWorkerReady);
    while (!worker_should_exit(worker)) {
        step(&videogen);
        worker_wait(worker, kEventForceRequest, kPollMs);
    }
    for (FeedRing& ring : videogen.rings) feed_ring_close(&ring);
    for (WorkerRegion& output : videogen.outputs) worker_close_region(&output);
    worker_stop(worker, 0);
    return 0;
}
