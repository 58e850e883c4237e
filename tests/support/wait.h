// Waiting for a result instead of sleeping for it: the machine that runs these tests is slow, shared, or both.
#pragma once

#include <windows.h>

#include <cstdint>

inline constexpr uint32_t kPatienceMs = 30000;  // how long a test waits for something that must happen
inline constexpr uint32_t kGlanceMs = 20;       // pause between two looks

// Sleep as it is meant: Wine's goes by the wall clock, and one that begins just before the endurance run sets that
// back ends ten minutes late. An alertable one goes by the clock that only counts on.
inline void pause_ms(uint32_t ms) {
    SleepEx(ms, TRUE);
}

// Looks until `happened` says yes or the deadline passes. Returns whether it said yes.
template <class Condition>
bool wait_until(Condition happened, uint32_t patience_ms = kPatienceMs) {
    const uint64_t deadline = GetTickCount64() + patience_ms;
    for (;;) {
        if (happened()) return true;
        if (GetTickCount64() >= deadline) return false;
        pause_ms(kGlanceMs);
    }
}
