// How long the program's message loop was silent, asked from outside twenty times a second, and what was going on
// meanwhile.
#pragma once

#include <windows.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/console/installation.h"

// From here on this much silence is allowed, because of this.
struct SilencePeriod {
    uint64_t from_ms;  // GetTickCount64
    uint32_t allowed_ms;
    std::string because;
};

struct Silence {
    uint32_t lasted_ms, allowed_ms;
    uint32_t starved_ms;  // of it, ready to run while other programs had the processors
    std::string because;
    std::string logged;  // what the program wrote to its log meanwhile
};

// Making a fresh ring resident takes as long as the machine needs; nobody promised less. Reported, and long enough
// that something must be wrong. The program does it when a ring appears, whatever else is going on: its log tells.
inline constexpr uint32_t kPinningAllowedMs = 90000;

struct SilenceMeter {
    HWND window = nullptr;
    uint32_t host_pid = 0;
    Installation installation;  // where the program's log lies
    std::thread thread;
    std::mutex lock;  // of everything below
    bool stop = false;
    uint64_t asked = 0;
    std::vector<SilencePeriod> periods;
    std::vector<Silence> too_long;
    std::vector<Silence> notable;  // the longest of each reason
};

// `host_pid` is the program as Wine's host knows it, where its waiting for a processor can be read; 0: unknown. The
// program's log lies in `installation`.
void silence_meter_start(SilenceMeter* meter, HWND window, uint32_t host_pid, const Installation& installation);

// Ends the asking; what was measured stays until the caller has taken it.
void silence_meter_stop(SilenceMeter* meter);

// What happens to the program from now on, and the silence it may cost.
void silence_meter_expect(SilenceMeter* meter, uint32_t allowed_ms, const std::string& because);
