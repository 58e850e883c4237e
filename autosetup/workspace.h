// What the steps of an Auto Setup analysis hand on to one another. A run makes one, zeroed, fills the top three
// fields and perhaps region_end_x and log_dir, lets the steps work through it in order, and releases it.
//
// The traces at the end decide nothing: they keep for the report what a step saw and why it decided so.
#pragma once

#include <cstdint>
#include <memory>

#include "settings/settings.h"

inline constexpr int32_t kAnalysisFeeds = 3;
inline constexpr int32_t kJumpLimit = 20;        // per feed
inline constexpr int32_t kGapSampleLimit = 256;  // per pair of scene triggers
inline constexpr int32_t kPhaseCancelled = -1;

// One log line with a usable blob. Rows and columns in feed-picture pixels.
struct MotionBlob {
    uint32_t size;  // pixels
    int32_t x, y;   // centroid
    int32_t first_y, last_y;
    float meter;  // what the column shows, 0 without grid lines
    int64_t seq;  // the feed's frame number
    int64_t ts;   // capture time in microseconds, 0 when the log has none
};

// The records of one jumper in a feed's blob array.
struct JumpSpan {
    int32_t start, count;
};

// How far the later feed's frame numbers are ahead of the earlier feed's at the same moment, measured on one jump.
struct AlignRecord {
    uint32_t valid;  // both feeds have the jump
    int64_t offset;  // frames
    int32_t pairs;   // record pairs behind it; 0: guessed from the gap between the spans
    float meter_lo, meter_hi;
};

enum JumpVerdict : int32_t { kJumpAccepted, kJumpInvalid, kJumpOutlier };
enum JumpRule : int32_t {
    kRuleNone,
    kRuleSpan,           // invalid: the feed's frame span is outside 10..520
    kRuleShortFeed2,     // outlier: less than half the usual frames in feed 2
    kRuleFewRecords,     // outlier: the feed has only 1 to 4 records of it
    kRuleTriggerColumn,  // outlier: the scene trigger lies too far right
};
struct JumpTrace {
    JumpVerdict verdict;  // outlier stays here when all were outliers and were therefore kept
    JumpRule rule;
    int32_t feed;   // that broke the rule, where the rule is about one; else -1
    int64_t value;  // the span, record count or column that broke it
};

enum GapMethod : int32_t { kGapNone, kGapTriggers, kGapAlignment, kGapIncremental };
struct GapTrace {
    int32_t trigger_01[kGapSampleLimit], trigger_02[kGapSampleLimit], alignment[kJumpLimit];
    int32_t trigger_01_count, trigger_02_count, alignment_count;
    GapMethod method[2];  // behind gap 0 and 1
    const char* kept[2];  // why a gap keeps its setting, a static text; null when measured
};

struct AlignTrace {
    int32_t meter_aligned[2];  // jumps of pair 0->1 and 1->2 behind the offset
    int64_t median[2];         // frames; meaningful from two jumps on
    const char* kept[2];       // why feed 0 or feed 2 keeps its offset, a static text; null when measured
};

struct CalculationTrace {
    JumpTrace jump[kJumpLimit];
    int32_t jumps;  // that the calculation looked at
    int32_t invalid, outliers;
    bool outliers_kept;  // every jump was one, so none was left out
};

struct PixelFramesTrace {
    int32_t merged, contributing;  // jumps
    int32_t frame_count, scene_x, switch2_frame;
    const char* kept;  // why the tables stay as they were, a static text; null when filled
};

struct AutoSetupWorkspace {
    int32_t feed_count;  // 1: feed 1 alone; 2: feeds 1 and 2; else all three
    int32_t movie_padding_before_frames, movie_padding_after_frames;

    float meters_at_x[kAnalysisFeeds][kPixelColumns];
    uint32_t grid_valid[kAnalysisFeeds];

    MotionBlob* blobs[kAnalysisFeeds];  // owned, from malloc
    int32_t blob_count[kAnalysisFeeds], blob_capacity[kAnalysisFeeds];
    JumpSpan jumps[kAnalysisFeeds][kJumpLimit];
    int32_t jump_count[kAnalysisFeeds];
    AlignRecord align_01[kJumpLimit], align_12[kJumpLimit];

    int32_t region_y0[kAnalysisFeeds], region_y1[kAnalysisFeeds];
    int32_t region_end_x[kAnalysisFeeds];  // from the width trial, 0: none
    int32_t cap_max_blob_size, cap_max_diff_y, cap_max_diff_u, cap_max_diff_v;
    int32_t result_feed_video_frames[kAnalysisFeeds];
    int32_t result_frames_before[kAnalysisFeeds], result_frames_after[kAnalysisFeeds];
    int32_t result_scene_trigger_x, result_min_type1_frames, result_min_type2_frames;

    int32_t sync_offset[kAnalysisFeeds];  // frames
    uint32_t sync_valid[kAnalysisFeeds];

    int32_t centroid_y_min[kAnalysisFeeds], centroid_y_max[kAnalysisFeeds];
    int32_t bbox_y_min[kAnalysisFeeds], bbox_y_max[kAnalysisFeeds];
    int32_t blob_size_max[kAnalysisFeeds];
    int32_t ycum_max[kAnalysisFeeds], ucum_max[kAnalysisFeeds], vcum_max[kAnalysisFeeds];

    int32_t gap_frames[2];  // [0] feed 0 to 1, [1] feed 1 to 2
    uint32_t gap_valid[2];
    int32_t gap_samples[2], gap_mad[2];

    int32_t phase;

    const char* log_dir;  // where the motion logs lie; not owned, null: the current directory
    CalculationTrace calculation;
    AlignTrace alignment;
    GapTrace gaps;
    PixelFramesTrace pixel_frames;
};

// A zeroed workspace with the three values taken from `settings` (3, 60 and 60 for null). Null when out of memory.
AutoSetupWorkspace* workspace_create(const Settings* settings);
// Frees the blob arrays, clears their pointers and counts.
void workspace_release_blobs(AutoSetupWorkspace* workspace);
// The same, and the workspace itself. Null is allowed.
void workspace_destroy(AutoSetupWorkspace* workspace);

struct WorkspaceDeleter {
    void operator()(AutoSetupWorkspace* workspace) const {
        workspace_destroy(workspace);
    }
};
using WorkspacePtr = std::unique_ptr<AutoSetupWorkspace, WorkspaceDeleter>;
