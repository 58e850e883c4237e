#include "procs/feeds_running.h"

#include <algorithm>

#include "procs/process_manager.h"

static bool runs_a_feed(const ProcessSlot& slot) {
    return slot.state == kSlotRunning &&
           (slot.kind == kKindCapture || slot.kind == kKindFileplayer || slot.kind == kKindCapfile);
}

bool feeds_running(const ProcessManager& processes) {
    return std::any_of(processes.slots, processes.slots + kProcessSlots, runs_a_feed);
}
