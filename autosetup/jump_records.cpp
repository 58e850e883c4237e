#include "autosetup/jump_records.h"

#include "autosetup/wrapping.h"

JumpView jump_view(const AutoSetupWorkspace* workspace, int32_t jump) {
    JumpView view = {};
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        if (workspace->jump_count[feed] <= jump) continue;
        const JumpSpan& span = workspace->jumps[feed][jump];
        view.feed[feed] = {workspace->blobs[feed] + span.start, span.count};
    }
    view.align_01 = workspace->align_01[jump];
    view.align_12 = workspace->align_12[jump];
    return view;
}

int64_t seq_span(const JumpRecords& records) {
    return wrap_sub(last_record(records).seq, first_record(records).seq);
}

int64_t known_offset(const AlignRecord& record) {
    return record.valid != 0 ? record.offset : 0;
}

// The first of several that are equally close.
template <class Number>
static const MotionBlob& closest(const JumpRecords& records, Number MotionBlob::*field, Number wanted) {
    int32_t best = 0;
    for (int32_t i = 1; i < records.count; ++i)
        if (distance_between(records.records[i].*field, wanted) <
            distance_between(records.records[best].*field, wanted))
            best = i;
    return records.records[best];
}

const MotionBlob& closest_to_column(const JumpRecords& records, int32_t column) {
    return closest(records, &MotionBlob::x, column);
}

const MotionBlob& closest_to_seq(const JumpRecords& records, int64_t seq) {
    return closest(records, &MotionBlob::seq, seq);
}
