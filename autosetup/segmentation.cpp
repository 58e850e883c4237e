#include "autosetup/segmentation.h"

#include "app/log.h"
#include "autosetup/wrapping.h"

static constexpr int64_t kGapThreshold = 60;  // frames; a longer pause separates two jumpers

// Only the first kJumpLimit jumps are analysed: the records from the gap that ends the last of them belong to none.
// A step back (the detector was restarted) separates nothing.
static int32_t segment_feed(const MotionBlob* blobs, int32_t count, JumpSpan* jumps) {
    if (count <= 0) return 0;
    int32_t found = 0;
    int32_t start = 0;
    for (int32_t i = 1; i < count; ++i) {
        if (wrap_sub(blobs[i].seq, blobs[i - 1].seq) <= kGapThreshold) continue;
        jumps[found++] = {start, i - start};
        if (found == kJumpLimit) return found;
        start = i;
    }
    jumps[found++] = {start, count - start};
    return found;
}

int32_t auto_setup_segment_jumps(AutoSetupWorkspace* workspace) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        workspace->jump_count[feed] =
            segment_feed(workspace->blobs[feed], workspace->blob_count[feed], workspace->jumps[feed]);
    }
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        log_info("feed %d: %d jumps segmented", static_cast<int>(feed),
                 static_cast<int>(workspace->jump_count[feed]));
    }
    return 0;
}
