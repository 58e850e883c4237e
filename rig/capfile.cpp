// capfile.exe FEED: the recorder of a feed. It follows the live ring of the feed and writes what comes into
// cap_FEED_<date>_<time>.mp4, in the folder that settings.txt of the working directory names, or in CapturedVideos.
// capfile_paused stops and resumes it: into the same file with the pause cut out, or with
// capfile_stitch_across_pause=0 into a new file. capfile_shutdown makes it write what the ring still holds, finish
// the file and leave; the console ends it after 8 seconds, so it leaves the rest of a backlog behind when the time
// gets short.
//
// No file is made before there is a picture to write. Without ffmpeg.exe the recording is a .y4m file.
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "rig/common/ffmpeg_pipe.h"
#include "rig/common/rig_options.h"
#include "rig/feed_ring.h"
#include "rig/recording.h"
#include "rig/settings_reload.h"
#include "rig/video_writer.h"

namespace {

constexpr uint32_t kPollMs = 10;
constexpr int64_t kBacklogUs = 6'000'000;  // after the request to leave, for what the ring still holds
constexpr uint32_t kFinishMs = 1'500;      // after that, for ffmpeg
constexpr int32_t kMostFailures = 3;       // files that could not be written, until it gives up
constexpr int64_t kSafetyFrames = 4;       // so near to being overwritten a frame is not begun to be read
constexpr size_t kPictureSize = picture_bytes(kFeedHeight);

struct Recorder {
    Worker worker;
    RigOptions options;
    RecordingSettings settings;
    std::string ffmpeg;
    FeedRing ring;
    RecordingPlan plan;
    FramePlacer placer;
    VideoWriter writer;
    std::string path;              // of the file being written
    std::vector<uint8_t> picture;  // the last one written
    std::vector<uint8_t> incoming;
    int32_t channel;
    int64_t written;  // the ring's write counter when last seen
    bool paused, leaving;
    int64_t give_up_us;  // when leaving: the end of the time for the backlog
    int64_t frames, repeats, dropped, files;
    int32_t failures;
};

}  // namespace

static int64_t readable(const Recorder* recorder) {
    return recorder->written > 0 ? recorder->written - 1 : 0;
}

// Not by `shutdown`: that stays set after Stop All, and a recording may begin thereafter.
static bool is_asked_to_leave(Recorder* recorder) {
    Worker* worker = &recorder->worker;
    if (worker_time_is_over(worker)) return true;
    return !recorder->options.capfile_ignores_shutdown &&
           shared_load(worker->control->capfile_shutdown[worker->feed]) != 0;
}

// Takes notice of what the console wishes and of how far the ring has come. False when it is time to drop everything.
static bool observe(void* context) {
    auto* recorder = static_cast<Recorder*>(context);
    Worker* worker = &recorder->worker;
    const int32_t channel = worker_live_channel(worker);
    const int64_t written = worker_read_nw(worker, worker->feed, channel);
    if (channel != recorder->channel || written < recorder->written) plan_forget(&recorder->plan);
    recorder->channel = channel;
    recorder->written = written;
    if (!recorder->leaving && is_asked_to_leave(recorder)) {
        recorder->leaving = true;
        recorder->give_up_us = worker_now_us() + kBacklogUs;
        worker_log(worker, "asked to leave");
    }
    const bool paused = shared_load(worker->control->capfile_paused[worker->feed]) != 0;
    if (paused != recorder->paused) worker_log(worker, "%s at frame %lld", paused ? "paused" : "resumed", written);
    recorder->paused = paused;
    plan_observe(&recorder->plan, !paused && !recorder->leaving, readable(recorder));
    return !recorder->leaving || worker_now_us() < recorder->give_up_us;
}

static void make_folder(const std::string& folder) {
    for (size_t at = folder.find_first_of("\\/", 3); at != std::string::npos;
         at = folder.find_first_of("\\/", at + 1))
        CreateDirectoryA(folder.substr(0, at).c_str(), nullptr);
    CreateDirectoryA(folder.c_str(), nullptr);
}

static int32_t open_file(Recorder* recorder) {
    Worker* worker = &recorder->worker;
    const char* ending = recorder->ffmpeg.empty() ? ".y4m" : ".mp4";
    SYSTEMTIME now;
    GetLocalTime(&now);
    const LocalMoment moment{now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
    make_folder(recorder->settings.folder);
    int32_t attempt = 1;
    do {
        recorder->path = recording_path(recorder->settings.folder, worker->feed, moment, attempt++, ending);
    } while (file_exists(recorder->path.c_str()));
    recorder->placer = placer_begin_file();
    const int32_t result = recorder->ffmpeg.empty()
                               ? video_writer_open_y4m(&recorder->writer, recorder->path)
                               : video_writer_open_ffmpeg(&recorder->writer, recorder->ffmpeg, recorder->path,
                                                          recorder->settings.quality);
    if (result != 0) {
        worker_log(worker, "cannot write %s", recorder->path.c_str());
        ++recorder->failures;
        return -1;
    }
    ++recorder->files;
    worker_log(worker, "records into %s", recorder->path.c_str());
    return 0;
}

static void close_file(Recorder* recorder) {
    if (!video_writer_is_open(&recorder->writer)) return;
    static constexpr const char* kOutcome[] = {"finished", "could not be finished", "is left to ffmpeg to finish"};
    const int32_t result = video_writer_close(&recorder->writer, kFinishMs);
    if (result == 1) ++recorder->failures;
    worker_log(&recorder->worker, "%s %s, %lld pictures", recorder->path.c_str(), kOutcome[result],
               recorder->placer.next);
}

static bool write_picture(Recorder* recorder, const std::vector<uint8_t>& picture) {
    if (video_writer_write(&recorder->writer, picture.data())) return true;
    if (!recorder->leaving) {
        ++recorder->failures;
        worker_log(&recorder->worker, "%s takes no more pictures", recorder->path.c_str());
    }
    close_file(recorder);
    return false;
}

// Copies the frame out of the ring, so that the source may overwrite it. False when it has done so already, or when
// the slot was never written: a source that starts in a new ring may begin with a higher number.
static bool fetch(Recorder* recorder, int64_t frame, int64_t* pts_us) {
    const FrameSlotHeader* slot = feed_ring_slot(&recorder->ring, static_cast<uint32_t>(frame));
    *pts_us = shared_load(slot->pts);
    if (frame > 0 && *pts_us == 0 && shared_load(slot->seq) == 0) return false;
    memcpy(recorder->incoming.data(), feed_slot_y(slot), kPictureSize);
    const int64_t written = worker_read_nw(&recorder->worker, recorder->ring.feed, recorder->ring.channel);
    if (written - frame < static_cast<int64_t>(kRingSlots)) return true;
    ++recorder->plan.lost;
    return false;
}

static void record_frame(Recorder* recorder, int64_t frame) {
    int64_t pts_us = 0;
    if (!fetch(recorder, frame, &pts_us)) return;
    if (!video_writer_is_open(&recorder->writer) && open_file(recorder) != 0) return;
    const FramePlace place = placer_place(&recorder->placer, pts_us);
    if (place.dropped) {
        ++recorder->dropped;
        return;
    }
    for (int64_t i = 0; i < place.repeats; ++i)
        if (!write_picture(recorder, recorder->picture)) return;
    recorder->repeats += place.repeats;
    if (!write_picture(recorder, recorder->incoming)) return;
    recorder->picture.swap(recorder->incoming);
    ++recorder->frames;
    if (recorder->options.capfile_dies_after > 0 && recorder->frames >= recorder->options.capfile_dies_after) {
        worker_log(&recorder->worker, "dies after %lld frames, as rig.txt says", recorder->frames);
        TerminateProcess(GetCurrentProcess(), 3);
    }
}

static void end_stretch(Recorder* recorder) {
    if (recorder->settings.stitch)
        placer_cut(&recorder->placer);
    else
        close_file(recorder);
}

static void report_losses(Recorder* recorder, int64_t* reported) {
    if (recorder->plan.lost == *reported) return;
    worker_log(&recorder->worker, "overrun: %lld frames lost, %lld altogether", recorder->plan.lost - *reported,
               recorder->plan.lost);
    *reported = recorder->plan.lost;
}

static void record(Recorder* recorder) {
    int64_t reported = 0;
    (void)observe(recorder);
    worker_log(&recorder->worker, "ready to record, %s", recorder->paused ? "paused" : "from now on");
    while (observe(recorder) && recorder->failures < kMostFailures) {
        const bool mapped = feed_ring_follow(&recorder->worker, &recorder->ring, nullptr);
        const int64_t oldest = recorder->written - static_cast<int64_t>(kRingSlots) + kSafetyFrames;
        int64_t frame = 0;
        const PlanStep step =
            mapped ? plan_next(&recorder->plan, readable(recorder), oldest, &frame) : PlanStep::kWait;
        report_losses(recorder, &reported);
        if (step == PlanStep::kFrame) record_frame(recorder, frame);
        if (step == PlanStep::kStretchOver) end_stretch(recorder);
        if (step == PlanStep::kWait && recorder->leaving) break;
        if (step == PlanStep::kWait) worker_sleep_ms(kPollMs);
    }
    for (const RecordingStretch& stretch : recorder->plan.stretches)
        if (stretch.end > stretch.next) recorder->plan.lost += stretch.end - stretch.next;
    report_losses(recorder, &reported);
    close_file(recorder);
    worker_log(&recorder->worker, "finished: %lld files, %lld frames, %lld repeated, %lld dropped, %lld lost",
               recorder->files, recorder->frames, recorder->repeats, recorder->dropped, recorder->plan.lost);
}

int main(int argc, char** argv) {
    const int32_t feed = argc > 1 ? atoi(argv[1]) : -1;
    if (feed < 0 || feed >= kFeedCount) {
        fprintf(stderr, "usage: capfile FEED\n");
        return 2;
    }
    const auto recorder = std::make_unique<Recorder>();
    if (worker_start(&recorder->worker, "capfile", feed) != 0) return 1;
    RigSettings settings;
    if (settings_reload(&settings, "settings.txt") != 0) worker_log(&recorder->worker, "no settings.txt: defaults");
    recorder->settings = recording_settings_from(&settings);
    recorder->options = rig_options_load("rig.txt");
    recorder->ffmpeg = ffmpeg_find();
    recorder->ring = feed_ring_make(feed);
    recorder->writer = video_writer_make(observe, recorder.get());
    recorder->picture.resize(kPictureSize);
    recorder->incoming.resize(kPictureSize);
    if (recorder->ffmpeg.empty()) worker_log(&recorder->worker, "no ffmpeg.exe: records uncompressed, as .y4m");
    record(recorder.get());
    const int32_t code = recorder->failures > 0 ? 1 : 0;
    feed_ring_close(&recorder->ring);
    worker_stop(&recorder->worker, code);
    return code;
}
