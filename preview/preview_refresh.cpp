// One refresh: counters, slots, bitmaps, marks. The pixels come straight from the shared slots; what is decided is
// decided in preview_decisions, also that a bitmap shows its frame already.
#include <windows.h>

#include "ipc/frame_ring.h"
#include "ipc/shared_access.h"
#include "preview/preview_decisions.h"
#include "preview/preview_internal.h"
#include "settings/settings.h"

// One field under its mutex, which is free again before the next is taken.
template <class T>
static T locked_load(IpcSyncSet* sync, int32_t mutex, const T& field) {
    ipc_lock(sync, mutex);
    const T value = shared_load(field);
    ipc_unlock(sync, mutex);
    return value;
}

static PaneBitmap bitmap_of(PreviewPane* pane) {
    return {static_cast<int32_t>(pane->header.biWidth), static_cast<int32_t>(pane->header.biHeight), pane->pixels};
}

// Moves the feed panes to the live channel and finds their newest complete slots.
static void follow_counters(PreviewPanel* panel, const ControlBlock* control) {
    panel->live_channel = locked_load(panel->sync, kMutexChannel, control->channel);
    const int32_t channel = panel->live_channel >= 0 && panel->live_channel < kChannelCount ? panel->live_channel : 0;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const void* view = panel->channel[feed][channel].view;
        if (view) panel->pane[feed].view = view;
    }
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        panel->nw[feed] = locked_load(panel->sync, kMutexNw + feed, control->feed[feed][channel].nw);
        panel->slot[feed] = newest_slot(panel->nw[feed]);
    }
}

static const FrameSlotHeader* header_at(const void* view, uint64_t offset) {
    return reinterpret_cast<const FrameSlotHeader*>(static_cast<const uint8_t*>(view) + offset);
}

static void note_header(PreviewPane* pane, uint32_t slot) {
    const FrameSlotHeader* header = header_at(pane->view, feed_slot_offset(slot));
    pane->pts = shared_load(header->pts);
    pane->seq = shared_load(header->seq);
    pane->motion_flags = shared_load(header->motion_flags);
    pane->display_type = shared_load(header->display_type);
}

static FrameStamp feed_stamp(const PreviewPanel* panel, int32_t feed) {
    const PreviewPane& pane = panel->pane[feed];
    return {pane.view, panel->slot[feed], pane.motion_flags, pane.seq, pane.pts};
}

static FrameStamp output_stamp(const void* view, uint32_t slot) {
    const FrameSlotHeader* header = header_at(view, output_slot_offset(slot));
    return {view, slot, shared_load(header->motion_flags), shared_load(header->seq), shared_load(header->pts)};
}

static bool is_marked(PreviewPanel* panel, const ControlBlock* control, int32_t feed) {
    if (!panel->highlight_on || !panel->settings || !control) return false;
    const PreviewPane& pane = panel->pane[feed];
    const uint32_t motion_active = locked_load(panel->sync, kMutexOutput, control->motion_active[feed]);
    return marks_motion(panel->highlight_on, motion_active, pane.motion_flags, pane.motion_rect);
}

static PaneContent feed_content(PreviewPanel* panel, const ControlBlock* control, int32_t feed,
                                const PaneBitmap& bitmap) {
    const PreviewPane& pane = panel->pane[feed];
    const bool marked = is_marked(panel, control, feed);
    const auto mark = static_cast<uint8_t>(marked ? panel->settings->mark_motion_Y & 0xFF : 0);
    return {feed_stamp(panel, feed), {}, bitmap.width, bitmap.height, marked, mark, pane.motion_rect,
            pane.ignore_rect};
}

static bool has_frame(PreviewPanel* panel, int32_t feed) {
    const PreviewPane& pane = panel->pane[feed];
    return pane.connected && pane.view &&
           preview_holds(panel, pane.view, feed_slot_offset(panel->slot[feed]) + kFeedSlotStride);
}

static void render_feed(PreviewPanel* panel, const ControlBlock* control, int32_t feed) {
    PreviewPane& pane = panel->pane[feed];
    const bool had_picture = pane.has_picture;
    pane.has_picture = has_frame(panel, feed);
    if (!pane.has_picture) return;
    const PaneBitmap bitmap = bitmap_of(&pane);
    note_header(&pane, panel->slot[feed]);
    const PaneContent content = feed_content(panel, control, feed, bitmap);
    if (!needs_drawing(had_picture, pane.drawn, content)) return;
    convert_slot(feed_slot_picture(pane.view, panel->slot[feed]), bitmap);
    if (content.marked) overlay_mark_motion(bitmap, pane.motion_rect, pane.ignore_rect, content.mark);
    overlay_motion_outline(bitmap, pane.motion_rect);
    overlay_ignore_region(bitmap, pane.ignore_rect);
    pane.drawn = content;
}

// Asks the control block which output region and slot to show; without one no output frame is known.
static int32_t follow_output(PreviewPanel* panel, const ControlBlock* control) {
    if (!control) return -1;
    const uint32_t output_active = locked_load(panel->sync, kMutexOutput, control->output_active);
    const int32_t index = locked_load(panel->sync, kMutexOutputFrame, control->output_frame_idx);
    if (panel->outputs_mapped) panel->pane[kCombinedPane].view = panel->output[output_to_show(output_active)].view;
    return index;
}

static CombinedSource find_combined_source(PreviewPanel* panel, const ControlBlock* control) {
    CombinedInputs inputs = {};
    inputs.output_frame_idx = follow_output(panel, control);
    inputs.output_source = panel->pane[kCombinedPane].view != nullptr;
    inputs.display_type = panel->pane[1].display_type;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) inputs.feed_connected[feed] = panel->pane[feed].has_picture;
    return combined_source(inputs);
}

static void render_combined(PreviewPanel* panel, const ControlBlock* control) {
    PreviewPane& combined = panel->pane[kCombinedPane];
    const CombinedSource source = find_combined_source(panel, control);
    const bool had_picture = combined.has_picture;
    combined.has_picture = source.kind != CombinedKind::nothing;
    if (!combined.has_picture) return;

    const PaneBitmap bitmap = bitmap_of(&combined);
    const int32_t bottom = source.bottom_feed;
    PaneContent content = {};
    content.width = bitmap.width;
    content.height = bitmap.height;
    if (source.kind == CombinedKind::output) {
        combined.has_picture =
            preview_holds(panel, combined.view, output_slot_offset(source.slot) + kOutputSlotStride);
        if (!combined.has_picture) return;
        content.frame = output_stamp(combined.view, source.slot);
    } else {
        content.frame = feed_stamp(panel, 1);
        content.below = feed_stamp(panel, bottom);
    }
    if (!needs_drawing(had_picture, combined.drawn, content)) return;
    if (source.kind == CombinedKind::output) {
        convert_slot(output_slot_picture(combined.view, source.slot), bitmap);
    } else {
        convert_stacked(feed_slot_picture(content.frame.view, content.frame.slot),
                        feed_slot_picture(content.below.view, content.below.slot), bitmap);
    }
    combined.drawn = content;
}

static void render_feeds(PreviewPanel* panel, const ControlBlock* control) {
    if (control) follow_counters(panel, control);
    for (int32_t feed = 0; feed < kFeedCount; ++feed) render_feed(panel, control, feed);
}

void preview_render(PreviewPanel* panel) {
    const ControlBlock* control = preview_control_block(panel);
    render_feeds(panel, control);
    render_combined(panel, control);
}

void preview_refresh(PreviewPanel* panel) {
    // Answered before the counters are read: a frame that comes from here on deserves its own message.
    panel->thread.posted.store(false);
    if (!panel->active) return;
    preview_open_frame_log(panel);
    // Each failure is a log line, but not one per frame: without a block no worker runs that could announce frames,
    // and what is left is the one refresh a second that ends every reconnect.
    preview_retry_control_block(panel);
    const ControlBlock* control = preview_control_block(panel);
    render_feeds(panel, control);
    preview_write_frame_log(panel);
    render_combined(panel, control);
    if (panel->refresh_jumpers) panel->refresh_jumpers(panel->jumpers_context);
    preview_repaint_pictures(panel);
}

void preview_reconnect(PreviewPanel* panel) {
    preview_reconnect_sources(panel);
    preview_refresh(panel);
}
