// Looking at kernel objects without touching them. A wait would take a mutex, clear the mark that its owner died in
// it and eat an auto-reset signal; these ask for nothing but the state, by the native interface that debuggers use.
// Nothing is created: only what exists is opened, and closed again before returning.
#pragma once

#include <cstdint>

#include "tools/status_text.h"

MutexState query_mutex(const char* name);

// `manual_reset` tells the event's kind; untouched unless the state is known.
EventState query_event(const char* name, bool* manual_reset);

StatusRegion query_region(const char* name);
