// Blob records of two feeds are paired where they show the jumper at the same metre; the median of their frame
// differences is the jump's offset, the median over jumps the feed's. Jumps are matched by number, so one jump that
// only one camera saw, for instance where the practice video starts over, shifts all that follow: hence the limit.
//
// Feed 1 is the reference. Feed 0 runs before it and takes the negated offset, feed 2 behind it takes it as it is.
#include "autosetup/feed_alignment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "app/log.h"
#include "autosetup/wrapping.h"
#include "procs/worker_commands.h"

namespace {

constexpr int32_t kPairLimit = 500;
constexpr float kPairMetres = 1.0f;
constexpr float kSearchStart = 999999.0f;
constexpr int32_t kLeastPairs = 2;  // of a jump that counts as aligned by metres
constexpr int32_t kLeastJumps = 2;
constexpr int32_t kOffsetLimit = 60;  // frames

struct BlobSpan {
    const MotionBlob* first;
    int32_t count;
};

struct MetreRange {
    float lo, hi;
};

// The record nearest in metres to one in the other feed, remembered per column of that one.
struct Nearest {
    bool known;
    float meter;
    const MotionBlob* blob;  // null: none within reach
};

struct OffsetList {
    int64_t offset[kJumpLimit];
    int32_t count;
};

struct PairWords {
    int32_t feed;         // whose offset this is
    const char* pair;     // "0->1"
    const char* records;  // "align_01"
};

}  // namespace

static BlobSpan jump_span(const AutoSetupWorkspace* workspace, int32_t feed, int32_t jump) {
    const JumpSpan& span = workspace->jumps[feed][jump];
    return {workspace->blobs[feed] + span.start, span.count};
}

static MetreRange metre_range(const BlobSpan& span) {
    MetreRange range = {span.first->meter, span.first->meter};
    for (int32_t i = 1; i < span.count; ++i) {
        const float meter = span.first[i].meter;
        if (meter < range.lo) range.lo = meter;
        if (meter > range.hi) range.hi = meter;
    }
    return range;
}

static size_t column_of(const MotionBlob& blob) {
    return static_cast<size_t>(std::clamp(blob.x, 0, kPixelColumns - 1));
}

// The records that can be the first nearest one to something: of those in one column, which all show the same metres,
// only the first. It bounds the search below when a stuck detector has filled a log with millions of records.
static std::vector<const MotionBlob*> search_candidates(const BlobSpan& span) {
    std::vector<const MotionBlob*> result;
    std::array<const MotionBlob*, kPixelColumns> seen = {};
    for (int32_t i = 0; i < span.count; ++i) {
        const MotionBlob* blob = span.first + i;
        if (std::isnan(blob->meter)) continue;
        const MotionBlob*& earlier = seen[column_of(*blob)];
        if (earlier && earlier->meter == blob->meter) continue;
        earlier = blob;
        result.push_back(blob);
    }
    return result;
}

static const MotionBlob* nearest_within_reach(const std::vector<const MotionBlob*>& candidates, float meter) {
    const MotionBlob* nearest = nullptr;
    float best = kSearchStart;
    for (const MotionBlob* candidate : candidates) {
        const float difference = std::fabs(candidate->meter - meter);
        if (difference < best) {
            best = difference;
            nearest = candidate;
        }
    }
    return best <= kPairMetres ? nearest : nullptr;
}

// The frame differences of all pairs within `overlap`, at most kPairLimit. Returns how many.
static int32_t pair_differences(const BlobSpan& a, const BlobSpan& b, MetreRange overlap, int64_t* differences) {
    const std::vector<const MotionBlob*> candidates = search_candidates(b);
    std::array<Nearest, kPixelColumns> memory = {};
    int32_t pairs = 0;
    for (int32_t i = 0; i < a.count && pairs < kPairLimit; ++i) {
        const MotionBlob& blob = a.first[i];
        if (!(overlap.lo <= blob.meter && blob.meter <= overlap.hi)) continue;
        Nearest& nearest = memory[column_of(blob)];
        if (!nearest.known || nearest.meter != blob.meter)
            nearest = {true, blob.meter, nearest_within_reach(candidates, blob.meter)};
        if (nearest.blob) differences[pairs++] = wrap_sub(nearest.blob->seq, blob.seq);
    }
    return pairs;
}

void align_jump(const AutoSetupWorkspace* workspace, int32_t feed_a, int32_t feed_b, int32_t jump,
                AlignRecord* record) {
    *record = {};
    const BlobSpan a = jump_span(workspace, feed_a, jump);
    const BlobSpan b = jump_span(workspace, feed_b, jump);
    if (a.count < 1 || b.count < 1) return;
    record->valid = 1;
    record->offset = wrap_sub(b.first[0].seq, a.first[a.count - 1].seq);

    const MetreRange range_a = metre_range(a);
    const MetreRange range_b = metre_range(b);
    const MetreRange overlap = {std::max(range_a.lo, range_b.lo), std::min(range_a.hi, range_b.hi)};
    if (overlap.lo >= overlap.hi) {
        log_info("jump %d: feed %d->%d offset=%lld, 0 overlap pairs (gap fallback)", jump, feed_a, feed_b,
                 static_cast<long long>(record->offset));
        return;
    }
    int64_t differences[kPairLimit];
    record->pairs = pair_differences(a, b, overlap, differences);
    if (record->pairs > 0) {
        std::sort(differences, differences + record->pairs);
        record->offset = differences[record->pairs / 2];
        record->meter_lo = overlap.lo;
        record->meter_hi = overlap.hi;
    }
    log_info("jump %d: feed %d->%d offset=%lld, %d overlap pairs, meter %.1f..%.1f", jump, feed_a, feed_b,
             static_cast<long long>(record->offset), record->pairs, static_cast<double>(record->meter_lo),
             static_cast<double>(record->meter_hi));
}

// Aligns every jump that both feeds have and returns their number.
static int32_t align_pair(const AutoSetupWorkspace* workspace, int32_t feed_a, int32_t feed_b, AlignRecord* records) {
    const int32_t jumps = std::min({workspace->jump_count[feed_a], workspace->jump_count[feed_b], kJumpLimit});
    for (int32_t jump = 0; jump < jumps; ++jump) align_jump(workspace, feed_a, feed_b, jump, &records[jump]);
    return jumps;
}

static int32_t count_valid(const AlignRecord* records, int32_t jumps) {
    return static_cast<int32_t>(
        std::count_if(records, records + jumps, [](const AlignRecord& record) { return record.valid != 0; }));
}

// In ascending order.
static OffsetList metre_aligned_offsets(const AlignRecord* records, int32_t jumps) {
    OffsetList list = {};
    for (int32_t jump = 0; jump < jumps; ++jump)
        if (records[jump].valid && records[jump].pairs >= kLeastPairs)
            list.offset[list.count++] = records[jump].offset;
    std::sort(list.offset, list.offset + list.count);
    return list;
}

static void conclude_offset(AutoSetupWorkspace* workspace, const OffsetList& list, int32_t pair,
                            const PairWords& words) {
    AlignTrace& trace = workspace->alignment;
    trace.meter_aligned[pair] = list.count;
    if (list.count < kLeastJumps) {
        trace.kept[pair] = "fewer than 2 jumps could be aligned by metres";
        log_warn(
            "auto_setup_align_feeds: feed_sync_offset[%d] NOT computed (only %d meter-aligned %s jumps; need >=%d). "
            "Keeping existing settings.txt value.",
            words.feed, list.count, words.pair, kLeastJumps);
        return;
    }
    const int64_t median = list.offset[list.count / 2];
    trace.median[pair] = median;
    const auto offset = static_cast<int32_t>(words.feed == 0 ? wrap_sub(0, median) : median);
    if (std::abs(int64_t{offset}) > kOffsetLimit) {
        trace.kept[pair] = "the measured offset is beyond 60 frames";
        log_warn(
            "auto_setup_align_feeds: feed_sync_offset[%d] REJECTED: computed value %d exceeds sanity limit of %d "
            "frames (median %s.offset = %lld from %d jumps). Keeping existing settings.txt value. Likely cause: "
            "cross-feed jump_idx misalignment from practice-video loop.",
            words.feed, offset, kOffsetLimit, words.records, static_cast<long long>(median), list.count);
        return;
    }
    workspace->sync_offset[words.feed] = offset;
    workspace->sync_valid[words.feed] = 1;
    log_info(
        "auto_setup_align_feeds: feed_sync_offset[%d] = %d (from %d meter-aligned jumps, median %s.offset = %lld)",
        words.feed, offset, list.count, words.records, static_cast<long long>(median));
}

int32_t auto_setup_align_feeds(AutoSetupWorkspace* workspace) {
    workspace->alignment = {};
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        workspace->sync_offset[feed] = 0;
        workspace->sync_valid[feed] = feed == 1 ? 1 : 0;
    }
    if (!feed_is_active(workspace->feed_count, 2)) {
        for (const char*& kept : workspace->alignment.kept) kept = "only one camera is in use";
        log_info(
            "auto_setup_align_feeds: 1-feed mode — cross-feed alignment skipped; feed_sync_offset[1]=0 (reference), "
            "[0]/[2] left at settings.txt values");
        return 0;
    }
    const int32_t jumps01 =
        feed_is_active(workspace->feed_count, 0) ? align_pair(workspace, 0, 1, workspace->align_01) : 0;
    const int32_t jumps12 = align_pair(workspace, 1, 2, workspace->align_12);
    log_info("auto_setup_align_feeds: feed 0->1: %d/%d valid, feed 1->2: %d/%d valid",
             count_valid(workspace->align_01, jumps01), jumps01, count_valid(workspace->align_12, jumps12), jumps12);
    conclude_offset(workspace, metre_aligned_offsets(workspace->align_01, jumps01), 0, {0, "0->1", "align_01"});
    if (!feed_is_active(workspace->feed_count, 0)) workspace->alignment.kept[0] = "feed 0 is not in use";
    conclude_offset(workspace, metre_aligned_offsets(workspace->align_12, jumps12), 1, {2, "1->2", "align_12"});
    return 0;
}
