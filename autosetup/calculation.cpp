#include "autosetup/calculation.h"

#include <algorithm>

#include "app/log.h"
#include "autosetup/aggregation.h"
#include "autosetup/motion_region.h"
#include "procs/worker_commands.h"

static constexpr int32_t kShortestSpan = 10;  // frames; what is shorter or longer is no jump
static constexpr int32_t kLongestSpan = 520;
static constexpr int32_t kUsualCrossing0 = 130;  // frames, before any jump told

static int32_t complete_jumps(const AutoSetupWorkspace* workspace) {
    const int32_t* count = workspace->jump_count;
    if (!feed_is_active(workspace->feed_count, 2)) return count[1];
    const int32_t jumps = std::min(count[1], count[2]);
    // A feed 0 that saw nothing at all does not stop the others from being measured.
    if (feed_is_active(workspace->feed_count, 0) && count[0] >= 1) return std::min(jumps, count[0]);
    return jumps;
}

static void put_defaults(AutoSetupWorkspace* workspace) {
    const bool has_feed_2 = feed_is_active(workspace->feed_count, 2);
    if (has_feed_2) {
        log_error("auto_setup_calculate: feeds 1 and 2 have no complete jumps");
    } else {
        log_error("auto_setup_calculate: feed 1 has no complete jumps");
    }
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        workspace->result_feed_video_frames[feed] = 100;
        workspace->result_frames_before[feed] = kPadFrames;
        workspace->result_frames_after[feed] = kPadFrames;
    }
    if (!has_feed_2) {
        workspace->result_frames_before[1] = workspace->movie_padding_before_frames;
        workspace->result_frames_after[1] = workspace->movie_padding_after_frames;
    }
    workspace->result_scene_trigger_x = 960;
    workspace->result_min_type1_frames = 200;
    workspace->result_min_type2_frames = 80;
}

static bool has_valid_spans(const JumpView& view, int32_t jump, JumpTrace* trace) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        const JumpRecords& records = view.feed[feed];
        if (!is_present(records)) continue;
        const int64_t span = seq_span(records);
        if (span >= kShortestSpan && span <= kLongestSpan) continue;
        *trace = {kJumpInvalid, kRuleSpan, feed, span};
        log_info(
            "jump %d: INVALID (feed %d span=%lld, first_seq=%lld last_seq=%lld) — excluded from all aggregations",
            jump, feed, static_cast<long long>(span), static_cast<long long>(first_record(records).seq),
            static_cast<long long>(last_record(records).seq));
        return false;
    }
    return true;
}

// -1 after an error line when most jumps are invalid.
static int32_t reject_invalid(AutoSetupWorkspace* workspace, Calculation* calculation) {
    CalculationTrace& trace = workspace->calculation;
    for (int32_t j = 0; j < calculation->jumps; ++j) {
        calculation->jump[j].invalid = !has_valid_spans(jump_view(workspace, j), j, &trace.jump[j]);
        if (calculation->jump[j].invalid) ++trace.invalid;
    }
    if (2 * trace.invalid > calculation->jumps) {
        log_error(
            "auto_setup_calculate: too many invalid jumps — %d/%d invalid, need better practice data. "
            "Settings will NOT be written.",
            trace.invalid, calculation->jumps);
        return -1;
    }
    log_info("auto_setup_calculate: %d/%d jumps invalid (hard-rejected)", trace.invalid, calculation->jumps);
    return 0;
}

static void measure_jump(const AutoSetupWorkspace* workspace, Calculation* calculation, int32_t j,
                         RunningMean* crossing_0) {
    const JumpView view = jump_view(workspace, j);
    const bool has_feed_0 = feed_is_active(workspace->feed_count, 0);
    JumpTiming& timing = calculation->jump[j].timing;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) timing.feed_frames[feed] = crossing_frames(view.feed[feed]);
    if (timing.feed_frames[0] > 0) {
        crossing_0->sum += timing.feed_frames[0];
        ++crossing_0->count;
    }
    if (feed_is_active(workspace->feed_count, 2)) {
        frames_before(view, running_mean(*crossing_0, kUsualCrossing0), timing.before);
        frames_after(view, timing.after);
    } else {
        timing.before[1] = workspace->movie_padding_before_frames;
        timing.after[1] = workspace->movie_padding_after_frames;
    }
    if (!has_feed_0) return;
    if (calculation->trigger.column == kNoColumn) add_jump_trigger(&calculation->columns, view, j);
    if (is_present(view.feed[0])) add_sample(&calculation->type1, type1_sample(view, calculation->trigger));
    if (is_present(view.feed[2]))
        add_sample(&calculation->type2, type2_sample(view, calculation->trigger, timing.feed_frames[2], j));
}

static void log_jump(const JumpView& view, const JumpTiming& timing, int32_t jump) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        const JumpRecords& records = view.feed[feed];
        if (!is_present(records)) continue;
        const MotionBlob& first = first_record(records);
        const MotionBlob& last = last_record(records);
        log_info("jump %d feed %d: blobs=%d seq=%lld..%lld x=%d..%d span=%d", jump, feed, records.count,
                 static_cast<long long>(first.seq), static_cast<long long>(last.seq), first.x, last.x,
                 static_cast<int32_t>(seq_span(records)));
    }
    const int32_t *frames = timing.feed_frames, *before = timing.before, *after = timing.after;
    log_info("jump %d: feed_frames=%d/%d/%d, before=%d/%d/%d, after=%d/%d/%d", jump, frames[0], frames[1], frames[2],
             before[0], before[1], before[2], after[0], after[1], after[2]);
}

static int32_t calculate_timing(AutoSetupWorkspace* workspace, int32_t jumps) {
    Calculation calculation = {};
    calculation.jumps = jumps;
    calculation.trigger = find_metre_trigger(workspace);
    if (reject_invalid(workspace, &calculation) != 0) return -1;
    RunningMean crossing_0 = {};
    for (int32_t j = 0; j < jumps; ++j)
        if (!calculation.jump[j].invalid) measure_jump(workspace, &calculation, j, &crossing_0);
    for (int32_t j = 0; j < jumps; ++j)
        if (!calculation.jump[j].invalid) log_jump(jump_view(workspace, j), calculation.jump[j].timing, j);
    filter_outliers(workspace, &calculation);
    aggregate_jumps(workspace, &calculation);
    return 0;
}

int32_t auto_setup_calculate(AutoSetupWorkspace* workspace, const Settings* settings) {
    const int32_t* count = workspace->jump_count;
    log_info("auto_setup_calculate: jump_count[0]=%d, [1]=%d, [2]=%d", count[0], count[1], count[2]);
    const int32_t jumps = complete_jumps(workspace);
    workspace->calculation = {};
    workspace->calculation.jumps = std::max(jumps, 0);
    for (JumpTrace& trace : workspace->calculation.jump) trace.feed = -1;

    if (jumps <= 0) {
        put_defaults(workspace);
    } else if (calculate_timing(workspace, jumps) != 0) {
        return -1;
    }
    auto_setup_motion_regions(workspace, settings);
    auto_setup_noise_caps(workspace);
    return 0;
}
