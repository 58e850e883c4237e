// See settings_reload.h.
#include "rig/settings_reload.h"

#include "rig/common/worker_runtime.h"

int32_t settings_reload(RigSettings* settings, const char* path) {
    for (int32_t attempt = 0; attempt < 5; ++attempt) {
        if (rig_settings_load(settings, path) == 0) return 0;
        worker_sleep_ms(20);
    }
    return -1;
}
