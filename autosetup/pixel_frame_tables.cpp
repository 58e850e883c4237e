#include "autosetup/pixel_frame_tables.h"

#include <algorithm>

#include "app/log.h"
#include "autosetup/wrapping.h"

namespace {

constexpr int32_t kMergedLimit = 60;
constexpr int32_t kSampleLimit = 520;
constexpr int32_t kSamplesNeeded = 4;
constexpr int32_t kLastColumn = kPixelColumns - 1;
constexpr int32_t kDefaultSceneX = 1727;
constexpr int32_t kDefaultToleranceUs = 8333;
constexpr int64_t kOverlapSlackUs = 50'000;

// One jumper across the cameras: per feed the first and last record, inclusive.
struct CrossFeedJump {
    bool has[kAnalysisFeeds];
    int32_t first[kAnalysisFeeds], last[kAnalysisFeeds];
};
struct MergedJumps {
    CrossFeedJump jump[kMergedLimit];
    int32_t count;
};

struct FeedCurve {
    float frames[kPixelColumns];  // since the feed's first record of the jump
    bool measured[kPixelColumns];
    int32_t sample[kSampleLimit];
    int32_t samples;
};
struct JumperScratch {
    FeedCurve feed[kAnalysisFeeds];
};

struct Accumulator {
    float frames[kAnalysisFeeds][kPixelColumns];  // sums, then averages
    int32_t jumpers;
    double offset_f1, offset_f2;
};

// The time stamps stand in a sorted copy, because a log may hold a jump of a million records.
struct Areas {
    JumperScratch* scratch;
    Accumulator* total;
    int64_t* stamps;
};

}  // namespace

static bool is_after(int64_t a, int64_t b, int64_t slack) {
    return a > b && distance_between(a, b) > static_cast<uint64_t>(slack);
}

// Rounds half up for what is positive. A double holds every float and the half exactly; hostile frame numbers end at
// the nearest integer there is.
static int32_t round_frames(double frames) {
    const double rounded = frames + 0.5;
    if (rounded >= INT32_MAX) return INT32_MAX;
    if (rounded <= INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(rounded);
}

static int32_t record_column(const MotionBlob& blob) {
    return std::clamp(blob.x, 0, kLastColumn);
}

static bool span_is_timed(const AutoSetupWorkspace* workspace, int32_t feed, const JumpSpan& span) {
    if (span.count < 2) return false;
    const MotionBlob* blob = workspace->blobs[feed] + span.start;
    return blob[0].ts != 0 && blob[span.count - 1].ts != 0;
}

static void join_overlapping_jumps(const AutoSetupWorkspace* workspace, int32_t reference, const JumpSpan& span,
                                   int32_t feed, CrossFeedJump* jump) {
    const int64_t from = workspace->blobs[reference][span.start].ts;
    const int64_t until = workspace->blobs[reference][span.start + span.count - 1].ts;
    for (int32_t k = 0; k < workspace->jump_count[feed]; ++k) {
        const JumpSpan& other = workspace->jumps[feed][k];
        if (!span_is_timed(workspace, feed, other)) continue;
        const int32_t last = other.start + other.count - 1;
        if (is_after(from, workspace->blobs[feed][last].ts, kOverlapSlackUs)) continue;
        if (is_after(workspace->blobs[feed][other.start].ts, until, kOverlapSlackUs)) continue;
        jump->first[feed] = jump->has[feed] ? std::min(jump->first[feed], other.start) : other.start;
        jump->last[feed] = jump->has[feed] ? std::max(jump->last[feed], last) : last;
        jump->has[feed] = true;
    }
}

static void merge_jumps(const AutoSetupWorkspace* workspace, MergedJumps* merged) {
    const int32_t reference = workspace->jump_count[1] > 0 ? 1 : workspace->jump_count[0] > 0 ? 0 : 2;
    for (int32_t j = 0; j < workspace->jump_count[reference] && merged->count < kMergedLimit; ++j) {
        const JumpSpan& span = workspace->jumps[reference][j];
        if (!span_is_timed(workspace, reference, span)) continue;
        CrossFeedJump* jump = &merged->jump[merged->count++];
        jump->has[reference] = true;
        jump->first[reference] = span.start;
        jump->last[reference] = span.start + span.count - 1;
        for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed)
            if (feed != reference) join_overlapping_jumps(workspace, reference, span, feed, jump);
    }
    log_info("pixel_frames_v2: merged %d cross-feed jumps", merged->count);
}

static int32_t frames_since(const MotionBlob& blob, const MotionBlob& first) {
    return static_cast<int32_t>(wrap_sub(blob.seq, first.seq));
}

static void take_samples(const MotionBlob* blobs, int32_t first, int32_t last, FeedCurve* curve) {
    for (int32_t i = first; i <= last; ++i) {
        const int32_t frames = frames_since(blobs[i], blobs[first]);
        const int32_t column = record_column(blobs[i]);
        curve->frames[column] = static_cast<float>(frames);
        curve->measured[column] = true;
        if (curve->samples < kSampleLimit) curve->sample[curve->samples++] = frames;
    }
}

// Column of the first record with the frame count of sample k. Sample k was taken from record k, so the search ends
// there at the latest.
static int32_t sample_column(const MotionBlob* span, const FeedCurve* curve, int32_t k) {
    const int32_t* end = curve->sample + k;
    return record_column(span[std::find(curve->sample, end, *end) - curve->sample]);
}

// Columns from..to, both included, along a straight line through `anchor`; what was measured stays.
static void draw_line(FeedCurve* curve, int32_t from, int32_t to, int32_t anchor, float slope) {
    const float level = curve->frames[anchor];
    for (int32_t column = from; column <= to; ++column)
        if (!curve->measured[column]) curve->frames[column] = level + static_cast<float>(column - anchor) * slope;
}

// Between two neighbouring samples the curve rises with the mean slope of the four samples around them, which is
// steadier than their own; the outermost slopes carry on to the picture's edges.
static void fill_curve(const MotionBlob* span, FeedCurve* curve) {
    const int32_t last = curve->samples - kSamplesNeeded;
    for (int32_t k = 0; k <= last; ++k) {
        const int32_t a = sample_column(span, curve, k), b = sample_column(span, curve, k + 1);
        const int32_t c = sample_column(span, curve, k + 2), d = sample_column(span, curve, k + 3);
        if (a == d) continue;
        const int64_t rise = int64_t{curve->sample[k + 3]} - curve->sample[k];
        const float slope = static_cast<float>(rise) / static_cast<float>(d - a);
        draw_line(curve, std::min(b, c) + 1, std::max(b, c) - 1, b, slope);
        if (k == 0) draw_line(curve, 0, a - 1, a, slope);
        if (k == last && c < kLastColumn) draw_line(curve, std::max(b, c) + 1, kLastColumn, c, slope);
    }
}

static void normalise_curve(FeedCurve* curve, bool flatten_end) {
    if (curve->frames[0] < 0) {
        const float lift = -curve->frames[0];
        for (float& frames : curve->frames) frames += lift;
    }
    if (!flatten_end || curve->frames[kLastColumn] > 0) return;
    int32_t column = kLastColumn - 1;
    while (column >= 0 && !(curve->frames[column] > 0)) --column;
    if (column < 0) return;
    std::fill(curve->frames + column + 1, curve->frames + kPixelColumns, curve->frames[column]);
}

// The record of `feed` nearest in time to any record of `other`, the first of equals; -1 when none is within the
// tolerance. It does not matter which record of `other` that is, so a look into their sorted stamps is as good as
// comparing all with all.
static int32_t nearest_record(const AutoSetupWorkspace* workspace, const CrossFeedJump& jump, int32_t feed,
                              int32_t other, int64_t tolerance_us, int64_t* stamps) {
    int64_t* end = stamps;
    for (int32_t i = jump.first[other]; i <= jump.last[other]; ++i) *end++ = workspace->blobs[other][i].ts;
    std::sort(stamps, end);
    uint64_t best = uint64_t{1} << 62;
    int32_t found = -1;
    for (int32_t i = jump.first[feed]; i <= jump.last[feed]; ++i) {
        const int64_t ts = workspace->blobs[feed][i].ts;
        if (ts == 0) continue;
        const int64_t* at = std::lower_bound(stamps, end, ts);
        uint64_t distance = best;
        if (at != end) distance = std::min(distance, distance_between(*at, ts));
        if (at != stamps) distance = std::min(distance, distance_between(at[-1], ts));
        if (distance >= best || distance > static_cast<uint64_t>(tolerance_us)) continue;
        best = distance;
        found = i;
    }
    return found;
}

static bool has_enough_samples(const CrossFeedJump& jump, const JumperScratch* scratch, int32_t number) {
    const FeedCurve* feed = scratch->feed;
    int32_t enough = 0;
    for (int32_t f = 0; f < kAnalysisFeeds; ++f) enough += feed[f].samples >= kSamplesNeeded ? 1 : 0;
    if (enough == kAnalysisFeeds) return true;
    log_info("pixel_frames_v2: jump %d — only %d/3 feeds have ≥4 blobs, skipping (feeds: %d/%d/%d, counts: %d/%d/%d)",
             number, enough, jump.has[0], jump.has[1], jump.has[2], feed[0].samples, feed[1].samples,
             feed[2].samples);
    return false;
}

static void add_jumper(const AutoSetupWorkspace* workspace, const CrossFeedJump& jump, int32_t number,
                       int64_t tolerance_us, const Areas& areas) {
    JumperScratch* scratch = areas.scratch;
    *scratch = {};
    for (int32_t f = 0; f < kAnalysisFeeds; ++f)
        if (jump.has[f]) take_samples(workspace->blobs[f], jump.first[f], jump.last[f], &scratch->feed[f]);
    if (!has_enough_samples(jump, scratch, number)) return;
    for (int32_t f = 0; f < kAnalysisFeeds; ++f) {
        fill_curve(workspace->blobs[f] + jump.first[f], &scratch->feed[f]);
        normalise_curve(&scratch->feed[f], f == 2);
    }

    const int32_t i = nearest_record(workspace, jump, 0, 1, tolerance_us, areas.stamps);
    const int32_t j = i < 0 ? -1 : nearest_record(workspace, jump, 1, 2, tolerance_us, areas.stamps);
    if (j < 0) {
        log_info("pixel_frames_v2: jump %d — no cross-feed alignment (ts tolerance %lldus), skipping", number,
                 static_cast<long long>(tolerance_us));
        return;
    }
    const MotionBlob* const* blobs = workspace->blobs;
    // Counted from each feed's own first record; the index of the matched record in the later feed is left out on
    // purpose, the movie builder expects the offsets so.
    const int64_t offset_f1 = wrap_sub(blobs[0][i].seq, blobs[0][jump.first[0]].seq);
    const int64_t offset_f2 = wrap_add(offset_f1, wrap_sub(blobs[1][j].seq, blobs[1][jump.first[1]].seq));
    Accumulator* total = areas.total;
    for (int32_t f = 0; f < kAnalysisFeeds; ++f)
        for (int32_t x = 0; x < kPixelColumns; ++x) total->frames[f][x] += scratch->feed[f].frames[x];
    ++total->jumpers;
    total->offset_f1 += static_cast<double>(offset_f1);
    total->offset_f2 += static_cast<double>(offset_f2);
    log_info("pixel_frames_v2: jump %d accepted — offset_f1=%lld offset_f2=%lld (feed-0 relative)", number,
             static_cast<long long>(offset_f1), static_cast<long long>(offset_f2));
}

static void average_curves(Accumulator* total) {
    const double offset[kAnalysisFeeds] = {0, total->offset_f1 / total->jumpers, total->offset_f2 / total->jumpers};
    const auto jumpers = static_cast<float>(total->jumpers);
    for (int32_t f = 0; f < kAnalysisFeeds; ++f)
        for (float& frames : total->frames[f])
            frames = static_cast<float>(static_cast<double>(frames / jumpers) + offset[f]);
    log_info("pixel_frames_v2: averaged across %d jumpers — avg_offset_f1=%.1f avg_offset_f2=%.1f", total->jumpers,
             offset[1], offset[2]);
}

static int32_t scene_column(float fraction) {
    if (!(fraction > 0 && fraction <= 1)) return kDefaultSceneX;
    return std::clamp(round_frames(static_cast<double>(fraction) * kLastColumn), 0, kLastColumn);
}

static void bake_tables(const Accumulator* total, PixelFramesTrace* trace, Settings* settings) {
    const int64_t pre = std::max(settings->pre_movie_padding_frames, 0);
    const int64_t post = std::max(settings->post_movie_padding_frames, 0);
    trace->frame_count = round_frames(total->frames[2][kLastColumn]);
    trace->scene_x = scene_column(settings->scene_trigger_f0_fraction);
    trace->switch2_frame = round_frames(total->frames[0][trace->scene_x]);
    log_info("pixel_frames_v2: frame_count=%d scene_x=%d switch2_frame=%d  baking pre_pad=%d post_pad=%d into tables",
             trace->frame_count, trace->scene_x, trace->switch2_frame, static_cast<int32_t>(pre),
             static_cast<int32_t>(post));
    for (int32_t f = 0; f < kAnalysisFeeds; ++f) {
        for (int32_t x = 0; x < kPixelColumns; ++x) {
            const int64_t frames = round_frames(total->frames[f][x]);
            settings->pixel_to_start[f][x] = static_cast<int32_t>(pre + frames);
            settings->pixel_to_scene[f][x] = static_cast<int32_t>(trace->switch2_frame - frames);
            settings->pixel_to_end[f][x] = static_cast<int32_t>(trace->frame_count + post - frames);
        }
        settings->pixel_frames_populated[f] = 1;
    }
    log_info("pixel_frames_v2: populated all three feeds from %d jumpers", total->jumpers);
}

static void populate(const AutoSetupWorkspace* workspace, const MergedJumps& merged, const Areas& areas,
                     PixelFramesTrace* trace, Settings* settings) {
    const int64_t tolerance_us =
        settings->blob_match_tolerance_us > 0 ? settings->blob_match_tolerance_us : kDefaultToleranceUs;
    for (int32_t m = 0; m < merged.count; ++m) add_jumper(workspace, merged.jump[m], m, tolerance_us, areas);
    trace->contributing = areas.total->jumpers;
    if (areas.total->jumpers == 0) {
        log_warn("pixel_frames_v2: zero valid jumpers contributed, leaving pixel_frames untouched");
        trace->kept = "no jump was seen well enough by all three cameras at the same time";
        return;
    }
    average_curves(areas.total);
    bake_tables(areas.total, trace, settings);
}

int32_t populate_pixel_frames_v2(AutoSetupWorkspace* workspace, Settings* settings, ZeroedAllocator allocate) {
    PixelFramesTrace* trace = &workspace->pixel_frames;
    *trace = {};
    MergedJumps merged = {};
    merge_jumps(workspace, &merged);
    trace->merged = merged.count;
    if (merged.count == 0) {
        log_warn("pixel_frames_v2: no jumps merged, leaving pixel_frames untouched");
        trace->kept = "no jump with time stamps was found";
        return 0;
    }
    const auto stamps = static_cast<size_t>(std::max(workspace->blob_count[1], workspace->blob_count[2]));
    const Areas areas = {static_cast<JumperScratch*>(allocate(1, sizeof(JumperScratch))),
                         static_cast<Accumulator*>(allocate(1, sizeof(Accumulator))),
                         static_cast<int64_t*>(allocate(std::max<size_t>(stamps, 1), sizeof(int64_t)))};
    const bool allocated = areas.scratch && areas.total && areas.stamps;
    if (allocated) {
        populate(workspace, merged, areas, trace, settings);
    } else {
        log_error("populate_pixel_frames_v2: workspace alloc failed");
        trace->kept = "the computer ran out of memory";
    }
    free(areas.scratch);
    free(areas.total);
    free(areas.stamps);
    return allocated ? 0 : -1;
}
