// The shell's folder picker, for whoever asks for the folder of recordings.
#pragma once

#include <windows.h>

#include <string>

enum class FolderChoice {
    chosen = 1,
    cancelled,
    no_path  // something was chosen that has no place in the file system
};

// Asks for a folder of the file system; modal over `owner`. `start` is what it begins with, empty for the picker's
// own beginning. `*folder` receives the choice and is otherwise left alone.
FolderChoice pick_folder(HWND owner, const char* title, const std::string& start, std::string* folder);
