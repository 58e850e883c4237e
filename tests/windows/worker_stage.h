// The stage on which a test of a simulated worker plays the console and the other workers: regions of its own making,
// and the programs that lie beside this one.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "ipc/scoped_handle.h"

// A named region for as long as the test has it. A null view: the system refused.
struct StageRegion {
    ScopedHandle mapping;
    ScopedView keeper;
    uint8_t* view = nullptr;
};

inline StageRegion stage_region(const char* name, uint64_t size) {
    StageRegion region;
    region.mapping.reset(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                            static_cast<DWORD>(size >> 32), static_cast<DWORD>(size), name));
    if (!region.mapping.valid()) return region;
    region.view = static_cast<uint8_t*>(MapViewOfFile(region.mapping.get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    region.keeper.reset(region.view);
    return region;
}

// Full path of a program that was built with this one.
inline std::string beside_this_program(const std::string& name) {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    const std::string own = path;
    return own.substr(0, own.find_last_of('\\') + 1) + name;
}
