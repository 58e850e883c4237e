// The regions behind the preview: opened as the workers create them, each mapped once and kept, since mapping and
// pinning most of a gigabyte is nothing to do per frame.
#include <windows.h>

#include "app/log.h"
#include "ipc/control_block_reset.h"
#include "ipc/frame_ring.h"
#include "preview/preview_decisions.h"
#include "preview/preview_internal.h"

// The regions' bits in panel->too_small.
static constexpr int32_t kOutputBit = kFeedCount * kChannelCount;
static constexpr int32_t kControlBit = kOutputBit + kOutputRegionCount;

// Once per region: it is met again at every refresh.
static void log_too_small(PreviewPanel* panel, int32_t bit, const char* name, uint64_t held, uint64_t needed) {
    const uint32_t mask = 1u << bit;
    if ((panel->too_small & mask) == 0) {
        log_error("preview: '%s' is too small (%llu bytes, %llu needed) — not used", name,
                  static_cast<unsigned long long>(held), static_cast<unsigned long long>(needed));
    }
    panel->too_small |= mask;
}

bool preview_holds(PreviewPanel* panel, const void* view, uint64_t end) {
    char name[32];
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        for (int32_t channel = 0; channel < kChannelCount; ++channel) {
            if (panel->channel[feed][channel].view != view) continue;
            const uint64_t held = panel->channel_held[feed][channel];
            if (held >= end) return true;
            feed_region_name(name, feed, channel);
            log_too_small(panel, feed * kChannelCount + channel, name, held, end);
            return false;
        }
    }
    for (int32_t output = 0; output < kOutputRegionCount; ++output) {
        if (panel->output[output].view != view) continue;
        if (panel->output_held[output] >= end) return true;
        output_region_name(name, output);
        log_too_small(panel, kOutputBit + output, name, panel->output_held[output], end);
        return false;
    }
    return false;
}

static bool open_feed(PreviewPanel* panel, int32_t feed, int32_t channel) {
    SharedRegion& region = panel->channel[feed][channel];
    if (region.view) return true;
    char name[32];
    feed_region_name(name, feed, channel);
    if (shmem_open(name, kFeedRegionSize, &region) != 0) return false;
    panel->channel_held[feed][channel] = shmem_held_bytes(region.view);
    return true;
}

static bool open_output(PreviewPanel* panel, int32_t output) {
    SharedRegion& region = panel->output[output];
    if (region.view) return true;
    char name[32];
    output_region_name(name, output);
    if (shmem_open(name, kOutputRegionSize, &region) != 0) return false;
    panel->output_held[output] = shmem_held_bytes(region.view);
    return true;
}

// The pane's own mapping is channel 0; the refresh moves on to the live channel.
static bool connect_feed(PreviewPanel* panel, int32_t feed) {
    if (!open_feed(panel, feed, 0)) return false;
    panel->pane[feed].view = panel->channel[feed][0].view;
    panel->pane[feed].connected = true;
    return true;
}

static bool connect_combined_to_output(PreviewPanel* panel) {
    if (!panel->output[0].view) return false;
    PreviewPane& pane = panel->pane[kCombinedPane];
    pane.view = panel->output[0].view;
    pane.feed = 0;
    pane.is_output = true;
    pane.connected = true;
    panel->combined_on_output = true;
    return true;
}

// Attaching would take a block as it is, and clearing it would write past its end.
static bool map_control_block(PreviewPanel* panel) {
    const uint64_t held = shmem_held_bytes_of(kControlBlockName);
    if (held != 0 && held < kControlBlockSize) {
        log_too_small(panel, kControlBit, kControlBlockName, held, kControlBlockSize);
        return false;
    }
    return shmem_create(kControlBlockName, kControlBlockSize, &panel->control) == 0;
}

static void create_control_block(PreviewPanel* panel) {
    if (!map_control_block(panel)) return;
    LARGE_INTEGER counter, frequency;
    if (!QueryPerformanceCounter(&counter) || !QueryPerformanceFrequency(&frequency)) {
        counter.QuadPart = frequency.QuadPart = 0;
    }
    control_block_reset_fresh(preview_control_block(panel), panel->settings, counter.QuadPart, frequency.QuadPart);
}

void preview_load_regions(PreviewPanel* panel, int32_t feed) {
    if (!panel->settings) return;
    const FeedRegions regions = regions_from_settings(panel->settings, feed);
    panel->pane[feed].motion_rect = regions.motion;
    panel->pane[feed].ignore_rect = regions.ignore;
    panel->pane[feed].offset = regions.offset;
}

void preview_map_sources(PreviewPanel* panel) {
    create_control_block(panel);
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        if (!connect_feed(panel, feed)) {
            log_info("feed_preview: shmem not available for feed %d channel %d", feed, 0);
        }
        for (int32_t channel = 1; channel < kChannelCount; ++channel) open_feed(panel, feed, channel);
    }
    panel->outputs_mapped = true;
    for (int32_t output = 0; output < kOutputRegionCount; ++output) {
        if (open_output(panel, output)) continue;
        log_info("feed_preview: output shmem not available for output %d", output);
        panel->outputs_mapped = false;
    }
    if (!connect_combined_to_output(panel)) {
        PreviewPane& combined = panel->pane[kCombinedPane];
        combined.feed = -1;
        combined.is_output = true;
        combined.connected = true;
    }
}

static void reconnect_feeds(PreviewPanel* panel) {
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        PreviewPane& pane = panel->pane[feed];
        if (pane.connected || !connect_feed(panel, feed)) continue;
        preview_place_pictures(panel);
        preview_load_regions(panel, feed);
        log_info("preview: reconnected feed %d (attempt %d, region_valid=%d, ignore_valid=%d)", feed,
                 static_cast<int>(panel->reconnect_attempt), pane.motion_rect.valid ? 1 : 0,
                 pane.ignore_rect.valid ? 1 : 0);
    }
    // Channel 0 is the pane's own and was tried above.
    for (int32_t feed = 0; feed < kFeedCount; ++feed) {
        for (int32_t channel = 1; channel < kChannelCount; ++channel) open_feed(panel, feed, channel);
    }
}

static void reconnect_outputs(PreviewPanel* panel) {
    if (!panel->outputs_mapped) {
        const bool first = open_output(panel, 0), second = open_output(panel, 1);
        panel->outputs_mapped = first && second;
        if (panel->outputs_mapped) log_info("preview: both output regions mapped");
    }
    if (panel->active && panel->outputs_mapped && !panel->combined_on_output && connect_combined_to_output(panel)) {
        preview_place_pictures(panel);
        log_info("preview: upgraded combined to output shmem");
    }
}

void preview_reconnect_sources(PreviewPanel* panel) {
    ++panel->reconnect_attempt;
    reconnect_feeds(panel);
    reconnect_outputs(panel);
}

void preview_retry_control_block(PreviewPanel* panel) {
    if (!panel->control.view) map_control_block(panel);
}

void preview_unmap_sources(PreviewPanel* panel) {
    for (auto& pane : panel->pane) {
        pane.view = nullptr;
        pane.connected = pane.has_picture = false;
    }
    for (auto& feed : panel->channel) {
        for (auto& region : feed) shmem_close(&region);
    }
    for (auto& region : panel->output) shmem_close(&region);
    panel->outputs_mapped = panel->combined_on_output = false;
    shmem_close(&panel->control);
}
