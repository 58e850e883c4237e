#include "autosetup/aggregation.h"

#include <algorithm>

#include "app/log.h"
#include "autosetup/statistics.h"
#include "procs/worker_commands.h"

static constexpr int32_t kMostFrames = 520;  // what a frame ring holds
static constexpr int32_t kLeastFrames = 30;  // of a feed's part and of a movie
static constexpr int32_t kFewRecords = 4;    // a feed that saw no more hardly saw the jump
static constexpr int32_t kDefaultCrossing = 100;
static constexpr int32_t kDefaultBefore = 16;
static constexpr int32_t kDefaultType1 = 200;
static constexpr int32_t kDefaultType2 = 80;
static constexpr int32_t kDefaultTrigger = 960;

int32_t usual_span(int32_t* spans, int32_t count) {
    if (count < 1) return 0;
    std::sort(spans, spans + count);
    return spans[count / 2];
}

JumpTrace judge_jump(const JumpView& view, int32_t jump, int32_t usual_2, const TriggerColumns& columns) {
    const JumpRecords& f2 = view.feed[2];
    if (is_present(f2) && usual_2 >= 1 && seq_span(f2) < usual_2 / 2)
        return {kJumpOutlier, kRuleShortFeed2, 2, seq_span(f2)};
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        const int32_t count = view.feed[feed].count;
        if (count >= 1 && count <= kFewRecords) return {kJumpOutlier, kRuleFewRecords, feed, count};
    }
    // Columns stand in the order in which jumps gave them; once a jump gave none, the later ones are looked up under
    // the numbers of their neighbours.
    if (jump < columns.count && columns.column[jump] > kTriggerColumnLimit)
        return {kJumpOutlier, kRuleTriggerColumn, -1, columns.column[jump]};
    return {kJumpAccepted, kRuleNone, -1, 0};
}

static int32_t usual_span_in_feed_2(const AutoSetupWorkspace* workspace, const Calculation* calculation) {
    int32_t spans[kJumpLimit];
    int32_t count = 0;
    for (int32_t j = 0; j < calculation->jumps; ++j) {
        if (calculation->jump[j].invalid) continue;
        const JumpRecords f2 = jump_view(workspace, j).feed[2];
        if (is_present(f2)) spans[count++] = static_cast<int32_t>(seq_span(f2));
    }
    return usual_span(spans, count);
}

void filter_outliers(AutoSetupWorkspace* workspace, Calculation* calculation) {
    const int32_t usual_2 = usual_span_in_feed_2(workspace, calculation);
    int32_t kept = 0;
    for (int32_t j = 0; j < calculation->jumps; ++j) {
        CalculatedJump& jump = calculation->jump[j];
        jump.outlier = jump.invalid;
        if (jump.invalid) continue;
        JumpTrace& trace = workspace->calculation.jump[j];
        trace = judge_jump(jump_view(workspace, j), j, usual_2, calculation->columns);
        jump.outlier = trace.verdict == kJumpOutlier;
        if (jump.outlier) {
            log_info("jump %d: OUTLIER (filtered from aggregation)", j);
            ++workspace->calculation.outliers;
        } else {
            ++kept;
        }
    }
    log_info("outlier filter: %d/%d jumps kept", kept, calculation->jumps);
    if (kept > 0) return;
    log_info("outlier filter: all jumps filtered — keeping all");
    workspace->calculation.outliers_kept = true;
    for (int32_t j = 0; j < calculation->jumps; ++j) calculation->jump[j].outlier = false;
}

static int32_t bounded(int64_t value, int32_t least) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, least, kMostFrames));
}

static int32_t with_margin(int64_t value, int32_t least) {
    return bounded(value + value / 10, least);
}

static RunningMean mean_of_positive(const int32_t* values, int32_t count) {
    RunningMean mean = {};
    for (int32_t i = 0; i < count; ++i) {
        if (values[i] <= 0) continue;
        mean.sum += values[i];
        ++mean.count;
    }
    return mean;
}

int32_t aggregate_crossing(const int32_t* values, int32_t count) {
    const RunningMean mean = mean_of_positive(values, count);
    return mean.count > 0 ? with_margin(running_mean(mean, 0), kLeastFrames) : kDefaultCrossing;
}

int32_t aggregate_before(int32_t* values, int32_t count) {
    if (count < 1) return kDefaultBefore;
    std::sort(values, values + count);
    return with_margin(integer_median(values, count), kPadFrames);
}

int32_t aggregate_after(int32_t* values, int32_t count) {
    if (count < 1) return kPadFrames;
    std::sort(values, values + count);
    return bounded(values[9 * count / 10], kPadFrames);
}

static int32_t smallest_less_margin(const SmallestSample& samples) {
    return bounded(samples.value - samples.value / 10, kLeastFrames);
}

int32_t aggregate_type1(const SmallestSample& samples) {
    return samples.count > 0 ? smallest_less_margin(samples) : kDefaultType1;
}

int32_t aggregate_type2(const int32_t* crossing_2, int32_t count, const SmallestSample& samples) {
    const RunningMean mean = mean_of_positive(crossing_2, count);
    if (mean.count > 0) return with_margin(running_mean(mean, 0), kLeastFrames);
    return samples.count > 0 ? smallest_less_margin(samples) : kDefaultType2;
}

SceneTrigger aggregate_trigger(const MetreTrigger& trigger, const TriggerColumns& columns) {
    if (trigger.column != kNoColumn) return {trigger.column, "meter-based"};
    RunningMean mean = {};
    for (int32_t i = 0; i < columns.count; ++i) {
        if (columns.column[i] >= kTriggerColumnLimit) continue;
        mean.sum += columns.column[i];
        ++mean.count;
    }
    if (mean.count == 0) return {kDefaultTrigger, "fallback"};
    return {running_mean(mean, kDefaultTrigger), "blob-based"};
}

namespace {
// One feed's values of the jumps that count.
struct FeedValues {
    int32_t crossing[kJumpLimit], before[kJumpLimit], after[kJumpLimit];
    int32_t count;
};
}  // namespace

static FeedValues collect_values(const Calculation* calculation, int32_t feed) {
    FeedValues values = {};
    for (int32_t j = 0; j < calculation->jumps; ++j) {
        const CalculatedJump& jump = calculation->jump[j];
        if (jump.invalid || jump.outlier) continue;
        values.crossing[values.count] = jump.timing.feed_frames[feed];
        values.before[values.count] = jump.timing.before[feed];
        values.after[values.count] = jump.timing.after[feed];
        ++values.count;
    }
    return values;
}

// What no feed measures, because none stands before the first or after the last one, are the operator's paddings.
static void put_paddings(AutoSetupWorkspace* workspace) {
    int32_t(&before)[kAnalysisFeeds] = workspace->result_frames_before;
    int32_t(&after)[kAnalysisFeeds] = workspace->result_frames_after;
    if (!feed_is_active(workspace->feed_count, 2)) {
        before[0] = before[2] = after[0] = after[2] = kPadFrames;
        before[1] = workspace->movie_padding_before_frames;
        after[1] = workspace->movie_padding_after_frames;
    } else if (!feed_is_active(workspace->feed_count, 0)) {
        before[1] = std::min(workspace->movie_padding_before_frames, kMostFrames);
        after[2] = std::min(workspace->movie_padding_after_frames, kMostFrames);
    }
}

static void log_results(const AutoSetupWorkspace* workspace, const Calculation* calculation, const char* source) {
    const int32_t* video = workspace->result_feed_video_frames;
    const int32_t* before = workspace->result_frames_before;
    const int32_t* after = workspace->result_frames_after;
    log_info("aggregated: feed_video_frames=%d/%d/%d", video[0], video[1], video[2]);
    log_info("aggregated: frames_before=%d/%d/%d (max across non-outlier jumps)", before[0], before[1], before[2]);
    log_info("aggregated: frames_after=%d/%d/%d (90th percentile)", after[0], after[1], after[2]);
    log_info("aggregated: scene_trigger_x=%d (%s, %.1fm, type2_ref_x=%d)", workspace->result_scene_trigger_x, source,
             static_cast<double>(calculation->trigger.metres), calculation->trigger.type2_column);
    log_info("aggregated: min_type1_frames=%d (%d samples), min_type2_frames=%d", workspace->result_min_type1_frames,
             calculation->type1.count, workspace->result_min_type2_frames);
}

void aggregate_jumps(AutoSetupWorkspace* workspace, const Calculation* calculation) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        FeedValues values = collect_values(calculation, feed);
        workspace->result_feed_video_frames[feed] = aggregate_crossing(values.crossing, values.count);
        workspace->result_frames_before[feed] = aggregate_before(values.before, values.count);
        workspace->result_frames_after[feed] = aggregate_after(values.after, values.count);
    }
    put_paddings(workspace);
    const SceneTrigger scene = aggregate_trigger(calculation->trigger, calculation->columns);
    workspace->result_scene_trigger_x = scene.column;
    workspace->result_min_type1_frames = aggregate_type1(calculation->type1);
    const FeedValues in_2 = collect_values(calculation, 2);
    workspace->result_min_type2_frames = aggregate_type2(in_2.crossing, in_2.count, calculation->type2);
    log_results(workspace, calculation, scene.source);
}
