#include "autosetup/motion_region.h"

#include <algorithm>
#include <cmath>

#include "app/log.h"
#include "autosetup/wrapping.h"

static constexpr int32_t kTopRow = 30;  // of the band that a measured region stays in
static constexpr int32_t kBottomRow = 529;
static constexpr int64_t kLeastMargin = 6;  // rows
static constexpr int64_t kMostMargin = 24;

namespace {
struct RowBand {
    int32_t y0, y1;
};
// What an earlier rule would have made of the same blobs; only for comparison in the log.
struct FormerBand {
    int32_t y0, y1, height, savings;
};
}  // namespace

static int32_t height_of(RowBand band) {
    return wrap_add32(wrap_sub32(band.y1, band.y0), 1);
}

static RowBand measured_band(const AutoSetupWorkspace* workspace, int32_t feed) {
    const int64_t top = workspace->bbox_y_min[feed], bottom = workspace->bbox_y_max[feed];
    if (workspace->blob_size_max[feed] <= 0 || top > bottom) return {kTopRow, kBottomRow};
    const int64_t margin = std::clamp((bottom - top) * 10 / 100, kLeastMargin, kMostMargin);
    return {static_cast<int32_t>(std::max<int64_t>(top - margin, kTopRow)),
            static_cast<int32_t>(std::min<int64_t>(bottom + margin, kBottomRow))};
}

static FormerBand former_band(const AutoSetupWorkspace* workspace, int32_t feed, int32_t new_height) {
    const int32_t size = workspace->blob_size_max[feed];
    if (size < 1) return {kTopRow, kBottomRow, kBottomRow - kTopRow + 1, 0};
    const auto reach = static_cast<int32_t>(std::sqrt(static_cast<double>(size)));
    const RowBand band = {wrap_sub32(workspace->centroid_y_min[feed], reach),
                          wrap_add32(workspace->centroid_y_max[feed], reach)};
    FormerBand former = {std::max(band.y0, kTopRow), std::min(band.y1, kBottomRow), height_of(band), 0};
    if (former.height >= 1) former.savings = static_cast<int32_t>(100 - int64_t{new_height} * 100 / former.height);
    return former;
}

void auto_setup_motion_regions(AutoSetupWorkspace* workspace, const Settings* settings) {
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        const RowBand band = measured_band(workspace, feed);
        workspace->region_y0[feed] = band.y0;
        workspace->region_y1[feed] = band.y1;
        const int32_t height = height_of(band);
        const FormerBand former = former_band(workspace, feed, height);
        log_info(
            "feed %d motion region: y=%d..%d (%d px) [old algo: y=%d..%d (%d px), savings=%d%%] (bbox_y=%d..%d, "
            "centroid_y=%d..%d, max_size=%d, offset=%d)",
            feed, band.y0, band.y1, height, former.y0, former.y1, former.height, former.savings,
            workspace->bbox_y_min[feed], workspace->bbox_y_max[feed], workspace->centroid_y_min[feed],
            workspace->centroid_y_max[feed], workspace->blob_size_max[feed], settings->overlay_frame_offsets[feed]);
    }
}

static int32_t largest(const int32_t (&values)[kAnalysisFeeds]) {
    return std::max({values[0], values[1], values[2], 0});
}

void auto_setup_noise_caps(AutoSetupWorkspace* workspace) {
    const int32_t blob = largest(workspace->blob_size_max);
    const int32_t u = largest(workspace->ucum_max), v = largest(workspace->vcum_max);
    workspace->cap_max_blob_size = workspace->cap_max_diff_y = 0;
    workspace->cap_max_diff_u = workspace->cap_max_diff_v = 0;
    if (blob > 0) {
        // The Y figures of the logs stay out of it: the Y cap follows the blob size.
        const int32_t floor = wrap_mul32(blob, 3) / 2;
        workspace->cap_max_blob_size = wrap_mul32(blob, 2);
        workspace->cap_max_diff_y = wrap_mul32(blob, 3);
        workspace->cap_max_diff_u = std::max(wrap_mul32(u, 3), floor);
        workspace->cap_max_diff_v = std::max(wrap_mul32(v, 3), floor);
    }
    log_info(
        "noise caps: max_blob_size=%d max_diff_y=%d max_diff_u=%d max_diff_v=%d (max_blob_across=%d, U_cum_max=%d, "
        "V_cum_max=%d)",
        workspace->cap_max_blob_size, workspace->cap_max_diff_y, workspace->cap_max_diff_u, workspace->cap_max_diff_v,
        blob, u, v);
}
