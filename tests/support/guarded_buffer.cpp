#include "tests/support/guarded_buffer.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

static constexpr size_t kPage = 4096;

#ifdef _WIN32
static void* map_with_guard(size_t bytes, size_t guard) {
    void* base = VirtualAlloc(nullptr, bytes + guard, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    DWORD before = 0;
    if (base && VirtualProtect(static_cast<uint8_t*>(base) + bytes, guard, PAGE_NOACCESS, &before)) return base;
    if (base) VirtualFree(base, 0, MEM_RELEASE);
    return nullptr;
}

static void unmap(void* base, size_t /*bytes*/) {
    VirtualFree(base, 0, MEM_RELEASE);
}
#else
static void* map_with_guard(size_t bytes, size_t guard) {
    void* base = mmap(nullptr, bytes + guard, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    if (mprotect(static_cast<uint8_t*>(base) + bytes, guard, PROT_NONE) == 0) return base;
    munmap(base, bytes + guard);
    return nullptr;
}

static void unmap(void* base, size_t bytes) {
    munmap(base, bytes);
}
#endif

GuardedBuffer::GuardedBuffer(size_t bytes) : size(bytes) {
    const size_t usable = (bytes + kPage - 1) / kPage * kPage;
    mapped = usable + kPage;
    base = map_with_guard(usable, kPage);
    if (base) data = static_cast<uint8_t*>(base) + usable - bytes;
}

GuardedBuffer::~GuardedBuffer() {
    if (base) unmap(base, mapped);
}
