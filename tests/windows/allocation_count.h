// How often the test program asks for memory: every malloc, calloc, realloc and operator new of the code linked into
// it. What the system's libraries take for themselves is not seen.
#pragma once

#include <cstdint>

// Counts the calling thread's allocations from its creation on; one at a time.
class AllocationCount {
public:
    AllocationCount();
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    int64_t calls() const;
};
