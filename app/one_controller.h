// One controller per session. Whoever runs holds a named mutex from before its first look at the shared regions until
// its last line, and says in a small named record who it is. The system lets go of both when a process dies, so no
// crash leaves a lock behind. Main thread only, but for one_controller_crashed.
#pragma once

#include "app/second_start.h"

// Becomes the session's controller, of `folder`, or fills `running` with the one that is.
ControllerClaim one_controller_claim(const char* folder, RunningController* running);

// Told to those who start meanwhile. Harmless without a claim.
void one_controller_closing();
void one_controller_crashed();  // any thread, needs no heap

void one_controller_release();

// Brings the running controller's window, or the box that it shows, before all others.
void one_controller_bring_forward(const RunningController& running);
