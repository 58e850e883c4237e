#ifdef _WIN32

#include "tests/support/process_resources.h"

#include <vector>

#include <winternl.h>

// The public counters are stubs on some systems; the tables behind them are not.

namespace {

struct GdiEntry {
    uint64_t object;
    uint32_t owner;
    uint16_t unique;
    uint8_t type;
    uint8_t flags;
    uint64_t user;
};

struct HandleEntry {
    void* object;
    uint64_t pid;
    uint64_t handle;
    uint32_t access;
    uint16_t unused, type;
    uint32_t attributes, reserved;
};

struct HandleTable {
    uint64_t count, reserved;
    HandleEntry entries[1];
};

using QueryInformation = LONG(WINAPI*)(HANDLE, int, void*, ULONG, ULONG*);
using QuerySystem = LONG(WINAPI*)(int, void*, ULONG, ULONG*);

}  // namespace

static void* system_function(const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), name));
}

uint32_t count_gdi_objects(HANDLE process) {
    const uint32_t counted = GetGuiResources(process, GR_GDIOBJECTS);
    if (counted != 0) return counted;
    constexpr size_t kTableAt = 0xF8;  // GdiSharedHandleTable in a 64-bit process's environment block
    constexpr size_t kEntries = 0x10000;
    PROCESS_BASIC_INFORMATION basic = {};
    const auto query = reinterpret_cast<QueryInformation>(system_function("NtQueryInformationProcess"));
    if (query(process, 0, &basic, sizeof basic, nullptr) != 0) return 0;
    uint8_t* table = nullptr;
    ReadProcessMemory(process, reinterpret_cast<uint8_t*>(basic.PebBaseAddress) + kTableAt, &table, sizeof table,
                      nullptr);
    std::vector<GdiEntry> entries(kEntries);
    if (!ReadProcessMemory(process, table, entries.data(), kEntries * sizeof(GdiEntry), nullptr)) return 0;
    uint32_t used = 0;
    for (const GdiEntry& entry : entries) used += entry.type != 0 ? 1 : 0;
    return used;
}

uint32_t count_handles(HANDLE process) {
    DWORD counted = 0;
    if (GetProcessHandleCount(process, &counted) && counted != 0) return counted;
    constexpr int kExtendedHandles = 64;
    const auto query = reinterpret_cast<QuerySystem>(system_function("NtQuerySystemInformation"));
    std::vector<uint8_t> bytes(size_t{8} << 20);
    ULONG used = 0;
    if (query(kExtendedHandles, bytes.data(), static_cast<ULONG>(bytes.size()), &used) != 0) return 0;
    const auto* table = reinterpret_cast<const HandleTable*>(bytes.data());
    const uint64_t pid = GetProcessId(process);
    uint32_t own = 0;
    for (uint64_t i = 0; i < table->count; ++i) own += table->entries[i].pid == pid ? 1 : 0;
    return own;
}

#endif
