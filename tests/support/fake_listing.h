// A stand-in for `capture.exe --list`: the test program under that name prints what the test wants the console to
// find.
//
// In its folder, cameras.txt holds what it prints; with a file cameras_hang.txt beside it it does not end afterwards,
// with cameras_flood.txt it prints on and on.
#pragma once

#ifdef _WIN32

// Whether this process was started to list cameras, and what it then does instead of testing.
bool is_fake_listing(int argc, char** argv);
int fake_listing_main();

#endif
