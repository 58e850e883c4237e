// The save a killed child repeats: every number in both files is one marker, so that a file whole from one save can
// be told from one put together of two.
#pragma once

#include <cstdint>
#include <string>

// Saves both files for ever, with the markers first, first + 1, ... Ends only by being killed.
[[noreturn]] void save_markers_for_ever(const char* settings_path, int32_t first);

// Saves both files once with one marker.
void save_marker(const char* settings_path, int32_t marker);

// The marker of settings.txt; -1 and a word in *problem when one of the two files is missing, cut or mixed, or when
// pixel_frames.txt, which is written second, is the newer one.
int32_t whole_marker(const std::string& settings_path, std::string* problem);
