#include "preview/preview_layout.h"

#include <algorithm>

#include "app/commands.h"
#include "ipc/frame_ring.h"
#include "preview/frame_convert.h"

namespace {

constexpr int32_t kLeftMargin = 10, kTopMargin = 10, kGap = 5;
constexpr int32_t kForceVideoLeft = 570;  // the first free place of the top row

constexpr int32_t kDividerLeftRoom = 400, kDividerRightRoom = 186;
constexpr int32_t kDividerWidth = 6;
constexpr int32_t kDividerBottomRoom = 100;

}  // namespace

constexpr PreviewButton kPreviewButtons[kPreviewButtonCount] = {
    {kCmdPlay, "Play", 10, 10, 100, 28, 0, true},
    {kCmdLaunchPractice, "Launch Practice", 120, 10, 130, 28, 0, true},
    {kCmdGoLive, "Go Live", 260, 10, 95, 28, 0, true},
    {kCmdFeedButton, "Feed 0", 360, 10, 60, 28, 0, true},
    {kCmdFeedButton + 1, "Feed 1", 430, 10, 60, 28, 0, true},
    {kCmdFeedButton + 2, "Feed 2", 500, 10, 60, 28, 0, true},
    {kCmdForceVideo, "Force Video", 470, 4, 100, 28, 0, true},
    {kCmdSyncFeeds, "Sync Feeds", kFlowPlace, 0, 100, 28, 1, true},
    {kCmdHighlight, "Highlight ON", kFlowPlace, 0, 100, 28, 2, true},
    {kCmdLogOn, "Log On", kFlowPlace, 0, 80, 28, 3, true},
    {kCmdCircles, "Circles On", kFlowPlace, 0, 100, 28, 4, true},
    {kCmdSaveMotionRange, "Save Motion Range", kFlowPlace, 0, 130, 28, 5, true},
    {kCmdShadowRemoval, "motion shadow remove currently off", kFlowPlace, 0, 300, 28, 6, true},
    {kCmdAutoSetup, "Auto Setup", kFlowPlace, 0, 100, 28, 7, true},
    {kCmdSetRegion, "Set Region 0", kFlowPlace, 0, 80, 20, 8, true},
    {kCmdIgnoreRegion, "Ign Reg 0", kFlowPlace, 0, 80, 20, 8, true},
    {kCmdFeedOffset, "Set F0 Offset", kFlowPlace, 0, 110, 20, 8, true},
    {kCmdSetRegion + 1, "Set Region 1", kFlowPlace, 0, 80, 20, 9, true},
    {kCmdIgnoreRegion + 1, "Ign Reg 1", kFlowPlace, 0, 80, 20, 9, true},
    {kCmdFeedOffset + 1, "Set F1 Offset", kFlowPlace, 0, 110, 20, 9, true},
    {kCmdSetRegion + 2, "Set Region 2", kFlowPlace, 0, 80, 20, 10, true},
    {kCmdIgnoreRegion + 2, "Ign Reg 2", kFlowPlace, 0, 80, 20, 10, true},
    {kCmdFeedOffset + 2, "Set F2 Offset", kFlowPlace, 0, 110, 20, 10, true},
    {kCmdSaveRegions, "Save Regions", kFlowPlace, 0, 90, 20, 11, true},
    {kCmdCaptureFeeds, "Capture Feeds", kFlowPlace, 0, 140, 20, 12, true},
    {kCmdPauseRecording, "Pause Recording", kFlowPlace, 0, 160, 20, 12, false},
};

int32_t preview_button_index(int32_t id) {
    for (int32_t i = 0; i < kPreviewButtonCount; ++i) {
        if (kPreviewButtons[i].id == id) return i;
    }
    return -1;
}

// One past the last button of the group that starts at `first`.
static int32_t group_end(int32_t first) {
    int32_t end = first + 1;
    while (end < kPreviewButtonCount && kPreviewButtons[end].group == kPreviewButtons[first].group) ++end;
    return end;
}

static int32_t group_width(int32_t first, int32_t end) {
    int32_t width = -kGap;
    for (int32_t i = first; i < end; ++i) width += kPreviewButtons[i].width + kGap;
    return width;
}

ButtonPlaces place_buttons(int32_t width) {
    ButtonPlaces places = {};
    int32_t x = 0, row_top = kTopMargin, row_height = 28;
    int32_t index = 0;
    for (; index < kPreviewButtonCount && kPreviewButtons[index].x != kFlowPlace; ++index) {
        const PreviewButton& button = kPreviewButtons[index];
        const int32_t left = button.id == kCmdForceVideo ? kForceVideoLeft : button.x;
        places.button[index] = {left, kTopMargin, left + button.width, kTopMargin + button.height};
        x = left + button.width + kGap;
    }
    while (index < kPreviewButtonCount) {
        // A group goes to the next row as a whole; one that is wider than a row is broken where it has to be.
        const int32_t end = group_end(index);
        const bool group_fits_a_row = kLeftMargin + group_width(index, end) <= width;
        if (group_fits_a_row && x + group_width(index, end) > width) x = width;
        for (; index < end; ++index) {
            const PreviewButton& button = kPreviewButtons[index];
            if (x + button.width > width && x > kLeftMargin) {
                x = kLeftMargin;
                row_top += row_height + kGap;
                row_height = button.height;
            }
            // A low button behind high ones stands in the middle of their row.
            const int32_t top = row_top + (row_height - button.height) / 2;
            places.button[index] = {x, top, x + button.width, top + button.height};
            x += button.width + kGap;
        }
    }
    places.bottom = row_top + row_height + kGap;
    return places;
}

int32_t clamp_divider(const PictureArea& area) {
    const int32_t rightmost = area.left + area.width - kDividerRightRoom;
    return std::max(area.left + kDividerLeftRoom, std::min(area.divider, rightmost));
}

PicturePlaces place_pictures(const PictureArea& area) {
    PicturePlaces places = {};
    places.divider = clamp_divider(area);
    const int32_t width = places.divider - area.left;
    const int32_t feed_height = width * kFeedHeight / kFrameWidth;
    const int32_t output_height = width * kOutputHeight / kFrameWidth;
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t height = i < 3 ? feed_height : output_height;
        const int32_t top = area.top + i * (feed_height + kGap);
        places.pane[i].screen = {area.left, top, places.divider, top + height};
        places.pane[i].bitmap_width = std::clamp(width, kPaneMinWidth, kPaneMaxWidth);
        places.pane[i].bitmap_height = std::clamp(height, kPaneMinHeight, kPaneMaxHeight);
    }
    places.divider_bar = {places.divider, area.top, places.divider + kDividerWidth,
                          area.top + std::max(area.height - kDividerBottomRoom, 0)};
    return places;
}

PlaceRect place_jumper_list(const PictureArea& area, const PicturePlaces& places) {
    const int32_t left = places.divider_bar.right;
    const int32_t least = kDividerRightRoom - kDividerWidth;
    const int32_t right = std::max(area.left + area.width, left + least);
    return {left, area.top, right, area.top + std::max(area.height, 0)};
}

bool hits_divider(const PicturePlaces& places, int32_t x, int32_t y) {
    const PlaceRect& bar = places.divider_bar;
    return x >= bar.left && x < bar.right && y >= bar.top && y < bar.bottom;
}
