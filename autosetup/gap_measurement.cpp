// Feed 1's log records the scene triggers of all feeds. From a trigger of feed 1 or 2 to the override by feed 0 that
// follows in the same movie is one sample of the gap. The gap behind feed 1 comes from the feed alignment where that
// worked, since it looks at the two feeds themselves; else from the triggers, as feed 0 to 2 less feed 0 to 1.
#include "autosetup/gap_measurement.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "app/log.h"
#include "autosetup/log_lines.h"
#include "autosetup/motion_log.h"
#include "autosetup/statistics.h"
#include "autosetup/wrapping.h"
#include "procs/worker_commands.h"
#include "settings/text_numbers.h"

namespace {

constexpr size_t kLineBuffer = 512;
constexpr size_t kPathSize = 1024;
constexpr int32_t kLeastSamples = 3;
constexpr int64_t kSampleBound = 999;  // frames; a longer distance spans two movies
constexpr int32_t kLeastGap = -30;
constexpr int32_t kMostGap = 150;

constexpr char kTooFewSamples[] = "fewer than 3 samples";
constexpr char kTooFewClean[] = "fewer than 3 samples are left without the outliers";
constexpr char kOutsideBand[] = "the measured gap is outside -30 to 150 frames";

}  // namespace

static bool contains(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

// What sscanf("fire_seq=%lld") reads at the first "fire_seq=": blanks, a sign, digits. Values beyond 64 bits stop at
// the limit.
static std::optional<int64_t> fire_seq(std::string_view line) {
    constexpr std::string_view key = "fire_seq=";
    const size_t at = line.find(key);
    if (at == std::string_view::npos) return std::nullopt;
    TextCursor cursor{line.data() + at + key.size(), line.data() + line.size()};
    int64_t seq = 0;
    if (!scan_int64(&cursor, &seq)) return std::nullopt;
    return seq;
}

static bool in_band(int32_t gap) {
    return kLeastGap <= gap && gap <= kMostGap;
}

static void add_sample(int64_t frames, int32_t limit, int32_t* samples, int32_t* count) {
    if (*count < limit && -kSampleBound <= frames && frames <= kSampleBound)
        samples[(*count)++] = static_cast<int32_t>(frames);
}

static void scan_override(TriggerScan* scan, int64_t seq, GapTrace* gaps) {
    if (scan->f1 >= 0)
        add_sample(wrap_sub(seq, scan->f1), kGapSampleLimit, gaps->trigger_01, &gaps->trigger_01_count);
    if (scan->f2 >= 0)
        add_sample(wrap_sub(seq, scan->f2), kGapSampleLimit, gaps->trigger_02, &gaps->trigger_02_count);
    *scan = {};
}

void trigger_scan_line(TriggerScan* scan, std::string_view line, GapTrace* gaps) {
    if (contains(line, "movie_active 0->1")) {
        *scan = {};
    } else if (contains(line, "SCENE TRIGGER (f1)")) {
        if (const auto seq = fire_seq(line)) scan->f1 = *seq;
    } else if (contains(line, "SCENE TRIGGER (f2)")) {
        if (const auto seq = fire_seq(line)) scan->f2 = *seq;
    } else if (contains(line, "SCENE TRIGGER OVERRIDE (f0)")) {
        if (const auto seq = fire_seq(line)) scan_override(scan, *seq, gaps);
    }
}

static void keep(GapTrace* gaps, int32_t gap, const char* why) {
    gaps->kept[gap] = why;
}

static void accept(AutoSetupWorkspace* workspace, int32_t gap, int32_t frames, const RobustMedian& median,
                   GapMethod method) {
    workspace->gap_frames[gap] = frames;
    workspace->gap_valid[gap] = 1;
    workspace->gap_samples[gap] = median.clean;
    workspace->gap_mad[gap] = median.deviation;
    workspace->gaps.method[gap] = method;
    workspace->gaps.kept[gap] = nullptr;
}

static void measure_gap_0(AutoSetupWorkspace* workspace) {
    GapTrace* gaps = &workspace->gaps;
    const RobustMedian median = robust_median(gaps->trigger_01, gaps->trigger_01_count, kLeastSamples);
    if (median.outcome == kRobustTooFew) {
        keep(gaps, 0, kTooFewSamples);
        log_info("auto_setup: inter-feed gap[0] — %d samples (need >= %d) — setting preserved",
                 gaps->trigger_01_count, kLeastSamples);
    } else if (median.outcome == kRobustTooFewClean) {
        keep(gaps, 0, kTooFewClean);
        log_warn("auto_setup: inter-feed gap[0] only %d clean samples (need >= %d) — setting preserved", median.clean,
                 kLeastSamples);
    } else if (!in_band(median.median)) {
        keep(gaps, 0, kOutsideBand);
        log_warn("auto_setup: inter-feed gap[0] measured %d outside sanity band [%d, %d] — setting preserved",
                 median.median, kLeastGap, kMostGap);
    } else {
        accept(workspace, 0, median.median, median, kGapTriggers);
        log_info(
            "auto_setup: inter_feed_gap_frames[0] = %d (median of %d samples after outlier filter, "
            "initial median=%d, MAD=%d)",
            median.median, median.clean, median.initial_median, median.deviation);
    }
}

// From the last frame with the jumper in feed 1 to the first in feed 2, on one clock.
static void collect_alignment_samples(AutoSetupWorkspace* workspace) {
    const int32_t jumps = std::min({workspace->jump_count[1], workspace->jump_count[2], kJumpLimit});
    for (int32_t jump = 0; jump < jumps; ++jump) {
        const AlignRecord& record = workspace->align_12[jump];
        const JumpSpan& from = workspace->jumps[1][jump];
        const JumpSpan& to = workspace->jumps[2][jump];
        if (!record.valid || from.count < 2 || to.count < 2) continue;
        const int64_t last = workspace->blobs[1][from.start + from.count - 1].seq;
        const int64_t first = workspace->blobs[2][to.start].seq;
        add_sample(wrap_sub(wrap_sub(first, last), record.offset), kJumpLimit, workspace->gaps.alignment,
                   &workspace->gaps.alignment_count);
    }
}

static void measure_gap_1_by_alignment(AutoSetupWorkspace* workspace) {
    collect_alignment_samples(workspace);
    const GapTrace& gaps = workspace->gaps;
    log_info("auto_setup: inter-feed gap[1] alignment method — collected %d samples", gaps.alignment_count);
    const RobustMedian median = robust_median(gaps.alignment, gaps.alignment_count, kLeastSamples);
    if (median.outcome != kRobustMeasured) return;
    if (!in_band(median.median)) {
        log_warn("auto_setup: gap[1] alignment-measured %d outside sanity band [%d, %d] — trying fallback",
                 median.median, kLeastGap, kMostGap);
        return;
    }
    accept(workspace, 1, median.median, median, kGapAlignment);
    log_info(
        "auto_setup: inter_feed_gap_frames[1] = %d (alignment method, median of %d clean samples, initial median=%d, "
        "MAD=%d)",
        median.median, median.clean, median.initial_median, median.deviation);
}

static void measure_gap_1_incrementally(AutoSetupWorkspace* workspace) {
    GapTrace* gaps = &workspace->gaps;
    if (!workspace->gap_valid[0]) {
        keep(gaps, 1, "neither the alignment nor gap 0 could be used");
        log_info(
            "auto_setup: inter-feed gap[1] — skipped (gap[0] not valid; incremental calculation requires valid "
            "gap[0])");
        return;
    }
    const RobustMedian median = robust_median(gaps->trigger_02, gaps->trigger_02_count, kLeastSamples);
    if (median.outcome == kRobustTooFew) {
        keep(gaps, 1, kTooFewSamples);
        log_info("auto_setup: inter-feed gap[1] — %d samples (need >= %d) — setting preserved",
                 gaps->trigger_02_count, kLeastSamples);
        return;
    }
    if (median.outcome == kRobustTooFewClean) {
        keep(gaps, 1, kTooFewClean);
        log_warn("auto_setup: inter-feed gap[1] only %d clean samples (need >= %d) — setting preserved", median.clean,
                 kLeastSamples);
        return;
    }
    const int32_t gap = median.median - workspace->gap_frames[0];
    if (!in_band(gap)) {
        keep(gaps, 1, kOutsideBand);
        log_warn("auto_setup: inter-feed gap[1] incremental %d outside sanity band [%d, %d] — setting preserved", gap,
                 kLeastGap, kMostGap);
        return;
    }
    accept(workspace, 1, gap, median, kGapIncremental);
    log_info(
        "auto_setup: inter_feed_gap_frames[1] = %d (incremental; f0->f2 median=%d minus gap[0]=%d, %d clean samples, "
        "MAD=%d)",
        gap, median.median, workspace->gap_frames[0], median.clean, median.deviation);
}

static void clear_results(AutoSetupWorkspace* workspace) {
    for (int32_t gap = 0; gap < 2; ++gap) {
        workspace->gap_frames[gap] = 0;
        workspace->gap_valid[gap] = 0;
        workspace->gap_samples[gap] = 0;
        workspace->gap_mad[gap] = 0;
    }
    workspace->gaps = {};
}

// -1 when feed 1 has no log.
static int32_t collect_trigger_samples(AutoSetupWorkspace* workspace) {
    char path[kPathSize];
    motion_log_path(workspace, 1, path, sizeof path);
    LogLines lines;
    if (log_lines_open(&lines, path) != 0) return -1;
    TriggerScan scan;
    std::string_view line;
    while (log_lines_next(&lines, kLineBuffer, &line)) trigger_scan_line(&scan, line, &workspace->gaps);
    log_lines_close(&lines);
    return 0;
}

int32_t auto_setup_measure_inter_feed_gaps(AutoSetupWorkspace* workspace) {
    clear_results(workspace);
    GapTrace* gaps = &workspace->gaps;
    if (!feed_is_active(workspace->feed_count, 0)) {
        for (const char*& kept : gaps->kept) kept = "feed 0, which changes the scene, is not in use";
        log_info(
            "auto_setup_measure_inter_feed_gaps: no-feed-0 mode — inter-feed gap measurement skipped (scene change "
            "machinery requires feed 0)");
        return 0;
    }
    if (collect_trigger_samples(workspace) != 0) {
        for (const char*& kept : gaps->kept) kept = "feed 1's motion log is missing";
        log_warn("auto_setup: motion_debug_1.log not found — inter-feed gap measurement skipped");
        return -1;
    }
    log_info("auto_setup: inter-feed gap measurement — collected %d f0/f1 samples and %d f0/f2 samples",
             gaps->trigger_01_count, gaps->trigger_02_count);
    measure_gap_0(workspace);
    measure_gap_1_by_alignment(workspace);
    if (!workspace->gap_valid[1]) measure_gap_1_incrementally(workspace);
    return 0;
}
