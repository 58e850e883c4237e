// What the process list says of a worker beside its state: how it came to its end, in words instead of a number that
// nobody knows by heart, and how long ago.
#pragma once

#include <cstdint>
#include <string>

#include "procs/process_manager.h"

// "" while the worker runs; "ended normally", "ended by console", "could not be started", a fault by its name
// ("access violation"), or its exit code ("code 4", "code 0xC0001234").
std::string exit_words(const ProcessSlot& slot);

// Time as "0:07", "2:05", "1:02:05"; the hours count on past a day.
std::string duration_words(uint64_t duration_ms);

// A running worker's time since its (last) start: "2:05". An ended one's since its end: "2:05 ago".
std::string age_words(const ProcessSlot& slot, uint64_t now_ms);
