#include "procs/process_manager.h"

const char* procmgr_state_name(uint32_t state) {
    switch (state) {
        case kSlotRunning:
            return "Running";
        case kSlotStopped:
            return "Stopped";
        case kSlotFailed:
            return "Failed";
        default:
            return "Unknown";
    }
}
