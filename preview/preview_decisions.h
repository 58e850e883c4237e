// What the preview decides at each refresh and click, free of windows and shared memory: the shell gathers the
// inputs, asks here, and obeys.
#pragma once

#include <cstdint>

#include "preview/overlay.h"

struct Settings;

// The motion and ignore regions of `feed` as the settings store them. Stored rows include the feed's overlay offset,
// which is taken off again; a region is valid when any of its four settings is not zero.
struct FeedRegions {
    RegionRect motion;
    RegionRect ignore;
    int32_t offset;
};
FeedRegions regions_from_settings(const Settings* settings, int32_t feed);

// Whether the refresh marks motion in a feed's pane.
bool marks_motion(bool highlight_on, uint32_t motion_active, uint32_t motion_flags, const RegionRect& motion);

// The output region to show: the one that is not being written.
int32_t output_to_show(uint32_t output_active);

// What the combined pane shows now.
enum class CombinedKind { nothing = 1, output, stacked };
struct CombinedInputs {
    bool output_source;        // an output region is mapped as the pane's source
    int32_t output_frame_idx;  // negative: none finished yet
    bool feed_connected[3];
    uint32_t display_type;  // of feed 1's current frame
};
struct CombinedSource {
    CombinedKind kind;
    uint32_t slot;        // output only
    int32_t bottom_feed;  // stacked only: the feed below feed 1
};
CombinedSource combined_source(const CombinedInputs& inputs);

// Which frame a slot held when it was looked at. A source gives every frame it puts into a slot another number, and
// whoever works on the frame afterwards leaves a sign in its flags: a slot whose stamp is the same holds the same
// picture.
struct FrameStamp {
    const void* view;  // the mapped ring, null: no frame
    uint32_t slot;
    uint32_t motion_flags;
    int64_t seq;
    int64_t pts;

    bool operator==(const FrameStamp&) const = default;
};

// Everything that decides what a pane's bitmap shows.
struct PaneContent {
    FrameStamp frame;
    FrameStamp below;  // of the lower half, where two feeds are stacked
    int32_t width, height;
    bool marked;   // motion is marked in it,
    uint8_t mark;  // with this byte; 0 where not
    RegionRect motion, ignore;

    bool operator==(const PaneContent&) const = default;
};

// Whether the bitmap must be filled again to show `wanted`. `has_picture`: it holds what `drawn` says.
bool needs_drawing(bool has_picture, const PaneContent& drawn, const PaneContent& wanted);

// The toggle buttons. Highlight and shadow show the state they are in, log and circles the click that comes next:
// operators know them so.
const char* highlight_button_text(bool on);
const char* log_button_text(bool on);
const char* circles_button_text(bool on);
const char* shadow_button_text(bool on);
