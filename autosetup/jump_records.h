// One jump as the calculation looks at it: the records each feed has of it and the alignment between the feeds.
#pragma once

#include "autosetup/workspace.h"

inline constexpr int32_t kPresentRecords = 2;  // from here on a feed counts as having seen a jump

struct JumpRecords {
    const MotionBlob* records;  // not owned
    int32_t count;              // 0: the feed lacks the jump
};

struct JumpView {
    JumpRecords feed[kAnalysisFeeds];
    AlignRecord align_01, align_12;
};

JumpView jump_view(const AutoSetupWorkspace* workspace, int32_t jump);

inline bool is_present(const JumpRecords& records) {
    return records.count >= kPresentRecords;
}
inline const MotionBlob& first_record(const JumpRecords& records) {
    return records.records[0];
}
inline const MotionBlob& last_record(const JumpRecords& records) {
    return records.records[records.count - 1];
}

// Last frame number less the first, wrapping around; at least one record.
int64_t seq_span(const JumpRecords& records);

// The offset where it was measured, else 0.
int64_t known_offset(const AlignRecord& record);

// The record nearest to a column or to a frame number, the earlier one of equals; at least one record.
const MotionBlob& closest_to_column(const JumpRecords& records, int32_t column);
const MotionBlob& closest_to_seq(const JumpRecords& records, int64_t seq);
