// What the preview's source files tell one another; nobody outside the room includes this.
#pragma once

#include "preview/preview_panel.h"

inline constexpr char kPreviewWindowClass[] = "SkiJumpPreview";

// preview_paint.cpp: the picture area's window. Create registers its class too and leaves panel->window null when it
// fails. Destroy also lets go of the back buffer.
void preview_window_create(PreviewPanel* panel);
void preview_window_destroy(PreviewPanel* panel);
void preview_repaint(PreviewPanel* panel);
// The same after a refresh, which changes the panes and the caption alone: what lies beside them is left as it is.
void preview_repaint_pictures(PreviewPanel* panel);

// preview_refresh.cpp: fills all pane bitmaps from the newest frames.
void preview_render(PreviewPanel* panel);

// preview_sources.cpp: the regions. Map and reconnect open what is missing; unmap closes everything.
void preview_map_sources(PreviewPanel* panel);
void preview_reconnect_sources(PreviewPanel* panel);
void preview_unmap_sources(PreviewPanel* panel);
// Tries again for a control block that could not be had at creation. Without the reset: workers that found the block
// first may be at work in it.
void preview_retry_control_block(PreviewPanel* panel);
// Whether the bytes up to `end` of one of the mapped views are there. A region that another program made smaller than
// agreed would take the console down when a slot past its end is read; it is named in the log once.
bool preview_holds(PreviewPanel* panel, const void* view, uint64_t end);
void preview_load_regions(PreviewPanel* panel, int32_t feed);

// frame_log_file.cpp: opens the log when it is wanted and not open; appends the refresh's row where it is; closes it.
void preview_open_frame_log(PreviewPanel* panel);
void preview_write_frame_log(PreviewPanel* panel);
void preview_close_frame_log(PreviewPanel* panel);

// preview_panel.cpp
void preview_place_pictures(PreviewPanel* panel);
void preview_set_button_text(PreviewPanel* panel, int32_t id, const char* text);
void preview_reset_button_text(PreviewPanel* panel, int32_t id);  // as at creation

// preview_region_commands.cpp: the buttons; those of no feed are handed 0.
void preview_edit_motion_region(PreviewPanel* panel, int32_t feed);
void preview_edit_ignore_region(PreviewPanel* panel, int32_t feed);
void preview_save_regions(PreviewPanel* panel, int32_t feed);
void preview_save_motion_range(PreviewPanel* panel, int32_t feed);
void preview_adjust_offset(PreviewPanel* panel, int32_t feed);
void preview_sync_feeds(PreviewPanel* panel, int32_t feed);
// A left click in the picture area's coordinates, and the wheel. False when nobody waited for it.
bool preview_click(PreviewPanel* panel, int32_t x, int32_t y);
bool preview_wheel(PreviewPanel* panel, int32_t delta);
