// Asks capture.exe for its cameras without waiting for it: the answer is fetched in steps, from a timer.
//
// capture.exe talks to drivers, and a driver can hang. So nothing here blocks, and a deadline ends what does not end
// by itself.
#pragma once

#include <windows.h>

#include <cstdint>

#include "settings/camera_list.h"

// Starts as zeros.
struct CameraProbe {
    HANDLE process;  // null while nothing is asked
    HANDLE output;   // the read end of what the program prints
    uint64_t deadline_ms;
    CameraListReader reader;
};

// Starts "<exe_dir>\capture.exe --list", its error output mixed in, without a window; it gets `patience_ms`. Returns
// 0, or -1 after one log line when it cannot be started.
int32_t camera_probe_start(CameraProbe* probe, const char* exe_dir, uint32_t patience_ms);

// Takes what has been printed since. Anything but `running` is the end, logged: the list is in reader.list.
CameraSearch camera_probe_step(CameraProbe* probe);

// Ends the program if it still runs, and forgets it. Harmless on a closed probe.
void camera_probe_close(CameraProbe* probe);
