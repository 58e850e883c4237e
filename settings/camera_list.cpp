#include "settings/camera_list.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "settings/text_pieces.h"

static void copy_text(std::string_view text, char (&target)[kSettingTextSize]) {
    const size_t length = text_cut(text, sizeof target - 1);
    memcpy(target, text.data(), length);
    target[length] = '\0';
}

static void take_line(CameraListReader* reader) {
    const std::string_view line =
        piece_text({reader->piece, static_cast<size_t>(std::exchange(reader->piece_length, 0))});
    if (line.empty() || line[0] == '\n' || line[0] == '\r' || line[0] == '#') return;
    const size_t first_tab = line.find('\t');
    if (first_tab == std::string_view::npos) return;
    const size_t second_tab = line.find('\t', first_tab + 1);
    if (second_tab == std::string_view::npos) return;
    CameraDevice* const device = &reader->list.device[reader->list.count++];
    copy_text(line.substr(first_tab + 1, second_tab - first_tab - 1), device->name);
    const std::string_view path = line.substr(second_tab + 1);
    copy_text(path.substr(0, path.find_first_of("\t\r\n")), device->path);
}

bool camera_list_feed(CameraListReader* reader, const char* bytes, size_t size) {
    for (size_t i = 0; i < size && reader->list.count < kMaxCameras; ++i) {
        reader->piece[reader->piece_length++] = bytes[i];
        if (bytes[i] == '\n' || reader->piece_length == kCameraLineSize - 1) take_line(reader);
    }
    return reader->list.count < kMaxCameras;
}

void camera_list_finish(CameraListReader* reader) {
    if (reader->list.count < kMaxCameras) take_line(reader);
}

// Between the second and the third "#" of a symbolic link stands what is the device's own; before it, what all of its
// make share.
static std::string_view instance_part(std::string_view path) {
    size_t start = 0;
    for (int32_t i = 0; i < 2; ++i) {
        start = path.find('#', start);
        if (start == std::string_view::npos) return {};
        ++start;
    }
    const size_t end = path.find('#', start);
    return end == std::string_view::npos ? std::string_view{} : path.substr(start, end - start);
}

void camera_item_text(const CameraDevice* device, char (&text)[kCameraItemSize]) {
    const std::string_view part = instance_part(device->path);
    if (part.empty()) {
        snprintf(text, sizeof text, "%s  [%s]", device->name, device->path);
    } else {
        snprintf(text, sizeof text, "%s  [%.*s]", device->name, static_cast<int>(part.size()), part.data());
    }
}

static char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

static bool same_path(const char* a, const char* b) {
    while (*a != '\0' && lower(*a) == lower(*b)) {
        ++a;
        ++b;
    }
    return *a == '\0' && *b == '\0';
}

// The item that shows the path; no camera is "(unused)".
static int32_t item_of(const CameraChoice* choice, const char* path) {
    if (path[0] == '\0') return 0;
    for (int32_t i = 0; i < choice->list.count; ++i)
        if (same_path(choice->list.device[i].path, path)) return i + 1;
    return 0;
}

void camera_choice_refill(CameraChoice* choice, const CameraList* list) {
    choice->list = *list;
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) choice->shown[feed] = item_of(choice, choice->path[feed]);
}

static int32_t feed_that_shows(const CameraChoice* choice, const char* path, int32_t besides) {
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) {
        if (feed == besides || choice->shown[feed] == 0) continue;
        if (same_path(camera_choice_result(choice, feed), path)) return feed;
    }
    return -1;
}

int32_t camera_choice_pick(CameraChoice* choice, int32_t feed, int32_t item) {
    if (item <= 0 || item > choice->list.count) {
        choice->path[feed][0] = '\0';
        choice->shown[feed] = 0;
        return -1;
    }
    const char* const picked = choice->list.device[item - 1].path;
    const int32_t other = feed_that_shows(choice, picked, feed);
    if (other >= 0) {
        memcpy(choice->path[other], choice->path[feed], sizeof choice->path[other]);
        choice->shown[other] = item_of(choice, choice->path[other]);
    }
    memcpy(choice->path[feed], picked, sizeof choice->path[feed]);
    choice->shown[feed] = item;
    return other;
}

void camera_choice_swap(CameraChoice* choice, int32_t feed, int32_t other) {
    std::swap(choice->path[feed], choice->path[other]);
    std::swap(choice->shown[feed], choice->shown[other]);
}

const char* camera_choice_result(const CameraChoice* choice, int32_t feed) {
    const int32_t item = choice->shown[feed];
    return item == 0 ? "" : choice->list.device[item - 1].path;
}

void camera_search_message(CameraSearch search, int32_t count, char (&text)[kCameraMessageSize]) {
    switch (search) {
        case CameraSearch::running:
            snprintf(text, sizeof text, "Looking for cameras...");
            break;
        case CameraSearch::complete:
            snprintf(text, sizeof text, "%d camera%s found.", count, count == 1 ? "" : "s");
            break;
        case CameraSearch::not_started:
            snprintf(text, sizeof text, "capture.exe could not be started. Cancel keeps the cameras as they are.");
            break;
        case CameraSearch::ended_late:
            snprintf(text, sizeof text, "capture.exe did not finish and was ended. %d camera%s found.", count,
                     count == 1 ? "" : "s");
            break;
    }
}

void camera_position_text(int32_t x, int32_t y, char (&text)[kCameraPositionSize]) {
    snprintf(text, sizeof text, "x=%d\ny=%d\n", x, y);
}
