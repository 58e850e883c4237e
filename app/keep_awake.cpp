#include "app/keep_awake.h"

#include <windows.h>

#include "app/log.h"

void keep_awake(bool* kept, bool wanted) {
    if (*kept == wanted) return;
    *kept = wanted;  // also when it is refused: asking again every time would fill the log
    const EXECUTION_STATE state = wanted ? ES_CONTINUOUS | ES_SYSTEM_REQUIRED : ES_CONTINUOUS;
    if (SetThreadExecutionState(state) == 0)
        return log_warn("power: the system does not say whether it %s", wanted ? "stays awake" : "may sleep again");
    log_info("power: %s", wanted ? "feeds run, the system stays awake" : "no feed runs, the system may sleep");
}
