// The buttons the preview answers itself, and the switches among them: what the workers read from the control block;
// none of those is saved by pressing it.
#include <windows.h>

#include "app/commands.h"
#include "app/log.h"
#include "ipc/shared_access.h"
#include "preview/preview_decisions.h"
#include "preview/preview_internal.h"
#include "settings/settings.h"

static void toggle_play(PreviewPanel* panel, int32_t /*feed*/) {
    ControlBlock* control = preview_control_block(panel);
    if (!control) return;
    if (shared_load(control->paused) == 1) {
        shared_store(control->paused, uint32_t{0});
        ipc_signal(panel->sync, kEventResume);
        preview_set_play_text(panel, "Pause");
        log_info("preview: play");
    } else {
        shared_store(control->paused, uint32_t{1});
        preview_set_play_text(panel, "Play");
        log_info("preview: pause");
    }
}

static void toggle_highlight(PreviewPanel* panel, int32_t /*feed*/) {
    panel->highlight_on = !panel->highlight_on;
    preview_set_button_text(panel, kCmdHighlight, highlight_button_text(panel->highlight_on));
}

static void toggle_log(PreviewPanel* panel, int32_t /*feed*/) {
    panel->log_on = !panel->log_on;
    ControlBlock* control = preview_control_block(panel);
    if (control) shared_store(control->diag_logging, uint32_t{panel->log_on});
    log_set_verbose(panel->log_on);
    preview_set_button_text(panel, kCmdLogOn, log_button_text(panel->log_on));
    log_info("diagnostic logging %s", panel->log_on ? "enabled" : "disabled");
}

static void toggle_circles(PreviewPanel* panel, int32_t /*feed*/) {
    ControlBlock* control = preview_control_block(panel);
    if (!control) return;
    const bool on = shared_load(control->blob_circles) == 0;
    shared_store(control->blob_circles, uint32_t{on});
    preview_set_button_text(panel, kCmdCircles, circles_button_text(on));
    log_info("blob circle overlay %s", on ? "enabled" : "disabled");
}

static void toggle_shadow_removal(PreviewPanel* panel, int32_t /*feed*/) {
    ControlBlock* control = preview_control_block(panel);
    if (!control || !panel->settings) return;
    const bool on = shared_load(control->erase_shadows_on) == 0;
    shared_store(control->erase_shadows_on, uint32_t{on});
    panel->settings->erase_shadows = on ? 1 : 0;
    preview_set_button_text(panel, kCmdShadowRemoval, shadow_button_text(on));
    log_info("motion shadow removal %s", on ? "enabled" : "disabled");
}

bool preview_command(PreviewPanel* panel, int32_t id) {
    // The handler gets the distance of the id from the first of its row: the feed, where there is a button per feed.
    static constexpr struct {
        int32_t first;
        int32_t count;
        void (*handle)(PreviewPanel*, int32_t feed);
    } kCommands[] = {
        {kCmdPlay, 1, toggle_play},
        {kCmdSetRegion, kFeedCount, preview_edit_motion_region},
        {kCmdSaveRegions, 1, preview_save_regions},
        {kCmdSyncFeeds, 1, preview_sync_feeds},
        {kCmdHighlight, 1, toggle_highlight},
        {kCmdLogOn, 1, toggle_log},
        {kCmdCircles, 1, toggle_circles},
        {kCmdSaveMotionRange, 1, preview_save_motion_range},
        {kCmdIgnoreRegion, kFeedCount, preview_edit_ignore_region},
        {kCmdShadowRemoval, 1, toggle_shadow_removal},
        {kCmdFeedOffset, kFeedCount, preview_adjust_offset},
    };
    for (const auto& command : kCommands) {
        if (id < command.first || id >= command.first + command.count) continue;
        command.handle(panel, id - command.first);
        return true;
    }
    return false;
}
