#include "tests/windows/allocation_count.h"

#include <windows.h>

#include <atomic>
#include <cstddef>

// A thread id and not a thread-local flag: those are allocated themselves.
static std::atomic<DWORD> counted_thread{0};
static std::atomic<int64_t> call_count{0};

static void count() {
    const DWORD thread = counted_thread.load(std::memory_order_relaxed);
    if (thread != 0 && thread == GetCurrentThreadId()) call_count.fetch_add(1, std::memory_order_relaxed);
}

// The linker sends every call of malloc to __wrap_malloc, and __real_malloc to the true one (see CMakeLists.txt).
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t items, size_t size);
void* __real_realloc(void* block, size_t size);

void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t items, size_t size);
void* __wrap_realloc(void* block, size_t size);

void* __wrap_malloc(size_t size) {
    count();
    return __real_malloc(size);
}

void* __wrap_calloc(size_t items, size_t size) {
    count();
    return __real_calloc(items, size);
}

void* __wrap_realloc(void* block, size_t size) {
    count();
    return __real_realloc(block, size);
}
}

AllocationCount::AllocationCount() {
    call_count.store(0);
    counted_thread.store(GetCurrentThreadId());
}

AllocationCount::~AllocationCount() {
    counted_thread.store(0);
}

int64_t AllocationCount::calls() const {
    return call_count.load();
}
