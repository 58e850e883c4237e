// What a motion log of 200 MB costs with a blob in 10, 40 and 100 percent of its lines:
//   ours    the parser
//   plain   the same records the straightforward way: fgets, strstr, atoi
//   memchr  only finding the line ends, the least that reading line by line can cost
//   grep    grep -c blob0_sz= as a program of its own, its start included
// The logs lie beside the program while it runs, since that is a disk where a temporary folder may be memory, which
// is slower to read than cached files; they have been read before anything is timed. Times are processor times of
// this process and of grep, so that a neighbour's work counts as little as possible. Read the ratios of one run.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "autosetup/motion_log.h"
#include "bench/motion_log_text.h"
#include "settings/settings_values.h"

namespace {

constexpr int64_t kLogBytes = 200'000'000;
constexpr int32_t kFeed = 1;
constexpr int32_t kPercents[] = {10, 40, 100};

struct RecordsDeleter {
    void operator()(MotionBlob* records) const {
        free(records);
    }
};

struct PlainLog {
    std::unique_ptr<MotionBlob, RecordsDeleter> records;
    int32_t count, capacity;
    int32_t y_min, y_max, first_y_min, last_y_max, size_max, ycum_max, ucum_max, vcum_max;
};

// A folder for each share of lines, gone with the program.
struct LogFolder {
    std::string path;

    LogFolder() {
        path = std::filesystem::read_symlink("/proc/self/exe").string() + "_XXXXXX";
        if (!mkdtemp(path.data())) abort();
    }
    ~LogFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;

    std::string of(int32_t percent) const {
        return path + "/" + std::to_string(percent);
    }
    std::string log(int32_t percent) const {
        return of(percent) + "/motion_debug_" + std::to_string(kFeed) + ".log";
    }
};

}  // namespace

// ------------------------------------------------------------------------------------------------------- the log

static bool write_log(const LogFolder& folder, int32_t percent) {
    std::error_code error;
    std::filesystem::create_directory(folder.of(percent), error);
    return write_motion_log(folder.log(percent), kFeed, kLogBytes, percent);
}

// --------------------------------------------------------------------------------------------------- the yardsticks

static void plain_cumulated(const char* line, const char* key, int32_t* maximum) {
    const char* at = strstr(line, key);
    if (!at) return;
    at += strlen(key);
    int32_t fourth = 0;
    for (int i = 0; i < 4; ++i) {
        if (i > 0 && *at++ != ',') return;
        char* end = nullptr;
        fourth = static_cast<int32_t>(strtol(at, &end, 10));
        if (end == at) return;
        at = end;
    }
    *maximum = std::max(*maximum, fourth);
}

static bool plain_blob(const char* line, int32_t min_size, MotionBlob* blob) {
    const char* const size = strstr(line, "blob0_sz=");
    if (!size) return false;
    if (const char* type = strstr(line, " type=")) {
        if (atoi(type + 6) == 0) return false;
    } else if (const char* blobs = strstr(line, " blobs=")) {
        if (atoi(blobs + 7) < 1) return false;
    }
    if (atoi(size + 9) < min_size) return false;
    const char* const x = strstr(line, "blob0_x=");
    if (!x) return false;
    const char* const y = strstr(line, "blob0_y=");
    const char* const first_y = strstr(line, "blob0_first_y=");
    const char* const last_y = strstr(line, "blob0_last_y=");
    const char* const seq = strstr(line, "seq=");
    const char* const feed = strstr(line, "feed ");
    if (!seq || !feed || atoi(feed + 5) != kFeed) return false;
    const char* const ts = strstr(line, " ts=");
    blob->size = static_cast<uint32_t>(atoi(size + 9));
    blob->x = atoi(x + 8);
    blob->y = y ? atoi(y + 8) : 0;
    blob->first_y = first_y ? atoi(first_y + 14) : blob->y;
    blob->last_y = last_y ? atoi(last_y + 13) : blob->y;
    blob->seq = atoll(seq + 4);
    blob->ts = ts ? atoll(ts + 4) : 0;
    return true;
}

static bool plain_append(PlainLog* log, const MotionBlob& blob) {
    if (log->count == log->capacity) {
        log->capacity = std::max(1024, log->capacity * 2);
        void* const memory = realloc(log->records.release(), static_cast<size_t>(log->capacity) * sizeof(MotionBlob));
        log->records.reset(static_cast<MotionBlob*>(memory));
        if (!memory) return false;
    }
    log->records.get()[log->count++] = blob;
    return true;
}

static PlainLog plain_parse(const char* path, int32_t min_size) {
    PlainLog log = {};
    log.y_min = log.first_y_min = 1080;
    FILE* file = fopen(path, "r");
    if (!file) return log;
    char line[1024];
    while (fgets(line, sizeof line, file)) {
        MotionBlob blob = {};
        if (!plain_blob(line, min_size, &blob)) continue;
        if (!plain_append(&log, blob)) break;
        log.y_min = std::min(log.y_min, blob.y);
        log.y_max = std::max(log.y_max, blob.y);
        log.first_y_min = std::min(log.first_y_min, blob.first_y);
        log.last_y_max = std::max(log.last_y_max, blob.last_y);
        log.size_max = std::max(log.size_max, static_cast<int32_t>(blob.size));
        plain_cumulated(line, "ycum=", &log.ycum_max);
        plain_cumulated(line, "ucum=", &log.ucum_max);
        plain_cumulated(line, "vcum=", &log.vcum_max);
    }
    fclose(file);
    return log;
}

// Reads the log in blocks, as every reader must, and does nothing but ask memchr for each line's end.
static int64_t count_line_ends(const char* path) {
    static char block[size_t{64} * 1024];
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    int64_t lines = 0;
    for (ssize_t got = 0; (got = read(file, block, sizeof block)) > 0;) {
        const char* const end = block + got;
        const char* at = block;
        while ((at = static_cast<const char*>(memchr(at, '\n', static_cast<size_t>(end - at))))) {
            ++lines;
            ++at;
        }
    }
    close(file);
    return lines;
}

static int64_t grep_count(const char* path) {
    // Through a pipe: grep stops at the first match when it sees that nobody reads.
    FILE* pipe = popen(("exec grep -c blob0_sz= '" + std::string(path) + "'").c_str(), "r");
    long long count = -1;
    if (!pipe || fscanf(pipe, "%lld", &count) != 1) count = -1;
    if (pipe) pclose(pipe);
    return count;
}

// ------------------------------------------------------------------------------------------------------- the timing

static double processor_seconds() {
    double sum = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage used = {};
        getrusage(who, &used);
        sum += static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
               static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) * 1e-6;
    }
    return sum;
}

template <class Work>
static auto timed(benchmark::State& state, Work work) {
    const double start = processor_seconds();
    auto result = work();
    state.SetIterationTime(processor_seconds() - start);
    return result;
}

// The most memory this process has had since the last call, in MB.
static double peak_memory_mb() {
    double peak = -1;
    if (FILE* file = fopen("/proc/self/status", "r")) {
        char line[256];
        while (peak < 0 && fgets(line, sizeof line, file))
            if (strncmp(line, "VmHWM:", 6) == 0) peak = strtod(line + 6, nullptr) * 1024 / 1e6;
        fclose(file);
    }
    if (FILE* file = fopen("/proc/self/clear_refs", "w")) {
        fputs("5", file);
        fclose(file);
    }
    return peak;
}

static bool same_records(const AutoSetupWorkspace& ours, const PlainLog& plain) {
    const auto same = [](const MotionBlob& a, const MotionBlob& b) {
        return a.size == b.size && a.x == b.x && a.y == b.y && a.first_y == b.first_y && a.last_y == b.last_y &&
               a.seq == b.seq && a.ts == b.ts;
    };
    const MotionBlob* const records = plain.records.get();
    return ours.blob_count[kFeed] == plain.count &&
           std::equal(records, records + plain.count, ours.blobs[kFeed], same) &&
           ours.centroid_y_min[kFeed] == plain.y_min && ours.centroid_y_max[kFeed] == plain.y_max &&
           ours.bbox_y_min[kFeed] == plain.first_y_min && ours.bbox_y_max[kFeed] == plain.last_y_max &&
           ours.blob_size_max[kFeed] == plain.size_max && ours.ycum_max[kFeed] == plain.ycum_max &&
           ours.ucum_max[kFeed] == plain.ucum_max && ours.vcum_max[kFeed] == plain.vcum_max;
}

struct WorkspaceHolder {
    Settings settings;
    AutoSetupWorkspace* workspace;

    explicit WorkspaceHolder(const std::string& folder) {
        settings_init_defaults(&settings);
        workspace = workspace_create(&settings);
        if (!workspace) abort();
        workspace->log_dir = folder.c_str();
    }
    ~WorkspaceHolder() {
        workspace_destroy(workspace);
    }
    WorkspaceHolder(const WorkspaceHolder&) = delete;
    WorkspaceHolder& operator=(const WorkspaceHolder&) = delete;
};

static void run_ours(benchmark::State& state, const LogFolder& folder, int32_t percent) {
    const std::string dir = folder.of(percent);
    for (auto _ : state) {
        const WorkspaceHolder holder(dir);
        peak_memory_mb();
        timed(state, [&] { return auto_setup_parse_logs(holder.workspace, &holder.settings); });
        state.counters["peak_mb"] = peak_memory_mb();
        state.counters["records"] = holder.workspace->blob_count[kFeed];
    }
}

static void run_plain(benchmark::State& state, const LogFolder& folder, int32_t percent) {
    const std::string path = folder.log(percent);
    const std::string dir = folder.of(percent);
    const WorkspaceHolder holder(dir);
    for (auto _ : state) {
        const PlainLog log =
            timed(state, [&] { return plain_parse(path.c_str(), holder.settings.min_blob_sizes[0]); });
        state.counters["records"] = log.count;
    }
}

static void run_memchr(benchmark::State& state, const LogFolder& folder, int32_t percent) {
    const std::string path = folder.log(percent);
    for (auto _ : state)
        state.counters["lines"] = static_cast<double>(timed(state, [&] { return count_line_ends(path.c_str()); }));
}

static void run_grep(benchmark::State& state, const LogFolder& folder, int32_t percent) {
    const std::string path = folder.log(percent);
    for (auto _ : state)
        state.counters["lines"] = static_cast<double>(timed(state, [&] { return grep_count(path.c_str()); }));
}

// Whoever reads other records is not worth timing.
static bool agree(const LogFolder& folder, int32_t percent) {
    const std::string dir = folder.of(percent);
    const WorkspaceHolder holder(dir);
    const std::string path = folder.log(percent);
    const PlainLog plain = plain_parse(path.c_str(), holder.settings.min_blob_sizes[0]);
    return auto_setup_parse_logs(holder.workspace, &holder.settings) == 0 && same_records(*holder.workspace, plain) &&
           grep_count(path.c_str()) == plain.count;
}

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const LogFolder folder;
    using Run = void (*)(benchmark::State&, const LogFolder&, int32_t);
    constexpr struct {
        const char* name;
        Run run;
    } kRuns[] = {{"ours", run_ours}, {"plain", run_plain}, {"memchr", run_memchr}, {"grep", run_grep}};
    for (const int32_t percent : kPercents) {
        if (!write_log(folder, percent) || !agree(folder, percent)) {
            fprintf(stderr, "motion_log_bench: the log of %d percent is not read as it should be\n", percent);
            return 1;
        }
        for (const auto& entry : kRuns) {
            const std::string name = "motion_log_" + std::to_string(percent) + "/" + entry.name;
            benchmark::RegisterBenchmark(name.c_str(), [&folder, percent, run = entry.run](
                                                           benchmark::State& state) { run(state, folder, percent); })
                ->UseManualTime()
                ->Iterations(1)
                ->Unit(benchmark::kMillisecond);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
