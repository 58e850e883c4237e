// The frame log's file. Each row goes to the system at once: a trace is wanted most after a crash.
#include <windows.h>

#include <cstdio>
#include <string>

#include "preview/preview_internal.h"
#include "settings/settings.h"

static int64_t performance_counter() {
    LARGE_INTEGER counter;
    return QueryPerformanceCounter(&counter) ? counter.QuadPart : 0;
}

void preview_open_frame_log(PreviewPanel* panel) {
    if (!frame_log_wants_open(&panel->frame_log, panel->settings ? panel->settings->debug_frame_log : 0)) return;
    // Without a word when it fails: the next refresh tries again, and that may be sixty times a second.
    panel->frame_log_file = fopen(kFrameLogName, "w");
    if (!panel->frame_log_file) return;
    LARGE_INTEGER frequency;
    if (!QueryPerformanceFrequency(&frequency)) frequency.QuadPart = 0;
    fputs(frame_log_opened(&panel->frame_log, frequency.QuadPart, performance_counter()), panel->frame_log_file);
}

static FrameLogValues collect_values(const PreviewPanel* panel) {
    FrameLogValues values;
    values.channel = panel->live_channel;
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        const PreviewPane& pane = panel->pane[feed];
        values.feed[feed].nw = panel->nw[feed];
        values.feed[feed].slot = panel->slot[feed];
        if (!pane.connected || !pane.view) continue;
        values.feed[feed].seq = pane.seq;
        values.feed[feed].pts = pane.pts;
        if (feed != 1) continue;
        values.display_type = pane.display_type;
        values.motion_flags = pane.motion_flags;
    }
    return values;
}

void preview_write_frame_log(PreviewPanel* panel) {
    if (!panel->frame_log_file) return;
    std::string text;
    frame_log_row(&panel->frame_log, performance_counter(), collect_values(panel), &text);
    fputs(text.c_str(), panel->frame_log_file);
    fflush(panel->frame_log_file);
    if (!panel->frame_log.open) preview_close_frame_log(panel);
}

void preview_close_frame_log(PreviewPanel* panel) {
    if (panel->frame_log_file) fclose(panel->frame_log_file);
    panel->frame_log_file = nullptr;
}
