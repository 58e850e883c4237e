// Turns adapter records into the chooser's entries and texts.
#include "settings/gpu_list.h"

#include <cstdio>
#include <cstring>

// What the settings file and the encoder's command line can carry: printable ASCII, everything else a "?".
static void reduce_to_ascii(std::span<const uint16_t> from, char* to, size_t size) {
    size_t length = 0;
    for (const uint16_t unit : from) {
        if (unit == 0 || length + 1 == size) break;
        to[length++] = unit >= 32 && unit <= 126 ? static_cast<char>(unit) : '?';
    }
    to[length] = '\0';
}

bool gpu_list_add(GpuList* list, uint32_t vendor_id, std::span<const uint16_t> description) {
    if (list->count >= kMaxGpus) return false;
    if (vendor_id != kNvidiaVendorId) return true;
    GpuEntry* entry = &list->entries[list->count];
    *entry = {};
    entry->index = list->count++;
    reduce_to_ascii(description, entry->name, sizeof(entry->name));
    return list->count < kMaxGpus;
}

void gpu_line_text(const GpuEntry& entry, char* text, size_t size) {
    if (entry.compute[0])
        snprintf(text, size, "GPU #%d  %s  (Compute SM %s)", entry.index, entry.name, entry.compute);
    else
        snprintf(text, size, "GPU #%d  %s", entry.index, entry.name);
}

int32_t gpu_preselect(const GpuList& list, const char* wanted_name, int32_t wanted_index) {
    if (wanted_index >= 0)
        for (int32_t i = 0; i < list.count; ++i)
            if (list.entries[i].index == wanted_index) return i;
    if (wanted_name[0])
        for (int32_t i = 0; i < list.count; ++i)
            if (strstr(list.entries[i].name, wanted_name)) return i;
    return list.count > 0 ? 0 : -1;
}

void gpu_status_text(int32_t count, char* text, size_t size) {
    if (count < 0)
        snprintf(text, size, "FFmpeg not found or could not be spawned. Check ffmpeg.exe path.");
    else if (count == 0)
        snprintf(text, size, "No NVENC-visible GPUs detected. Check NVIDIA driver (R570+).");
    else
        snprintf(text, size, "%d NVENC-visible GPU%s detected.", count, count == 1 ? "" : "s");
}
