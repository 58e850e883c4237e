// Workers that outlived a crashed controller hold the shared regions and compete with their successors.
#pragma once

#include <cstdint>

// Ends the workers whose process ids an earlier run's control block still lists, and lets go of that block so that it
// can vanish. A process is ended only if its image has one of our workers' names: the id may have been recycled.
// Reports in the log only. Call before this process creates any region.
void kill_stale();

// Waits for the `position`-th ended process, by its handle, and warns when it does not end in time. Part of
// kill_stale, open to tests because no test can make a process survive its termination.
void kill_stale_await_exit(int32_t position, void* process, uint32_t timeout_ms);
