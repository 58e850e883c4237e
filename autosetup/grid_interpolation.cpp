// Every later step of the analysis thinks in metres through this table, so its arithmetic is fixed to the last bit:
// single precision, one rounding per operation, columns subtracted as integers. Two lines in the same column are not
// guarded against; the infinities they give stand in the table, where no later comparison with them holds.
#include "autosetup/grid_interpolation.h"

#include <algorithm>

#include "app/log.h"
#include "autosetup/wrapping.h"

namespace {

struct GridPoint {
    int32_t px;
    float m;
};

struct GridPoints {
    GridPoint point[kGridLinesPerFeed];
    int32_t count;
};

}  // namespace

static bool is_placed(const GridLine& far_anchor, const GridLine& near_anchor) {
    return far_anchor.x != 0 || far_anchor.y != 0 || near_anchor.x != 0 || near_anchor.y != 0;
}

// A line that is not placed keeps its number, so that the metres of those behind it do not shift.
static GridPoints placed_lines(const Settings* settings, int32_t feed) {
    GridPoints points = {};
    const int32_t lines = std::min(settings->meter_line_count[feed], kGridLinesPerFeed);
    for (int32_t line = 0; line < lines; ++line) {
        const GridLine& far_anchor = settings->far_lines[feed][line];
        const GridLine& near_anchor = settings->near_lines[feed][line];
        if (!is_placed(far_anchor, near_anchor)) continue;
        const int32_t metres =
            wrap_add32(wrap_mul32(line, settings->meter_line_increment[feed]), settings->meter_line_start[feed]);
        points.point[points.count++] = {wrap_add32(far_anchor.x, near_anchor.x) / 2, static_cast<float>(metres)};
    }
    return points;
}

// Stable: lines in the same column stay in line order.
static void sort_by_column(GridPoints* points) {
    for (int32_t i = 1; i < points->count; ++i) {
        const GridPoint moving = points->point[i];
        int32_t to = i;
        for (; to > 0 && points->point[to - 1].px > moving.px; --to) points->point[to] = points->point[to - 1];
        points->point[to] = moving;
    }
}

static float column_distance(int32_t from, int32_t to) {
    return static_cast<float>(wrap_sub32(to, from));
}

// Along the line through `a` and the point after it, seen from `base`, which is one of the two.
static float extrapolate(const GridPoint* a, const GridPoint& base, int32_t x) {
    return (a[1].m - a[0].m) / column_distance(a[0].px, a[1].px) * column_distance(base.px, x) + base.m;
}

static float interpolate(const GridPoint* a, int32_t x) {
    return column_distance(a[0].px, x) / column_distance(a[0].px, a[1].px) * (a[1].m - a[0].m) + a[0].m;
}

// `otherwise` where no two neighbouring points enclose the column.
static float metres_at(const GridPoints& points, int32_t x, float otherwise) {
    const GridPoint* p = points.point;
    const int32_t last = points.count - 1;
    if (x <= p[0].px) return extrapolate(p, p[0], x);
    if (x >= p[last].px) return extrapolate(p + last - 1, p[last], x);
    for (int32_t k = 0; k < last; ++k)
        if (p[k].px <= x && x <= p[k + 1].px) return interpolate(p + k, x);
    return otherwise;
}

static bool fill_table(AutoSetupWorkspace* workspace, const Settings* settings, int32_t feed) {
    float* table = workspace->meters_at_x[feed];
    GridPoints points = placed_lines(settings, feed);
    if (points.count < 2) {
        std::fill_n(table, kPixelColumns, 0.0f);
        return false;
    }
    sort_by_column(&points);
    for (int32_t x = 0; x < kPixelColumns; ++x) table[x] = metres_at(points, x, table[x]);
    log_info("feed %d: %d grid lines, meter range %.1f..%.1f", feed, points.count, static_cast<double>(table[0]),
             static_cast<double>(table[kPixelColumns - 1]));
    return true;
}

int32_t auto_setup_interpolate(AutoSetupWorkspace* workspace, const Settings* settings) {
    bool any = false;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        workspace->grid_valid[feed] = fill_table(workspace, settings, feed) ? 1 : 0;
        any = any || workspace->grid_valid[feed];
    }
    if (any) return 0;
    log_error("auto_setup_interpolate: no feeds have valid grid lines");
    return -1;
}
