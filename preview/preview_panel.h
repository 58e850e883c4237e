// The preview tab: three feeds and the combined picture, live, below the operator's buttons. The panel owns the
// mapped control block and the frame regions, because it is the first to need them; others reach the block through
// it.
//
// Wiring: all buttons (ids 700..729) are direct children of the main window, the picture area (class
// "SkiJumpPreview", id 110) too; the panel raises them above the tab control, which needs WS_CLIPSIBLINGS. The main
// window forwards WM_COMMAND to preview_command, kMsgPreviewRefresh to preview_refresh, timer 2 to
// preview_reconnect and its size to preview_layout. Everything runs on the main thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstdio>

#include "ipc/control_block.h"
#include "ipc/shared_region.h"
#include "ipc/sync_set.h"
#include "preview/frame_convert.h"
#include "preview/frame_log.h"
#include "preview/jumper_caption.h"
#include "preview/overlay.h"
#include "preview/preview_decisions.h"
#include "preview/preview_layout.h"
#include "preview/preview_thread.h"
#include "preview/region_editor.h"

struct Settings;

inline constexpr int32_t kCombinedPane = 3;
inline constexpr int32_t kPaneCount = 4;

struct PreviewPane {
    int32_t feed;      // 0..2; -1 for the combined pane while it is built from feeds
    bool is_output;    // of the output kind (combined pane)
    bool connected;    // has a source
    bool has_picture;  // the last refresh filled the bitmap; without, the placeholder is painted
    const void* view;  // source: the feed's channel in use or the output region shown; not owned
    RegionRect motion_rect;
    RegionRect ignore_rect;
    int32_t offset;  // overlay_frame_offsets as last seen
    // Of the frame that the last refresh found, feed panes only.
    int64_t pts;
    int64_t seq;
    uint32_t motion_flags;
    uint32_t display_type;
    PaneContent drawn;  // what the bitmap holds, where there is a picture
    BITMAPINFOHEADER header;
    uint8_t pixels[kPaneMaxBytes];
};

// Who is jumping now; false when nobody. The texts belong to the callee and stay valid until the next call.
using CurrentJumper = bool (*)(void* context, int32_t* bib, const char** name, const char** club);

// The jumper list stands beside the pictures but belongs to somebody else: the preview tells where it is to stand, in
// main window coordinates, and lets it update itself before each paint.
using PlaceJumpers = void (*)(void* context, const RECT& area);
using RefreshJumpers = void (*)(void* context);

// Some 2.8 MB: lives in the UI context, never on the stack, and starts as zeros.
struct PreviewPanel {
    HWND main_window;
    HWND window;  // the picture area
    HINSTANCE instance;
    IpcSyncSet* sync;  // may be null
    Settings* settings;
    const char* settings_path;
    CurrentJumper current_jumper;  // set by the owner of the jumper list; null: no caption
    PlaceJumpers place_jumpers;    // null: nothing to place
    RefreshJumpers refresh_jumpers;
    void* jumpers_context;  // of all three

    SharedRegion control;
    SharedRegion channel[kFeedCount][kChannelCount];  // [f][0] is the pane's own
    SharedRegion output[2];
    uint64_t channel_held[kFeedCount][kChannelCount];  // the bytes they really have
    uint64_t output_held[2];
    bool combined_on_output;  // the combined pane was set up on an output region
    bool outputs_mapped;      // both
    uint32_t too_small;       // regions named in the log for their size, a bit each (preview_sources.cpp)
    PreviewPane pane[kPaneCount];
    // As the last refresh read them, 0 without a control block.
    int32_t live_channel;       // whatever stands there, also an impossible one
    uint32_t nw[kFeedCount];    // the feeds' write counters in it
    uint32_t slot[kFeedCount];  // and their newest complete slots

    bool created;
    bool active;
    bool timer_running;
    PreviewThread thread;
    uint32_t reconnect_attempt;

    RECT area;        // in main window coordinates
    int32_t divider;  // where the operator wants it, from the left of the picture area
    bool dragging;
    PicturePlaces places;              // in coordinates of the picture area
    HWND button[kPreviewButtonCount];  // as kPreviewButtons

    FrameLog frame_log;
    FILE* frame_log_file;  // null while it is not open

    bool highlight_on;
    bool log_on;
    RegionEditor editor;
    int32_t offset_feed;  // whose overlay offset the wheel adjusts, or -1

    HFONT caption_font;
    char caption[kJumperCaptionSize];  // as the last refresh found it
    HDC back_dc;
    HBITMAP back_bitmap;
    HGDIOBJ back_previous;
    SIZE back_size;
};

// Creates and resets the control block, maps what regions there are, builds buttons and picture area, all hidden.
// Returns 0: whatever is missing is retried, the control block by preview_refresh, the rest by preview_reconnect.
// `sync` and `settings` may be null; both and `settings_path` outlive the panel.
int32_t preview_create(PreviewPanel* panel, HWND main_window, HINSTANCE instance, IpcSyncSet* sync,
                       Settings* settings, const char* settings_path);

// Places buttons and picture area in `area` (the tab's display rectangle in main window coordinates). An empty area,
// as of a minimised window, changes nothing.
void preview_layout(PreviewPanel* panel, const RECT& area);

// Shows or hides everything, and starts or stops timer and thread with it.
void preview_set_active(PreviewPanel* panel, bool active);

// Reads the newest frames and repaints; only while active. Answers kMsgPreviewRefresh.
void preview_refresh(PreviewPanel* panel);

// Maps what has appeared since, then refreshes. Answers timer kTimerPreview.
void preview_reconnect(PreviewPanel* panel);

// A button of the panel or its accelerator. False for commands that are not the panel's own.
bool preview_command(PreviewPanel* panel, int32_t id);

// The mapped control block, or null when there is none.
ControlBlock* preview_control_block(PreviewPanel* panel);

void preview_set_play_text(PreviewPanel* panel, const char* text);
void preview_set_auto_setup_text(PreviewPanel* panel, const char* text);
void preview_set_capture_buttons(PreviewPanel* panel, const char* capture_text, const char* pause_text,
                                 bool pause_usable);

// Width of the preview column in pixels, as asked for; the next layout keeps it within its limits.
void preview_set_divider(PreviewPanel* panel, int32_t width);
// Its width now.
int32_t preview_panel_width(const PreviewPanel* panel);

// Ends thread and timer, unmaps every region, the control block last, and releases windows and GDI objects. Harmless
// on a panel that was never created.
void preview_destroy(PreviewPanel* panel);
