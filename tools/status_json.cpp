#include <cstdio>
#include <string_view>

#include "tools/json_text.h"
#include "tools/status_requests.h"
#include "tools/status_text.h"
#include "tools/sync_names.h"

static void append_rates(std::string* out, const char* key, const double (&values)[kFeedCount]) {
    char text[128];
    snprintf(text, sizeof text, "[%.1f, %.1f, %.1f]", values[0], values[1], values[2]);
    append_key(out, key);
    out->append(text);
}

static void append_quoted(std::string* out, std::string_view text) {
    out->push_back('"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20) {
            char escape[8];
            snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
            out->append(escape);
        } else {
            if (c == '"' || c == '\\') out->push_back('\\');
            out->push_back(c);
        }
    }
    out->push_back('"');
}

static void append_json_feeds(const StatusSnapshot& status, std::string* out) {
    const ControlBlock& block = status.block;
    uint32_t nw[kFeedCount];
    int64_t frame_seq[kFeedCount];
    for (int32_t f = 0; f < kFeedCount; ++f) {
        nw[f] = block.feed[f][status_live_channel(block)].nw;
        frame_seq[f] = block.feed[f][status_live_channel(block)].frame_seq;
    }
    append_array(out, "nw", nw);
    append_array(out, "frame_seq", frame_seq);
    append_array(out, "feed_frame_count", block.feed_frame_count);
    append_array(out, "motion_idx", block.motion_idx);
    append_array(out, "motion_active", block.motion_active);
    append_array(out, "motion_slow", block.motion_slow);
    append_array(out, "motion_paused", block.motion_paused);
    append_array(out, "feed_sync_offset", block.feed_sync_offset);
    append_array(out, "source_ready", block.source_ready);
    append_array(out, "motion_ready", block.motion_ready);
}

static void append_json_movies(const ControlBlock& block, std::string* out) {
    append_number(out, "videogen_state", block.videogen_state);
    append_number(out, "viewer_state", block.viewer_state);
    append_number(out, "output_active", block.output_active);
    append_number(out, "output_frame_idx", block.output_frame_idx);
    append_number(out, "movie_published_count", block.movie_published_count);
    append_number(out, "movie_serial", block.movie_serial);
    append_array(out, "force_ack", block.force_ack);
    append_number(out, "force_start_seq", block.force_start_seq);
    append_number(out, "force_end_seq", block.force_end_seq);
    append_number(out, "force_result", block.force_result);
    append_number(out, "force_frame", block.force_frame);
    append_number(out, "force_state", block.force_state);
    append_number(out, "force_request", block.force_request);
}

// Everything else of the block that somebody asks or switches.
static void append_json_requests(const ControlBlock& block, std::string* out) {
    append_number(out, "size", block.size);
    append_number(out, "sync_epoch_us", block.sync_epoch_us);
    append_number(out, "grid_setup_active", block.grid_setup_active);
    append_number(out, "grid_feed", block.grid_feed);
    append_number(out, "grid_line", block.grid_line);
    append_number(out, "grid_near", block.grid_near);
    append_number(out, "grid_click_wait", block.grid_click_wait);
    append_number(out, "grid_click_ready", block.grid_click_ready);
    append_number(out, "grid_click_x", block.grid_click_x);
    append_number(out, "grid_click_y", block.grid_click_y);
    append_number(out, "grid_generation", block.grid_generation);
    append_number(out, "settings_generation", block.settings_generation);
    append_array(out, "motion_trial_frames", block.motion_trial_frames);
    append_array(out, "motion_slow_frames", block.motion_slow_frames);
    append_array(out, "capfile_paused", block.capfile_paused);
    append_array(out, "capfile_shutdown", block.capfile_shutdown);
    append_array(out, "feed_offset_live", block.feed_offset_live);
    append_number(out, "diag_logging", block.diag_logging);
    append_number(out, "blob_circles", block.blob_circles);
    append_number(out, "erase_shadows_on", block.erase_shadows_on);
    append_key(out, "requests");
    out->push_back('[');
    for (const std::string& request : status_requests(block)) {
        if (out->back() != '[') out->append(", ");
        append_quoted(out, request);
    }
    out->push_back(']');
}

static void append_json_presence(const StatusSnapshot& status, std::string* out) {
    append_key(out, "feed_rings");
    out->push_back('[');
    for (int32_t f = 0; f < kFeedCount; ++f) {
        int32_t there[kChannelCount];
        for (int32_t c = 0; c < kChannelCount; ++c)
            there[c] = status.region[feed_region_number(f, c)].present ? 1 : 0;
        if (f > 0) out->append(", ");
        append_values(out, there);
    }
    out->push_back(']');
    int32_t outputs[kOutputRegionCount];
    for (int32_t i = 0; i < kOutputRegionCount; ++i) outputs[i] = status.region[kRegionOutputs + i].present ? 1 : 0;
    append_array(out, "output_rings", outputs);
    append_key(out, "jumper_count");
    out->append(status.has_jumpers ? std::to_string(status.jumper_count) : "null");
    int32_t mutexes[kSyncObjectCount];
    int32_t events[kSyncObjectCount];
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        mutexes[i] = status.mutex[i] != MutexState::missing ? 1 : 0;
        events[i] = status.event[i] != EventState::missing ? 1 : 0;
    }
    append_array(out, "mutexes", mutexes);
    append_array(out, "events", events);
}

static void append_name(std::string* out, int32_t region) {
    char name[32];
    region_name(name, region);
    append_key(out, "name");
    append_quoted(out, name);
}

static void append_json_regions(const StatusSnapshot& status, std::string* out) {
    append_key(out, "regions");
    out->push_back('[');
    for (int32_t i = 0; i < kRegionCount; ++i) {
        const StatusRegion& region = status.region[i];
        if (i > 0) out->append(", ");
        out->push_back('{');
        append_name(out, i);
        append_number(out, "present", region.present ? 1 : 0);
        append_key(out, "size");
        out->append(region.size_known ? std::to_string(region.size) : "null");
        append_number(out, "expected_size", static_cast<int64_t>(region_expected_size(i)));
        append_key(out, "as_expected");
        out->append(!region.size_known ? "null" : region_size_fits(region.size, region_expected_size(i)) ? "1" : "0");
        out->push_back('}');
    }
    out->push_back(']');
}

static void append_decimal(std::string* out, const char* key, double value) {
    char text[48];
    snprintf(text, sizeof text, "%.1f", value);
    append_key(out, key);
    out->append(text);
}

static void append_rate(std::string* out, const char* key, const RingRate& rate) {
    append_key(out, key);
    if (!rate.known) {
        out->append("null");
        return;
    }
    out->push_back('{');
    if (rate.has_now) {
        append_decimal(out, "now", rate.now);
    } else {
        append_key(out, "now");
        out->append("null");
    }
    append_decimal(out, "mean", rate.mean);
    append_decimal(out, "min", rate.minimum);
    append_decimal(out, "max", rate.maximum);
    out->push_back('}');
}

// What a feed's and an output's ring have in common.
static void append_ring(const StatusRing& ring, std::string* out) {
    append_key(out, "newest_seq");
    out->append(ring.has_newest ? std::to_string(ring.newest_seq) : "null");
    append_key(out, "newest_age_us");
    out->append(ring.has_age ? std::to_string(ring.newest_age_us) : "null");
    append_rate(out, "clock_rate", ring.clock_rate);
}

// One element per ring that exists.
static void append_json_rings(const StatusSnapshot& status, std::string* out) {
    append_key(out, "rings");
    out->push_back('[');
    for (int32_t region = kRegionFeeds; region < kRegionCount; ++region) {
        if (!status.region[region].present) continue;
        if (out->back() != '[') out->append(", ");
        out->push_back('{');
        append_name(out, region);
        if (region >= kRegionOutputs) {
            append_ring(status.output_ring[region - kRegionOutputs], out);
        } else {
            const int32_t feed = (region - kRegionFeeds) / kChannelCount;
            const int32_t channel = (region - kRegionFeeds) % kChannelCount;
            const StatusRing& ring = status.feed_ring[feed][channel];
            append_number(out, "nw", status.block.feed[feed][channel].nw);
            append_ring(ring, out);
            append_rate(out, "stamp_rate", ring.stamp_rate);
            append_number(out, "longest_gap_us", ring.longest_us);
            append_number(out, "lost", ring.lost);
            append_number(out, "interruptions", ring.interruptions);
        }
        out->push_back('}');
    }
    out->push_back(']');
}

// An array of words by index.
template <class Word>
static void append_words(std::string* out, const char* key, Word word) {
    append_key(out, key);
    out->push_back('[');
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        if (i > 0) out->append(", ");
        append_quoted(out, word(i));
    }
    out->push_back(']');
}

static void append_json_sync(const StatusSnapshot& status, std::string* out) {
    append_words(out, "mutex_meaning", mutex_meaning);
    append_words(out, "mutex_state", [&](int32_t i) { return mutex_state_word(status.mutex[i]); });
    append_array(out, "mutex_held_looks", status.mutex_held_looks);
    append_words(out, "event_meaning", event_meaning);
    append_words(out, "event_state", [&](int32_t i) { return event_state_word(status.event[i]); });
    int32_t odd[kSyncObjectCount];
    for (int32_t i = 0; i < kSyncObjectCount; ++i) odd[i] = static_cast<int32_t>(status.odd_events >> i & 1);
    append_array(out, "event_of_wrong_kind", odd);
}

// One element per slot: null for an empty one.
static void append_json_workers(const StatusSnapshot& status, std::string* out) {
    append_key(out, "pid_slots");
    out->push_back('[');
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot) {
        const StatusWorker& worker = status.worker[slot];
        if (slot > 0) out->append(", ");
        if (worker.presence == WorkerPresence::empty) {
            out->append("null");
            continue;
        }
        out->push_back('{');
        append_number(out, "pid", worker.pid);
        append_number(out, "running", worker.presence == WorkerPresence::running ? 1 : 0);
        append_key(out, "image");
        if (worker.image.empty()) {
            out->append("null");
        } else {
            append_quoted(out, worker.image);
        }
        out->push_back('}');
    }
    out->push_back(']');
}

std::string status_as_json(const StatusSnapshot& status) {
    const ControlBlock& block = status.block;
    std::string out = "{";
    append_number(&out, "channel", block.channel);
    append_number(&out, "paused", block.paused);
    append_number(&out, "shutdown", block.shutdown);
    append_number(&out, "num_feeds", block.num_feeds);
    append_number(&out, "num_channels", block.num_channels);
    append_number(&out, "ring_slots", block.ring_slots);
    append_json_feeds(status, &out);
    append_json_movies(block, &out);
    append_json_presence(status, &out);
    append_json_workers(status, &out);
    if (status.has_rates) {
        append_rates(&out, "frames_per_second", status.rates.frames);
        append_rates(&out, "motion_per_second", status.rates.motion);
    }
    append_json_requests(block, &out);
    append_json_regions(status, &out);
    append_json_rings(status, &out);
    append_json_sync(status, &out);
    out.append("}\n");
    return out;
}
