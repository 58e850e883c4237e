#include "autosetup/motion_log.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "app/log.h"
#include "autosetup/byte_scan.h"
#include "autosetup/log_lines.h"
#include "settings/text_numbers.h"

static constexpr size_t kLineBuffer = 1024;
static constexpr int32_t kFirstCapacity = 1024;  // records
static constexpr int32_t kBelowAllRows = 1080;   // where a minimum of rows starts
static constexpr size_t kPathSize = 1024;
static constexpr std::string_view kBlobMark = "blob0_sz=";

namespace {
enum Key : int32_t {
    kKeyNone = -1,
    kKeySize,
    kKeyX,
    kKeyY,
    kKeyFirstY,
    kKeyLastY,
    kKeySeq,
    kKeyTime,
    kKeyType,
    kKeyBlobs,
    kKeyYCum,
    kKeyUCum,
    kKeyVCum,
    kKeyCount,
};

// What stands behind each key's first occurrence in a line, up to the line's end. Null data: not in the line.
struct LineValues {
    std::string_view behind[kKeyCount];

    bool has(Key key) const {
        return behind[key].data() != nullptr;
    }
    int32_t number(Key key) const {
        return text_to_int(behind[key]);
    }
    int64_t number64(Key key) const {
        return text_to_int64(behind[key]);
    }
};
}  // namespace

void motion_log_path(const AutoSetupWorkspace* workspace, int32_t feed, char* path, size_t size) {
    const std::string_view dir = workspace->log_dir ? workspace->log_dir : "";
    const bool separated = dir.empty() || dir.back() == '/' || dir.back() == '\\';
    snprintf(path, size, "%.*s%smotion_debug_%d.log", static_cast<int>(dir.size()), dir.data(), separated ? "" : "/",
             static_cast<int>(feed));
}

static Key key_when(std::string_view text, std::string_view name, Key key) {
    return text.ends_with(name) ? key : kKeyNone;
}

// The key whose equals sign stands right behind `text`. Only the tail counts: "fire_seq" is a "seq".
static Key key_before_equals(std::string_view text) {
    switch (text.empty() ? '\0' : text.back()) {
        case 'z':
            return key_when(text, "blob0_sz", kKeySize);
        case 'x':
            return key_when(text, "blob0_x", kKeyX);
        case 'q':
            return key_when(text, "seq", kKeySeq);
        case 'e':
            return key_when(text, " type", kKeyType);
        case 's':
            return std::max(key_when(text, " ts", kKeyTime), key_when(text, " blobs", kKeyBlobs));
        case 'y':
            return std::max({key_when(text, "blob0_y", kKeyY), key_when(text, "blob0_first_y", kKeyFirstY),
                             key_when(text, "blob0_last_y", kKeyLastY)});
        case 'm':
            return std::max({key_when(text, "ycum", kKeyYCum), key_when(text, "ucum", kKeyUCum),
                             key_when(text, "vcum", kKeyVCum)});
        default:
            return kKeyNone;
    }
}

// All keys in one pass: each ends at an equals sign, and at no sign end two of them.
static LineValues line_values(std::string_view line) {
    LineValues values = {};
    for_each_byte(line, '=', [&](size_t at) {
        const Key key = key_before_equals(line.substr(0, at));
        if (key != kKeyNone && !values.has(key)) values.behind[key] = line.substr(at + 1);
    });
    return values;
}

// Whether the detector called what it saw a blob. Logs say it in one of two ways, or take it for granted.
static bool has_usable_blob(const LineValues& values) {
    if (values.has(kKeyType)) return values.number(kKeyType) != 0;
    return !values.has(kKeyBlobs) || values.number(kKeyBlobs) >= 1;
}

// False for a line that is none of the feed's usable blobs.
static bool read_blob(std::string_view line, const LineValues& values, int32_t feed, int32_t min_size,
                      MotionBlob* blob) {
    if (!values.has(kKeySize) || !has_usable_blob(values)) return false;
    const int32_t size = values.number(kKeySize);
    if (size < min_size || !values.has(kKeyX) || !values.has(kKeySeq)) return false;
    constexpr std::string_view kFeedMark = "feed ";
    const size_t mark = find_text(line, kFeedMark);
    if (mark == std::string_view::npos || text_to_int(line.substr(mark + kFeedMark.size())) != feed) return false;

    blob->size = static_cast<uint32_t>(size);
    blob->x = values.number(kKeyX);
    blob->y = values.number(kKeyY);
    blob->first_y = values.has(kKeyFirstY) ? values.number(kKeyFirstY) : blob->y;
    blob->last_y = values.has(kKeyLastY) ? values.number(kKeyLastY) : blob->y;
    blob->seq = values.number64(kKeySeq);
    blob->ts = values.number64(kKeyTime);
    return true;
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

static void raise(int32_t* maximum, int32_t value) {
    *maximum = std::max(*maximum, value);
}

static void lower(int32_t* minimum, int32_t value) {
    *minimum = std::min(*minimum, value);
}

// The last of four cumulated differences is the total; fewer than four say nothing.
static void raise_cumulated(int32_t* maximum, std::string_view text) {
    TextCursor cursor{text.data(), text.data() + text.size()};
    int32_t total = 0;
    for (int32_t i = 0; i < 4; ++i)
        if ((i > 0 && !scan_literal(&cursor, ",")) || !scan_int(&cursor, &total)) return;
    raise(maximum, total);
}

static void note_blob(AutoSetupWorkspace* workspace, int32_t feed, const MotionBlob& blob, const LineValues& values) {
    lower(&workspace->centroid_y_min[feed], blob.y);
    raise(&workspace->centroid_y_max[feed], blob.y);
    lower(&workspace->bbox_y_min[feed], blob.first_y);
    raise(&workspace->bbox_y_max[feed], blob.last_y);
    raise(&workspace->blob_size_max[feed], static_cast<int32_t>(blob.size));
    if (values.has(kKeyYCum)) raise_cumulated(&workspace->ycum_max[feed], values.behind[kKeyYCum]);
    if (values.has(kKeyUCum)) raise_cumulated(&workspace->ucum_max[feed], values.behind[kKeyUCum]);
    if (values.has(kKeyVCum)) raise_cumulated(&workspace->vcum_max[feed], values.behind[kKeyVCum]);
}

static void reset_statistics(AutoSetupWorkspace* workspace, int32_t feed) {
    workspace->centroid_y_min[feed] = kBelowAllRows;
    workspace->centroid_y_max[feed] = 0;
    workspace->bbox_y_min[feed] = kBelowAllRows;
    workspace->bbox_y_max[feed] = 0;
    workspace->blob_size_max[feed] = 0;
}

static int32_t parse_lines(AutoSetupWorkspace* workspace, int32_t feed, int32_t min_size, ResizeMemory resize,
                           LogLines* lines) {
    if (!reserve_records(workspace, feed, kFirstCapacity, resize)) {
        log_error("auto_setup_parse_logs: malloc failed for feed %d", static_cast<int>(feed));
        return -1;
    }
    std::string_view line;
    while (log_lines_next_with(lines, kLineBuffer, kBlobMark, &line)) {
        const LineValues values = line_values(line);
        MotionBlob blob = {};
        if (!read_blob(line, values, feed, min_size, &blob)) continue;
        if (workspace->grid_valid[feed])
            blob.meter = workspace->meters_at_x[feed][std::clamp(blob.x, 0, kPixelColumns - 1)];
        if (!append_blob(workspace, feed, blob, resize)) {
            log_error("auto_setup_parse_logs: realloc failed for feed %d", static_cast<int>(feed));
            return -1;
        }
        note_blob(workspace, feed, blob, values);
    }
    return 0;
}

static int32_t parse_feed(AutoSetupWorkspace* workspace, int32_t feed, int32_t min_size, ResizeMemory resize) {
    char path[kPathSize];
    motion_log_path(workspace, feed, path, sizeof path);
    workspace->blob_count[feed] = 0;
    LogLines lines;
    if (log_lines_open(&lines, path) != 0) {
        log_info("auto_setup_parse_logs: motion_debug_%d.log not found, skipping feed %d", static_cast<int>(feed),
                 static_cast<int>(feed));
        return 0;
    }
    reset_statistics(workspace, feed);
    const int32_t result = parse_lines(workspace, feed, min_size, resize, &lines);
    log_lines_close(&lines);
    return result;
}

static void log_feed(const AutoSetupWorkspace* workspace, int32_t feed) {
    log_info("feed %d: %d blobs parsed, centroid_y %d..%d, bbox_y %d..%d, max_size %d", static_cast<int>(feed),
             static_cast<int>(workspace->blob_count[feed]), static_cast<int>(workspace->centroid_y_min[feed]),
             static_cast<int>(workspace->centroid_y_max[feed]), static_cast<int>(workspace->bbox_y_min[feed]),
             static_cast<int>(workspace->bbox_y_max[feed]), static_cast<int>(workspace->blob_size_max[feed]));
}

int32_t parse_motion_logs(AutoSetupWorkspace* workspace, const Settings* settings, ResizeMemory resize) {
    // Feed 0's least size holds for all three feeds: the other two only tune their detectors.
    const int32_t min_size = settings->min_blob_sizes[0];
    bool any = false;
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) {
        if (parse_feed(workspace, feed, min_size, resize) != 0) return -1;
        any = any || workspace->blob_count[feed] > 0;
    }
    for (int32_t feed = 0; feed < kAnalysisFeeds; ++feed) log_feed(workspace, feed);
    if (any) return 0;
    log_error("auto_setup_parse_logs: no blobs found in any feed");
    return -1;
}

int32_t auto_setup_parse_logs(AutoSetupWorkspace* workspace, const Settings* settings) {
    return parse_motion_logs(workspace, settings, realloc);
}
