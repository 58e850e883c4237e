#include "ipc/shared_region.h"

#include <cstring>

#include <windows.h>

#include "app/log.h"
#include "ipc/scoped_handle.h"

// Grows the working set by the region, then locks it: without the growth the lock quota is a few pages. The working
// set never shrinks again, since regions stay for the whole run.
static void pin_in_ram(const char* name, void* view, uint64_t size) {
    SIZE_T minimum = 0;
    SIZE_T maximum = 0;
    if (!GetProcessWorkingSetSize(GetCurrentProcess(), &minimum, &maximum)) return;
    if (!SetProcessWorkingSetSize(GetCurrentProcess(), minimum + size, maximum + size)) {
        const DWORD error = GetLastError();
        log_warn(
            "shmem: SetProcessWorkingSetSize failed for '%s' (need %llu bytes), error=%lu — pages may be paged out",
            name, static_cast<unsigned long long>(size), error);
        return;
    }
    if (!VirtualLock(view, size)) {
        const DWORD error = GetLastError();
        log_warn("shmem: VirtualLock failed for '%s' (%llu bytes), error=%lu — pages may be paged out", name,
                 static_cast<unsigned long long>(size), error);
        return;
    }
    log_info("shmem: locked '%s' in RAM (%llu bytes)", name, static_cast<unsigned long long>(size));
}

static void* map_whole(HANDLE mapping, const char* name) {
    void* const view = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    if (!view) {
        const DWORD error = GetLastError();
        log_error("shmem: MapViewOfFile failed for '%s', error=%lu", name, error);
    }
    return view;
}

int32_t shmem_create(const char* name, uint64_t size, SharedRegion* region) {
    if (!region) return -1;
    *region = {};
    ScopedHandle mapping(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                            static_cast<DWORD>(size >> 32), static_cast<DWORD>(size), name));
    const DWORD error = GetLastError();
    if (!mapping.valid()) {
        log_error("shmem: CreateFileMapping failed for '%s', error=%lu", name, error);
        return -1;
    }
    const bool existed = error == ERROR_ALREADY_EXISTS;
    void* const view = map_whole(mapping.get(), name);
    if (!view) return -2;
    if (!existed) memset(view, 0, size);
    log_info("shmem: %s '%s' (%llu bytes)", existed ? "attached to" : "created", name,
             static_cast<unsigned long long>(size));
    pin_in_ram(name, view, size);
    *region = {mapping.release(), view, size, existed ? 0u : 1u};
    return 0;
}

int32_t shmem_open(const char* name, uint64_t size, SharedRegion* region) {
    if (!region) return -1;
    *region = {};
    ScopedHandle mapping(OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name));
    if (!mapping.valid()) return -1;
    void* const view = map_whole(mapping.get(), name);
    if (!view) return -2;
    log_info("shmem: opened '%s' (%llu bytes)", name, static_cast<unsigned long long>(size));
    pin_in_ram(name, view, size);
    *region = {mapping.release(), view, size, 0};
    return 0;
}

uint64_t shmem_held_bytes(const void* view) {
    MEMORY_BASIC_INFORMATION info = {};
    return view && VirtualQuery(view, &info, sizeof info) != 0 ? info.RegionSize : 0;
}

uint64_t shmem_held_bytes_of(const char* name) {
    const ScopedHandle mapping(OpenFileMappingA(FILE_MAP_READ, FALSE, name));
    if (!mapping.valid()) return 0;
    const void* const view = MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0);
    if (!view) return 0;
    const uint64_t held = shmem_held_bytes(view);
    UnmapViewOfFile(view);
    return held;
}

void shmem_close(SharedRegion* region) {
    if (!region) return;
    if (region->view) {
        if (region->size != 0) VirtualUnlock(region->view, region->size);
        UnmapViewOfFile(region->view);
        region->view = nullptr;
    }
    if (region->mapping) {
        CloseHandle(region->mapping);
        region->mapping = nullptr;
    }
    region->size = 0;
    region->created = 0;
}
