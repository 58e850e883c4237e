// A stand-in for any worker: this test program under the worker's name. The console orders processes about without
// caring what they do, so most tests need no frames, and some need workers that no sane rig contains.
//
// fake.txt in the folder says how each behaves; a worker without a line lives until somebody ends it. One line each:
//     WHO VERB [NUMBER...]        WHO is "motion", or "motion[1]" for one feed
//     ready                       raises its readiness in the control block to 3
//     hold M...                   takes the mutexes M and keeps them for ever
//     die_holding M               takes mutex M and dies without releasing it
//     exit CODE                   ends at once
//     finish MS                   as a recorder: ends with 0, MS after it is told to close its file
//     pid_slot K                  writes its process id into entry K of the control block's table
// Every worker reports in fake.log: "WHO pid=N line=<command line> dir=<current directory>", then what it did.
#pragma once

// Whether this process was started under a worker's name, and what it then does instead of testing.
bool is_fake_worker();
int fake_worker_main(int argc, char** argv);
