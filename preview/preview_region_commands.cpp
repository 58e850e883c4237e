// What the operator sets up per camera: motion and ignore regions by clicks into the picture, the overlay offset with
// the wheel, and the alignment of the feeds. Buttons change memory and the control block; the file is written by Save
// Regions, by Save Motion Range and when an offset is left.
#include <windows.h>

#include <cstdio>

#include "app/commands.h"
#include "app/log.h"
#include "ipc/shared_access.h"
#include "preview/preview_internal.h"
#include "procs/live_counters.h"
#include "settings/motion_range.h"
#include "settings/settings.h"
#include "settings/settings_file.h"

static void show_step(PreviewPanel* panel, const EditStep& step) {
    preview_set_button_text(panel, step.button, step.text);
    log_info("%s", step.log);
}

void preview_edit_motion_region(PreviewPanel* panel, int32_t feed) {
    show_step(panel, region_editor_start(&panel->editor, EditedRegion::motion, feed));
}

void preview_edit_ignore_region(PreviewPanel* panel, int32_t feed) {
    show_step(panel, region_editor_start(&panel->editor, EditedRegion::ignore, feed));
}

bool preview_click(PreviewPanel* panel, int32_t x, int32_t y) {
    if (panel->editor.region == EditedRegion::none) return false;
    const int32_t feed = panel->editor.feed;
    PicturePoint point;
    if (!picture_point_at(panel->places.pane[feed].screen, x, y, &point)) return false;
    PreviewPane& pane = panel->pane[feed];
    const bool motion = panel->editor.region == EditedRegion::motion;
    show_step(panel, region_editor_click(&panel->editor, point, motion ? &pane.motion_rect : &pane.ignore_rect));
    // The new region at once, not only with the next frame.
    preview_render(panel);
    preview_repaint(panel);
    return true;
}

static bool save_settings(const PreviewPanel* panel) {
    return settings_save(panel->settings, panel->settings_path) == 0;
}

static void end_editing(PreviewPanel* panel) {
    panel->editor = {};
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        preview_reset_button_text(panel, kCmdSetRegion + feed);
        preview_reset_button_text(panel, kCmdIgnoreRegion + feed);
    }
}

void preview_save_regions(PreviewPanel* panel, int32_t /*feed*/) {
    if (!panel->settings) return;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        regions_to_settings(panel->settings, feed, panel->pane[feed].motion_rect, panel->pane[feed].ignore_rect);
    }
    if (save_settings(panel)) {
        log_info("motion + ignore regions saved to %s", panel->settings_path);
    } else {
        log_error("failed to save settings to %s", panel->settings_path);
    }
    end_editing(panel);
}

void preview_save_motion_range(PreviewPanel* panel, int32_t /*feed*/) {
    if (!panel->settings) return;
    save_motion_range(panel->settings);
    save_settings(panel);  // a failure has had its own line
    log_info("saved motion range: %s", panel->settings->saved_motion_range);
}

// As the log names it; -1 stands for no settings.
static int overlay_offset(const PreviewPanel* panel, int32_t feed) {
    return panel->settings ? panel->settings->overlay_frame_offsets[feed] : -1;
}

static void leave_offset(PreviewPanel* panel) {
    const int32_t feed = panel->offset_feed;
    panel->offset_feed = -1;
    preview_reset_button_text(panel, kCmdFeedOffset + feed);
    if (panel->settings) {
        if (save_settings(panel)) {
            log_info("feed offset persisted to %s", panel->settings_path);
        } else {
            log_error("failed to persist feed offset to %s", panel->settings_path);
        }
    }
    log_info("feed offset: feed %d adjustment OFF (overlay_frame_offsets[%d]=%d)", static_cast<int>(feed),
             static_cast<int>(feed), overlay_offset(panel, feed));
}

void preview_adjust_offset(PreviewPanel* panel, int32_t feed) {
    if (panel->offset_feed == feed) {
        leave_offset(panel);
        return;
    }
    if (panel->offset_feed >= 0) {
        preview_reset_button_text(panel, kCmdFeedOffset + panel->offset_feed);
        if (panel->settings) save_settings(panel);
    }
    panel->offset_feed = feed;
    char text[32];
    snprintf(text, sizeof text, "Exit F%d Offset", static_cast<int>(feed));
    preview_set_button_text(panel, kCmdFeedOffset + feed, text);
    if (panel->window) SetFocus(panel->window);
    log_info(
        "feed offset: feed %d adjustment ON (overlay_frame_offsets[%d]=%d; wheel up=larger, wheel down=smaller, "
        "range [0..540])",
        static_cast<int>(feed), static_cast<int>(feed), overlay_offset(panel, feed));
}

bool preview_wheel(PreviewPanel* panel, int32_t delta) {
    const int32_t feed = panel->offset_feed;
    if (!panel->active || feed < 0 || !panel->settings) return false;
    int32_t& stored = panel->settings->overlay_frame_offsets[feed];
    const int32_t offset = offset_after_wheel(stored, delta);
    if (offset == stored) return true;
    stored = offset;
    if (ControlBlock* control = preview_control_block(panel)) shared_store(control->feed_offset_live[feed], offset);
    panel->pane[feed].offset = offset;
    preview_repaint(panel);
    log_info(
        "feed offset: feed %d overlay_frame_offsets=%d (delta=%d, signaled source via "
        "shm_control.feed_offset_live)",
        static_cast<int>(feed), static_cast<int>(offset), static_cast<int>(delta));
    return true;
}

void preview_sync_feeds(PreviewPanel* panel, int32_t /*feed*/) {
    ControlBlock* control = preview_control_block(panel);
    if (!control || !ipc_is_open(panel->sync)) return;
    uint32_t nw[kFeedCount];
    const FeedSyncOffsets offsets = align_feeds(control, panel->sync, nw);
    log_info("sync feeds: nw[0]=%d nw[1]=%d nw[2]=%d → offsets[0]=%d offsets[1]=%d offsets[2]=%d",
             static_cast<int32_t>(nw[0]), static_cast<int32_t>(nw[1]), static_cast<int32_t>(nw[2]), offsets.offset[0],
             offsets.offset[1], offsets.offset[2]);
}
