// The graphics cards a capture can be encoded on, as the chooser shows them: from the adapters the system reports to
// the lines of the list, the line chosen to begin with and the words under it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr int32_t kMaxGpus = 8;
inline constexpr uint32_t kNvidiaVendorId = 0x10DE;

struct GpuEntry {
    int32_t index;     // position among the NVIDIA adapters alone, from 0: what the encoder counts by
    char name[128];    // ASCII
    char compute[16];  // compute capability, "8.6"; empty when unknown
};

// Zeroed before the first gpu_list_add.
struct GpuList {
    GpuEntry entries[kMaxGpus];
    int32_t count;
};

// Takes one adapter, in the system's order; those of other vendors are passed over. `description` is UTF-16 and ends
// at its first NUL or at its length. False when the list is full and no more adapters are wanted.
bool gpu_list_add(GpuList* list, uint32_t vendor_id, std::span<const uint16_t> description);

// The line of the list that shows `entry`.
void gpu_line_text(const GpuEntry& entry, char* text, size_t size);

// The entry chosen to begin with: the one with the wanted index (when that is 0 or more), else the first whose name
// contains the wanted name (when that is not empty), else the first. -1 for an empty list.
int32_t gpu_preselect(const GpuList& list, const char* wanted_name, int32_t wanted_index);

// The words under the list for `count` entries; a negative count says that the enumeration failed.
void gpu_status_text(int32_t count, char* text, size_t size);
