#include "autosetup/scene_trigger.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "app/log.h"
#include "autosetup/wrapping.h"
#include "procs/worker_commands.h"

static constexpr float kTriggerTolerance = 5.0f;  // metres
static constexpr float kBridgeTolerance = 3.0f;
static constexpr int32_t kLastColumn = kPixelColumns - 1;
static constexpr int32_t kFeed2OnlyEstimate = 1632;  // 85% of the picture width

MetreColumn closest_metre_column(const float* table, float metres) {
    // Grid lines on top of each other leave NaN or infinity in a table: those compare as never closer.
    MetreColumn best = {kNoColumn, std::numeric_limits<float>::infinity()};
    for (int32_t x = 0; x < kPixelColumns; ++x) {
        const float difference = std::fabs(table[x] - metres);
        if (difference < best.difference) best = {x, difference};
    }
    return best;
}

namespace {
struct MetreRange {
    float lo, hi;
};
}  // namespace

static MetreRange picture_range(const float* table) {
    return {std::min(table[0], table[kLastColumn]), std::max(table[0], table[kLastColumn])};
}

static double shown(float value) {
    return static_cast<double>(value);
}

static void find_type2_bridge(const AutoSetupWorkspace* workspace, MetreTrigger* trigger) {
    const MetreRange f1 = picture_range(workspace->meters_at_x[1]);
    const MetreRange f2 = picture_range(workspace->meters_at_x[2]);
    const float lo = std::max(f1.lo, f2.lo), hi = std::min(f1.hi, f2.hi);
    if (!(hi > lo)) {
        log_info("type2 bridge: no f1/f2 meter overlap (f1=%.1f..%.1f, f2=%.1f..%.1f)", shown(f1.lo), shown(f1.hi),
                 shown(f2.lo), shown(f2.hi));
        return;
    }
    const MetreColumn in_1 = closest_metre_column(workspace->meters_at_x[1], lo);
    const MetreColumn in_2 = closest_metre_column(workspace->meters_at_x[2], lo);
    // A column that does not exist is infinitely far away.
    if (!(in_1.difference < kBridgeTolerance) || !(in_2.difference < kBridgeTolerance)) {
        log_info("type2 bridge: f1/f2 overlap=%.1f..%.1fm but lookup failed (f1_diff=%.1f, f2_diff=%.1f)", shown(lo),
                 shown(hi), shown(in_1.difference), shown(in_2.difference));
        return;
    }
    trigger->bridge_column = in_1.column;
    trigger->type2_column = in_2.column;
    log_info(
        "type2 bridge: f1/f2 common meter=%.1fm, f1 x=%d (diff=%.2fm), f2 x=%d (diff=%.2fm), overlap=%.1f..%.1fm",
        shown(lo), in_1.column, shown(in_1.difference), in_2.column, shown(in_2.difference), shown(lo), shown(hi));
}

MetreTrigger find_metre_trigger(const AutoSetupWorkspace* workspace) {
    MetreTrigger trigger = {kNoColumn, 0.0f, kNoColumn, kNoColumn};
    if (!feed_is_active(workspace->feed_count, 0)) return trigger;
    if (!workspace->grid_valid[0] || !workspace->grid_valid[1]) return trigger;

    const float metres = workspace->meters_at_x[0][kTriggerReferenceColumn];
    const MetreColumn in_1 = closest_metre_column(workspace->meters_at_x[1], metres);
    if (!(in_1.difference < kTriggerTolerance)) {
        log_info("scene trigger: meter-based failed (f0 x=%d = %.1fm, best f1 diff=%.1fm)", kTriggerReferenceColumn,
                 shown(metres), shown(in_1.difference));
        return trigger;
    }
    trigger.column = in_1.column;
    trigger.metres = metres;
    log_info("scene trigger: meter-based, f0 x=%d = %.1fm, f1 x=%d (diff=%.2fm)", kTriggerReferenceColumn,
             shown(metres), in_1.column, shown(in_1.difference));
    if (workspace->grid_valid[2]) find_type2_bridge(workspace, &trigger);
    return trigger;
}

static const char* alignment_word(const AlignRecord& record) {
    return record.valid != 0 && record.pairs > 0 ? "meter" : "temporal";
}

static void append_column(TriggerColumns* columns, int32_t column) {
    if (columns->count < kJumpLimit) columns->column[columns->count++] = column;
}

static void add_trigger_from_feed_0(TriggerColumns* columns, const JumpView& view, int32_t jump) {
    const MotionBlob& in_0 = closest_to_column(view.feed[0], kTriggerReferenceColumn);
    if (!is_present(view.feed[1])) {
        log_info("jump %d scene trigger: f0 x=%d at 90%%, no f1 data to map", jump, in_0.x);
        return;
    }
    const int64_t seq = wrap_add(in_0.seq, known_offset(view.align_01));
    const MotionBlob& in_1 = closest_to_seq(view.feed[1], seq);
    const int64_t apart = in_1.seq > seq ? wrap_sub(in_1.seq, seq) : wrap_sub(seq, in_1.seq);
    append_column(columns, in_1.x);
    log_info("jump %d scene trigger (f0->f1): f0 x=%d (90%%=%d), f1 x=%d (align=%s, seq_diff=%lld)", jump, in_0.x,
             kTriggerReferenceColumn, in_1.x, alignment_word(view.align_01), static_cast<long long>(apart));
}

void add_jump_trigger(TriggerColumns* columns, const JumpView& view, int32_t jump) {
    const JumpRecords& f1 = view.feed[1];
    const JumpRecords& f2 = view.feed[2];
    if (is_present(view.feed[0])) {
        add_trigger_from_feed_0(columns, view, jump);
    } else if (is_present(f1) && is_present(f2)) {
        const int64_t seq = wrap_sub(first_record(f2).seq, known_offset(view.align_12));
        const int32_t column = closest_to_seq(f1, seq).x;
        append_column(columns, column);
        log_info("jump %d scene trigger (f1+f2): f1 x=%d (align=%s)", jump, column, alignment_word(view.align_12));
    } else if (is_present(f1)) {
        append_column(columns, first_record(f1).x);
        log_info("jump %d scene trigger (f1 only): f1 first_x=%d", jump, first_record(f1).x);
    } else if (is_present(f2)) {
        append_column(columns, kFeed2OnlyEstimate);
        log_info("jump %d scene trigger (f2 only, est): x=%d", jump, kFeed2OnlyEstimate);
    }
}
