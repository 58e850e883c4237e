// Where everything on the preview tab lies. Plain arithmetic on plain rectangles, so that every width can be tested.
//
// The top row's places are what operators' hands know. "Force Video" alone leaves its place when it is laid out:
// there it would lie on two Feed buttons, and a click meant for it would stop a feed.
#pragma once

#include <cstdint>

struct PlaceRect {
    int32_t left, top, right, bottom;
};

inline constexpr int32_t kFlowPlace = -1;  // x of a button that flows

struct PreviewButton {
    int32_t id;
    const char* text;  // at creation; the shadow button's depends on a setting
    int32_t x, y;      // place at creation relative to the panel origin; x is kFlowPlace where the layout decides
    int32_t width, height;  // 20 or 28 high
    int32_t group;          // flowing buttons of one group stay in one row while it is wide enough
    bool usable;            // at creation; false: greyed, because it has nothing to act on yet
};

inline constexpr int32_t kPreviewButtonCount = 26;
extern const PreviewButton kPreviewButtons[kPreviewButtonCount];  // in flow order

// Index into kPreviewButtons, or -1.
int32_t preview_button_index(int32_t id);

struct ButtonPlaces {
    PlaceRect button[kPreviewButtonCount];  // relative to the panel origin
    int32_t bottom;                         // first row below all buttons
};

// Places the buttons over an area `width` pixels wide.
ButtonPlaces place_buttons(int32_t width);

// The picture area: left, top, width and height in whichever coordinates, and the divider wanted in them.
struct PictureArea {
    int32_t left, top, width, height;
    int32_t divider;
};

struct PanePlace {
    PlaceRect screen;
    int32_t bitmap_width, bitmap_height;
};

struct PicturePlaces {
    int32_t divider;    // within its limits
    PanePlace pane[4];  // feeds 0..2, then the combined pane
    PlaceRect divider_bar;
};

// The divider keeps 400 pixels to the left edge and 186 to the right one; where both cannot be had, the left wins.
int32_t clamp_divider(const PictureArea& area);
PicturePlaces place_pictures(const PictureArea& area);
// Where the jumper list stands: all that is right of the divider, so that moving the divider is how an operator gets
// to see all its columns. At least 180 pixels wide, which only an area too narrow for pictures and list cuts off.
PlaceRect place_jumper_list(const PictureArea& area, const PicturePlaces& places);
bool hits_divider(const PicturePlaces& places, int32_t x, int32_t y);
