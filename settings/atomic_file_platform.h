// The two steps of an atomic save that the C library does not have; bodies in atomic_file_win.cpp and _posix.cpp.
#pragma once

#include <cstdint>
#include <cstdio>

// Pushes the flushed contents of the stream to the disk itself.
bool platform_commit(FILE* file);

// Moves `from` over `to`, replacing it. On failure *error is the system's error number.
bool platform_replace(const char* from, const char* to, uint32_t* error);
