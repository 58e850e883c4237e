// What the controller writes into the control block before anybody works with it: at its own start, and before each
// run. Surviving workers may read meanwhile, so every store is atomic; nothing here takes a mutex.
#pragma once

#include <cstdint>

#include "ipc/control_block.h"

struct Settings;

// A reading of the performance counter in microseconds, truncated; no reading overflows on the way. 0 when
// `frequency` (counts per second) is not positive.
int64_t performance_counter_us(int64_t counter, int64_t frequency);

// Zeroes the whole block, also a left-over one, and writes what the workers expect to find at start. `settings` may
// be null: three feeds, everything copied from it 0. `counter` and `frequency` are the performance counter's; pass 0
// as the frequency when either query failed. One log line.
void control_block_reset_fresh(ControlBlock* block, const Settings* settings, int64_t counter, int64_t frequency);

// Prepares a run: clears the shutdown flag, the output position and the Force Video exchange. What surviving workers
// own (counters, readiness, process ids, recordings) stays as it is. One log line.
void control_block_reset_run(ControlBlock* block);
