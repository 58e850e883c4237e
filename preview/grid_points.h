// The Grid Line Setup panel without its window: which button means which anchor, where everything stands and what it
// says. A line of a feed is anchored by two points, one on the far and one on the near side of the picture.
//
// Grown on default fonts and a fixed 49-pixel raster: the ids and places are also known to whoever drives the panel
// from outside.
#pragma once

#include <cstddef>
#include <cstdint>

#include "settings/settings.h"

struct GridPoint {
    int32_t feed;    // 0..2
    int32_t line;    // 0..29
    bool near_side;  // else the far side; "near" and "far" alone are taken words in Windows' headers
};

// Ids inside the panel's own window. 1001 is another command in the main window.
inline constexpr int32_t kGridFirstLineButton = 800;  // + feed * 60 + line, near points + 30
inline constexpr int32_t kGridLastLineButton = 999;   // of the range that is the panel's; the last ids are unused
inline constexpr int32_t kGridSave = 1000;
inline constexpr int32_t kGridExit = 1001;

int32_t grid_button_id(GridPoint point);

// Whether a press on `id` asks for a point: the id means a line that the feed has, and no click is awaited yet.
// Otherwise false, `point` untouched.
bool grid_button_asks(int32_t id, const Settings* settings, bool waiting, GridPoint* point);

// How many lines of the feed have buttons: 0..30.
int32_t grid_line_count(const Settings* settings, int32_t feed);

// The line's distance in metres. A start or increment that leads out of the number range wraps around.
int32_t grid_line_metre(const Settings* settings, int32_t feed, int32_t line);

// The anchor's place in the record.
GridLine* grid_anchor(Settings* settings, GridPoint point);
const GridLine* grid_anchor(const Settings* settings, GridPoint point);

// Puts a click, in pixels of the feed's picture, into the record: anchors count their rows from the full picture, as
// the motion regions do, so the feed's overlay offset is added. Returns the row stored.
int32_t grid_store_click(Settings* settings, GridPoint point, int32_t x, int32_t y);

struct GridPlace {
    int32_t x, y, width, height;
};

GridPlace grid_feed_label_place(int32_t feed);
GridPlace grid_side_label_place(int32_t feed, bool near_side);
GridPlace grid_button_place(GridPoint point);
inline constexpr GridPlace kGridSavePlace = {60, 284, 80, 30};
inline constexpr GridPlace kGridExitPlace = {160, 284, 80, 30};

// Outer size of the window.
int32_t grid_panel_width(const Settings* settings);
inline constexpr int32_t kGridPanelHeight = 359;

inline constexpr size_t kGridLabelSize = 16;
inline constexpr size_t kGridTitleSize = 80;
inline constexpr size_t kGridPathSize = 300;

// The button's text: the line's metres, with an asterisk when the point is set.
void grid_button_label(int32_t metre, bool is_set, char label[kGridLabelSize]);
bool grid_anchor_is_set(const GridLine* anchor);

const char* grid_side_name(bool near_side);  // "near", "far"

// The window's title while it waits for the click on this point.
void grid_waiting_title(const Settings* settings, GridPoint point, char title[kGridTitleSize]);

// The file that keeps the window's position: beside the settings file, in the current directory when its path names
// none.
void grid_position_path(const char* settings_path, char path[kGridPathSize]);
