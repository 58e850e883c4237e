// What a process holds of the system, for tests that look for something not given back.
#pragma once

#ifdef _WIN32

#include <cstdint>

#include <windows.h>

// 0 when the system does not tell; a test that compares must not take that for an answer. `process` needs the right
// to be queried and read.
uint32_t count_gdi_objects(HANDLE process);
uint32_t count_handles(HANDLE process);

#endif
