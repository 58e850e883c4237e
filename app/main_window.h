// The controller's one top-level window: it holds the tabs, owns every timer and routes every command. What a command
// or a timer does lives elsewhere; here are the tables that say who.
#pragma once

#include <windows.h>

#include <cstdint>

struct ProcessManager;
struct Settings;
struct UiContext;

// Clears `ui`, creates the window with everything in it and shows it. Returns 0; -1 (logged) when there is no window.
// `settings` and `processes` outlive the window.
int32_t main_window_create(UiContext* ui, HINSTANCE instance, Settings* settings, ProcessManager* processes,
                           const char* settings_path);

// Runs the message loop; returns the code it was ended with.
int32_t main_window_run(UiContext* ui);

// Saves the window state and takes everything down again. The children have been stopped when the window was closed.
void main_window_destroy(UiContext* ui);
