// Named shared-memory regions, backed by the page file and pinned in RAM, so that handing over a frame never faults.
#pragma once

#include <cstdint>

struct SharedRegion {
    void* mapping;     // mapping handle; null when not mapped
    void* view;        // base of the whole mapped view; null when not mapped
    uint64_t size;     // bytes the caller asked for
    uint32_t created;  // 1 when this process made the mapping (and zero-filled it)
};

// Creates the region `name` of `size` bytes, or attaches to it where it exists, its contents untouched.
// Returns 0; -1 when it cannot be created (or `region` is null), -2 when it cannot be mapped. `region` is cleared
// first and owned by the caller, who gives it to shmem_close. A failure to pin is logged and does not fail the call.
int32_t shmem_create(const char* name, uint64_t size, SharedRegion* region);

// Maps the existing region `name`. `size` is the caller's expectation and not checked. Returns as shmem_create; a
// region that does not exist gives -1 without a log line, because callers poll for it.
int32_t shmem_open(const char* name, uint64_t size, SharedRegion* region);

// The bytes from the base of a mapped view to its end, pages counted whole: creating and opening take a region as it
// is, also one that another program made too small. 0 for null.
uint64_t shmem_held_bytes(const void* view);

// The same for a region that is not mapped here; 0 when there is none.
uint64_t shmem_held_bytes_of(const char* name);

// Unpins, unmaps and closes, as far as there is something to; harmless on a closed region or null.
void shmem_close(SharedRegion* region);
