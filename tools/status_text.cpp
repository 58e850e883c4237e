#include "tools/status_text.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "app/log.h"
#include "tools/status_requests.h"
#include "tools/sync_names.h"

int32_t status_live_channel(const ControlBlock& block) {
    return block.channel >= 0 && block.channel < kChannelCount ? block.channel : 0;
}

const char* mutex_state_word(MutexState state) {
    switch (state) {
        case MutexState::free:
            return "free";
        case MutexState::held:
            return "held";
        case MutexState::abandoned:
            return "abandoned";
        case MutexState::unknown:
            return "unknown";
        default:
            return "missing";
    }
}

const char* event_state_word(EventState state) {
    switch (state) {
        case EventState::clear:
            return "clear";
        case EventState::signalled:
            return "signalled";
        case EventState::unknown:
            return "unknown";
        default:
            return "missing";
    }
}

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
    const int32_t channel = status_live_channel(block);
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

// `head` and the items behind it, `quiet` when there are none, over as many lines as it takes.
static void append_list(const std::string& head, const std::vector<std::string>& items, const char* quiet,
                        std::string* out) {
    constexpr size_t kColumns = 115;
    std::string line = head + (items.empty() ? quiet : "");
    for (size_t i = 0; i < items.size(); ++i) {
        const std::string item = items[i] + (i + 1 < items.size() ? "," : "");
        if (i > 0 && line.size() + 1 + item.size() > kColumns) {
            out->append(line).push_back('\n');
            line = "   ";
        }
        line.append(" ").append(item);
    }
    out->append(line).push_back('\n');
}

// A missing region is ordinary, hence no more than a dash.
static const char* region_word(const StatusRegion& region, uint64_t expected) {
    if (!region.present) return "-";
    if (!region.size_known) return "?";
    return region_size_fits(region.size, expected) ? "ok" : "WRONG";
}

static void append_wrong_sizes(const StatusSnapshot& status, std::string* out) {
    std::vector<std::string> wrong;
    for (int32_t i = 0; i < kRegionCount; ++i) {
        const StatusRegion& region = status.region[i];
        const uint64_t expected = region_expected_size(i);
        if (!region.size_known || region_size_fits(region.size, expected)) continue;
        char name[32];
        region_name(name, i);
        wrong.push_back(std::string(name) + " has " + std::to_string(region.size) + " bytes instead of " +
                        std::to_string(expected));
    }
    if (!wrong.empty()) append_list("wrong size:", wrong, "", out);
}

static void append_regions(const StatusSnapshot& status, std::string* out) {
    std::string line = "regions: control";
    for (int32_t i = 0; i < kRegionCount; ++i) {
        if (i == kRegionJumpers) line.append("   jumpers");
        if (i >= kRegionFeeds && i < kRegionOutputs && (i - kRegionFeeds) % kChannelCount == 0)
            line.append("   feed ").append(std::to_string((i - kRegionFeeds) / kChannelCount)).append(":");
        if (i == kRegionOutputs) line.append("   outputs");
        line.append(" ").append(region_word(status.region[i], region_expected_size(i)));
    }
    out->append(line).push_back('\n');
    append_wrong_sizes(status, out);
    if (status.has_jumpers) {
        append_line(out, "jumpers: %d", status.jumper_count);
    } else {
        append_line(out, "jumpers: no region");
    }
}

static std::string rate_columns(const RingRate& rate) {
    if (!rate.known) return "        -       -       -       -";
    char now[32] = "        -";
    char text[96];
    if (rate.has_now) snprintf(now, sizeof now, " %8.1f", rate.now);
    snprintf(text, sizeof text, "%s%8.1f%8.1f%8.1f", now, rate.mean, rate.minimum, rate.maximum);
    return text;
}

static void append_ring(const std::string& name, const std::string& counter, const StatusRing& ring, bool is_feed,
                        std::string* out) {
    char frame[64] = "              -          -";
    char gaps[64] = "";
    if (ring.has_newest) {
        const int32_t length = snprintf(frame, sizeof frame, "%15lld", static_cast<long long>(ring.newest_seq));
        char* const age = frame + length;
        const size_t room = sizeof frame - static_cast<size_t>(length);
        if (ring.has_age) {
            snprintf(age, room, "%8.3f s", static_cast<double>(ring.newest_age_us) / 1e6);
        } else {
            snprintf(age, room, "          -");
        }
    }
    if (is_feed)
        snprintf(gaps, sizeof gaps, "%9.1f ms%7lld%7lld", static_cast<double>(ring.longest_us) / 1e3,
                 static_cast<long long>(ring.lost), static_cast<long long>(ring.interruptions));
    // The first look of a watch, or the only one, has no clock to go by.
    const std::string rates = rate_columns(ring.clock_rate.known ? ring.clock_rate : ring.stamp_rate);
    append_line(out, "%-11s%12s%s%s%s", name.c_str(), counter.c_str(), rates.c_str(), frame, gaps);
}

static void append_rings(const StatusSnapshot& status, std::string* out) {
    const ControlBlock& block = status.block;
    append_line(out, "%-11s%12s %8s%8s%8s%8s%15s%10s%12s%7s%7s", "ring", "nw",
                status.has_rates ? "fps now" : "pts now", "mean", "min", "max", "newest seq", "age", "longest gap",
                "lost", "breaks");
    for (int32_t f = 0; f < kFeedCount; ++f)
        for (int32_t c = 0; c < kChannelCount; ++c) {
            if (!status.region[feed_region_number(f, c)].present) continue;
            const std::string name = "feed " + std::to_string(f) + " ch " + std::to_string(c);
            append_ring(name, std::to_string(block.feed[f][c].nw), status.feed_ring[f][c], true, out);
        }
    for (int32_t i = 0; i < kOutputRegionCount; ++i) {
        if (!status.region[kRegionOutputs + i].present) continue;
        const std::string name = "output " + std::to_string(i);
        const bool written = block.output_active == static_cast<uint32_t>(i);
        append_ring(name, written ? "written" : "shown", status.output_ring[i], false, out);
    }
}

static std::string numbered(int32_t index, const std::string& meaning, const char* state) {
    return std::to_string(index) + " " + meaning + " " + state;
}

// Only what is out of the ordinary is named: 37 free mutexes say nothing.
static void append_mutexes(const StatusSnapshot& status, std::string* out) {
    int32_t present = 0;
    std::vector<std::string> busy;
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        if (status.mutex[i] == MutexState::missing) continue;
        ++present;
        if (status.mutex[i] == MutexState::free) continue;
        busy.push_back(numbered(i, mutex_meaning(i), mutex_state_word(status.mutex[i])));
        if (status.mutex_held_looks[i] > 1)
            busy.back().append(" (" + std::to_string(status.mutex_held_looks[i]) + " looks)");
    }
    const std::string head = "mutexes: " + std::to_string(present) + " of " + std::to_string(kSyncObjectCount) + ";";
    append_list(head, busy, present > 0 ? " all free" : "", out);
}

static void append_events(const StatusSnapshot& status, std::string* out) {
    int32_t present = 0;
    std::vector<std::string> raised;
    for (int32_t i = 0; i < kSyncObjectCount; ++i) {
        if (status.event[i] == EventState::missing) continue;
        ++present;
        const bool odd = (status.odd_events >> i & 1) != 0;
        if (status.event[i] == EventState::clear && !odd) continue;
        raised.push_back(numbered(i, event_meaning(i), event_state_word(status.event[i])));
        if (odd) raised.back().append(" (wrong reset mode)");
    }
    const std::string head = "events: " + std::to_string(present) + " of " + std::to_string(kSyncObjectCount) + ";";
    append_list(head, raised, present > 0 ? " none signalled" : "", out);
}

static void append_requests(const ControlBlock& block, std::string* out) {
    append_list("requests:", status_requests(block), " none", out);
    append_line(out, "switches: diagnostic logs %s, blob circles %s, shadow removal %s, grid panel %s",
                block.diag_logging != 0 ? "on" : "off", block.blob_circles != 0 ? "on" : "off",
                block.erase_shadows_on != 0 ? "on" : "off", block.grid_setup_active != 0 ? "open" : "closed");
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
    append_rings(status, &out);
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
    append_requests(block, &out);
    append_regions(status, &out);
    append_mutexes(status, &out);
    append_events(status, &out);
    append_workers(status, &out);
    return out;
}
