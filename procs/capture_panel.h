// The File Capture panel: a small window above all others whose one large button starts and pauses the recording of
// all feeds. The recorders run as long as the panel is open, paused at first, so that a click records at once.
//
// Closing the panel waits for the recorders to complete their files and blocks the window meanwhile: nobody should
// start a thing or leave while a file is being written. Everything runs on the main thread.
#pragma once

#include <windows.h>

#include <cstdint>

#include "procs/recorders.h"

// Starts as zeros.
struct CapturePanel {
    HWND window;  // null while closed
    HWND toggle;
    HWND exit;
    HWND focus;  // which of the two gets the keyboard back with the window
    HFONT font;
    uint32_t open;       // 1 from the launch of the recorders until the window is gone
    uint32_t closing;    // 1: the recorders were told, the window is going
    uint32_t capturing;  // 0: paused
    Recorders recorders;
};

// Shows the panel, where it was last, and starts a recorder for every feed, paused; one that cannot be launched is
// logged and the others go on. An open panel comes to the front and starts nothing. What `recorders` points to
// outlives the panel. Returns 0; -1, logged, when there is no window to be had.
int32_t capture_panel_open(CapturePanel* panel, HWND owner, HINSTANCE instance, const Recorders& recorders);

// A button of the panel. False for other commands, and for all while the panel is closed.
bool capture_panel_command(CapturePanel* panel, int32_t id);

// Tells the recorders to complete their files, waits for them, keeps the window's position and destroys the window.
// Harmless on a closed panel. Destroying the window, or its owner, does the same.
void capture_panel_close(CapturePanel* panel);

// Whether the message was a key that moves the keyboard from one of the panel's buttons to the other; then it is done
// with.
bool capture_panel_takes_key(CapturePanel* panel, const MSG& message);
