// What a gigabyte of motion log costs beside wc and grep over the same file, and what memory it takes:
//   gigabyte_log FOLDER [PERCENT]
// writes feed 1's log of a gigabyte with a blob in PERCENT of its lines (10 unless said) into FOLDER and short ones
// of the other feeds, reads the large one three times with each, takes all through a whole analysis, and removes
// them. The file has been read before each measurement, so that none waits for the disk. Read the ratios, not the
// times.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "autosetup/analyze.h"
#include "autosetup/gap_measurement.h"
#include "autosetup/motion_log.h"
#include "settings/settings_values.h"

static constexpr int64_t kLogBytes = 1'000'000'000;
static constexpr int64_t kOtherLogBytes = 4'000'000;
static constexpr int32_t kRounds = 3;

static double seconds_now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// One line per frame as a motion worker writes it: a jumper every 300 frames, who takes PERCENT of them from the left
// edge to the right, first in feed 0.
static int format_line(char* line, size_t size, int32_t feed, int64_t frame, int32_t percent) {
    const auto number = static_cast<long long>(frame);
    const auto seen = static_cast<int>((frame - int64_t{20} * feed) % 300);
    const bool with_blob = seen < 3 * percent;
    const int head = snprintf(line, size, "feed %d seq=%lld ts=%lld type=%d blobs=%d", static_cast<int>(feed), number,
                              number * 16'667, with_blob ? 1 : 0, with_blob ? 2 : 0);
    const auto used = static_cast<size_t>(head);
    const auto noise = static_cast<int>(frame * 37 % 1920);
    if (!with_blob) {
        return head + snprintf(line + used, size - used, " ydiff=%d udiff=%d vdiff=%d took=%d us ycum=0,0,0,%d\n",
                               noise % 31, noise % 17, noise % 13, 2100 + noise, noise % 90);
    }
    const int column = seen * 1920 / (3 * static_cast<int>(percent));
    return head + snprintf(line + used, size - used,
                           " blob0_sz=%d blob0_x=%d blob0_y=%d blob0_first_y=%d blob0_last_y=%d ycum=1,2,3,%d "
                           "ucum=4,5,6,7 vcum=8,9,10,11\n",
                           400 + noise % 99, column, 260 + noise % 9, 250, 280, noise % 90);
}

static std::string log_path(const char* folder, int32_t feed) {
    return std::string(folder) + "/motion_debug_" + std::to_string(feed) + ".log";
}

static bool write_log(const char* folder, int32_t feed, int64_t bytes, int32_t percent) {
    FILE* file = fopen(log_path(folder, feed).c_str(), "wb");
    if (!file) return false;
    char line[512];
    bool good = true;
    int64_t written = 0;
    for (int64_t frame = 1000; good && written < bytes; ++frame) {
        const int length = format_line(line, sizeof line, feed, frame, percent);
        good = fwrite(line, 1, static_cast<size_t>(length), file) == static_cast<size_t>(length);
        written += length;
    }
    return fclose(file) == 0 && good;
}

// VmRSS, VmHWM: in MB, -1 where the system does not tell.
static double memory_mb(const char* key) {
    FILE* file = fopen("/proc/self/status", "r");
    if (!file) return -1;
    char line[256];
    double result = -1;
    while (result < 0 && fgets(line, sizeof line, file))
        if (strncmp(line, key, strlen(key)) == 0) result = strtod(line + strlen(key), nullptr) * 1024 / 1e6;
    fclose(file);
    return result;
}

static void report(const char* what, double seconds, const std::string& remark) {
    printf("%-28s %7.0f MB/s  %s\n", what, static_cast<double>(kLogBytes) / 1e6 / seconds, remark.c_str());
}

// Through a pipe: grep stops at the first match when it sees that nobody reads.
static void time_command(const char* what, const std::string& command) {
    double best = 1e9;
    for (int32_t round = 0; round < kRounds; ++round) {
        const double start = seconds_now();
        if (system((command + " | cat >/dev/null").c_str()) != 0) printf("%s failed\n", what);
        best = std::min(best, seconds_now() - start);
    }
    report(what, best, "");
}

static void time_reader(const char* folder) {
    Settings settings;
    settings_init_defaults(&settings);
    double best_parse = 1e9;
    double best_gaps = 1e9;
    int32_t count = 0;
    for (int32_t round = 0; round < kRounds; ++round) {
        AutoSetupWorkspace* workspace = workspace_create(&settings);
        if (!workspace) return;
        workspace->feed_count = 3;
        workspace->log_dir = folder;
        const double start = seconds_now();
        auto_setup_parse_logs(workspace, &settings);
        const double parsed = seconds_now();
        auto_setup_measure_inter_feed_gaps(workspace);
        best_parse = std::min(best_parse, parsed - start);
        best_gaps = std::min(best_gaps, seconds_now() - parsed);
        count = workspace->blob_count[1];
        workspace_destroy(workspace);
    }
    report("auto_setup_parse_logs", best_parse, std::to_string(count) + " records");
    report("inter-feed gaps, same log", best_gaps, "");
    printf("records %.1f MB of %zu bytes each, peak memory %.1f MB\n",
           static_cast<double>(count) * sizeof(MotionBlob) / 1e6, sizeof(MotionBlob), memory_mb("VmHWM:"));
}

// Grid lines with which the analysis goes through all its steps.
static void set_grid(Settings* settings) {
    for (int32_t feed = 0; feed < 3; ++feed) {
        settings->meter_line_count[feed] = 2;
        settings->meter_line_start[feed] = 60 + 20 * feed;
        settings->meter_line_increment[feed] = 30;
        settings->far_lines[feed][0] = settings->near_lines[feed][0] = {{}, 1, 1};
        settings->far_lines[feed][1] = settings->near_lines[feed][1] = {{}, 1900, 1};
    }
}

static void time_analysis(const char* folder) {
    Settings settings;
    settings_init_defaults(&settings);
    set_grid(&settings);
    AutoSetupWorkspace* workspace = workspace_create(&settings);
    if (!workspace) return;
    workspace->feed_count = 3;
    workspace->log_dir = folder;
    const double start = seconds_now();
    const AnalysisEnd end = auto_setup_conclude(workspace, &settings, false);
    report("the whole analysis", seconds_now() - start,
           "result " + std::to_string(end.result) + ", " + std::to_string(workspace->pixel_frames.contributing) +
               " jumpers in the tables");
    printf("peak memory of it all %.1f MB\n", memory_mb("VmHWM:"));
    workspace_destroy(workspace);
}

int main(int argc, char** argv) {
    if (argc < 2) {
        puts("gigabyte_log FOLDER [PERCENT]");
        return 1;
    }
    const char* const folder = argv[1];
    const auto percent = static_cast<int32_t>(argc > 2 ? strtol(argv[2], nullptr, 10) : 10);
    if (!write_log(folder, 0, kOtherLogBytes, percent) || !write_log(folder, 1, kLogBytes, percent) ||
        !write_log(folder, 2, kOtherLogBytes, percent)) {
        printf("cannot write below %s\n", folder);
        return 1;
    }
    const std::string large = "'" + log_path(folder, 1) + "'";
    printf("memory before reading %.1f MB\n", memory_mb("VmHWM:"));
    time_command("wc -l", "wc -l " + large);
    time_command("grep -c blob0_sz=", "grep -c blob0_sz= " + large);
    time_reader(folder);
    time_analysis(folder);
    for (int32_t feed = 0; feed < 3; ++feed) remove(log_path(folder, feed).c_str());
    return 0;
}
