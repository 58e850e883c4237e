#include "tests/support/analysis_workspace.h"

#include <algorithm>
#include <cstdlib>

#include "tests/support/settings_text.h"

static constexpr int64_t kFrameUs = 16'667;

WorkspacePtr make_workspace(int32_t feed_count) {
    const auto settings = default_settings();
    settings->feed_count = feed_count;
    settings->movie_padding_before_frames = 60;
    settings->movie_padding_after_frames = 60;
    return WorkspacePtr(workspace_create(settings.get()));
}

void add_blob(AutoSetupWorkspace* workspace, int32_t feed, const MotionBlob& blob) {
    int32_t& count = workspace->blob_count[feed];
    int32_t& capacity = workspace->blob_capacity[feed];
    if (count == capacity) {
        capacity = capacity > 0 ? capacity * 2 : 64;
        void* grown = realloc(workspace->blobs[feed], static_cast<size_t>(capacity) * sizeof(MotionBlob));
        if (!grown) abort();
        workspace->blobs[feed] = static_cast<MotionBlob*>(grown);
    }
    workspace->blobs[feed][count++] = blob;
}

void add_jump(AutoSetupWorkspace* workspace, int32_t feed, const JumpPath& path) {
    const int32_t start = workspace->blob_count[feed];
    for (int32_t i = 0; i < path.count; ++i) {
        MotionBlob blob = {};
        blob.size = 400;
        blob.x = path.first_x + (path.last_x - path.first_x) * i / (path.count - 1);
        blob.y = blob.first_y = blob.last_y = 270;
        blob.seq = path.first_seq + (path.last_seq - path.first_seq) * i / (path.count - 1);
        blob.ts = blob.seq * kFrameUs;
        if (workspace->grid_valid[feed]) blob.meter = workspace->meters_at_x[feed][std::clamp(blob.x, 0, 1919)];
        add_blob(workspace, feed, blob);
    }
    workspace->jumps[feed][workspace->jump_count[feed]++] = {start, path.count};
}

void set_linear_grid(AutoSetupWorkspace* workspace, int32_t feed, float metre_at_0, float metres_per_column) {
    for (int32_t x = 0; x < kPixelColumns; ++x)
        workspace->meters_at_x[feed][x] = metre_at_0 + static_cast<float>(x) * metres_per_column;
    workspace->grid_valid[feed] = 1;
}
