#include "procs/worker_commands.h"

#include <cstdio>
#include <string>

#include "app/log.h"

// A viewer that the operator closes stays closed, and a camera or a file that ends is a finding, not an accident; the
// detectors and the movie builder must come back. A recorder that crashed must not: its successor would begin another
// file behind the operator's back.
static constexpr WorkerKind kWorkerKinds[] = {
    {kKindCapture, "capture.exe", 0, true, " --device-path "},
    {kKindMotion, "motion.exe", 1, true, " "},
    {kKindVideogen, "videogen.exe", 1, false, " "},
    {kKindViewer, "viewer.exe", 0, false, " "},
    {kKindFileplayer, "practice_player.exe", 0, false, " "},
    {kKindCapfile, "capfile.exe", 0, true, " "},
};

FeedSlots active_feed_slots(int32_t feed_count) {
    if (feed_count == 1) return {1, {1, 0, 0}};
    if (feed_count == 2) return {2, {1, 2, 0}};
    return {3, {0, 1, 2}};
}

bool feed_is_active(int32_t feed_count, int32_t feed) {
    const FeedSlots slots = active_feed_slots(feed_count);
    for (int32_t i = 0; i < slots.count; ++i)
        if (slots.feed[i] == feed) return true;
    return false;
}

const WorkerKind* worker_kind(uint32_t kind) {
    for (const WorkerKind& row : kWorkerKinds)
        if (row.kind == kind) return &row;
    return nullptr;
}

uint32_t worker_slot_index(uint32_t kind, int32_t feed) {
    const WorkerKind* const row = worker_kind(kind);
    return row && row->per_feed ? static_cast<uint32_t>(feed) : kNoIndex;
}

int32_t worker_command_line(uint32_t kind, const char* exe_dir, int32_t feed, const char* argument,
                            char out[kCommandTextSize]) {
    const WorkerKind* const row = worker_kind(kind);
    if (!row) {
        log_error("worker command: no such kind %u", kind);
        return -1;
    }
    std::string text = std::string("\"") + exe_dir + "\\" + row->exe + "\"";
    if (row->per_feed) text += " " + std::to_string(feed);
    if (argument && argument[0] != '\0') text += row->option + ("\"" + std::string(argument) + "\"");
    if (text.size() >= kCommandTextSize) {
        log_error("worker command: %s with %zu characters is too long", row->exe, text.size());
        return -1;
    }
    snprintf(out, kCommandTextSize, "%s", text.c_str());
    return 0;
}

void worker_display_name(uint32_t kind, uint32_t index, int32_t slot, char out[kWorkerNameSize]) {
    const auto number = static_cast<int32_t>(index);
    switch (kind) {
        case kKindCapture:
            snprintf(out, kWorkerNameSize, "capture[%d]", number);
            return;
        case kKindMotion:
            snprintf(out, kWorkerNameSize, "motion[%d]", number);
            return;
        case kKindVideogen:
            snprintf(out, kWorkerNameSize, "videogen");
            return;
        case kKindViewer:
            snprintf(out, kWorkerNameSize, "viewer");
            return;
        case kKindFileplayer:
            snprintf(out, kWorkerNameSize, "fileplayer[%d]", number);
            return;
        case kKindCapfile:
            snprintf(out, kWorkerNameSize, "capfile[%d]", number);
            return;
        default:
            snprintf(out, kWorkerNameSize, "proc[%d]", slot);
            return;
    }
}
