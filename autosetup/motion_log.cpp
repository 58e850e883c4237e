#include "autosetup/motion_log.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "app/log.h"
#include "autosetup/log_lines.h"
#include "autosetup/motion_line.h"

static constexpr int32_t kFirstCapacity = 1024;  // records
static constexpr int32_t kBelowAllRows = 1080;   // where a minimum of rows starts
static constexpr size_t kPathSize = 1024;

void motion_log_path(const AutoSetupWorkspace* workspace, int32_t feed, char* path, size_t size) {
    const std::string_view dir = workspace->log_dir ? workspace->log_dir : "";
    const bool separated = dir.empty() || dir.back() == '/' || dir.back() == '\\';
    snprintf(path, size, "%.*s%smotion_debug_%d.log", static_cast<int>(dir.size()), dir.data(), separated ? "" : "/",
             static_cast<int>(feed));
}

static bool reserve_records(AutoSetupWorkspace* workspace, int32_t feed, int32_t capacity, ResizeMemory resize) {
    void* const memory = resize(workspace->blobs[feed], static_cast<size_t>(capacity) * sizeof(MotionBlob));
    if (!memory) return false;
    workspace->blobs[feed] = static_cast<MotionBlob*>(memory);
    workspace->blob_capacity[feed] = capacity;
    return true;
}

static bool append_blob(AutoSetupWorkspace* workspace, int32_t feed, const MotionBlob& blob, ResizeMemory resize) {
    const int32_t capacity = workspace->blob_capacity[feed];
    if (workspace->blob_count[feed] >= capacity &&
        (capacity > INT32_MAX / 2 || !reserve_records(workspace, feed, capacity * 2, resize))) {
        return false;
    }
    workspace->blobs[feed][workspace->blob_count[feed]++] = blob;
    return true;
}

// Hardly ever: a branch costs less than storing what is there already.
static void raise(int32_t* maximum, int32_t value) {
    if (value > *maximum) *maximum = value;
}

static void lower(int32_t* minimum, int32_t value) {
    if (value < *minimum) *minimum = value;
}

static void note_blob(AutoSetupWorkspace* workspace, int32_t feed, const MotionLine& line) {
    const MotionBlob& blob = line.blob;
    lower(&workspace->centroid_y_min[feed], blob.y);
    raise(&workspace->centroid_y_max[feed], blob.y);
    lower(&workspace->bbox_y_min[feed], blob.first_y);
    raise(&workspace->bbox_y_max[feed], blob.last_y);
    raise(&workspace->blob_size_max[feed], static_cast<int32_t>(blob.size));
    raise(&workspace->ycum_max[feed], line.totals[0]);
    raise(&workspace->ucum_max[feed], line.totals[1]);
    raise(&workspace->vcum_max[feed], line.totals[2]);
}

static void reset_statistics(AutoSetupWorkspace* workspace, int32_t feed) {
    workspace->centroid_y_min[feed] = kBelowAllRows;
    workspace->centroid_y_max[feed] = 0;
    workspace->bbox_y_min[feed] = kBelowAllRows;
    workspace->bbox_y_max[feed] = 0;
    workspace->blob_size_max[feed] = 0;
}

// The next line with a usable blob of any feed; false at the log's end.
static bool next_blob_line(LogLines* lines, int32_t min_size, MotionLine* line) {
    // Lines with blobs follow one another while a jumper passes, so the next line is tried before any search.
    bool search = false;
    for (;;) {
        if (search && !log_lines_seek(lines, kMotionLineBuffer, kBlobMark)) return false;
        bool is_blob = false;
        if (const size_t size = read_usual_line(log_lines_ahead(*lines).data(), min_size, &is_blob, line)) {
            log_lines_pass(lines, size);
            if (is_blob) return true;
        } else if (search) {
            std::string_view text;
            if (!log_lines_next(lines, kMotionLineBuffer, &text)) return false;
            if (read_any_line(text, min_size, *lines->scan, line)) return true;
        }
        search = !search;
    }
}

static int32_t parse_lines(AutoSetupWorkspace* workspace, int32_t feed, int32_t min_size, const ParseTools& tools,
                           LogLines* lines) {
    if (!reserve_records(workspace, feed, kFirstCapacity, tools.resize)) {
        log_error("auto_setup_parse_logs: malloc failed for feed %d", static_cast<int>(feed));
        return -1;
    }
    MotionLine line;
    while (next_blob_line(lines, min_size, &line)) {
        if (line.feed != feed) continue;
        if (workspace->grid_valid[feed])
            line.blob.meter = workspace->meters_at_x[feed][std::clamp(line.blob.x, 0, kPixelColumns - 1)];
        if (!append_blob(workspace, feed, line.blob, tools.resize)) {
            log_error("auto_setup_parse_logs: realloc failed for feed %d", static_cast<int>(feed));
            return -1;
        }
        note_blob(workspace, feed, line);
    }
    return 0;
}

static int32_t parse_feed(AutoSetupWorkspace* workspace, int32_t feed, int32_t min_size, const ParseTools& tools) {
    char path[kPathSize];
    motion_log_path(workspace, feed, path, sizeof path);
    workspace->blob_count[feed] = 0;
    LogLines lines;
    if (log_lines_open(&lines, path, *tools.scan) != 0) {
        log_info("auto_setup_parse_logs: motion_debug_%d.log not found, skipping feed %d", static_cast<int>(feed),
                 static_cast<int>(feed));
        return 0;
    }
    reset_statistics(workspace, feed);
    const int32_t result = parse_lines(workspace, feed, min_size, tools, &lines);
    log_lines_close(&lines);
    return result;
}

static void log_feed(const AutoSetupWorkspace* workspace, int32_t feed) {
    log_info("feed %d: %d blobs parsed, centroid_y %d..%d, bbox_y %d..%d, max_size %d", static_cast<int>(feed),
             static_cast<int>(workspace->blob_count[feed]), static_cast<int>(workspace->centroid_y_min[feed]),
             static_cast<int>(workspace->centroid_y_max[feed]), static_cast<int>(workspace->bbox_y_min[feed]),
             static_cast<int>(workspace->bbox_y_max[feed]), static_cast<int>(workspace->blob_size_max[feed]));
}

int32_t parse_motion_logs(AutoSetupWorkspace* workspace, const Settings* settings, const ParseTools& tools) {
    // Feed 0's least size holds for all three feeds: the other two only tune their detectors.
    const int32_t min_size = settings->min_blob_sizes[0];
    bool any = false;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        if (parse_feed(workspace, feed, min_size, tools) != 0) return -1;
        any = any || workspace->blob_count[feed] > 0;
    }
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) log_feed(workspace, feed);
    if (any) return 0;
    log_error("auto_setup_parse_logs: no blobs found in any feed");
    return -1;
}

int32_t auto_setup_parse_logs(AutoSetupWorkspace* workspace, const Settings* settings) {
    return parse_motion_logs(workspace, settings, {});
}
