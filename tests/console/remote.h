// Reaching into the program's address space: several of the system's answers are only given to the owner of a window.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

#include "tests/console/driver.h"

inline constexpr size_t kRemoteSize = 8192;

bool remote_open(Console* console);

// Sends a message whose LPARAM points at `data`, which makes the journey both ways. Text fields inside it may point
// at remote_text_place(). Returns the message's result.
LRESULT send_with_data(const Console& console, HWND window, UINT message, WPARAM wparam, void* data, size_t size);
void* remote_text_place(const Console& console);
std::string remote_text(const Console& console, size_t characters);  // UTF-16 there, UTF-8 here

// Calls a function of a system library (loaded at the same place in every process) inside the program, on a thread of
// its own. Returns its result.
uint64_t remote_call(const Console& console, const void* function, uint64_t a = 0, uint64_t b = 0, uint64_t c = 0,
                     uint64_t d = 0, uint64_t e = 0);

// Makes a thread of the program jump to address 0.
void remote_crash(const Console& console);

// The same on a thread that holds the lock of the program's heap.
void remote_crash_holding_heap(const Console& console);

// The same while another thread, one that is gone, holds that lock for ever. Takes two seconds.
void remote_crash_without_heap(const Console& console);

// Makes a thread of the program call the C runtime's abort().
bool remote_abort(const Console& console);

// Makes a thread of the program raise an exception of this code, which nobody handles.
void remote_raise(const Console& console, uint32_t code);

// Stops every thread of the program.
void remote_stop_threads(const Console& console);

// Makes a thread of the program jump to the beginning of Orvek.exe's image, which holds no code. Returns the address.
uint64_t remote_crash_in_image(const Console& console);
