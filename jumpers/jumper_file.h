// The start list as organisers hand it over: one jumper per line, columns separated by TAB whatever the file is
// called. What is no jumper (a heading, a blank line, a comma-separated line) is passed over without a word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ipc/jumper_region.h"

inline constexpr int32_t kJumperFileCapacity = kJumperCapacity - 1;  // the forerunner has the first record
inline constexpr int32_t kJumperLineSize = 256;                      // bytes of a line's piece, terminator included
// Nobody's start list is this long. It is what stops a reader who was pointed at a movie.
inline constexpr uint64_t kJumperFileMaxBytes = uint64_t{256} << 20;

struct JumperEntry {
    int32_t bib;    // above 0
    char name[32];  // UTF-8, terminated; cut between two characters
    char club[32];
    char extra[12];
};

// Takes a file apart as it is read, in chunks of any size. Some 16 KB; starts as zeros.
struct JumperFileReader {
    JumperEntry entry[kJumperFileCapacity];
    int32_t count;
    char piece[kJumperLineSize];
    int32_t piece_length;
    uint64_t bytes;  // seen so far
};

// False when no more is wanted: the list is full or the file too long to be one. A line longer than 255 bytes counts
// as several, cut after each 255 (a character cut there belongs to neither); a NUL hides the rest of its line.
bool jumper_file_feed(JumperFileReader* reader, const char* bytes, size_t size);
// Takes the last line, which may lack its line end.
void jumper_file_finish(JumperFileReader* reader);

// The integer at the start of a text, as atoi finds it: blanks, sign, digits. 0 without digits; too large a number
// becomes the nearest there is.
int32_t jumper_number(const char* text, size_t length);

// Writes the path of the start list that is loaded at start-up: jumpers.csv in the folder of the settings file.
// False, with nothing written, for a settings path without a folder or with one of 244 bytes or more.
inline constexpr int32_t kJumperPathSize = 260;
bool jumper_auto_load_path(const char* settings_path, char (&path)[kJumperPathSize]);
