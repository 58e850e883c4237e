#include "tools/status_text.h"

#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "app/log.h"
#include "ipc/sync_objects.h"
#include "tools/json_text.h"

// The live channel as an index.
static int32_t live_channel(const ControlBlock& block) {
    return block.channel >= 0 && block.channel < kChannelCount ? block.channel : 0;
}

static int32_t present_count(uint64_t bits) {
    int32_t count = 0;
    for (int32_t i = 0; i < kSyncObjectCount; ++i) count += static_cast<int32_t>(bits >> i & 1);
    return count;
}

// ------------------------------------------------------------------------------------------------------------ text

static std::string readiness_word(int32_t value) {
    switch (value) {
        case kWorkerNotStarted:
            return "not started";
        case kWorkerStarting:
            return "starting";
        case kWorkerAttached:
            return "attached";
        case kWorkerReady:
            return "ready";
        default:
            return std::to_string(value);
    }
}

static void append_line(std::string* out, const char* format, ...) ORVEK_PRINTF(2, 3);
static void append_line(std::string* out, const char* format, ...) {
    char line[1200];
    va_list values;
    va_start(values, format);
    // The analyzer forgets va_start when it checks several files in one run.
    vsnprintf(line, sizeof line, format, values);  // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(values);
    out->append(line).push_back('\n');
}

static void append_feeds(const StatusSnapshot& status, std::string* out) {
    const ControlBlock& block = status.block;
    const int32_t channel = live_channel(block);
    append_line(out, "%-5s%12s%12s%12s%8s%6s%8s  %-13s%-13s%s", "feed", "nw", "frames", "motion_idx", "motion",
                "slow", "offset", "source", "detector", status.has_rates ? "   frames/s   motion/s" : "");
    for (int32_t f = 0; f < kFeedCount; ++f) {
        char rates[32] = "";
        if (status.has_rates)
            snprintf(rates, sizeof rates, "%11.1f%11.1f", status.rates.frames[f], status.rates.motion[f]);
        append_line(out, "%-5d%12u%12u%12u%8s%6u%8d  %-13s%-13s%s", f, block.feed[f][channel].nw,
                    block.feed_frame_count[f], block.motion_idx[f],
                    block.motion_paused[f] != 0 ? "paused" : (block.motion_active[f] != 0 ? "yes" : "no"),
                    block.motion_slow[f], block.feed_sync_offset[f], readiness_word(block.source_ready[f]).c_str(),
                    readiness_word(block.motion_ready[f]).c_str(), rates);
    }
}

static void append_regions(const StatusSnapshot& status, std::string* out) {
    std::string rings = "feed rings by channel:";
    for (int32_t f = 0; f < kFeedCount; ++f) {
        rings.append("  ").append(std::to_string(f)).append(":");
        for (const bool there : status.feed_ring[f]) rings.append(there ? " yes" : " no");
    }
    rings.append("   output rings:");
    for (const bool there : status.output_ring) rings.append(there ? " yes" : " no");
    out->append(rings).push_back('\n');
    if (status.has_jumpers) {
        append_line(out, "jumpers: %d", status.jumper_count);
    } else {
        append_line(out, "jumpers: no region");
    }
    append_line(out, "mutexes: %d of %d   events: %d of %d", present_count(status.mutexes), kSyncObjectCount,
                present_count(status.events), kSyncObjectCount);
}

static void append_workers(const StatusSnapshot& status, std::string* out) {
    bool any = false;
    for (int32_t slot = 0; slot < kPidSlotCount; ++slot) {
        const StatusWorker& worker = status.worker[slot];
        if (worker.presence == WorkerPresence::empty) continue;
        any = true;
        append_line(
            out, "worker slot %d: pid %u  %s", slot, worker.pid,
            worker.presence == WorkerPresence::gone ? "(gone)" : (worker.image.empty() ? "?" : worker.image.c_str()));
    }
    if (!any) append_line(out, "workers: none");
}

std::string status_as_text(const StatusSnapshot& status) {
    const ControlBlock& block = status.block;
    std::string out;
    append_line(&out, "channel %d, %s%s, %u feeds, %u channels, %u slots per ring", block.channel,
                block.paused != 0 ? "paused" : "playing", block.shutdown != 0 ? ", shutting down" : "",
                block.num_feeds, block.num_channels, block.ring_slots);
    append_feeds(status, &out);
    append_line(&out, "movie builder: %s   viewer: %s", readiness_word(block.videogen_state).c_str(),
                readiness_word(block.viewer_state).c_str());
    append_line(&out, "output: region %u being written, newest frame %d", block.output_active,
                block.output_frame_idx);
    append_line(&out, "movies: %u published, newest serial %lld", block.movie_published_count,
                static_cast<long long>(block.movie_serial));
    append_line(&out,
                "forced movie: request %u, state %u, frame %d, result %lld, frames %lld to %lld, taken %u %u %u",
                block.force_request, block.force_state, block.force_frame, static_cast<long long>(block.force_result),
                static_cast<long long>(block.force_start_seq), static_cast<long long>(block.force_end_seq),
                block.force_ack[0], block.force_ack[1], block.force_ack[2]);
    append_regions(status, &out);
    append_workers(status, &out);
    return out;
}

// ------------------------------------------------------------------------------------------------------------ JSON

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
        nw[f] = block.feed[f][live_channel(block)].nw;
        frame_seq[f] = block.feed[f][live_channel(block)].frame_seq;
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

static void append_json_regions(const StatusSnapshot& status, std::string* out) {
    append_key(out, "feed_rings");
    out->push_back('[');
    for (int32_t f = 0; f < kFeedCount; ++f) {
        if (f > 0) out->append(", ");
        append_values(out, status.feed_ring[f]);
    }
    out->push_back(']');
    append_array(out, "output_rings", status.output_ring);
    append_key(out, "jumper_count");
    out->append(status.has_jumpers ? std::to_string(status.jumper_count) : "null");
}

// The objects of one kind by index.
static void append_json_objects(const char* key, uint64_t bits, std::string* out) {
    int32_t there[kSyncObjectCount];
    for (int32_t i = 0; i < kSyncObjectCount; ++i) there[i] = static_cast<int32_t>(bits >> i & 1);
    append_array(out, key, there);
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
    append_json_regions(status, &out);
    append_json_objects("mutexes", status.mutexes, &out);
    append_json_objects("events", status.events, &out);
    append_json_workers(status, &out);
    if (status.has_rates) {
        append_rates(&out, "frames_per_second", status.rates.frames);
        append_rates(&out, "motion_per_second", status.rates.motion);
    }
    out.append("}\n");
    return out;
}
