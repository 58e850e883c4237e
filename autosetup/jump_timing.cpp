#include "autosetup/jump_timing.h"

#include <algorithm>

#include "app/log.h"
#include "autosetup/wrapping.h"

static constexpr int32_t kLeastColumns = 100;  // a shorter path says little about the pace
static constexpr int32_t kLeastFrames = 10;
static constexpr int32_t kUnknownBefore2 = 300;

// Frame counts are 32 bits wide; what hostile frame numbers make of them wraps.
static int32_t frames(int64_t difference) {
    return static_cast<int32_t>(difference);
}

static int32_t padded_frames(int64_t later, int64_t earlier) {
    return std::max(frames(wrap_add(wrap_sub(later, earlier), kPadFrames)), kPadFrames);
}

int32_t crossing_frames(const JumpRecords& records) {
    if (!is_present(records)) return 0;
    const int64_t columns = int64_t{last_record(records).x} - first_record(records).x;
    const int64_t span = frames(seq_span(records));
    if (columns < kLeastColumns || span < kLeastFrames) return 0;
    return frames(span * kPixelColumns / columns);
}

int32_t running_mean(const RunningMean& mean, int32_t otherwise) {
    return mean.count > 0 ? frames(mean.sum / mean.count) : otherwise;
}

// The frame number in feed 1 or feed 2 of feed 0's frame `seq`.
static int64_t seq_0_in_1(const JumpView& view, int64_t seq) {
    return wrap_add(seq, known_offset(view.align_01));
}

static int64_t seq_1_in_2(const JumpView& view, int64_t seq) {
    return wrap_add(seq, known_offset(view.align_12));
}

static int32_t frames_before_feed_2(const JumpView& view, int32_t before_1) {
    const JumpRecords& f0 = view.feed[0];
    const JumpRecords& f1 = view.feed[1];
    const JumpRecords& f2 = view.feed[2];
    if (is_present(f0) && is_present(f2)) {
        // One offset alone would leave the frame number between two feeds.
        const bool both_known = view.align_01.valid != 0 && view.align_12.valid != 0;
        const int64_t first_0 = first_record(f0).seq;
        return padded_frames(first_record(f2).seq,
                             both_known ? seq_1_in_2(view, seq_0_in_1(view, first_0)) : first_0);
    }
    if (is_present(f1) && is_present(f2)) {
        const int64_t gap = wrap_sub(first_record(f2).seq, seq_1_in_2(view, first_record(f1).seq));
        const int32_t before = frames(wrap_add(gap, before_1));
        return before < kPadFrames + 1 ? kPadFrames : before;
    }
    return kUnknownBefore2;
}

void frames_before(const JumpView& view, int32_t crossing_0, int32_t before[kAnalysisFeeds]) {
    const JumpRecords& f0 = view.feed[0];
    const JumpRecords& f1 = view.feed[1];
    before[0] = kPadFrames;
    before[1] = is_present(f0) && is_present(f1)
                    ? padded_frames(first_record(f1).seq, seq_0_in_1(view, first_record(f0).seq))
                    : crossing_0 + kPadFrames;
    before[2] = frames_before_feed_2(view, before[1]);
}

void frames_after(const JumpView& view, int32_t after[kAnalysisFeeds]) {
    const JumpRecords& f0 = view.feed[0];
    const JumpRecords& f1 = view.feed[1];
    const JumpRecords& f2 = view.feed[2];
    after[0] = after[1] = after[2] = kPadFrames;
    if (!is_present(f1)) return;
    if (is_present(f0)) after[0] = padded_frames(first_record(f1).seq, seq_0_in_1(view, last_record(f0).seq));
    if (is_present(f2)) after[1] = padded_frames(first_record(f2).seq, seq_1_in_2(view, last_record(f1).seq));
}

void add_sample(SmallestSample* smallest, int32_t sample) {
    if (sample <= 0) return;
    smallest->value = smallest->count == 0 ? sample : std::min(smallest->value, sample);
    ++smallest->count;
}

int32_t type1_sample(const JumpView& view, const MetreTrigger& trigger) {
    const JumpRecords& f1 = view.feed[1];
    const JumpRecords& f2 = view.feed[2];
    const int64_t start_in_1 = seq_0_in_1(view, first_record(view.feed[0]).seq);
    if (trigger.column != kNoColumn && is_present(f1))
        return frames(wrap_sub(closest_to_column(f1, trigger.column).seq, start_in_1));
    if (is_present(f2)) return frames(wrap_sub(first_record(f2).seq, seq_1_in_2(view, start_in_1)));
    if (is_present(f1)) return frames(wrap_sub(last_record(f1).seq, start_in_1));
    return 0;
}

int32_t type2_sample(const JumpView& view, const MetreTrigger& trigger, int32_t crossing_2, int32_t jump) {
    if (trigger.type2_column == kNoColumn) return crossing_2;
    const JumpRecords& f1 = view.feed[1];
    const JumpRecords& f2 = view.feed[2];
    int32_t f1_gap = 0;
    if (is_present(f1) && trigger.bridge_column > trigger.column) {
        f1_gap = frames(
            wrap_sub(closest_to_column(f1, trigger.bridge_column).seq, closest_to_column(f1, trigger.column).seq));
        f1_gap = std::max(f1_gap, 0);
    }
    const int32_t f2_portion =
        std::max(frames(wrap_sub(last_record(f2).seq, closest_to_column(f2, trigger.type2_column).seq)), 0);
    const int32_t sample = frames(int64_t{f1_gap} + f2_portion);
    if (sample <= 0) return 0;
    log_info("jump %d type2: f1_gap=%d + f2_portion=%d = %d", jump, f1_gap, f2_portion, sample);
    return sample;
}
