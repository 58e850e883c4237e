// What reading a gigabyte of motion log costs beside wc and grep over the same file, and what memory it takes:
//   gigabyte_log FOLDER [PERCENT]
// writes FOLDER/motion_debug_1.log with a blob in PERCENT of its lines (10 unless said), reads it three times with
// each, and removes it. The file has been read before each measurement, so that none waits for the disk. Read the
// ratios, not the times.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app/log.h"
#include "autosetup/gap_measurement.h"
#include "autosetup/motion_log.h"
#include "settings/settings_values.h"

static constexpr int64_t kLogBytes = 1'000'000'000;
static constexpr int32_t kRounds = 3;

static double seconds_now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// One line per frame as a motion worker writes it.
static int format_line(char* line, size_t size, int64_t frame, bool with_blob) {
    const auto number = static_cast<long long>(frame);
    const int ts_digits = snprintf(line, size, "feed 1 seq=%lld ts=%lld type=%d blobs=%d", number, number * 16'667,
                                   with_blob ? 1 : 0, with_blob ? 2 : 0);
    const auto used = static_cast<size_t>(ts_digits);
    const int column = static_cast<int>(frame * 37 % 1920);
    const int rest =
        with_blob ? snprintf(line + used, size - used,
                             " blob0_sz=%d blob0_x=%d blob0_y=%d blob0_first_y=%d blob0_last_y=%d ycum=1,2,3,%d "
                             "ucum=4,5,6,7 vcum=8,9,10,11\n",
                             400 + column % 99, column, 260 + column % 9, 250, 280, column % 90)
                  : snprintf(line + used, size - used, " ydiff=%d udiff=%d vdiff=%d took=%d us ycum=0,0,0,%d\n",
                             column % 31, column % 17, column % 13, 2100 + column, column % 90);
    return ts_digits + rest;
}

static bool write_log(const std::string& path, int64_t percent) {
    FILE* file = fopen(path.c_str(), "wb");
    if (!file) return false;
    char line[512];
    bool good = true;
    int64_t written = 0;
    for (int64_t frame = 0; good && written < kLogBytes; ++frame) {
        const int length = format_line(line, sizeof line, frame, frame * 7 % 100 < percent);
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

int main(int argc, char** argv) {
    if (argc < 2) {
        puts("gigabyte_log FOLDER [PERCENT]");
        return 1;
    }
    const std::string path = std::string(argv[1]) + "/motion_debug_1.log";
    if (!write_log(path, argc > 2 ? strtol(argv[2], nullptr, 10) : 10)) {
        printf("cannot write %s\n", path.c_str());
        return 1;
    }
    printf("memory before reading %.1f MB\n", memory_mb("VmHWM:"));
    time_command("wc -l", "wc -l '" + path + "'");
    time_command("grep -c blob0_sz=", "grep -c blob0_sz= '" + path + "'");
    time_reader(argv[1]);
    remove(path.c_str());
    return 0;
}
