#include "autosetup/workspace.h"

#include <cstdlib>

static constexpr int32_t kDefaultFeeds = 3;
static constexpr int32_t kDefaultPadding = 60;  // frames

AutoSetupWorkspace* workspace_create(const Settings* settings) {
    auto* workspace = static_cast<AutoSetupWorkspace*>(calloc(1, sizeof(AutoSetupWorkspace)));
    if (!workspace) return nullptr;
    workspace->feed_count = settings ? settings->feed_count : kDefaultFeeds;
    workspace->movie_padding_before_frames = settings ? settings->movie_padding_before_frames : kDefaultPadding;
    workspace->movie_padding_after_frames = settings ? settings->movie_padding_after_frames : kDefaultPadding;
    return workspace;
}

void workspace_release_blobs(AutoSetupWorkspace* workspace) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        free(workspace->blobs[feed]);
        workspace->blobs[feed] = nullptr;
        workspace->blob_count[feed] = 0;
    }
}

void workspace_destroy(AutoSetupWorkspace* workspace) {
    if (!workspace) return;
    workspace_release_blobs(workspace);
    free(workspace);
}
