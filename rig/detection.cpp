// See detection.h. The row loop is plain byte arithmetic without branches, for the compiler to vectorise; everything
// after it touches only the few cells that differ.
#include "rig/detection.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "ipc/frame_ring.h"

namespace {

constexpr int32_t kCellColumns = kFrameWidth / 2;
constexpr int32_t kCellRows = kFeedHeight / 2;
constexpr int32_t kPixelsPerCell = 4;
constexpr int32_t kMinRunCells = 2;        // a lone differing cell is sensor noise
constexpr int32_t kBridgedCells = 2;       // a hole this narrow does not split a jumper
constexpr uint32_t kBackgroundPeriod = 4;  // each cell follows by one level every so many frames
constexpr uint8_t kYDiffers = 1, kUDiffers = 2, kVDiffers = 4;

struct CellBox {  // inclusive cells
    int32_t x0, y0, x1, y1;
};

struct Window {  // an admissible difference as start and length, for one unsigned compare
    uint8_t low, span;
};

}  // namespace

static void axis_in_cells(int32_t start, int32_t end, int32_t cells, int32_t* first, int32_t* last) {
    if (end <= start) {
        *first = 0;
        *last = cells - 1;
        return;
    }
    *first = std::clamp(start / 2, 0, cells - 1);
    *last = std::clamp(end / 2, *first, cells - 1);
}

static CellBox region_cells(const PixelBox& region) {
    CellBox box{};
    axis_in_cells(region.x0, region.x1, kCellColumns, &box.x0, &box.x1);
    axis_in_cells(region.y0, region.y1, kCellRows, &box.y0, &box.y1);
    return box;
}

static Window difference_window(int32_t low, int32_t high) {
    const int32_t from = std::clamp(low, 1, 255);
    const int32_t to = std::clamp(high, from, 255);
    return {static_cast<uint8_t>(from), static_cast<uint8_t>(to - from)};
}

static inline uint8_t differs(uint8_t a, uint8_t b, Window window, uint8_t flag) {
    const auto difference = static_cast<uint8_t>(a > b ? a - b : b - a);
    return static_cast<uint8_t>(difference - window.low) <= window.span ? flag : uint8_t{0};
}

static void mark_row(uint8_t* __restrict mask, ptrdiff_t count, const uint8_t* __restrict y_row,
                     const uint8_t* __restrict u_row, const uint8_t* __restrict v_row,
                     const uint8_t* __restrict y_back, const uint8_t* __restrict u_back,
                     const uint8_t* __restrict v_back, Window y_window, Window u_window, Window v_window) {
    for (ptrdiff_t x = 0; x < count; ++x) {
        const uint8_t by_y = differs(y_row[2 * x], y_back[x], y_window, kYDiffers);
        const uint8_t by_u = differs(u_row[x], u_back[x], u_window, kUDiffers);
        const uint8_t by_v = differs(v_row[x], v_back[x], v_window, kVDiffers);
        mask[x] = static_cast<uint8_t>(by_y | by_u | by_v);
    }
}

static void follow_luma(uint8_t* __restrict back, const uint8_t* __restrict row, ptrdiff_t count) {
    for (ptrdiff_t x = 0; x < count; ++x) {
        const uint8_t now = row[2 * x];
        back[x] = static_cast<uint8_t>(back[x] + (now > back[x]) - (now < back[x]));
    }
}

static void follow_chroma(uint8_t* __restrict back, const uint8_t* __restrict row, ptrdiff_t count) {
    for (ptrdiff_t x = 0; x < count; ++x)
        back[x] = static_cast<uint8_t>(back[x] + (row[x] > back[x]) - (row[x] < back[x]));
}

static void take_background(Detector* detector, const uint8_t* y_plane, const uint8_t* u_plane,
                            const uint8_t* v_plane) {
    uint8_t* back = detector->y.data();
    for (int32_t row = 0; row < kCellRows; ++row, y_plane += ptrdiff_t{2} * kFrameWidth)
        for (ptrdiff_t x = 0; x < kCellColumns; ++x) *back++ = y_plane[2 * x];
    std::memcpy(detector->u.data(), u_plane, detector->u.size());
    std::memcpy(detector->v.data(), v_plane, detector->v.size());
    detector->has_background = true;
}

static void clear_ignored(uint8_t* mask, const PixelBox& ignore, int32_t row, const CellBox& region) {
    if (ignore.x1 <= ignore.x0 || ignore.y1 <= ignore.y0) return;
    if (row < ignore.y0 / 2 || row > ignore.y1 / 2) return;
    const int32_t first = std::max(ignore.x0 / 2, region.x0);
    const int32_t last = std::min(ignore.x1 / 2, region.x1);
    if (first <= last) std::fill(mask + first, mask + last + 1, uint8_t{0});
}

// Adds the row's stretches of differing cells to the runs and counts the planes. Returns the cells that differ.
static int32_t collect_runs(Detector* detector, int32_t row, const CellBox& region, Detection* found) {
    const uint8_t* mask = detector->mask.data();
    int32_t differing = 0;
    BlobRun run{row, -1, -1, 0, 0};
    const auto close_run = [&] {
        if (run.first >= 0 && run.cells >= kMinRunCells) {
            run.parent = static_cast<int32_t>(detector->runs.size());
            detector->runs.push_back(run);
        }
        run.first = -1;
        run.cells = 0;
    };
    for (int32_t x = region.x0; x <= region.x1;) {
        uint64_t eight = 0;
        if (x + 8 <= region.x1 + 1) {
            std::memcpy(&eight, mask + x, 8);
            if (eight == 0) {
                x += 8;
                continue;
            }
        }
        const int32_t stop = std::min(x + 8, region.x1 + 1);
        for (; x < stop; ++x) {
            if (mask[x] == 0) continue;
            ++differing;
            const int32_t quarter = x * 4 / kCellColumns;
            found->y_cumulative[quarter] += (mask[x] & kYDiffers) != 0;
            found->u_cumulative[quarter] += (mask[x] & kUDiffers) != 0;
            found->v_cumulative[quarter] += (mask[x] & kVDiffers) != 0;
            if (run.first >= 0 && x - run.last > kBridgedCells + 1) close_run();
            if (run.first < 0) run.first = x;
            run.last = x;
            ++run.cells;
        }
    }
    close_run();
    return differing;
}

static int32_t find_root(std::vector<BlobRun>& runs, int32_t index) {
    while (runs[static_cast<size_t>(index)].parent != index) {
        BlobRun& run = runs[static_cast<size_t>(index)];
        run.parent = runs[static_cast<size_t>(run.parent)].parent;
        index = run.parent;
    }
    return index;
}

// Joins the runs of `row` with the touching ones (diagonals included) of the row above. Both lie in column order.
static void join_rows(std::vector<BlobRun>& runs, size_t above, size_t row, size_t end) {
    for (size_t low = above, high = row; low < row && high < end;) {
        if (runs[low].last + 1 >= runs[high].first && runs[high].last + 1 >= runs[low].first) {
            const int32_t a = find_root(runs, static_cast<int32_t>(low));
            const int32_t b = find_root(runs, static_cast<int32_t>(high));
            runs[static_cast<size_t>(std::max(a, b))].parent = std::min(a, b);
        }
        if (runs[low].last < runs[high].last)
            ++low;
        else
            ++high;
    }
}

static int32_t count_blobs(Detector* detector, int32_t min_size, int32_t* largest) {
    std::vector<BlobRun>& runs = detector->runs;
    detector->blob_cells.assign(runs.size(), 0);
    for (size_t i = 0; i < runs.size(); ++i)
        detector->blob_cells[static_cast<size_t>(find_root(runs, static_cast<int32_t>(i)))] += runs[i].cells;
    int32_t count = 0;
    *largest = -1;
    for (size_t i = 0; i < runs.size(); ++i) {
        const int32_t cells = detector->blob_cells[i];
        if (cells == 0) continue;
        count += cells * kPixelsPerCell >= min_size;
        if (*largest < 0 || cells > detector->blob_cells[static_cast<size_t>(*largest)])
            *largest = static_cast<int32_t>(i);
    }
    return count;
}

static void measure_blob(Detector* detector, int32_t root, Detection* found) {
    int64_t sum_x = 0;
    int64_t sum_y = 0;
    int64_t weight = 0;
    found->first_y = kFeedHeight;
    found->last_y = -1;
    for (size_t i = 0; i < detector->runs.size(); ++i) {
        if (find_root(detector->runs, static_cast<int32_t>(i)) != root) continue;
        const BlobRun& run = detector->runs[i];
        sum_x += int64_t{run.first + run.last} * run.cells;  // twice the middle of the run, in cells: full pixels
        sum_y += int64_t{2} * run.row * run.cells;
        weight += run.cells;
        found->first_y = std::min(found->first_y, 2 * run.row);
        found->last_y = std::max(found->last_y, 2 * run.row + 1);
    }
    if (weight == 0) return;
    found->size = static_cast<int32_t>(weight) * kPixelsPerCell;
    found->x = static_cast<int32_t>((sum_x + weight / 2) / weight);
    found->y = static_cast<int32_t>((sum_y + weight / 2) / weight);
}

static void finish_cumulative(int32_t (&counts)[4]) {
    for (int32_t quarter = 0, sum = 0; quarter < 4; ++quarter) {
        sum += counts[quarter] * kPixelsPerCell;
        counts[quarter] = sum;
    }
}

void detector_init(Detector* detector) {
    constexpr size_t cells = size_t{kCellColumns} * kCellRows;
    detector->has_background = false;
    detector->frame = 0;
    detector->y.assign(cells, 0);
    detector->u.assign(cells, 0);
    detector->v.assign(cells, 0);
    detector->mask.assign(kCellColumns, 0);
    detector->runs.clear();
    detector->runs.reserve(4096);
    detector->blob_cells.clear();
}

void detector_forget(Detector* detector) {
    detector->has_background = false;
}

// Compares one row of cells with the background and lets the background follow when it is the row's turn.
static int32_t step_row(Detector* detector, const DetectionSettings& settings, int32_t row, const CellBox& region,
                        const uint8_t* y_plane, const uint8_t* u_plane, const uint8_t* v_plane, Detection* found) {
    const Window y_window = difference_window(settings.y_min, settings.y_max);
    const Window u_window = difference_window(settings.u_min, settings.u_max);
    const Window v_window = difference_window(settings.v_min, settings.v_max);
    const int32_t count = region.x1 - region.x0 + 1;
    const ptrdiff_t cell = ptrdiff_t{row} * kCellColumns + region.x0;
    const uint8_t* y_row = y_plane + ptrdiff_t{2} * row * kFrameWidth + ptrdiff_t{2} * region.x0;
    uint8_t* y_back = detector->y.data() + cell;
    uint8_t* u_back = detector->u.data() + cell;
    uint8_t* v_back = detector->v.data() + cell;
    mark_row(detector->mask.data() + region.x0, count, y_row, u_plane + cell, v_plane + cell, y_back, u_back, v_back,
             y_window, u_window, v_window);
    if (static_cast<uint32_t>(row) % kBackgroundPeriod == detector->frame % kBackgroundPeriod) {
        follow_luma(y_back, y_row, count);
        follow_chroma(u_back, u_plane + cell, count);
        follow_chroma(v_back, v_plane + cell, count);
    }
    clear_ignored(detector->mask.data(), settings.ignore, row, region);
    return collect_runs(detector, row, region, found);
}

Detection detector_step(Detector* detector, const DetectionSettings& settings, const uint8_t* y_plane,
                        const uint8_t* u_plane, const uint8_t* v_plane) {
    Detection found{};
    ++detector->frame;
    if (!detector->has_background) {
        take_background(detector, y_plane, u_plane, v_plane);
        found.restarted = true;
        return found;
    }

    const CellBox region = region_cells(settings.region);
    detector->runs.clear();
    int32_t differing = 0;
    size_t above = 0;
    for (int32_t row = region.y0; row <= region.y1; ++row) {
        const size_t start = detector->runs.size();
        differing += step_row(detector, settings, row, region, y_plane, u_plane, v_plane, &found);
        join_rows(detector->runs, above, start, detector->runs.size());
        above = start;
    }

    const int32_t looked_at = (region.x1 - region.x0 + 1) * (region.y1 - region.y0 + 1);
    if (differing > looked_at / 2) {  // no jumper fills half the picture: another camera, video or light
        take_background(detector, y_plane, u_plane, v_plane);
        found = {};
        found.restarted = true;
        return found;
    }

    finish_cumulative(found.y_cumulative);
    finish_cumulative(found.u_cumulative);
    finish_cumulative(found.v_cumulative);
    int32_t largest = -1;
    found.blob_count = count_blobs(detector, settings.min_blob_size, &largest);
    if (largest >= 0) measure_blob(detector, largest, &found);
    found.type = found.blob_count > 0 ? 1 : 0;
    return found;
}

PixelBox region_in_picture(PixelBox stored, int32_t overlay_offset) {
    if (stored.y1 <= stored.y0) return {stored.x0, 0, stored.x1, 0};
    const int32_t y0 = std::clamp(stored.y0 - overlay_offset, 0, kFeedHeight - 1);
    const int32_t y1 = std::clamp(stored.y1 - overlay_offset, 0, kFeedHeight - 1);
    return {stored.x0, y0, stored.x1, y1};
}
