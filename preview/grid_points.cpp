#include "preview/grid_points.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int32_t kButtonsPerSide = kGridLinesPerFeed;
constexpr int32_t kButtonsPerFeed = 2 * kButtonsPerSide;

constexpr int32_t kTop = 10;
constexpr int32_t kFeedPitch = 88;
constexpr int32_t kFarRow = 20;  // below the feed's label, as the next
constexpr int32_t kNearRow = 49;
constexpr int32_t kLabelDrop = 3;  // brings a text down to the middle of the buttons beside it
constexpr int32_t kLeft = 10;
constexpr int32_t kFirstButton = 55;
constexpr int32_t kButtonPitch = 49;
constexpr int32_t kRowHeight = 25;
constexpr int32_t kNarrowestPanel = 350;
constexpr int32_t kBesideButtons = 85;

}  // namespace

int32_t grid_button_id(GridPoint point) {
    return kGridFirstLineButton + point.feed * kButtonsPerFeed + (point.near_side ? kButtonsPerSide : 0) + point.line;
}

bool grid_button_asks(int32_t id, const Settings* settings, bool waiting, GridPoint* point) {
    if (id < kGridFirstLineButton || id > kGridLastLineButton || waiting) return false;
    const int32_t k = id - kGridFirstLineButton;
    const int32_t feed = k / kButtonsPerFeed;
    const int32_t line = k % kButtonsPerSide;
    if (feed >= kSettingsFeeds || line >= settings->meter_line_count[feed]) return false;
    *point = {feed, line, k % kButtonsPerFeed >= kButtonsPerSide};
    return true;
}

int32_t grid_line_count(const Settings* settings, int32_t feed) {
    return std::clamp(settings->meter_line_count[feed], 0, kGridLinesPerFeed);
}

int32_t grid_line_metre(const Settings* settings, int32_t feed, int32_t line) {
    const auto start = static_cast<uint32_t>(settings->meter_line_start[feed]);
    const auto increment = static_cast<uint32_t>(settings->meter_line_increment[feed]);
    return static_cast<int32_t>(start + static_cast<uint32_t>(line) * increment);
}

const GridLine* grid_anchor(const Settings* settings, GridPoint point) {
    const auto& lines = point.near_side ? settings->near_lines : settings->far_lines;
    return &lines[point.feed][point.line];
}

GridLine* grid_anchor(Settings* settings, GridPoint point) {
    auto& lines = point.near_side ? settings->near_lines : settings->far_lines;
    return &lines[point.feed][point.line];
}

int32_t grid_store_click(Settings* settings, GridPoint point, int32_t x, int32_t y) {
    // Unsigned: the click comes from another program and the offset from a file.
    const uint32_t offset = static_cast<uint32_t>(settings->overlay_frame_offsets[point.feed]);
    const auto row = static_cast<int32_t>(static_cast<uint32_t>(y) + offset);
    GridLine* anchor = grid_anchor(settings, point);
    anchor->x = x;
    anchor->y = row;
    return row;
}

static int32_t feed_top(int32_t feed) {
    return kTop + feed * kFeedPitch;
}

static int32_t row_of(int32_t feed, bool near_side) {
    return feed_top(feed) + (near_side ? kNearRow : kFarRow);
}

GridPlace grid_feed_label_place(int32_t feed) {
    return {kLeft, feed_top(feed), 200, 20};
}

GridPlace grid_side_label_place(int32_t feed, bool near_side) {
    return {kLeft, row_of(feed, near_side) + kLabelDrop, 40, kRowHeight};
}

GridPlace grid_button_place(GridPoint point) {
    return {kFirstButton + kButtonPitch * point.line, row_of(point.feed, point.near_side), 45, kRowHeight};
}

int32_t grid_panel_width(const Settings* settings) {
    int32_t most = 0;
    for (int32_t feed = 0; feed < kSettingsFeeds; ++feed) most = std::max(most, grid_line_count(settings, feed));
    return std::max(most * kButtonPitch + kBesideButtons, kNarrowestPanel);
}

void grid_button_label(int32_t metre, bool is_set, char label[kGridLabelSize]) {
    snprintf(label, kGridLabelSize, is_set ? "*%d" : "%d", metre);
}

bool grid_anchor_is_set(const GridLine* anchor) {
    return anchor->x != 0 || anchor->y != 0;
}

const char* grid_side_name(bool near_side) {
    return near_side ? "near" : "far";
}

void grid_waiting_title(const Settings* settings, GridPoint point, char title[kGridTitleSize]) {
    snprintf(title, kGridTitleSize, "Click in viewer for Feed %d, %s point, %dm line", point.feed,
             grid_side_name(point.near_side), grid_line_metre(settings, point.feed, point.line));
}

void grid_position_path(const char* settings_path, char path[kGridPathSize]) {
    size_t directory = strlen(settings_path);
    while (directory > 0 && settings_path[directory - 1] != '\\' && settings_path[directory - 1] != '/') --directory;
    snprintf(path, kGridPathSize, "%.*sgridline_panel.ini", static_cast<int>(directory), settings_path);
}
