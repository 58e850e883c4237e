// A buffer that ends where a page ends, with a page behind it that nobody may touch: one byte too far is a crash, in
// any build and whatever the instruction that goes there.
#pragma once

#include <cstddef>
#include <cstdint>

struct GuardedBuffer {
    uint8_t* data = nullptr;  // null: the system gave no memory
    size_t size = 0;
    void* base = nullptr;
    size_t mapped = 0;

    explicit GuardedBuffer(size_t bytes);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
};
